#include "server/import.h"

#include <fcntl.h>
#include <signal.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <unordered_map>

#include "frame/converter.h"
#include "frame/password.h"
#include "frame/paths.h"
#include "server/instance.h"

namespace tav::import {

namespace fs = std::filesystem;

namespace {

constexpr const char* kDateFormat = "%Y-%m-%d %H:%M:%S";
// mdb-export reads a value into a buffer of this many bytes and prints no
// more of it; there is no option to widen it. A value this long may be cut.
constexpr std::size_t kToolValueLimit = 200000;
// Lines of one kind the summary lists before it only counts.
constexpr std::size_t kListed = 40;

std::atomic<bool> g_interrupted{false};

void check_interrupt() {
    if (g_interrupted) throw std::runtime_error("interrupted");
}

// SIGINT/SIGTERM end the import through the normal failure path, so the
// temporary folder goes; the default action would leave it behind.
class InterruptGuard {
public:
    InterruptGuard() {
        g_interrupted = false;
        struct sigaction sa {};
        sa.sa_handler = [](int) { g_interrupted = true; };
        sigemptyset(&sa.sa_mask);
        sigaction(SIGINT, &sa, &old_int_);
        sigaction(SIGTERM, &sa, &old_term_);
    }
    ~InterruptGuard() {
        sigaction(SIGINT, &old_int_, nullptr);
        sigaction(SIGTERM, &old_term_, nullptr);
    }
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

private:
    struct sigaction old_int_ {}, old_term_ {};
};

std::string upper(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return out;
}

// GBK and its older subsets are read as GB18030, their superset: the same
// bytes give the same characters, and the tool can print any character in it.
std::string decoding_charset(const std::string& code_page) {
    std::string u = upper(code_page);
    if (u == "GBK" || u == "GB2312" || u == "CP936" || u == "EUC-CN" || u == "GB18030") return "GB18030";
    return code_page;
}

bool all_ascii(std::string_view s) {
    for (unsigned char c : s)
        if (c >= 0x80) return false;
    return true;
}

// Reads the export tool's text in the database's code page.
class Decoder {
public:
    explicit Decoder(const std::string& code_page) : conv_(open(code_page)) {}

    // Converts to UTF-8; a byte that forms no character becomes U+FFFD and
    // the answer is false.
    bool run(std::string_view in, std::string& out) {
        if (all_ascii(in)) {
            out.assign(in);
            return true;
        }
        bool clean = true;
        out = conv_.run(in, "\xEF\xBF\xBD", &clean);
        return clean;
    }

private:
    static Converter open(const std::string& code_page) {
        try {
            return Converter("UTF-8", decoding_charset(code_page).c_str());
        } catch (const std::runtime_error&) {
            throw std::runtime_error("unknown code page: " + code_page);
        }
    }
    Converter conv_;
};

// Bytes of a name as the summary shows them: printable ASCII as is, the
// rest as \xNN, so an unreadable name still identifies its file.
std::string shown_bytes(std::string_view s) {
    std::string out;
    for (unsigned char c : s) {
        if (c >= 0x20 && c < 0x7f) {
            out += static_cast<char>(c);
        } else {
            char b[5];
            std::snprintf(b, sizeof b, "\\x%02X", c);
            out += b;
        }
    }
    return out;
}

// Runs a program found on PATH without a shell and returns what it printed.
std::string run_tool(const std::vector<std::string>& args, const std::vector<std::pair<std::string, std::string>>& env) {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) throw std::runtime_error("pipe: " + std::string(std::strerror(errno)));
    pid_t pid = ::fork();
    if (pid < 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        throw std::runtime_error("fork: " + std::string(std::strerror(errno)));
    }
    if (pid == 0) {
        ::dup2(fds[1], 1);
        for (const auto& [k, v] : env) ::setenv(k.c_str(), v.c_str(), 1);
        std::vector<char*> argv;
        for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(fds[1]);
    std::string out;
    char buf[65536];
    for (;;) {
        ssize_t n = ::read(fds[0], buf, sizeof buf);
        if (n > 0) {
            out.append(buf, static_cast<std::size_t>(n));
        } else if (n == 0 || errno != EINTR) {
            break;
        }
    }
    ::close(fds[0]);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    check_interrupt();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 127)
        throw std::runtime_error(args[0] + " could not be run (is mdbtools installed and on PATH?)");
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(args[0] + " failed on " + args.back() + " (status " + std::to_string(status) + ")");
    return out;
}

// A child of dir whose name equals name without case; an exact match wins.
std::optional<fs::path> child_without_case(const fs::path& dir, const std::string& name) {
    std::error_code ec;
    if (fs::exists(dir / name, ec)) return dir / name;
    for (const auto& e : fs::directory_iterator(dir, ec))
        if (iequals(e.path().filename().string(), name)) return e.path();
    return std::nullopt;
}

// --------------------------------------------------------------------------
// The new database.

enum class Kind { other, text, datetime, date, time };

struct Column {
    std::string name;
    Kind kind = Kind::other;
};

struct Table {
    std::string name;
    std::vector<Column> columns;
};

class Db {
public:
    explicit Db(const std::string& path) {
        if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
            std::string msg = db_ ? sqlite3_errmsg(db_) : "cannot open";
            sqlite3_close_v2(db_);
            throw std::runtime_error("opening " + path + ": " + msg);
        }
    }
    ~Db() { sqlite3_close_v2(db_); }
    Db(const Db&) = delete;
    Db& operator=(const Db&) = delete;

    void exec(const std::string& sql) {
        char* err = nullptr;
        if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &err) != SQLITE_OK) {
            std::string msg = err ? err : sqlite3_errmsg(db_);
            sqlite3_free(err);
            throw std::runtime_error(sql.substr(0, 80) + ": " + msg);
        }
    }
    sqlite3_stmt* prepare(const std::string& sql) {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &st, nullptr) != SQLITE_OK)
            throw std::runtime_error(sql.substr(0, 80) + ": " + sqlite3_errmsg(db_));
        return st;
    }
    // Every row of a statement of text columns.
    std::vector<std::vector<std::string>> rows(const std::string& sql) {
        sqlite3_stmt* st = prepare(sql);
        std::vector<std::vector<std::string>> out;
        while (sqlite3_step(st) == SQLITE_ROW) {
            std::vector<std::string> r;
            for (int i = 0; i < sqlite3_column_count(st); ++i) {
                const unsigned char* t = sqlite3_column_text(st, i);
                r.emplace_back(t ? reinterpret_cast<const char*>(t) : "");
            }
            out.push_back(std::move(r));
        }
        sqlite3_finalize(st);
        return out;
    }
    const char* error() const { return sqlite3_errmsg(db_); }

private:
    sqlite3* db_ = nullptr;
};

std::string quoted_name(const std::string& name) { return "\"" + name + "\""; }

// The schema's tables that take rows, by lower-case name. The tallies are
// kept by triggers from the rows themselves.
std::map<std::string, Table> schema_tables(Db& db) {
    std::map<std::string, Table> out;
    for (const auto& r : db.rows("select name from sqlite_master where type='table' and name not like 'sqlite_%'")) {
        const std::string& name = r[0];
        if (name.size() > 6 && name.ends_with("_tally")) continue;
        Table t{name, {}};
        for (const auto& c : db.rows("select name, type, coalesce(dflt_value,'') from pragma_table_info('" + name + "')")) {
            Column col{c[0], Kind::other};
            // A date column's default says which part of a moment it keeps.
            const std::string& dflt = c[2];
            if (dflt.find("%Y-%m-%d %H:%M:%S") != std::string::npos) col.kind = Kind::datetime;
            else if (dflt.find("%Y-%m-%d'") != std::string::npos) col.kind = Kind::date;
            else if (dflt.find("%H:%M:%S'") != std::string::npos) col.kind = Kind::time;
            else if (upper(c[1]) == "TEXT") col.kind = Kind::text;
            t.columns.push_back(col);
        }
        out[lower(name)] = std::move(t);
    }
    return out;
}

// Access keeps a date alone as midnight and a time alone on 1899-12-30; the
// tool prints both in full, the columns keep only their part.
std::string date_part(const std::string& v, Kind kind) {
    bool full = v.size() == 19 && v[4] == '-' && v[7] == '-' && v[10] == ' ' && v[13] == ':';
    if (!full) return v;
    if (kind == Kind::date) return v.substr(0, 10);
    if (kind == Kind::time) return v.substr(11);
    return v;
}

class Progress {
public:
    explicit Progress(bool on) : on_(on) {}
    void show(const std::string& table, long long done, long long total) {
        if (!on_) return;
        std::fprintf(stderr, "\r%-20s %lld/%lld rows   ", table.c_str(), done, total);
        std::fflush(stderr);
        shown_ = true;
    }
    void text(const std::string& line) {
        if (!on_) return;
        std::fprintf(stderr, "\r%-60s", line.c_str());
        std::fflush(stderr);
        shown_ = true;
    }
    void done() {
        if (on_ && shown_) std::fprintf(stderr, "\r%-60s\r", "");
        shown_ = false;
    }

private:
    bool on_;
    bool shown_ = false;
};

// Adds a line to a list, counting past kListed.
void listed(std::vector<std::string>& list, std::size_t& over, const std::string& line) {
    if (list.size() < kListed) list.push_back(line);
    else ++over;
}

class Importer {
public:
    Importer(const Options& opt, Summary& sum) : opt_(opt), sum_(sum), text_(opt.code_page), names_(opt.name_code_page),
                                                 progress_(opt.progress) {}

    void tables(const fs::path& mdb, Db& db) {
        auto schema = schema_tables(db);
        std::vector<std::pair<std::string, std::string>> env = {{"MDB_JET3_CHARSET", opt_.code_page},
                                                                {"MDBICONV", decoding_charset(opt_.code_page)}};
        std::string list = run_tool({"mdb-tables", "-1", mdb.string()}, env);
        std::vector<std::string> names;
        std::istringstream in(list);
        for (std::string line; std::getline(in, line);) {
            while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
            if (line.empty()) continue;
            std::string name;
            text_.run(line, name);
            names.push_back(name);
        }
        std::set<std::string> seen;
        // One transaction, its journal in memory: the folder is thrown away
        // on any failure, and a spilled WAL made the import mostly writes.
        db.exec("PRAGMA journal_mode=MEMORY");
        db.exec("PRAGMA synchronous=OFF");
        db.exec("PRAGMA cache_size=-65536");
        db.exec("BEGIN");
        for (const std::string& name : names) {
            check_interrupt();
            auto it = schema.find(lower(name));
            if (it == schema.end()) {
                skip("table " + name + ": no such table in this system, not read");
                continue;
            }
            if (!seen.insert(it->first).second) {
                skip("table " + name + ": listed twice, read once");
                continue;
            }
            progress_.text("reading " + name);
            std::string raw = run_tool(export_arguments(mdb.string(), name), env);
            table(db, it->second, name, parse_export(raw));
        }
        db.exec("COMMIT");
        db.exec("PRAGMA journal_mode=WAL");
        db.exec("PRAGMA synchronous=NORMAL");
        progress_.done();
    }

    void files(const fs::path& old_root, const fs::path& new_root) {
        for (const char* folder : {"user", "Datas", "Email", "Medium"}) {
            auto from = child_without_case(old_root, folder);
            if (!from) continue;
            std::error_code ec;
            if (!fs::is_directory(fs::symlink_status(*from, ec))) {
                skip(std::string(folder) + ": not a folder");
                continue;
            }
            fs::create_directories(new_root / folder);
            copy_tree(*from, new_root / folder, folder, 0);
        }
        progress_.done();
    }

    // Rows that name upload files are changed to the names the files got.
    void references(Db& db) {
        db.exec("BEGIN");
        for (const auto& r : db.rows("select id, coalesce(Sub_menu,''), D_afile from Datas where D_afile not in ('', '0')")) {
            std::string now = reference("Datas id " + r[0], "Datas/" + r[1] + "/" + r[2]);
            if (!now.empty() && last_part(now) != r[2])
                update(db, "update Datas set D_afile=?1 where id=?2", last_part(now), r[0]);
        }
        std::unordered_map<std::string, std::string> docs;  // a mail's rows per recipient share one list
        for (const auto& r : db.rows("select id, Email_doc from Email where Email_doc not in ('', '0')")) {
            auto [it, fresh] = docs.try_emplace(r[1]);
            if (fresh) {
                std::string out;
                std::size_t start = 0;
                for (;;) {
                    std::size_t star = r[1].find('*', start);
                    std::string part = r[1].substr(start, star == std::string::npos ? std::string::npos : star - start);
                    std::string now = part.empty() ? "" : reference("Email id " + r[0], "Email/" + part);
                    if (start) out += '*';
                    out += now.empty() ? part : last_part(now);
                    if (star == std::string::npos) break;
                    start = star + 1;
                }
                it->second = out;
            }
            if (it->second != r[1]) update(db, "update Email set Email_doc=?1 where id=?2", it->second, r[0]);
        }
        for (const auto& r : db.rows("select id, coalesce(Path,''), filename from Medium where filename <> ''")) {
            std::string now = reference("Medium id " + r[0], r[1] + "/" + r[2]);
            if (!now.empty() && last_part(now) != r[2])
                update(db, "update Medium set filename=?1 where id=?2", last_part(now), r[0]);
        }
        for (const auto& r : db.rows("select id, Hardserial from software where softname='music' and Hardserial <> ''")) {
            std::string now = reference("the reminder's music", "Medium/" + r[1]);
            if (!now.empty() && last_part(now) != r[1])
                update(db, "update software set Hardserial=?1 where id=?2", last_part(now), r[0]);
        }
        db.exec("COMMIT");
    }

    void finish() {
        if (skipped_over_) sum_.skipped.push_back("... and " + std::to_string(skipped_over_) + " more");
        if (renamed_over_) sum_.renamed.push_back("... and " + std::to_string(renamed_over_) + " more");
        if (notes_over_) sum_.notes.push_back("... and " + std::to_string(notes_over_) + " more");
        if (bad_text_)
            sum_.notes.push_back(std::to_string(bad_text_) + " values held bytes that are no " + opt_.code_page +
                                 " text; each such byte is now U+FFFD");
    }

private:
    void skip(const std::string& line) { listed(sum_.skipped, skipped_over_, line); }
    void note(const std::string& line) { listed(sum_.notes, notes_over_, line); }

    void table(Db& db, const Table& t, const std::string& old_name, const std::vector<std::vector<Field>>& rows) {
        if (rows.empty()) throw std::runtime_error("mdb-export printed no header for " + old_name);
        // Header: which old column feeds which of ours.
        std::vector<int> target;  // per old column: index into t.columns, -1 dropped
        std::vector<int> used;
        int id_col = -1;
        std::string name;
        for (const Field& f : rows[0]) {
            text_.run(f.text, name);
            int found = -1;
            for (std::size_t i = 0; i < t.columns.size(); ++i)
                if (iequals(t.columns[i].name, name)) found = static_cast<int>(i);
            if (found >= 0 && std::find(used.begin(), used.end(), found) != used.end()) found = -1;
            if (found < 0) skip("column " + old_name + "." + name + ": no such column here, its values dropped");
            else used.push_back(found);
            if (found >= 0 && iequals(t.columns[static_cast<std::size_t>(found)].name, "id"))
                id_col = static_cast<int>(target.size());
            target.push_back(found);
        }
        if (id_col < 0) note("table " + old_name + " has no id column: its rows got new ids");
        std::string cols, marks;
        for (int i : used) {
            cols += (cols.empty() ? "" : ",") + quoted_name(t.columns[static_cast<std::size_t>(i)].name);
            marks += marks.empty() ? "?" : ",?";
        }
        // The old rows replace the new site's first rows of the same table.
        db.exec("delete from " + quoted_name(t.name));
        long long stored = 0, total = static_cast<long long>(rows.size()) - 1;
        if (used.empty()) {
            skip("table " + old_name + ": no column of it is known here, " + std::to_string(total) + " rows dropped");
            sum_.rows[t.name] = 0;
            return;
        }
        sqlite3_stmt* st = db.prepare("insert into " + quoted_name(t.name) + "(" + cols + ") values(" + marks + ")");
        std::vector<std::string> hashed = iequals(t.name, "user") ? hash_passwords(t, target, rows)
                                                                  : std::vector<std::string>{};
        std::string value;
        for (std::size_t r = 1; r < rows.size(); ++r) {
            if (r % 1000 == 0) {
                check_interrupt();
                progress_.show(t.name, static_cast<long long>(r), total);
            }
            const auto& row = rows[r];
            std::string id = id_col >= 0 && static_cast<std::size_t>(id_col) < row.size() ? row[id_col].text
                                                                                           : "row " + std::to_string(r);
            if (row.size() != target.size()) {
                skip(old_name + " id " + id + ": " + std::to_string(row.size()) + " values for " +
                     std::to_string(target.size()) + " columns");
                continue;
            }
            sqlite3_reset(st);
            sqlite3_clear_bindings(st);
            int slot = 0;
            for (std::size_t c = 0; c < row.size(); ++c) {
                if (target[c] < 0) continue;
                ++slot;
                const Column& col = t.columns[static_cast<std::size_t>(target[c])];
                const Field& f = row[c];
                if (!f.quoted && f.text.empty()) {
                    // NULL or an empty text: the tool prints both alike. Text
                    // columns get the empty text the forms would have stored.
                    if (col.kind == Kind::text) sqlite3_bind_text(st, slot, "", 0, SQLITE_STATIC);
                    else sqlite3_bind_null(st, slot);
                    continue;
                }
                if (!text_.run(f.text, value)) ++bad_text_;
                if (f.text.size() + 2 >= kToolValueLimit)
                    note(old_name + " id " + id + " " + col.name + ": " + std::to_string(f.text.size()) +
                         " bytes, the most mdb-export gives; the value may be cut");
                if (col.kind == Kind::date || col.kind == Kind::time) value = date_part(value, col.kind);
                if (!hashed.empty() && !hashed[r].empty() && iequals(col.name, "password")) value = hashed[r];
                sqlite3_bind_text(st, slot, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
            }
            if (sqlite3_step(st) == SQLITE_DONE) ++stored;
            else skip(old_name + " id " + id + ": " + db.error());
        }
        sqlite3_finalize(st);
        progress_.show(t.name, total, total);
        // Autoincrement would go on from the highest id stored anyway; the
        // row makes sure a table whose old rows were all dropped keeps its count.
        db.exec("insert or ignore into sqlite_sequence(name, seq) select '" + t.name + "', 0 where not exists "
                "(select 1 from sqlite_sequence where name='" + t.name + "')");
        db.exec("update sqlite_sequence set seq=max(seq, coalesce((select max(id) from " + quoted_name(t.name) +
                "), 0)) where name='" + t.name + "'");
        sum_.rows[t.name] = stored;
    }

    // Clear-text passwords hashed as a login would, on every core: a hash
    // takes a good part of a second on purpose, and a site has hundreds of
    // accounts. Per row, the hash or "" where none is due.
    std::vector<std::string> hash_passwords(const Table& t, const std::vector<int>& target,
                                            const std::vector<std::vector<Field>>& rows) {
        std::vector<std::string> out(rows.size());
        std::size_t col = target.size();
        for (std::size_t c = 0; c < target.size(); ++c)
            if (target[c] >= 0 && iequals(t.columns[static_cast<std::size_t>(target[c])].name, "password")) col = c;
        if (col == target.size()) return out;
        std::vector<std::size_t> due;
        for (std::size_t r = 1; r < rows.size(); ++r) {
            if (rows[r].size() != target.size() || (!rows[r][col].quoted && rows[r][col].text.empty())) continue;
            text_.run(rows[r][col].text, out[r]);
            if (password::is_hash(out[r])) out[r].clear();
            else due.push_back(r);
        }
        if (due.empty()) return out;
        progress_.text("hashing " + std::to_string(due.size()) + " passwords");
        std::atomic<std::size_t> next{0};
        auto work = [&] {
            for (std::size_t i; (i = next++) < due.size() && !g_interrupted;) out[due[i]] = password::hash(out[due[i]]);
        };
        unsigned n = std::clamp(std::thread::hardware_concurrency(), 1u, 4u);
        std::vector<std::thread> threads;
        for (unsigned i = 1; i < n; ++i) threads.emplace_back(work);
        work();
        for (auto& th : threads) th.join();
        check_interrupt();
        return out;
    }

    void copy_tree(const fs::path& from, const fs::path& to, const std::string& rel, int depth) {
        if (depth > 32) {
            skip(rel + ": folders nested too deep, not copied");
            return;
        }
        std::error_code ec;
        fs::directory_iterator it(from, ec), end;
        if (ec) {
            skip(rel + ": " + ec.message());
            return;
        }
        std::string name;
        for (; it != end; it.increment(ec)) {
            check_interrupt();
            std::string raw = it->path().filename().string();
            if (!names_.run(raw, name)) {
                skip(rel + "/" + shown_bytes(raw) + ": the name is no " + opt_.name_code_page + " text, not copied");
                continue;
            }
            // The pages take a backslash for a folder separator: such a name
            // could reach outside its folder there.
            std::string safe = name;
            for (char& c : safe)
                if (c == '\\' || c == ':' || static_cast<unsigned char>(c) < 0x20) c = '_';
            std::string old_rel = rel + "/" + name, new_rel = rel + "/" + safe;
            fs::path dest = to / safe;
            auto st = fs::symlink_status(it->path(), ec);
            if (fs::exists(fs::symlink_status(dest, ec))) {
                skip(old_rel + ": another file already took the name " + new_rel);
                continue;
            }
            if (fs::is_symlink(st)) {
                skip(old_rel + ": a link, not followed");
            } else if (fs::is_directory(st)) {
                fs::create_directory(dest);
                note_rename(old_rel, new_rel);
                copy_tree(it->path(), dest, new_rel, depth + 1);
            } else if (fs::is_regular_file(st)) {
                if (!fs::copy_file(it->path(), dest, ec)) {
                    fs::remove(dest, ec);
                    skip(old_rel + ": cannot be copied (" + ec.message() + ")");
                    continue;
                }
                note_rename(old_rel, new_rel);
                copied_[lower(new_rel)] = new_rel;
                ++sum_.files;
                sum_.bytes += static_cast<std::int64_t>(fs::file_size(dest));
                if (sum_.files % 100 == 0) progress_.text("files: " + std::to_string(sum_.files) + " copied");
            } else {
                skip(old_rel + ": not a regular file, not copied");
            }
        }
        if (ec) skip(rel + ": " + ec.message());
    }

    void note_rename(const std::string& old_rel, const std::string& new_rel) {
        if (old_rel == new_rel) return;
        renames_[old_rel] = new_rel;
        listed(sum_.renamed, renamed_over_, old_rel + " -> " + new_rel);
    }

    // The file a row's reference means, as copied ("" when there is none):
    // renamed ones by their old name, the rest without case, as the old
    // server found them.
    std::string reference(const std::string& who, const std::string& ref) {
        // A name that had to change is found as the row spells it, before
        // its backslashes are read as separators.
        std::string plain;
        for (char c : ref)
            if (c != '/' || (!plain.empty() && plain.back() != '/')) plain += c;
        auto renamed = renames_.find(plain);
        if (renamed != renames_.end()) return renamed->second;
        std::string norm;
        if (!normalize_path(ref, norm) || norm.empty() || norm == "/") {
            note(who + " names " + ref + ", outside the upload folders; left as it was");
            return "";
        }
        if (norm[0] == '/') norm.erase(0, 1);
        // Folders renamed on the way come first in the name.
        std::string mapped = norm;
        for (std::size_t cut = mapped.size(); cut != std::string::npos && cut > 0; cut = mapped.rfind('/', cut - 1)) {
            auto r = renames_.find(mapped.substr(0, cut));
            if (r != renames_.end()) {
                mapped = r->second + mapped.substr(cut);
                break;
            }
        }
        auto c = copied_.find(lower(mapped));
        if (c == copied_.end()) {
            note(who + " names " + ref + ", which is not among the old files");
            return "";
        }
        return c->second;
    }

    static std::string last_part(const std::string& rel) {
        std::size_t slash = rel.rfind('/');
        return slash == std::string::npos ? rel : rel.substr(slash + 1);
    }

    static void update(Db& db, const std::string& sql, const std::string& value, const std::string& id) {
        sqlite3_stmt* st = db.prepare(sql);
        sqlite3_bind_text(st, 1, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
        sqlite3_bind_text(st, 2, id.data(), static_cast<int>(id.size()), SQLITE_TRANSIENT);
        int rc = sqlite3_step(st);
        sqlite3_finalize(st);
        if (rc != SQLITE_DONE) throw std::runtime_error(sql + ": " + db.error());
    }

    const Options& opt_;
    Summary& sum_;
    Decoder text_, names_;
    Progress progress_;
    std::size_t skipped_over_ = 0, renamed_over_ = 0, notes_over_ = 0;
    long long bad_text_ = 0;
    std::map<std::string, std::string> renames_;             // old relative name -> new
    std::unordered_map<std::string, std::string> copied_;   // lower-case relative name -> as copied
};

}  // namespace

std::vector<std::vector<Field>> parse_export(std::string_view text) {
    std::vector<std::vector<Field>> rows;
    std::vector<Field> row;
    Field f;
    std::size_t i = 0, n = text.size();
    bool at_field_start = true;
    while (i < n) {
        char c = text[i];
        if (at_field_start && c == '"') {
            f.quoted = true;
            ++i;
            for (;;) {
                std::size_t q = text.find('"', i);
                if (q == std::string_view::npos) throw std::runtime_error("mdb-export output ends inside a quoted value");
                f.text.append(text.substr(i, q - i));
                i = q + 1;
                if (i < n && text[i] == '"') {
                    f.text += '"';
                    ++i;
                    continue;
                }
                break;
            }
            at_field_start = false;
            continue;
        }
        at_field_start = false;
        if (c == ',') {
            row.push_back(std::move(f));
            f = Field{};
            at_field_start = true;
            ++i;
        } else if (c == '\n') {
            if (!f.quoted && !f.text.empty() && f.text.back() == '\r') f.text.pop_back();
            row.push_back(std::move(f));
            f = Field{};
            rows.push_back(std::move(row));
            row.clear();
            at_field_start = true;
            ++i;
        } else {
            f.text += c;
            ++i;
        }
    }
    if (!at_field_start || !row.empty()) {
        row.push_back(std::move(f));
        rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<std::string> export_arguments(const std::string& mdb, const std::string& table) {
    // Dates in the form the pages store; '"' quotes doubled inside values;
    // binary columns (none in this schema) left out rather than printed raw.
    return {"mdb-export", "-D", kDateFormat, "-T", kDateFormat, "-q", "\"", "-d", ",", "-b", "strip", mdb, table};
}

Summary run(const Options& opt) {
    InterruptGuard guard;
    Summary sum;
    fs::path old_root(opt.old_site);
    if (!fs::is_directory(old_root)) throw std::runtime_error(opt.old_site + " is no folder");
    auto dbdir = child_without_case(old_root, "datebase");
    auto mdb = dbdir ? child_without_case(*dbdir, "office.mdb") : std::nullopt;
    if (!mdb || !fs::is_regular_file(*mdb))
        throw std::runtime_error(opt.old_site + " holds no datebase/office.mdb");

    fs::path target = fs::absolute(opt.new_dir).lexically_normal();
    if (target.filename().empty()) target = target.parent_path();
    std::error_code ec;
    if (fs::exists(fs::symlink_status(target, ec))) {
        if (!fs::is_directory(fs::symlink_status(target, ec)) || !fs::is_empty(target, ec))
            throw std::runtime_error(opt.new_dir + " exists and is not an empty folder");
    }
    // Inside the old site the copy would take in the new one as it grows.
    if (path_inside(fs::weakly_canonical(old_root).string(), fs::weakly_canonical(target).string()))
        throw std::runtime_error(opt.new_dir + " lies inside " + opt.old_site);
    fs::create_directories(target.parent_path());
    // Beside the target, so the last step is one rename on one file system.
    std::string pattern = (target.parent_path() / ("." + target.filename().string() + ".import-XXXXXX")).string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("cannot make a folder beside " + opt.new_dir);
    fs::path tmp(pattern);
    try {
        init_site(tmp.string(), opt.template_dir);
        Importer im(opt, sum);
        {
            Db db((tmp / "datebase" / "office.mdb").string());
            im.tables(*mdb, db);
            im.files(old_root, tmp);
            im.references(db);
            db.exec("PRAGMA wal_checkpoint(TRUNCATE)");
        }
        im.finish();
        // The database was written without syncs: all of it reaches the
        // disk before the folder takes its name.
        if (int fd = ::open(tmp.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); fd >= 0) {
            ::syncfs(fd);
            ::close(fd);
        }
        fs::permissions(tmp, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                 fs::perms::others_read | fs::perms::others_exec);
        check_interrupt();
        // Replaces an empty folder, fails on one that got content meanwhile.
        if (::rename(tmp.c_str(), target.c_str()) != 0)
            throw std::runtime_error("moving the new site to " + opt.new_dir + ": " + std::strerror(errno));
    } catch (...) {
        fs::remove_all(tmp, ec);
        throw;
    }
    return sum;
}

std::string format_summary(const Summary& s) {
    std::ostringstream out;
    out << "rows:\n";
    for (const auto& [table, n] : s.rows) out << "  " << table << ": " << n << "\n";
    out << "files copied: " << s.files << " (" << s.bytes << " bytes)\n";
    auto list = [&](const char* title, const std::vector<std::string>& lines) {
        if (lines.empty()) return;
        out << title << ":\n";
        for (const auto& l : lines) out << "  " << l << "\n";
    };
    list("renamed", s.renamed);
    list("skipped", s.skipped);
    list("notes", s.notes);
    return out.str();
}

}  // namespace tav::import
