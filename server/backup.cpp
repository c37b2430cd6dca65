#include "server/backup.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;

namespace tav {

namespace {

constexpr std::size_t kBlock = 512;
// A write whose file landed this long before the database copy has ended:
// no request runs longer (the server's run-time bound, with room).
constexpr std::chrono::seconds kWriteWindow{120};
// pax records are a few names long; more is not an archive of ours.
constexpr std::uint64_t kPaxLimit = 1 << 20;

[[noreturn]] void fail(const std::string& what) { throw std::runtime_error(what); }
[[noreturn]] void fail_errno(const std::string& what) { fail(what + ": " + std::strerror(errno)); }

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// ---- tar headers ----------------------------------------------------------

bool octal_fits(std::uint64_t v, std::size_t len) {
    return len - 1 >= 22 || v < (std::uint64_t{1} << (3 * (len - 1)));
}

void put_octal(std::string& h, std::size_t at, std::size_t len, std::uint64_t v) {
    for (std::size_t i = len - 1; i-- > 0;) {
        h[at + i] = static_cast<char>('0' + (v & 7));
        v >>= 3;
    }
    h[at + len - 1] = '\0';
}

void put_text(std::string& h, std::size_t at, std::size_t len, const std::string& s) {
    std::memcpy(&h[at], s.data(), std::min(len, s.size()));
}

unsigned header_sum(const char* h) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < kBlock; ++i)
        sum += (i >= 148 && i < 156) ? ' ' : static_cast<unsigned char>(h[i]);
    return sum;
}

std::string ustar_header(const std::string& name, char type, std::uint64_t size, std::int64_t mtime,
                         unsigned mode, const std::string& link) {
    std::string h(kBlock, '\0');
    put_text(h, 0, 100, name);
    put_octal(h, 100, 8, mode & 07777);
    put_octal(h, 108, 8, 0);
    put_octal(h, 116, 8, 0);
    put_octal(h, 124, 12, octal_fits(size, 12) ? size : 0);
    put_octal(h, 136, 12, mtime > 0 && octal_fits(static_cast<std::uint64_t>(mtime), 12) ? mtime : 0);
    h[156] = type;
    put_text(h, 157, 100, link);
    put_text(h, 257, 6, std::string("ustar\0", 6));
    put_text(h, 263, 2, "00");
    put_octal(h, 148, 7, header_sum(h.data()));
    h[155] = ' ';
    return h;
}

bool plain_ascii(const std::string& s, std::size_t max) {
    if (s.size() > max) return false;
    return std::all_of(s.begin(), s.end(), [](char c) { return c > 0 && static_cast<unsigned char>(c) < 0x80; });
}

// "LEN key=value\n", where LEN counts the whole record with itself.
std::string pax_record(const std::string& key, const std::string& value) {
    std::string body = " " + key + "=" + value + "\n";
    std::size_t len = body.size() + 1;
    while (std::to_string(len).size() + body.size() != len) len = std::to_string(len).size() + body.size();
    return std::to_string(len) + body;
}

// The ustar name a reader without pax support sees: ASCII, cut to fit.
std::string fallback_name(const std::string& name) {
    std::string out;
    for (char c : name) out += static_cast<unsigned char>(c) < 0x80 && c ? c : '_';
    if (out.size() > 99) out = out.substr(out.size() - 99);
    return out;
}

std::uint64_t parse_octal(const char* p, std::size_t len) {
    std::size_t i = 0;
    while (i < len && p[i] == ' ') ++i;
    std::uint64_t v = 0;
    bool any = false;
    for (; i < len && p[i] >= '0' && p[i] <= '7'; ++i) {
        if (v >> 60) fail("archive: a number field overflows");
        v = v * 8 + static_cast<unsigned>(p[i] - '0');
        any = true;
    }
    for (; i < len; ++i)
        if (p[i] != ' ' && p[i] != '\0') fail("archive: a number field is not octal");
    if (!any) return 0;
    return v;
}

std::string field_text(const char* p, std::size_t len) { return std::string(p, strnlen(p, len)); }

}  // namespace

// ---- TarWriter ------------------------------------------------------------

void TarWriter::raw(const char* p, std::size_t n) {
    while (n > 0) {
        ssize_t w = ::write(fd_, p, n);
        if (w < 0) {
            if (errno == EINTR) continue;
            fail_errno("writing the archive");
        }
        p += w;
        n -= static_cast<std::size_t>(w);
        written_ += static_cast<std::uint64_t>(w);
    }
}

void TarWriter::pad() {
    static const char zeros[kBlock] = {};
    if (written_ % kBlock) raw(zeros, kBlock - written_ % kBlock);
}

void TarWriter::entry(const std::string& name, char type, std::uint64_t size, std::int64_t mtime, unsigned mode,
                      const std::string& link) {
    if (left_ != 0) fail("archive: an entry got less data than its size");
    if (type != '0') size = 0;
    std::string pax;
    if (!plain_ascii(name, 100)) pax += pax_record("path", name);
    if (!plain_ascii(link, 100)) pax += pax_record("linkpath", link);
    if (!octal_fits(size, 12)) pax += pax_record("size", std::to_string(size));
    if (!pax.empty()) {
        std::string h = ustar_header(fallback_name("PaxHeaders/" + name), 'x', pax.size(), mtime, 0644, "");
        raw(h.data(), h.size());
        raw(pax.data(), pax.size());
        pad();
    }
    std::string h = ustar_header(plain_ascii(name, 100) ? name : fallback_name(name), type, size, mtime, mode,
                                 plain_ascii(link, 100) ? link : fallback_name(link));
    raw(h.data(), h.size());
    left_ = size;
}

void TarWriter::data(const char* p, std::size_t n) {
    if (n > left_) fail("archive: more data than the entry's size");
    raw(p, n);
    left_ -= n;
    if (left_ == 0) pad();
}

void TarWriter::finish() {
    if (left_ != 0) fail("archive: an entry got less data than its size");
    static const char zeros[2 * kBlock] = {};
    raw(zeros, sizeof zeros);
}

// ---- TarReader ------------------------------------------------------------

void TarReader::exact(char* p, std::size_t n) {
    while (n > 0) {
        ssize_t r = ::read(fd_, p, n);
        if (r < 0) {
            if (errno == EINTR) continue;
            fail_errno("reading the archive");
        }
        if (r == 0) fail("archive: truncated");
        p += r;
        n -= static_cast<std::size_t>(r);
    }
}

void TarReader::skip(std::uint64_t n) {
    char buf[64 * 1024];
    while (n > 0) {
        std::size_t step = static_cast<std::size_t>(std::min<std::uint64_t>(n, sizeof buf));
        exact(buf, step);
        n -= step;
    }
}

std::size_t TarReader::read(char* p, std::size_t n) {
    n = static_cast<std::size_t>(std::min<std::uint64_t>(n, left_));
    if (n == 0) return 0;
    exact(p, n);
    left_ -= n;
    return n;
}

bool TarReader::next(Entry& e) {
    skip(left_ + padding_);
    left_ = padding_ = 0;
    std::string pax_path, pax_link;
    bool has_path = false, has_link = false, has_size = false;
    std::uint64_t pax_size = 0;
    for (;;) {
        char h[kBlock];
        exact(h, kBlock);
        if (std::all_of(h, h + kBlock, [](char c) { return c == 0; })) return false;
        unsigned stored = static_cast<unsigned>(parse_octal(h + 148, 8));
        // Some writers summed signed bytes; both are accepted.
        int signed_sum = 0;
        for (std::size_t i = 0; i < kBlock; ++i) signed_sum += (i >= 148 && i < 156) ? ' ' : static_cast<signed char>(h[i]);
        if (stored != header_sum(h) && static_cast<int>(stored) != signed_sum) fail("archive: a header's checksum is wrong");
        if (std::memcmp(h + 257, "ustar", 5) != 0) fail("archive: not a ustar archive");
        std::uint64_t size = parse_octal(h + 124, 12);
        char type = h[156];
        if (type == 'x' || type == 'g') {
            if (size > kPaxLimit) fail("archive: an extended header is too large");
            std::string body(size, '\0');
            exact(body.data(), body.size());
            skip((kBlock - size % kBlock) % kBlock);
            if (type == 'g') continue;  // defaults for the whole archive; nothing we keep
            for (std::size_t at = 0; at < body.size();) {
                std::size_t sp = body.find(' ', at);
                if (sp == std::string::npos) fail("archive: a bad extended header");
                std::uint64_t len = 0;
                for (std::size_t i = at; i < sp; ++i) {
                    if (body[i] < '0' || body[i] > '9' || len > kPaxLimit) fail("archive: a bad extended header");
                    len = len * 10 + static_cast<unsigned>(body[i] - '0');
                }
                if (len <= sp - at + 1 || at + len > body.size() || body[at + len - 1] != '\n')
                    fail("archive: a bad extended header");
                std::string rec = body.substr(sp + 1, at + len - sp - 2);
                std::size_t eq = rec.find('=');
                if (eq == std::string::npos) fail("archive: a bad extended header");
                std::string key = rec.substr(0, eq), value = rec.substr(eq + 1);
                if (key == "path") pax_path = value, has_path = true;
                else if (key == "linkpath") pax_link = value, has_link = true;
                else if (key == "size") {
                    if (value.empty() || value.size() > 19 || value.find_first_not_of("0123456789") != std::string::npos)
                        fail("archive: a bad size record");
                    pax_size = std::stoull(value);
                    has_size = true;
                }
                at += len;
            }
            continue;
        }
        e.type = type == '\0' ? '0' : type;
        e.name = field_text(h, 100);
        std::string prefix = field_text(h + 345, 155);
        if (std::memcmp(h + 257, "ustar\0", 6) == 0 && !prefix.empty()) e.name = prefix + "/" + e.name;
        if (has_path) e.name = pax_path;
        e.link = has_link ? pax_link : field_text(h + 157, 100);
        e.size = has_size ? pax_size : size;
        e.mtime = static_cast<std::int64_t>(parse_octal(h + 136, 12));
        // Links, folders and special files carry no data of their own; any is skipped.
        if (e.type != '0' && e.type != '7') {
            if (e.size) skip(e.size + (kBlock - e.size % kBlock) % kBlock);
            e.size = 0;
        } else {
            left_ = e.size;
            padding_ = (kBlock - e.size % kBlock) % kBlock;
        }
        return true;
    }
}

// ---- backup ---------------------------------------------------------------

namespace {

struct Db {
    sqlite3* h = nullptr;
    Db(const std::string& path, int flags) {
        if (sqlite3_open_v2(path.c_str(), &h, flags, nullptr) != SQLITE_OK) {
            std::string msg = h ? sqlite3_errmsg(h) : "cannot open";
            sqlite3_close_v2(h);
            fail("opening " + path + ": " + msg);
        }
        sqlite3_busy_timeout(h, 10000);
    }
    ~Db() { sqlite3_close_v2(h); }
    Db(const Db&) = delete;
    Db& operator=(const Db&) = delete;

    // Every row of a statement without parameters, each column as text.
    std::vector<std::vector<std::string>> rows(const std::string& sql) const {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(h, sql.c_str(), -1, &st, nullptr) != SQLITE_OK) fail(sqlite3_errmsg(h) + (": " + sql));
        std::vector<std::vector<std::string>> out;
        int rc;
        while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
            std::vector<std::string> row;
            for (int i = 0; i < sqlite3_column_count(st); ++i) {
                const unsigned char* t = sqlite3_column_text(st, i);
                row.emplace_back(t ? reinterpret_cast<const char*>(t) : "");
            }
            out.push_back(std::move(row));
        }
        std::string msg = sqlite3_errmsg(h);
        sqlite3_finalize(st);
        if (rc != SQLITE_DONE) fail(msg + ": " + sql);
        return out;
    }
};

std::string database_of(const fs::path& root) { return (root / "datebase" / "office.mdb").string(); }

// The live database with its side files: the copy stands in for them.
bool live_database_file(const std::string& rel) {
    std::string l = lower(rel);
    for (const char* side : {"", "-wal", "-shm", "-journal"})
        if (l == std::string("datebase/office.mdb") + side) return true;
    return false;
}

// One read transaction copies every page: the copy is the database as it
// stood at one commit, while the server goes on writing (WAL).
void copy_database(const std::string& from, const std::string& to) {
    // Read-write only so that a WAL file without its -shm opens; nothing is written.
    Db src(from, SQLITE_OPEN_READWRITE);
    Db dst(to, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    sqlite3_backup* b = sqlite3_backup_init(dst.h, "main", src.h, "main");
    if (!b) fail(std::string("copying the database: ") + sqlite3_errmsg(dst.h));
    int rc;
    for (int tries = 0;; ++tries) {
        rc = sqlite3_backup_step(b, -1);
        if ((rc != SQLITE_BUSY && rc != SQLITE_LOCKED) || tries > 200) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    sqlite3_backup_finish(b);
    if (rc != SQLITE_DONE) fail(std::string("copying the database: ") + sqlite3_errstr(rc));
}

void copy_file_into(TarWriter& tar, const fs::path& path, const std::string& name, BackupSummary& sum,
                    std::vector<char>& buf) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) {
        if (errno == ENOENT) return;  // deleted since the listing: a page removed it
        fail_errno("reading " + path.string());
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return;
    }
    std::uint64_t size = static_cast<std::uint64_t>(st.st_size);
    tar.entry(name, '0', size, st.st_mtime, 0644);
    std::uint64_t left = size;
    while (left > 0) {
        ssize_t r = ::read(fd, buf.data(), static_cast<std::size_t>(std::min<std::uint64_t>(left, buf.size())));
        if (r < 0 && errno == EINTR) continue;
        if (r < 0) {
            ::close(fd);
            fail_errno("reading " + path.string());
        }
        if (r == 0) {
            // Cut short while we read it: the header's size is kept, zeros fill it.
            std::fill(buf.begin(), buf.end(), 0);
            while (left > 0) {
                std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(left, buf.size()));
                tar.data(buf.data(), n);
                left -= n;
            }
            break;
        }
        tar.data(buf.data(), static_cast<std::size_t>(r));
        left -= static_cast<std::uint64_t>(r);
    }
    ::close(fd);
    ++sum.files;
    sum.bytes += size;
}

// The three folders whose files rows name, as the pages spell them.
bool upload_area(const std::string& lower_rel) {
    return lower_rel.starts_with("email/") || lower_rel.starts_with("datas/") || lower_rel.starts_with("medium/");
}

std::vector<fs::directory_entry> sorted_entries(const fs::path& dir) {
    std::vector<fs::directory_entry> out(fs::directory_iterator(dir), fs::directory_iterator{});
    std::sort(out.begin(), out.end(), [](const auto& a, const auto& b) { return a.path() < b.path(); });
    return out;
}

std::string human_bytes(std::uint64_t b) {
    char buf[32];
    if (b >= (1u << 20)) std::snprintf(buf, sizeof buf, "%.1f MB", static_cast<double>(b) / (1 << 20));
    else std::snprintf(buf, sizeof buf, "%.1f KB", static_cast<double>(b) / 1024);
    return buf;
}

}  // namespace

std::string BackupSummary::line() const {
    std::string s = std::to_string(files) + " files, " + human_bytes(bytes) + ", " + std::to_string(rows) + " rows";
    if (!tables.empty()) {
        s += " (";
        for (std::size_t i = 0; i < tables.size() && i < 3; ++i)
            s += (i ? ", " : "") + tables[i].first + " " + std::to_string(tables[i].second);
        s += ")";
    }
    if (in_flight) s += "; " + std::to_string(in_flight) + " uploads of unfinished writes left out";
    if (skipped) s += "; " + std::to_string(skipped) + " links or special files left out";
    return s;
}

BackupSummary backup_site(const std::string& dir, const std::string& out_tar) {
    fs::path root = fs::canonical(dir);
    std::string db = database_of(root);
    if (on_postgresql(root.string()))
        fail(dir + " keeps its rows on PostgreSQL (datebase/postgresql.url): back the database up with pg_dump, "
                   "and this folder's files with tar; backup archives sites on SQLite only");
    if (!fs::is_regular_file(db)) fail(dir + " holds no datebase/office.mdb");
    std::string tmp = out_tar + ".tmp", copy = out_tar + ".mdb.tmp";
    // The archive may be written inside the instance: it never archives itself.
    const std::set<fs::path> own = {fs::weakly_canonical(tmp), fs::weakly_canonical(copy),
                                     fs::weakly_canonical(copy + "-wal"), fs::weakly_canonical(copy + "-shm"),
                                     fs::weakly_canonical(out_tar)};
    // Reading the copy (a WAL database, like the live one) leaves its side
    // files beside it; they go with it.
    auto remove_copy = [&copy] {
        std::error_code ec;
        for (const char* side : {"", "-wal", "-shm", "-journal"}) fs::remove(copy + side, ec);
    };
    int fd = -1;
    BackupSummary sum;
    try {
        remove_copy();
        auto started = fs::file_time_type::clock::now();
        copy_database(db, copy);
        FileNames names = file_names_of(copy);
        {
            Db snap(copy, SQLITE_OPEN_READONLY);
            for (const auto& t : snap.rows("select name from sqlite_master where type='table' and name not like "
                                           "'sqlite_%' order by name")) {
                std::uint64_t n = std::stoull(snap.rows("select count(*) from \"" + t[0] + "\"")[0][0]);
                sum.rows += n;
                sum.tables.emplace_back(t[0], n);
            }
        }
        std::stable_sort(sum.tables.begin(), sum.tables.end(),
                         [](const auto& a, const auto& b) { return a.second > b.second; });

        fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (fd < 0) fail_errno("creating " + tmp);
        TarWriter tar(fd);
        std::vector<char> buf(1 << 20);
        auto walk = [&](auto& self, const fs::path& at, const std::string& rel_dir) -> void {
            for (const fs::directory_entry& e : sorted_entries(at)) {
                std::string rel = rel_dir + e.path().filename().string();
                fs::path abs = e.path();
                if (own.count(abs)) continue;
                std::error_code ec;
                fs::file_status st = e.symlink_status(ec);
                if (ec) continue;  // gone since the listing
                if (fs::is_directory(st)) {
                    tar.entry(rel + "/", '5', 0, 0, 0755);
                    self(self, abs, rel + "/");
                    if (lower(rel) == "datebase") {
                        copy_file_into(tar, copy, rel + "/office.mdb", sum, buf);
                    }
                } else if (fs::is_regular_file(st)) {
                    if (live_database_file(rel)) continue;
                    std::string key = lower(rel);
                    if (upload_area(key) && !key.starts_with("medium/temp/") && !names.covers(key) &&
                        fs::last_write_time(abs, ec) > started - kWriteWindow && !ec) {
                        ++sum.in_flight;
                        continue;
                    }
                    copy_file_into(tar, abs, rel, sum, buf);
                } else {
                    ++sum.skipped;
                }
            }
        };
        walk(walk, root, "");
        tar.finish();
        if (::fsync(fd) != 0) fail_errno("writing " + tmp);
        if (::close(fd) != 0) {
            fd = -1;
            fail_errno("writing " + tmp);
        }
        fd = -1;
        fs::rename(tmp, out_tar);
        remove_copy();
    } catch (...) {
        if (fd >= 0) ::close(fd);
        std::error_code ec;
        fs::remove(tmp, ec);
        remove_copy();
        throw;
    }
    return sum;
}

// ---- restore --------------------------------------------------------------

namespace {

// The entry's path inside the instance; refuses every name that could
// leave it.
fs::path safe_relative(const std::string& name) {
    if (name.empty()) fail("archive: an entry without a name");
    if (name.find('\0') != std::string::npos) fail("archive: a name holds a NUL byte");
    if (name.front() == '/') fail("archive: refused absolute name " + name);
    fs::path out;
    std::size_t at = 0;
    while (at <= name.size()) {
        std::size_t slash = name.find('/', at);
        if (slash == std::string::npos) slash = name.size();
        std::string part = name.substr(at, slash - at);
        if (part == "..") fail("archive: refused name with .. " + name);
        if (!part.empty() && part != ".") out /= part;
        at = slash + 1;
    }
    return out;  // empty for "./", the top folder some archivers list
}

}  // namespace

void restore_site(const std::string& tar_path, const std::string& dir) {
    fs::path target = fs::absolute(dir).lexically_normal();
    if (target.filename().empty()) target = target.parent_path();
    std::error_code ec;
    fs::file_status ts = fs::symlink_status(target, ec);
    if (fs::exists(ts)) {
        if (!fs::is_directory(ts)) fail(dir + " exists and is not a folder");
        if (!fs::is_empty(target)) fail(dir + " exists and is not empty");
    }
    int in = ::open(tar_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) fail_errno("opening " + tar_path);
    fs::path work = target.parent_path() / ("." + target.filename().string() + ".restore-" + std::to_string(::getpid()));
    try {
        fs::create_directories(target.parent_path());
        fs::remove_all(work);
        fs::create_directory(work);
        TarReader tar(in);
        TarReader::Entry e;
        std::vector<char> buf(1 << 20);
        while (tar.next(e)) {
            fs::path rel = safe_relative(e.name);
            if (rel.empty() && e.type == '5') continue;
            if (rel.empty()) fail("archive: a file entry without a name");
            fs::path out = work / rel;
            if (e.type == '5') {
                fs::create_directories(out);
                continue;
            }
            if (e.type != '0' && e.type != '7')
                fail("archive: refused " + std::string(e.type == '1' || e.type == '2' ? "link " : "special entry ") +
                     e.name);
            // Parents are folders we made: no entry can be a link, so none leads out.
            fs::create_directories(out.parent_path());
            int fd = ::open(out.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
            if (fd < 0) fail_errno("archive: writing " + e.name);
            try {
                std::size_t n;
                while ((n = tar.read(buf.data(), buf.size())) > 0) {
                    for (std::size_t done = 0; done < n;) {
                        ssize_t w = ::write(fd, buf.data() + done, n - done);
                        if (w < 0 && errno == EINTR) continue;
                        if (w < 0) fail_errno("writing " + out.string());
                        done += static_cast<std::size_t>(w);
                    }
                }
                if (e.mtime > 0) {
                    timespec times[2] = {{e.mtime, 0}, {e.mtime, 0}};
                    ::futimens(fd, times);
                }
                if (::fsync(fd) != 0) fail_errno("writing " + out.string());
            } catch (...) {
                ::close(fd);
                throw;
            }
            ::close(fd);
        }
        ::close(in);
        in = -1;
        std::string db = database_of(work);
        if (!fs::is_regular_file(db)) fail("archive: holds no datebase/office.mdb");
        {
            Db check(db, SQLITE_OPEN_READWRITE);
            auto r = check.rows("PRAGMA integrity_check");
            if (r.empty() || r[0].empty() || r[0][0] != "ok") fail("archive: its database fails the integrity check");
        }
        for (const char* side : {"-wal", "-shm"}) fs::remove(db + side, ec);
        fs::rename(work, target);
    } catch (...) {
        if (in >= 0) ::close(in);
        fs::remove_all(work, ec);
        throw;
    }
}

}  // namespace tav
