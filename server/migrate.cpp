#include "server/migrate.h"

#include <sqlite3.h>

#include <charconv>
#include <chrono>
#include <thread>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>

#include "frame/encoding.h"
#include "frame/paths.h"
#include "frame/site_layout.h"
#include "frame/store.h"
#include "server/instance.h"

#if TAVELOR_POSTGRESQL
#include <libpq-fe.h>
#endif

namespace fs = std::filesystem;

namespace tav::migrate {

std::string append_copy_text(std::string& out, std::string_view s) {
    std::size_t nuls = 0, bad = 0;
    for (std::size_t i = 0; i < s.size();) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        if (c < 0x80) {
            switch (c) {
            case 0: ++nuls; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default: out += static_cast<char>(c);
            }
            ++i;
            continue;
        }
        const std::size_t len = (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 1;
        if (len > 1 && i + len <= s.size() && is_valid_utf8(s.substr(i, len))) {
            out.append(s, i, len);
            i += len;
        } else {
            out += "\xEF\xBF\xBD";  // one replacement character per byte that starts no character
            ++bad;
            ++i;
        }
    }
    std::string what;
    if (nuls) what = std::to_string(nuls) + " NUL character" + (nuls > 1 ? "s" : "") + " removed";
    if (bad)
        what += (what.empty() ? "" : ", ") + std::to_string(bad) + " byte" + (bad > 1 ? "s" : "") +
                " that are no UTF-8 replaced by U+FFFD";
    return what;
}

std::string format_summary(const Summary& s) {
    std::ostringstream out;
    for (const auto& [table, rows] : s.tables) out << "  " << table << ": " << rows << " rows\n";
    char secs[32];
    std::snprintf(secs, sizeof secs, "%.1f", s.seconds);
    out << s.rows << " rows in " << s.tables.size() << " tables, " << secs << " s";
    if (s.seconds > 0) out << " (" << static_cast<long long>(s.rows / s.seconds) << " rows/s)";
    out << "\n";
    for (const std::string& line : s.changed) out << "changed: " << line << "\n";
    if (s.changed_over) out << "changed: " << s.changed_over << " more values\n";
    for (const std::string& line : s.left) out << "not copied: " << line << "\n";
    if (!s.triggers_off)
        out << "the role does not own the tables: copied with their triggers and indexes at work (slower)\n";
    if (!s.kept_as.empty()) out << "the SQLite database is kept as " << s.kept_as << "\n";
    return out.str();
}

#if TAVELOR_POSTGRESQL

namespace {

constexpr std::size_t kListed = 50;            // changed values named one by one
constexpr std::size_t kCopyChunk = 1 << 20;    // bytes handed to libpq at once
constexpr long long kProgressStep = 20000;     // rows between progress calls

// How the counts of schema.postgresql.sql are made from the rows, as its
// triggers keep them: run after the copy instead of the triggers on each row.
const std::map<std::string, std::string>& tally_fills() {
    static const std::map<std::string, std::string> fills = {
        {"datas_tally", "INSERT INTO datas_tally(Sub_menu, num) SELECT Sub_menu, count(*) FROM Datas "
                        "WHERE Sub_menu IS NOT NULL GROUP BY Sub_menu"},
        {"email_tally",
         "INSERT INTO email_tally(user_id, folder, num)"
         " SELECT to_user_id, 0, count(*) FILTER (WHERE To_del = 0) FROM Email WHERE to_user_id IS NOT NULL"
         " GROUP BY to_user_id"
         " UNION ALL SELECT to_user_id, 1, count(*) FILTER (WHERE read = 1 AND To_del = 0) FROM Email"
         " WHERE to_user_id IS NOT NULL GROUP BY to_user_id"
         " UNION ALL SELECT to_user_id, 2, count(*) FILTER (WHERE To_del = 1) FROM Email"
         " WHERE to_user_id IS NOT NULL GROUP BY to_user_id"
         " UNION ALL SELECT send_user_id, 3, count(*) FILTER (WHERE Send_del = 0) FROM Email"
         " WHERE send_user_id IS NOT NULL GROUP BY send_user_id"},
        {"unread_tally", "INSERT INTO unread_tally(user_id, num) SELECT to_user_id, count(*) FROM Email "
                         "WHERE read = 0 AND To_del <> 2 AND to_user_id IS NOT NULL GROUP BY to_user_id"},
        {"book_tally", "INSERT INTO book_tally(id, num) SELECT 1, count(*) FROM Book WHERE Reply_id = 0"},
        {"address_tally", "INSERT INTO address_tally(User_id, num) SELECT User_id, count(*) FROM Address "
                          "WHERE User_id IS NOT NULL GROUP BY User_id"},
        {"user_tally", "INSERT INTO user_tally(id, num) SELECT 1, count(*) FROM \"user\""},
    };
    return fills;
}

bool is_tally(const std::string& table) { return table.size() > 6 && table.ends_with("_tally"); }

std::string quoted(const std::string& name) {
    std::string out = "\"";
    for (char c : name) out += c == '"' ? std::string("\"\"") : std::string(1, c);
    return out + "\"";
}

std::string first_line(const char* text) {
    std::string s = text ? text : "";
    if (s.rfind("ERROR:  ", 0) == 0) s.erase(0, 8);
    if (std::size_t nl = s.find('\n'); nl != std::string::npos) s.resize(nl);
    return s;
}

struct Result {
    PGresult* r = nullptr;
    explicit Result(PGresult* p) : r(p) {}
    Result(const Result&) = delete;
    ~Result() { PQclear(r); }
    int rows() const { return PQntuples(r); }
    std::string at(int row, int col) const { return PQgetvalue(r, row, col); }
};

class Pg {
public:
    explicit Pg(const std::string& url) : c_(PQconnectdb(url.c_str())) {
        if (PQstatus(c_) != CONNECTION_OK) throw std::runtime_error("connecting to " + url + ": " + first_line(PQerrorMessage(c_)));
    }
    ~Pg() { PQfinish(c_); }  // without COMMIT the server rolls the transaction back
    PGconn* get() { return c_; }

    std::unique_ptr<Result> exec(const std::string& sql, const std::vector<std::string>& values = {}) {
        std::vector<const char*> v;
        for (const std::string& s : values) v.push_back(s.c_str());
        auto r = std::make_unique<Result>(
            PQexecParams(c_, sql.c_str(), static_cast<int>(v.size()), nullptr, v.data(), nullptr, nullptr, 0));
        ExecStatusType st = PQresultStatus(r->r);
        if (st != PGRES_COMMAND_OK && st != PGRES_TUPLES_OK)
            throw std::runtime_error(first_line(PQresultErrorMessage(r->r)) + " (in: " + sql.substr(0, 100) + ")");
        return r;
    }
    // Several statements at once (the schema's text); no values.
    void script(const std::string& sql) {
        Result r{PQexec(c_, sql.c_str())};
        ExecStatusType st = PQresultStatus(r.r);
        if (st != PGRES_COMMAND_OK && st != PGRES_TUPLES_OK)
            throw std::runtime_error(first_line(PQresultErrorMessage(r.r)));
    }
    bool try_exec(const std::string& sql) {
        Result r{PQexec(c_, sql.c_str())};
        return PQresultStatus(r.r) == PGRES_COMMAND_OK;
    }

private:
    PGconn* c_;
};

struct Lite {
    sqlite3* db = nullptr;
    ~Lite() { sqlite3_close_v2(db); }
    std::string error() const { return sqlite3_errmsg(db); }
};

struct Stmt {
    sqlite3_stmt* st = nullptr;
    Stmt(sqlite3* db, const std::string& sql) {
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) != SQLITE_OK)
            throw std::runtime_error("reading the SQLite database: " + std::string(sqlite3_errmsg(db)));
    }
    Stmt(const Stmt&) = delete;
    ~Stmt() { sqlite3_finalize(st); }
};

enum class Kind { integer, number, text };

Kind kind_of(const std::string& pg_type) {
    if (pg_type == "bigint" || pg_type == "integer" || pg_type == "smallint") return Kind::integer;
    if (pg_type == "numeric" || pg_type == "double precision" || pg_type == "real") return Kind::number;
    return Kind::text;
}

struct Column {
    std::string name;  // PostgreSQL's (lower case)
    std::string lite;  // the SQLite table's spelling
    Kind kind;
};

struct Table {
    std::string name;  // PostgreSQL's
    std::string lite;  // the SQLite table's spelling; "" when it has none
    std::vector<Column> columns;
    std::vector<std::string> pg_columns;
};

// Texts a number column of PostgreSQL takes as they are. SQLite keeps a
// text its column's type cannot take as it came; these must not reach COPY.
bool whole_number(std::string_view s) {
    std::size_t i = s.size() > 1 && (s[0] == '-' || s[0] == '+') ? 1 : 0;
    if (i == s.size() || s.size() - i > 18) return false;
    for (; i < s.size(); ++i)
        if (s[i] < '0' || s[i] > '9') return false;
    return true;
}

bool decimal_number(const std::string& s) {
    if (s.empty() || std::isspace(static_cast<unsigned char>(s[0]))) return false;
    char* end = nullptr;
    double d = std::strtod(s.c_str(), &end);
    return end == s.c_str() + s.size() && std::isfinite(d) && s.find_first_of("xXnN") == std::string::npos;
}

void append_double(std::string& out, double d) {
    if (std::isinf(d)) {
        out += d > 0 ? "Infinity" : "-Infinity";
        return;
    }
    char buf[32];
    auto res = std::to_chars(buf, buf + sizeof buf, d);  // the shortest text that reads back as d
    out.append(buf, res.ptr);
}

class Copier {
public:
    Copier(Pg& pg, sqlite3* db, Summary& sum, const Options& opt) : pg_(pg), db_(db), sum_(sum), opt_(opt) {}

    long long copy(const Table& t) {
        long long total = 0;
        {
            Stmt n(db_, "SELECT count(*) FROM " + quoted(t.lite));
            if (sqlite3_step(n.st) == SQLITE_ROW) total = sqlite3_column_int64(n.st, 0);
        }
        std::string cols, lite_cols;
        int id_col = -1;
        for (std::size_t i = 0; i < t.columns.size(); ++i) {
            cols += (i ? "," : "") + quoted(t.columns[i].name);
            lite_cols += (i ? "," : "") + quoted(t.columns[i].lite);
            if (t.columns[i].name == "id") id_col = static_cast<int>(i);
        }
        Stmt rows(db_, "SELECT " + lite_cols + " FROM " + quoted(t.lite));
        {
            Result r{PQexec(pg_.get(), ("COPY " + quoted(t.name) + " (" + cols + ") FROM STDIN").c_str())};
            if (PQresultStatus(r.r) != PGRES_COPY_IN)
                throw std::runtime_error("copying " + t.name + ": " + first_line(PQresultErrorMessage(r.r)));
        }
        std::string buf;
        buf.reserve(kCopyChunk + 64 * 1024);
        long long done = 0;
        try {
            int rc;
            while ((rc = sqlite3_step(rows.st)) == SQLITE_ROW) {
                for (int c = 0; c < static_cast<int>(t.columns.size()); ++c) {
                    if (c) buf += '\t';
                    value(buf, rows.st, c, t, id_col);
                }
                buf += '\n';
                ++done;
                if (buf.size() >= kCopyChunk) send(buf);
                if (opt_.progress && done % kProgressStep == 0 && done < total) opt_.progress(t.name, done, total);
            }
            if (rc != SQLITE_DONE) throw std::runtime_error("reading " + t.lite + " from SQLite: " + sqlite3_errmsg(db_));
            send(buf);
        } catch (const std::exception& e) {
            PQputCopyEnd(pg_.get(), "the copy stopped");
            while (PGresult* r = PQgetResult(pg_.get())) PQclear(r);
            throw;
        }
        if (PQputCopyEnd(pg_.get(), nullptr) != 1)
            throw std::runtime_error("copying " + t.name + ": " + first_line(PQerrorMessage(pg_.get())));
        std::string error, count;
        while (PGresult* r = PQgetResult(pg_.get())) {
            if (PQresultStatus(r) != PGRES_COMMAND_OK && error.empty()) error = first_line(PQresultErrorMessage(r));
            else count = PQcmdTuples(r);
            PQclear(r);
        }
        if (!error.empty()) throw std::runtime_error("copying " + t.name + ": " + error);
        if (count != std::to_string(done))
            throw std::runtime_error("copying " + t.name + ": " + count + " rows arrived of " + std::to_string(done));
        if (opt_.progress) opt_.progress(t.name, done, done);
        return done;
    }

    // Throws when a value was refused: nothing may be committed then.
    void check_refused() const {
        if (refused_.empty()) return;
        std::string all;
        for (const std::string& line : refused_) all += "\n  " + line;
        if (refused_over_) all += "\n  and " + std::to_string(refused_over_) + " more";
        throw std::runtime_error("values a number column of PostgreSQL cannot take; correct these rows in the SQLite "
                                 "database and run migrate again:" + all + "\n");
    }

private:
    void send(std::string& buf) {
        if (buf.empty()) return;
        if (PQputCopyData(pg_.get(), buf.data(), static_cast<int>(buf.size())) != 1)
            throw std::runtime_error(first_line(PQerrorMessage(pg_.get())));
        buf.clear();
    }

    std::string where(sqlite3_stmt* st, const Table& t, int c, int id_col) const {
        const unsigned char* p = id_col >= 0 ? sqlite3_column_text(st, id_col) : nullptr;
        const std::string id = p ? reinterpret_cast<const char*>(p) : "?";
        return t.lite + " id " + id + ", " + t.columns[static_cast<std::size_t>(c)].lite;
    }

    // A value the number column cannot take: noted, and the copy goes on
    // to find the others, so that one run names every row to correct.
    void refuse(std::string& buf, sqlite3_stmt* st, const Table& t, int c, int id_col, const std::string& what) {
        if (refused_.size() < kListed) refused_.push_back(where(st, t, c, id_col) + " holds " + what);
        else ++refused_over_;
        buf += "\\N";
    }

    static std::string shown(sqlite3_stmt* st, int c) {
        const char* p = reinterpret_cast<const char*>(sqlite3_column_text(st, c));
        std::string s(p ? p : "", static_cast<std::size_t>(sqlite3_column_bytes(st, c)));
        if (s.size() > 40) s = s.substr(0, 40) + "...";
        return "'" + s + "'";
    }

    void value(std::string& buf, sqlite3_stmt* st, int c, const Table& t, int id_col) {
        const int type = sqlite3_column_type(st, c);
        if (type == SQLITE_NULL) {
            buf += "\\N";
            return;
        }
        const Kind kind = t.columns[static_cast<std::size_t>(c)].kind;
        if (kind != Kind::text) {
            char num[32];
            if (type == SQLITE_INTEGER) {
                auto res = std::to_chars(num, num + sizeof num, static_cast<long long>(sqlite3_column_int64(st, c)));
                buf.append(num, res.ptr);
                return;
            }
            if (type == SQLITE_FLOAT) {
                const double d = sqlite3_column_double(st, c);
                if (kind == Kind::number) return append_double(buf, d);
                if (d == std::floor(d) && std::fabs(d) < 9.2e18) {
                    auto res = std::to_chars(num, num + sizeof num, static_cast<long long>(d));
                    buf.append(num, res.ptr);
                    return;
                }
                return refuse(buf, st, t, c, id_col, "the fraction " + std::to_string(d));
            }
            if (type == SQLITE_TEXT) {
                std::string s(reinterpret_cast<const char*>(sqlite3_column_text(st, c)),
                              static_cast<std::size_t>(sqlite3_column_bytes(st, c)));
                if (kind == Kind::integer ? whole_number(s) : decimal_number(s)) {
                    buf += s;
                    return;
                }
                return refuse(buf, st, t, c, id_col, "the text " + shown(st, c));
            }
            return refuse(buf, st, t, c, id_col, "bytes (a blob)");
        }
        // A text column: SQLite's own text of whatever the value is, which
        // is what the pages read from it.
        const char* p = type == SQLITE_BLOB ? static_cast<const char*>(sqlite3_column_blob(st, c))
                                            : reinterpret_cast<const char*>(sqlite3_column_text(st, c));
        std::string_view s(p ? p : "", static_cast<std::size_t>(sqlite3_column_bytes(st, c)));
        std::string what = append_copy_text(buf, s);
        if (!what.empty()) {
            if (sum_.changed.size() < kListed) sum_.changed.push_back(where(st, t, c, id_col) + ": " + what);
            else ++sum_.changed_over;
        }
    }

    Pg& pg_;
    sqlite3* db_;
    Summary& sum_;
    const Options& opt_;
    std::vector<std::string> refused_;
    std::size_t refused_over_ = 0;
};

std::string read_file(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    if (!in) throw std::runtime_error("missing " + p.string());
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// The SQLite tables by lower-case name, with the text index tables and
// the engine's own left out.
struct LiteTables {
    std::map<std::string, std::string> plain;  // lower name -> spelling
    std::set<std::string> index;               // text index tables and their parts (lower)
};

LiteTables lite_tables(sqlite3* db) {
    LiteTables out;
    std::vector<std::pair<std::string, std::string>> all;  // name, sql
    Stmt st(db, "SELECT name, coalesce(sql, '') FROM sqlite_schema WHERE type = 'table'");
    while (sqlite3_step(st.st) == SQLITE_ROW)
        all.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(st.st, 0)),
                         reinterpret_cast<const char*>(sqlite3_column_text(st.st, 1)));
    std::vector<std::string> virtuals;
    for (const auto& [name, sql] : all)
        if (lower(sql).rfind("create virtual table", 0) == 0) virtuals.push_back(lower(name));
    for (const auto& [name, sql] : all) {
        const std::string l = lower(name);
        if (l.rfind("sqlite_", 0) == 0) continue;
        bool part = false;
        for (const std::string& v : virtuals) part |= l == v || l.rfind(v + "_", 0) == 0;
        if (part) out.index.insert(l);
        else out.plain[l] = name;
    }
    return out;
}

std::vector<std::pair<std::string, std::string>> lite_columns(sqlite3* db, const std::string& table) {
    std::vector<std::pair<std::string, std::string>> out;  // lower name, spelling
    Stmt info(db, "PRAGMA table_info(" + quoted(table) + ")");
    while (sqlite3_step(info.st) == SQLITE_ROW) {
        std::string n = reinterpret_cast<const char*>(sqlite3_column_text(info.st, 1));
        out.emplace_back(lower(n), n);
    }
    return out;
}

// The next free name beside the database for the file kept after the move.
fs::path kept_name(const fs::path& db) {
    fs::path p = db;
    p += ".migrated";
    for (int n = 2; fs::exists(p); ++n) {
        p = db;
        p += ".migrated-" + std::to_string(n);
    }
    return p;
}

// Everything on the server's side, in one transaction: committed at its end
// or not at all. The SQLite database is read in its open transaction.
Summary copy_rows(const Options& opt, sqlite3* db) {
    Summary sum;
    const LiteTables lt = lite_tables(db);

    Pg pg(opt.url);
    pg.exec("SET client_encoding = 'UTF8'");
    pg.exec("SET client_min_messages = warning");  // not a notice for each index the schema drops if there
    if (const char* enc = PQparameterStatus(pg.get(), "server_encoding"); !enc || std::string(enc) != "UTF8")
        throw std::runtime_error("the PostgreSQL database's encoding is " + std::string(enc ? enc : "unknown") +
                                 ", not UTF8: make it with ENCODING 'UTF8'");
    pg.exec("BEGIN");
    pg.exec("SET LOCAL statement_timeout = 0");
    bool has_schema = pg.exec("SELECT 1 FROM information_schema.tables WHERE table_schema = current_schema() "
                              "AND table_name = 'software'")
                          ->rows() > 0;
    if (!has_schema) pg.script(read_file(fs::path(opt.template_dir) / layout::kDatabaseFolder / "schema.postgresql.sql"));

    // The server's tables and their columns, in the order of the schema.
    std::vector<Table> tables;
    std::vector<std::string> tallies;
    {
        auto r = pg.exec("SELECT c.table_name, c.column_name, c.data_type FROM information_schema.columns c "
                         "JOIN information_schema.tables t ON t.table_schema = c.table_schema AND t.table_name = "
                         "c.table_name WHERE t.table_schema = current_schema() AND t.table_type = 'BASE TABLE' "
                         "ORDER BY c.table_name, c.ordinal_position");
        for (int i = 0; i < r->rows(); ++i) {
            const std::string table = r->at(i, 0), column = r->at(i, 1), type = r->at(i, 2);
            if (is_tally(table)) {
                if (tallies.empty() || tallies.back() != table) tallies.push_back(table);
                continue;
            }
            if (tables.empty() || tables.back().name != table) tables.push_back(Table{table, "", {}, {}});
            tables.back().pg_columns.push_back(column);
            tables.back().columns.push_back(Column{column, "", kind_of(type)});
        }
    }
    for (const std::string& t : tallies)
        if (!tally_fills().count(t))
            throw std::runtime_error("the PostgreSQL database has a count table " + t + " this version cannot fill");

    // What the target holds already.
    std::vector<std::string> holding;
    for (const Table& t : tables)
        if (pg.exec("SELECT 1 FROM " + quoted(t.name) + " LIMIT 1")->rows() > 0) holding.push_back(t.name);
    if (!holding.empty() && !opt.replace) {
        std::string names;
        for (const std::string& n : holding) names += (names.empty() ? "" : ", ") + n;
        throw std::runtime_error("the PostgreSQL database holds rows already (" + names +
                                 "); migrate into an empty database, or give --replace to replace them");
    }
    if (!holding.empty()) {
        std::string all;
        for (const Table& t : tables) all += (all.empty() ? "" : ", ") + quoted(t.name);
        for (const std::string& t : tallies) all += ", " + quoted(t);
        pg.exec("TRUNCATE " + all);  // the sequences are set below
    }

    // Match the SQLite tables and columns with the server's.
    std::set<std::string> matched;
    for (Table& t : tables) {
        auto it = lt.plain.find(t.name);
        if (it == lt.plain.end()) continue;
        t.lite = it->second;
        matched.insert(t.name);
        const auto lcols = lite_columns(db, t.lite);
        std::vector<Column> kept;
        for (Column& c : t.columns)
            for (const auto& [l, spelled] : lcols)
                if (l == c.name) {
                    c.lite = spelled;
                    kept.push_back(c);
                }
        for (const auto& [l, spelled] : lcols) {
            bool known = false;
            for (const Column& c : kept) known |= c.name == l;
            if (!known) sum.left.push_back(t.lite + "." + spelled + ": no such column on PostgreSQL");
        }
        t.columns = std::move(kept);
    }
    for (const auto& [l, spelled] : lt.plain)
        if (!matched.count(l) && !is_tally(l)) sum.left.push_back(spelled + ": no such table on PostgreSQL");
    if (!lt.index.empty()) sum.left.push_back("the text search index (PostgreSQL reads the rows)");

    // The counts and the ids are made once at the end rather than by the
    // triggers on every row; a role that does not own the tables copies
    // with the triggers on, slower and to the same result.
    pg.exec("SAVEPOINT triggers");
    sum.triggers_off = true;
    for (const Table& t : tables)
        if (!pg.try_exec("ALTER TABLE " + quoted(t.name) + " DISABLE TRIGGER USER")) {
            pg.exec("ROLLBACK TO SAVEPOINT triggers");
            sum.triggers_off = false;
            break;
        }
    pg.exec("RELEASE SAVEPOINT triggers");
    // So are the indexes but the keys: built once from sorted rows rather
    // than entry by entry (the citext comparisons made the copy three
    // times slower). Dropped and made in this transaction, so a failed copy
    // leaves them as they were.
    std::vector<std::string> indexes;
    if (sum.triggers_off) {
        auto r = pg.exec("SELECT i.indexname, i.indexdef FROM pg_indexes i WHERE i.schemaname = current_schema() "
                         "AND NOT EXISTS (SELECT 1 FROM pg_constraint c WHERE c.conname = i.indexname) "
                         "AND i.tablename NOT LIKE '%\\_tally'");
        for (int i = 0; i < r->rows(); ++i) {
            pg.exec("DROP INDEX " + quoted(r->at(i, 0)));
            indexes.push_back(r->at(i, 1));
        }
        pg.exec("SET LOCAL maintenance_work_mem = '256MB'");
    }

    Copier copier(pg, db, sum, opt);
    for (const Table& t : tables) {
        if (t.lite.empty() || t.columns.empty()) continue;
        long long n = copier.copy(t);
        sum.tables.emplace_back(t.name, n);
        sum.rows += n;
    }
    copier.check_refused();
    for (const std::string& def : indexes) pg.exec(def);

    for (const std::string& t : tallies) {
        pg.exec("DELETE FROM " + quoted(t));
        pg.exec(tally_fills().at(t));
    }
    if (sum.triggers_off)
        for (const Table& t : tables) pg.exec("ALTER TABLE " + quoted(t.name) + " ENABLE TRIGGER USER");

    // Every id sequence past the largest id, and past the largest SQLite
    // ever gave (AUTOINCREMENT does not give a deleted row's id again).
    std::map<std::string, long long> given;
    {
        // Absent when no table was ever written with AUTOINCREMENT.
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db, "SELECT name, seq FROM sqlite_sequence", -1, &st, nullptr) == SQLITE_OK)
            while (sqlite3_step(st) == SQLITE_ROW)
                given[lower(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)))] = sqlite3_column_int64(st, 1);
        sqlite3_finalize(st);
    }
    for (const Table& t : tables) {
        // Tables of the servers' own (the sessions) have no id.
        if (std::find(t.pg_columns.begin(), t.pg_columns.end(), "id") == t.pg_columns.end()) continue;
        auto seq = pg.exec("SELECT pg_get_serial_sequence($1, 'id')", {quoted(t.name)});
        if (seq->rows() == 0 || PQgetisnull(seq->r, 0, 0)) continue;
        const std::string name = seq->at(0, 0);
        long long top = std::stoll(pg.exec("SELECT coalesce(max(id), 0) FROM " + quoted(t.name))->at(0, 0));
        if (auto g = given.find(t.name); g != given.end() && g->second > top) top = g->second;
        if (top > 0) pg.exec("SELECT setval($1::regclass, $2, true)", {name, std::to_string(top)});
        else pg.exec("SELECT setval($1::regclass, 1, false)", {name});
    }
    pg.exec("COMMIT");
    // The planner's figures for the copied rows: without them it takes
    // the category of a 200k list for a few hundred rows and sorts them.
    // The vacuum marks the copied pages all visible, so a deep list screen
    // skips its rows in the index alone from the first request. It cannot
    // while the server's own background analysis of the new rows holds an
    // older snapshot: a table it had to leave is vacuumed again.
    pg.exec("VACUUM ANALYZE");
    for (int round = 0; round < 5; ++round) {
        auto left = pg.exec("SELECT c.relname FROM pg_class c JOIN pg_namespace n ON n.oid = c.relnamespace "
                            "WHERE n.nspname = current_schema() AND c.relkind = 'r' AND c.relallvisible < c.relpages");
        if (left->rows() == 0) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(300 << round));
        for (int i = 0; i < left->rows(); ++i) {
            std::string vacuum = "VACUUM ";
            vacuum += quoted(left->at(i, 0));
            pg.exec(vacuum);
        }
    }
    return sum;
}

}  // namespace

Summary run(const Options& opt) {
    const auto start = std::chrono::steady_clock::now();
    if (opt.url.rfind("postgresql://", 0) != 0 && opt.url.rfind("postgres://", 0) != 0)
        throw std::runtime_error("not a postgresql:// URL: " + opt.url);
    const fs::path db_path = layout::database_path(opt.dir);
    if (!fs::is_regular_file(db_path)) {
        if (fs::exists(postgresql_url_file(db_path.string())))
            throw std::runtime_error(opt.dir + " is served from PostgreSQL already (" +
                                     std::string(layout::kDatabaseFolder) + "/postgresql.url); it has no SQLite "
                                     "database to move");
        throw std::runtime_error(opt.dir + " has no SQLite database (" + db_path.string() + ")");
    }
    Lite lite;
    if (sqlite3_open_v2(db_path.c_str(), &lite.db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK)
        throw std::runtime_error("opening " + db_path.string() + ": " + lite.error());
    sqlite3_busy_timeout(lite.db, 5000);
    // The write lock for the whole move: a server still running cannot
    // write a row that the copy has passed and would lose.
    if (sqlite3_exec(lite.db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
        throw std::runtime_error("the SQLite database is being written (" + lite.error() +
                                 "); stop the server and run migrate again");
    Summary sum;
    try {
        sum = copy_rows(opt, lite.db);
    } catch (const std::exception& e) {
        throw std::runtime_error(std::string(e.what()) + "; nothing was changed");
    }

    // The site follows its rows: the URL beside the database, and the
    // SQLite file renamed, so that serve cannot take one for the other.
    try {
        write_postgresql_url(opt.dir, opt.url);
    } catch (const std::exception& e) {
        throw std::runtime_error("the rows are on PostgreSQL, but " + std::string(e.what()) +
                                 ": the site still uses its SQLite file");
    }
    sqlite3_exec(lite.db, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close_v2(lite.db);
    lite.db = nullptr;
    const fs::path kept = kept_name(db_path);
    try {
        fs::rename(db_path, kept);
    } catch (const std::exception& e) {
        throw std::runtime_error("the rows are on PostgreSQL, but the SQLite file was not renamed (" +
                                 std::string(e.what()) + "): the site still uses it until it is moved away");
    }
    for (const char* side : {"-wal", "-shm"}) {
        fs::path from = db_path, to = kept;
        from += side;
        to += side;
        std::error_code ec;
        if (fs::exists(from)) fs::rename(from, to, ec);
    }
    sum.kept_as = std::string(layout::kDatabaseFolder) + "/" + kept.filename().string();
    sum.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return sum;
}

#else  // built without libpq

Summary run(const Options&) {
    throw std::runtime_error("this build has no PostgreSQL engine: install libpq-dev and build again");
}

#endif

}  // namespace tav::migrate
