// Connection and recordsets over the engine. Every page opens its own
// connection per request; rows of a select are read into memory at once, so
// a recordset holds no engine lock while the page writes its answer.
#include "frame/store.h"

#include <sqlite3.h>
#include <unistd.h>

#include <cctype>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <list>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <regex>
#include <mutex>
#include <stdexcept>
#include <sys/stat.h>
#include <vector>

#include "frame/context.h"
#include "frame/errors.h"
#include "frame/host.h"
#include "frame/paths.h"
#include "frame/store_dialect.h"
#include "frame/store_postgres.h"
#include "frame/store_search.h"

namespace tav {

namespace {

// Numbers and texts of the object layer for misuse of a closed object.
constexpr long closed_object = 3704;
constexpr long open_object = 3705;
const char* const closed_text = "Operation is not allowed when the object is closed.";
const char* const open_text = "Operation is not allowed when the object is open.";
const char* const invalid_statement =
    "Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or 'UPDATE'.";

// Long enough that parallel requests queue for the write lock rather than
// fail; far below the script time limit.
constexpr int busy_timeout_ms = 10000;

std::string trim(std::string_view s) {
    std::size_t b = 0, e = s.size();
    while (b < e && std::isspace(static_cast<unsigned char>(s[b]))) ++b;
    while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1]))) --e;
    return std::string(s.substr(b, e - b));
}

// The value of dbq= in an ODBC connection string, or "" when absent.
std::string dbq_of(const std::string& cs) {
    std::size_t i = 0;
    while (i <= cs.size()) {
        std::size_t j = cs.find(';', i);
        if (j == std::string::npos) j = cs.size();
        std::string_view part(cs.data() + i, j - i);
        std::size_t eq = part.find('=');
        if (eq != std::string_view::npos && iequals(trim(part.substr(0, eq)), "dbq"))
            return trim(part.substr(eq + 1));
        i = j + 1;
    }
    return "";
}

Value column_value(sqlite3_stmt* st, int i) {
    switch (sqlite3_column_type(st, i)) {
    case SQLITE_NULL: return Value::null();
    case SQLITE_INTEGER: return Value(static_cast<long long>(sqlite3_column_int64(st, i)));
    case SQLITE_FLOAT: return Value(sqlite3_column_double(st, i));
    default: {
        const void* p = sqlite3_column_blob(st, i);
        int n = sqlite3_column_bytes(st, i);
        return Value(std::string(p ? static_cast<const char*>(p) : "", static_cast<std::size_t>(n)));
    }
    }
}

// Limits that keep one statement from taking the server down: no text or
// blob over 16 MB, no program text over 64 KB (checked before translation),
// no result over 200,000 rows or 64 MB.
constexpr int max_value_bytes = 16 * 1024 * 1024;
constexpr std::size_t max_program_bytes = 64 * 1024;
constexpr std::size_t max_result_rows = 200000;
constexpr std::size_t max_result_bytes = 64 * 1024 * 1024;
// Engine steps between looks at the clock for the script time limit.
constexpr int progress_steps = 4096;
// Prepared statements kept per handle, keyed by their placeholder text.
constexpr std::size_t statement_cache_size = 64;
// How often idle handles are checked for a database file removed or replaced.
constexpr auto sweep_interval = std::chrono::seconds(5);

const char* const result_too_large = "Query result too large: more than 200000 rows or 64 MB.";

// Memory statistics cost a global lock on every allocation of the engine;
// nothing here reads them. Must run before the engine initialises.
void configure_engine_once() {
    static std::once_flag once;
    std::call_once(once, [] {
        sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
        sqlite3_initialize();
    });
}

struct FileId {
    dev_t dev = 0;
    ino_t ino = 0;
    bool operator==(const FileId&) const = default;
};

std::optional<FileId> file_id(const std::string& path) {
    struct stat sb {};
    if (::stat(path.c_str(), &sb) != 0 || !S_ISREG(sb.st_mode)) return std::nullopt;
    return FileId{sb.st_dev, sb.st_ino};
}

}  // namespace

using store_detail::ListShape;
using store_detail::list_shape;

// What a handle remembers of one list statement: its shape. Where its
// screens start is shared by all handles (SharedAnswers::nearest_mark).
struct ListMemo {
    std::optional<ListShape> shape;
    // A screen's start: the order value and row id of the row just before it.
    struct Mark {
        BoundSql::Param value;
        long long rowid = 0;
    };
};

// An engine handle with what it keeps between requests: its prepared
// statements and the identity of the file it was opened on.
struct StoreHandle {
    sqlite3* db = nullptr;
    std::string path;
    FileId file;
    struct Cached {
        std::string key;
        sqlite3_stmt* st;
    };
    std::list<Cached> lru;  // most recently used first
    std::unordered_map<std::string, std::list<Cached>::iterator> by_key;
    // A page's reads share one snapshot (see Connection::hold_reads); page
    // statements themselves may never begin or end a transaction.
    sqlite3_stmt* begin_st = nullptr;
    sqlite3_stmt* commit_st = nullptr;
    // Set while the store itself begins or ends that snapshot: the engine
    // may prepare those two again, and the authorizer must let them pass.
    bool own_transaction = false;
    // Names from requests already looked up in the schema, which pages
    // cannot change. Bounded: the names come from users.
    std::unordered_map<std::string, bool> schema_names;
    // List statements read a screen at a time (see read_list).
    std::unordered_map<std::string, ListMemo> lists;
    // Texts pages built from one database version (Connection::kept_text).
    std::unordered_map<std::string, std::string> texts;
    std::size_t text_bytes = 0;
    unsigned text_version = 0;
    sqlite3_stmt* version_st = nullptr;
    ListMemo& list_memo(const std::string& placeholders) {
        auto it = lists.find(placeholders);
        if (it != lists.end()) return it->second;
        if (lists.size() >= 128) lists.clear();
        ListMemo& memo = lists[placeholders];
        memo.shape = list_shape(translate_sql(placeholders));
        return memo;
    }

    ~StoreHandle() {
        for (auto& c : lru) sqlite3_finalize(c.st);
        sqlite3_finalize(begin_st);
        sqlite3_finalize(commit_st);
        sqlite3_finalize(version_st);
        if (db) sqlite3_close_v2(db);
    }
    // Ends the snapshot of a page's reads, if one is open. False when the
    // handle could not be brought back to autocommit.
    bool end_reads() {
        if (sqlite3_get_autocommit(db)) return true;
        if (!commit_st) return false;
        own_transaction = true;
        sqlite3_step(commit_st);
        own_transaction = false;
        sqlite3_reset(commit_st);
        return sqlite3_get_autocommit(db) != 0;
    }
    void begin_reads() {
        if (!begin_st || !sqlite3_get_autocommit(db)) return;
        own_transaction = true;
        sqlite3_step(begin_st);
        own_transaction = false;
        sqlite3_reset(begin_st);
    }
    sqlite3_stmt* find(const std::string& key) {
        auto it = by_key.find(key);
        if (it == by_key.end()) return nullptr;
        lru.splice(lru.begin(), lru, it->second);
        return it->second->st;
    }
    void keep(const std::string& key, sqlite3_stmt* st) {
        lru.push_front({key, st});
        by_key[key] = lru.begin();
        if (lru.size() > statement_cache_size) {
            by_key.erase(lru.back().key);
            sqlite3_finalize(lru.back().st);
            lru.pop_back();
        }
    }
    bool at_rest() const {
        if (!sqlite3_get_autocommit(db)) return false;
        for (sqlite3_stmt* st = sqlite3_next_stmt(db, nullptr); st; st = sqlite3_next_stmt(db, st))
            if (sqlite3_stmt_busy(st)) return false;
        return true;
    }
};

namespace {

// Answers of execute_remembered, shared by the process's handles: a count
// one handle read serves the others while the file has not changed. A
// watcher per file tells, as each shared read's snapshot begins, whether
// the file changed since its last look (see begin_read); a change moves
// the generation on once, which forgets every answer. An answer is kept
// under the generation of the snapshot it was read in, and only when that
// snapshot is known to be the generation's version.
class SharedAnswers {
public:
    static SharedAnswers& instance() {
        static SharedAnswers* answers = new SharedAnswers();  // never destroyed: handles may read at exit
        return *answers;
    }
    // Begins a handle's snapshot (`begin`) and then asks the file's watcher,
    // under one lock, whether the file changed since the watcher last
    // looked: the snapshots begun in between saw that version, so each
    // change moves the generation on once, however many handles there are.
    // Returns the snapshot's generation, or none when a change came in
    // before the look (the snapshot may hold it or not: it reads alone).
    std::optional<unsigned long long> begin_read(const std::string& path, const std::string& file_key,
                                                 const std::function<void()>& begin) {
        std::lock_guard lock(mutex_);
        begin();
        Watcher& w = watcher_locked(path, file_key);
        std::optional<long long> version;
        if (w.st && sqlite3_step(w.st) == SQLITE_ROW) version = sqlite3_column_int64(w.st, 0);
        if (w.st) sqlite3_reset(w.st);
        const bool same = version && w.version == version;
        w.version = version;
        if (same) return generation_;
        changed_locked();
        return std::nullopt;
    }
    // List boundaries (see read_list), shared and forgotten the same way,
    // under a key of the file, the statement and its values: the one at or
    // before the row number `offset`, as (row number, mark).
    std::optional<std::pair<long long, ListMemo::Mark>> nearest_mark(const std::string& key, long long offset,
                                                                     unsigned long long generation) {
        std::lock_guard lock(mutex_);
        auto list = marks_.find(key);
        if (generation != generation_ || list == marks_.end()) return std::nullopt;
        auto it = list->second.upper_bound(offset);
        if (it == list->second.begin()) return std::nullopt;
        return *std::prev(it);
    }
    void keep_mark(const std::string& key, unsigned long long generation, long long at, ListMemo::Mark mark) {
        std::lock_guard lock(mutex_);
        if (generation != generation_) return;
        // Bounded: the statements' values come from requests.
        if (marks_.size() >= 256 && !marks_.count(key)) marks_.clear();
        auto& list = marks_[key];
        if (list.size() >= 512) list.clear();
        list[at] = std::move(mark);
    }
    // What a handle missing an answer does: take it, now that another
    // handle has read it; read it and keep it for the others; or read it for
    // itself only (the generation moved on, or the wait ran out). While one
    // handle reads an answer for this generation the others asking wait for
    // it: a burst of requests for a list nobody has counted yet counts it
    // once, not once a worker.
    enum class Claim { Known, Read, ReadAlone };
    Claim claim(const std::string& key, unsigned long long generation, std::chrono::steady_clock::time_point until) {
        std::unique_lock lock(mutex_);
        for (;;) {
            if (generation != generation_) return Claim::ReadAlone;
            if (answers_.count(key)) return Claim::Known;
            if (too_big_.count(key)) return Claim::ReadAlone;
            auto it = reading_.find(key);
            if (it == reading_.end() || it->second != generation_) break;
            if (until == std::chrono::steady_clock::time_point::max())
                reading_done_.wait(lock);
            else if (reading_done_.wait_until(lock, until) == std::cv_status::timeout)
                return Claim::ReadAlone;
        }
        reading_[key] = generation;
        return Claim::Read;
    }
    // An answer of many rows is not kept: its readers need not wait for
    // one another.
    void read_done(const std::string& key, unsigned long long generation, bool kept) {
        std::lock_guard lock(mutex_);
        if (too_big_.size() >= 1024) too_big_.clear();
        if (!kept && generation == generation_) too_big_.insert(key);
        auto it = reading_.find(key);
        if (it != reading_.end() && it->second == generation) reading_.erase(it);
        reading_done_.notify_all();
    }
    std::shared_ptr<Recordset::Data> find(const std::string& key, unsigned long long generation) {
        std::lock_guard lock(mutex_);
        auto it = answers_.find(key);
        return it != answers_.end() && generation == generation_ ? it->second : nullptr;
    }
    void keep(const std::string& key, unsigned long long generation, std::shared_ptr<Recordset::Data> data) {
        std::lock_guard lock(mutex_);
        if (generation != generation_) return;
        // Not many: the statements and their values come from requests.
        if (answers_.size() >= 1024) answers_.clear();
        answers_[key] = std::move(data);
    }

private:
    void changed_locked() {
        ++generation_;
        answers_.clear();
        too_big_.clear();
        marks_.clear();
        reading_done_.notify_all();
    }
    // A connection of its own per database file, that only asks its version.
    struct Watcher {
        sqlite3* db = nullptr;
        sqlite3_stmt* st = nullptr;
        std::optional<long long> version;
        unsigned long long used = 0;
    };
    Watcher& watcher_locked(const std::string& path, const std::string& file_key) {
        auto it = watchers_.find(file_key);
        if (it == watchers_.end()) {
            // Few: one per file a process serves; a replaced file's goes.
            if (watchers_.size() >= 16) {
                auto oldest = watchers_.begin();
                for (auto w = watchers_.begin(); w != watchers_.end(); ++w)
                    if (w->second.used < oldest->second.used) oldest = w;
                sqlite3_finalize(oldest->second.st);
                sqlite3_close_v2(oldest->second.db);
                watchers_.erase(oldest);
            }
            Watcher w;
            if (sqlite3_open_v2(path.c_str(), &w.db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) == SQLITE_OK)
                sqlite3_prepare_v2(w.db, "pragma data_version", -1, &w.st, nullptr);
            it = watchers_.emplace(file_key, w).first;
        }
        it->second.used = ++uses_;
        return it->second;
    }
    std::unordered_map<std::string, Watcher> watchers_;
    unsigned long long uses_ = 0;

    std::mutex mutex_;
    unsigned long long generation_ = 0;
    std::unordered_map<std::string, std::shared_ptr<Recordset::Data>> answers_;
    std::unordered_map<std::string, unsigned long long> reading_;  // answers being read, by generation
    std::unordered_set<std::string> too_big_;
    std::unordered_map<std::string, std::map<long long, ListMemo::Mark>> marks_;
    std::condition_variable reading_done_;
};

// Page statements may read and write rows, nothing else: no schema changes,
// no other files, no settings of the engine, no extensions.
int authorize(void* handle, int code, const char* a1, const char* a2, const char*, const char*) {
    if (code == SQLITE_TRANSACTION && static_cast<const StoreHandle*>(handle)->own_transaction) return SQLITE_OK;
    // The text indexes ask whether the file changed under them; a read.
    if (code == SQLITE_PRAGMA && a1 && iequals(a1, "data_version") && !a2) return SQLITE_OK;
    switch (code) {
    case SQLITE_ATTACH:
    case SQLITE_DETACH:
    case SQLITE_PRAGMA:
    case SQLITE_ALTER_TABLE:
    case SQLITE_REINDEX:
    case SQLITE_ANALYZE:
    case SQLITE_CREATE_VTABLE:
    case SQLITE_DROP_VTABLE:
    case SQLITE_TRANSACTION:
    case SQLITE_SAVEPOINT:
        return SQLITE_DENY;
    case SQLITE_FUNCTION:
        return a2 && iequals(a2, "load_extension") ? SQLITE_DENY : SQLITE_OK;
    default:
        if ((code >= SQLITE_CREATE_INDEX && code <= SQLITE_CREATE_VIEW) ||
            (code >= SQLITE_DROP_INDEX && code <= SQLITE_DROP_VIEW))
            return SQLITE_DENY;
        return SQLITE_OK;
    }
}

// Handles of closed connections, kept per database file as the original
// platform kept its sessions, so that a request does not pay for opening
// the file, reading its schema and preparing its statements again. A
// handle is reused only while its file is still the one under the path
// (one stat per take); idle handles of removed sites are swept on a timer.
class HandlePool {
public:
    static HandlePool& instance() {
        static HandlePool* pool = new HandlePool();  // never destroyed: handles may return at exit
        return *pool;
    }
    std::unique_ptr<StoreHandle> take(const std::string& path, const FileId& now) {
        std::lock_guard lock(mutex_);
        auto it = idle_.find(path);
        while (it != idle_.end() && !it->second.empty()) {
            std::unique_ptr<StoreHandle> h = std::move(it->second.back());
            it->second.pop_back();
            if (h->file == now) return h;
        }
        return nullptr;
    }
    void give(std::unique_ptr<StoreHandle> h) {
        if (!h->at_rest()) return;
        std::lock_guard lock(mutex_);
        auto clock = std::chrono::steady_clock::now();
        if (clock - last_sweep_ > sweep_interval) {
            last_sweep_ = clock;
            sweep();
        }
        auto& list = idle_[h->path];
        if (list.size() < std::clamp(peak_, least_idle, most_idle)) list.push_back(std::move(h));
    }
    // As many handles stay idle as were ever out at once: a server's
    // workers find theirs again after a burst. A new handle reads cold, and
    // its first remembered read forgets every shared answer (SharedAnswers),
    // so a pool smaller than the workers made each burst count again.
    void taken() {
        std::lock_guard lock(mutex_);
        peak_ = std::max(peak_, ++out_);
    }
    void returned() {
        std::lock_guard lock(mutex_);
        --out_;
    }

private:
    // Sites made and removed (tests, rebuilds) must not leave descriptors.
    void sweep() {
        for (auto it = idle_.begin(); it != idle_.end();) {
            auto id = file_id(it->first);
            auto& list = it->second;
            std::erase_if(list, [&](const std::unique_ptr<StoreHandle>& h) { return !id || !(h->file == *id); });
            it = list.empty() ? idle_.erase(it) : std::next(it);
        }
    }

    static constexpr std::size_t least_idle = 16, most_idle = 256;
    std::mutex mutex_;
    std::size_t out_ = 0, peak_ = 0;
    std::chrono::steady_clock::time_point last_sweep_ = std::chrono::steady_clock::now();
    std::map<std::string, std::vector<std::unique_ptr<StoreHandle>>> idle_;
};

// The path as the connection string gives it, resolved to the file on disk
// once: resolving walks every folder of the path without case.
class ResolvedPaths {
public:
    static ResolvedPaths& instance() {
        static ResolvedPaths* paths = new ResolvedPaths();
        return *paths;
    }
    std::optional<std::string> find(const std::string& given) {
        std::lock_guard lock(mutex_);
        auto it = map_.find(given);
        if (it == map_.end()) return std::nullopt;
        return it->second;
    }
    void remember(const std::string& given, const std::string& resolved) {
        std::lock_guard lock(mutex_);
        if (map_.size() > 1024) map_.clear();  // tests make many sites
        map_[given] = resolved;
    }
    void forget(const std::string& given) {
        std::lock_guard lock(mutex_);
        map_.erase(given);
    }

private:
    std::mutex mutex_;
    std::unordered_map<std::string, std::string> map_;
};

struct Deadline {
    std::chrono::steady_clock::time_point at;
    bool expired = false;
};

int check_deadline(void* p) {
    auto* d = static_cast<Deadline*>(p);
    if (std::chrono::steady_clock::now() > d->at) d->expired = true;
    return d->expired ? 1 : 0;
}

}  // namespace

// ---------------------------------------------------------------------------
// Recordset

bool Recordset::eof(std::source_location loc) const {
    host_call(loc);
    if (!data_) raise_error(closed_object, closed_text);
    return pos_ >= data_->rows.size();
}

void Recordset::movenext(std::source_location loc) {
    host_call(loc);
    if (!data_) raise_error(closed_object, closed_text);
    if (pos_ >= data_->rows.size()) raise_error(err::no_current_record);
    ++pos_;
}

void Recordset::Move(long long n, std::source_location loc) {
    host_call(loc);
    if (!data_) raise_error(closed_object, closed_text);
    if (data_->rows.empty() || pos_ >= data_->rows.size()) raise_error(err::no_current_record);
    if (n < 0) raise_error(err::db_failure, "Rowset does not support fetching backward.");
    std::size_t left = data_->rows.size() - pos_;
    pos_ += static_cast<unsigned long long>(n) >= left ? left : static_cast<std::size_t>(n);
}

Value Recordset::operator()(std::string_view field, std::source_location loc) const {
    host_call(loc);
    if (!data_) raise_error(closed_object, closed_text);
    std::size_t col = data_->columns.size();
    for (std::size_t i = 0; i < data_->columns.size(); ++i)
        if (iequals(data_->columns[i], field)) {
            col = i;
            break;
        }
    if (col == data_->columns.size()) raise_error(err::item_not_found);
    if (pos_ >= data_->rows.size()) raise_error(err::no_current_record);
    return data_->rows[pos_][col];
}

void Recordset::close() {
    data_.reset();
    pos_ = 0;
}

// ---------------------------------------------------------------------------
// Connection

struct Connection::Impl {
    std::unique_ptr<StoreHandle> h;
    // Set instead of h for a site on PostgreSQL.
    std::unique_ptr<store_detail::PgSession> pg;
    // Every write runs on its own (autocommit), as the pages expect: its
    // lock ends with its statement, and every statement a page ran stays
    // done whatever the page does next. With hold_reads, a run of reads
    // shares one read transaction: it ends before the next write (so the
    // write never meets a stale snapshot and the page reads its own writes)
    // and when the connection closes, so no snapshot outlives its page.
    bool hold_reads = false;
    ~Impl() {
        if (!h) return;
        HandlePool::instance().returned();
        if (h->end_reads()) HandlePool::instance().give(std::move(h));
    }
};

void Connection::hold_reads(bool on) {
    if (!is_open()) return;
    impl_->hold_reads = on;
    if (impl_->pg) impl_->pg->hold_reads(on);
    if (!on && impl_->h) impl_->h->end_reads();
}

std::string Connection::kept_text(const std::string& key, const std::function<std::string()>& make) {
    // On PostgreSQL every statement reads its own snapshot: no version to key by.
    if (!is_open() || !impl_->hold_reads || impl_->pg) return make();
    StoreHandle& h = *impl_->h;
    // The engine learns of other writers when a read begins: read in the
    // page's snapshot first, then ask which version it is.
    auto version = [&h]() -> std::optional<unsigned> {
        h.begin_reads();
        if (!h.version_st &&
            sqlite3_prepare_v3(h.db, "PRAGMA data_version", -1, SQLITE_PREPARE_PERSISTENT, &h.version_st, nullptr) !=
                SQLITE_OK)
            return std::nullopt;
        int rc = sqlite3_step(h.version_st);
        sqlite3_reset(h.version_st);
        unsigned v = 0;
        if ((rc != SQLITE_ROW && rc != SQLITE_DONE) ||
            sqlite3_file_control(h.db, "main", SQLITE_FCNTL_DATA_VERSION, &v) != SQLITE_OK)
            return std::nullopt;
        return v;
    };
    std::optional<unsigned> before = version();
    if (!before) return make();
    if (*before != h.text_version) {
        h.texts.clear();
        h.text_bytes = 0;
        h.text_version = *before;
    }
    if (auto it = h.texts.find(key); it != h.texts.end()) return it->second;
    std::string text = make();
    // A write while it was made (the page's own included) ends the snapshot
    // it was made from: such a text is not kept.
    if (!is_open() || impl_->h.get() != &h || !impl_->hold_reads || version() != before) return text;
    // A server keeps a handle a worker: a megabyte each at most.
    constexpr std::size_t most = 1u << 20;
    if (key.size() + text.size() > most) return text;
    if (h.texts.size() >= 32 || h.text_bytes + key.size() + text.size() > most) {
        h.texts.clear();
        h.text_bytes = 0;
    }
    h.text_bytes += key.size() + text.size();
    h.texts.emplace(key, text);
    return text;
}

Connection::Connection() = default;
Connection::~Connection() = default;
Connection::Connection(Connection&&) noexcept = default;
Connection& Connection::operator=(Connection&&) noexcept = default;

bool Connection::is_open() const { return impl_ && (impl_->h || impl_->pg); }

bool Connection::has_text_index() const { return is_open() && impl_->h; }

bool Connection::file_unchanged() const {
    if (!is_open()) return false;
    if (impl_->pg) return impl_->pg->healthy();
    std::optional<FileId> now = file_id(impl_->h->path);
    return now && *now == impl_->h->file;
}

void Connection::close() { impl_.reset(); }

namespace {

[[noreturn]] void driver_error(const std::string& text) {
    raise_error(err::db_failure, "[Microsoft][ODBC Microsoft Access Driver] " + text);
}

std::unique_ptr<StoreHandle> open_handle(const std::string& path, const FileId& file) {
    auto h = std::make_unique<StoreHandle>();
    h->path = path;
    h->file = file;
    int rc = sqlite3_open_v2(path.c_str(), &h->db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) driver_error(h->db ? sqlite3_errmsg(h->db) : sqlite3_errstr(rc));
    sqlite3* db = h->db;
    sqlite3_busy_timeout(db, busy_timeout_ms);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    // Plans that do not look at bound values: otherwise a statement with
    // `like ?` is compiled again on every run (the engine would weigh the
    // pattern's prefix), which cost a search page more than its rows. Every
    // pattern the pages bind starts with %, which no index serves anyway.
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_QPSG, 1, nullptr);
    // The text indexes' triggers write FTS5 tables, which the engine lets a
    // trigger do only in a trusted schema. The schema is this program's own
    // (init and the upgrade at start make it; the authorizer below keeps page
    // statements from changing it), and extensions stay off.
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 1, nullptr);
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH, max_value_bytes);
    sqlite3_limit(db, SQLITE_LIMIT_SQL_LENGTH, static_cast<int>(max_program_bytes) * 4);
    // The file is built in WAL mode; asking again is a no-op then, and turns
    // a file copied in from elsewhere over before the first page writes.
    char* errmsg = nullptr;
    rc = sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, &errmsg);
    sqlite3_free(errmsg);
    // In WAL mode NORMAL keeps the file consistent on a crash without a
    // sync per statement; pages commit every statement on its own.
    if (rc == SQLITE_OK) rc = sqlite3_exec(db, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
    if (rc == SQLITE_OK) rc = store_detail::register_dialect_functions(db);
    if (rc == SQLITE_OK) rc = sqlite3_prepare_v3(db, "BEGIN", -1, SQLITE_PREPARE_PERSISTENT, &h->begin_st, nullptr);
    if (rc == SQLITE_OK) rc = sqlite3_prepare_v3(db, "COMMIT", -1, SQLITE_PREPARE_PERSISTENT, &h->commit_st, nullptr);
    if (rc == SQLITE_OK) rc = sqlite3_set_authorizer(db, authorize, h.get());
    if (rc != SQLITE_OK) driver_error(sqlite3_errmsg(db));
    return h;
}

}  // namespace

void Connection::Open(const std::string& connection_string, std::source_location loc) {
    host_call(loc);
    configure_engine_once();
    if (is_open()) raise_error(open_object, open_text);
    std::string given = dbq_of(connection_string);
    if (given.empty())
        raise_error(err::db_failure,
                    "[Microsoft][ODBC Driver Manager] Data source name not found and no default driver specified");
    std::string path = given;
    if (path.front() != '/' && path.front() != '\\') {
        std::error_code ec;
        path = std::filesystem::current_path(ec).string() + "/" + path;
    }
    if (auto url = store_detail::postgresql_url_for(path, false)) {
        auto impl = std::make_unique<Impl>();
        impl->pg = store_detail::PgSession::open(*url);
        impl_ = std::move(impl);
        return;
    }
    // One stat when the path was resolved before; a resolution that no
    // longer finds its file is made anew.
    auto& paths = ResolvedPaths::instance();
    std::optional<std::string> resolved = paths.find(path);
    std::optional<FileId> file;
    if (resolved && !(file = file_id(*resolved))) {
        paths.forget(path);
        resolved.reset();
    }
    if (!resolved) {
        std::string found;
        if (!physical_path(path, found) || !(file = file_id(found))) {
            // No file: a site made on PostgreSQL names its server beside.
            if (auto url = store_detail::postgresql_url_for(path, true)) {
                auto impl = std::make_unique<Impl>();
                impl->pg = store_detail::PgSession::open(*url);
                impl_ = std::move(impl);
                return;
            }
            driver_error("Could not find file '" + given + "'.");
        }
        paths.remember(path, found);
        resolved = found;
    }

    auto impl = std::make_unique<Impl>();
    impl->h = HandlePool::instance().take(*resolved, *file);
    if (!impl->h) impl->h = open_handle(*resolved, *file);
    HandlePool::instance().taken();
    impl_ = std::move(impl);
}
std::optional<ListShape> store_detail::list_shape(const std::string& text) {
    static const std::regex form(
        R"(^\s*select\s+\*\s+from\s+([A-Za-z_][A-Za-z0-9_]*)(?:\s+where\s+([\s\S]*?))?)"
        R"((?:\s+order\s+by\s+([A-Za-z_][A-Za-z0-9_]*)(?:\s+(asc|desc))?)?\s*;?\s*$)",
        std::regex::icase | std::regex::ECMAScript);
    // A condition with any of these may change which rows or in what order:
    // such a list is read with the plain offset instead.
    static const std::regex unsafe(R"(\b(select|union|intersect|except|group|having|limit|offset|order|join)\b)",
                                   std::regex::icase | std::regex::ECMAScript);
    // The matcher recurses a step a character: list statements are short.
    if (text.size() > 2000) return std::nullopt;
    std::smatch m;
    if (!std::regex_match(text, m, form)) return std::nullopt;
    ListShape shape{m[1].str(), m[2].str(), m[3].matched ? m[3].str() : "rowid", false};
    if (std::regex_search(shape.where, unsafe)) return std::nullopt;
    // Without an order, rows come as the engine finds them: in row id order
    // only for the whole table or one equality on an indexed column.
    static const std::regex one_equality(R"(^\s*[A-Za-z_][A-Za-z0-9_]*\s*=\s*:[a-z][0-9]+\s*$)");
    if (!m[3].matched && !shape.where.empty() && !std::regex_match(shape.where, one_equality)) return std::nullopt;
    shape.desc = m[4].matched && iequals(m[4].str(), "desc");
    return shape;
}

// Whether a name from a request is one of the schema's tables or columns.
static bool lookup_schema_name(sqlite3* db, const std::string& name) {
    if (name.size() >= 7 && iequals(std::string_view(name).substr(0, 7), "sqlite_")) return false;
    // The text indexes and their shadow tables are the store's own.
    for (std::size_t i = 0; i + 4 <= name.size(); ++i)
        if (iequals(std::string_view(name).substr(i, 4), "_fts")) return false;
    if (sqlite3_table_column_metadata(db, "main", name.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr) == SQLITE_OK)
        return true;
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, "select name from sqlite_schema where type='table' and name not like 'sqlite_%' "
                           "and name not like '%\\_fts%' escape '\\'",
                           -1,
                           &st, nullptr) != SQLITE_OK)
        return false;
    bool found = false;
    while (!found && sqlite3_step(st) == SQLITE_ROW) {
        auto table = reinterpret_cast<const char*>(sqlite3_column_text(st, 0));
        found = table && sqlite3_table_column_metadata(db, "main", table, name.c_str(), nullptr, nullptr, nullptr,
                                                       nullptr, nullptr) == SQLITE_OK;
    }
    sqlite3_finalize(st);
    return found;
}

static bool schema_name(StoreHandle& h, const std::string& name) {
    if (auto it = h.schema_names.find(name); it != h.schema_names.end()) return it->second;
    bool found = lookup_schema_name(h.db, name);
    if (h.schema_names.size() >= 512) h.schema_names.clear();
    h.schema_names.emplace(name, found);
    return found;
}

// Prepares the engine's form of a statement with placeholders, checked to
// be one statement of the four verbs. The caller owns the result.
static sqlite3_stmt* prepare_engine(sqlite3* db, const std::string& text);

static sqlite3_stmt* prepare_checked(sqlite3* db, const std::string& placeholders, std::size_t window_rows,
                                     long long window_offset) {
    std::string text = translate_sql(placeholders);
    if (!store_detail::allowed_verb(text)) raise_error(err::sql_failure, invalid_statement);
    if (window_rows) {
        // One screen of a list: the statement as written, cut by the engine.
        std::size_t end = text.size();
        while (end > 0 && (std::isspace(static_cast<unsigned char>(text[end - 1])) || text[end - 1] == ';')) --end;
        text = "select * from (" + text.substr(0, end) + ") limit " + std::to_string(window_rows) + " offset " +
               std::to_string(window_offset);
    }
    return prepare_engine(db, text);
}

// Prepares a statement already in the engine's form, refusing a second one.
static sqlite3_stmt* prepare_engine(sqlite3* db, const std::string& text) {
    sqlite3_stmt* st = nullptr;
    const char* tail = nullptr;
    int rc = sqlite3_prepare_v3(db, text.c_str(), static_cast<int>(text.size()) + 1, SQLITE_PREPARE_PERSISTENT, &st,
                                &tail);
    if (rc != SQLITE_OK) raise_error(err::sql_failure, sqlite3_errmsg(db));
    if (!st) raise_error(err::sql_failure, invalid_statement);
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> guard(st, sqlite3_finalize);
    // One statement per call: after it only blanks and one closing ';'.
    bool semicolon = false;
    for (const char* p = tail; p && *p; ++p) {
        if (std::isspace(static_cast<unsigned char>(*p))) continue;
        if (*p == ';' && !semicolon) {
            semicolon = true;
            continue;
        }
        raise_error(err::sql_failure, "Characters found after end of SQL statement.");
    }
    return guard.release();
}

Recordset Connection::execute(const Sql& sql, std::source_location loc) { return run(sql, 0, 0, false, loc); }

Recordset Connection::execute_window(const Sql& sql, std::size_t rows, long long offset, std::source_location loc) {
    return run(sql, rows, offset < 0 ? 0 : offset, false, loc);
}

Recordset Connection::execute_remembered(const Sql& sql, std::source_location loc) {
    return run(sql, 0, 0, true, loc);
}

namespace {

// Binds the parameters (placeholders :<kind><n> name params[n-1]), steps the
// statement to its end and resets it. key_col >= 0 also records, a row, the
// engine's type of that column: a list's boundary keeps it exactly.
std::shared_ptr<Recordset::Data> step_rows(sqlite3* db, sqlite3_stmt* st, const std::vector<BoundSql::Param>& params,
                                           const Deadline& deadline, int key_col = -1,
                                           std::vector<BoundSql::Param>* keys = nullptr) {
    // Back to rest whichever way this ends, ready for the next call.
    struct Rest {
        sqlite3_stmt* st;
        ~Rest() {
            sqlite3_reset(st);
            sqlite3_clear_bindings(st);
        }
    } rest{st};
    int rc = SQLITE_OK;
    for (int i = 1, n = sqlite3_bind_parameter_count(st); i <= n; ++i) {
        const char* name = sqlite3_bind_parameter_name(st, i);
        std::size_t k = name && name[0] == ':' && name[1] ? std::strtoul(name + 2, nullptr, 10) : 0;
        if (k == 0 || k > params.size()) raise_error(err::sql_failure, "near \"?\": syntax error");
        const BoundSql::Param& p = params[k - 1];
        if (p.is_text)
            rc = sqlite3_bind_text64(st, i, p.text.data(), p.text.size(), SQLITE_STATIC, SQLITE_UTF8);
        else if (p.integral)
            rc = sqlite3_bind_int64(st, i, p.integer);
        else
            rc = sqlite3_bind_double(st, i, p.number);
        if (rc != SQLITE_OK) raise_error(err::sql_failure, sqlite3_errmsg(db));
    }
    auto data = std::make_shared<Recordset::Data>();
    int ncol = sqlite3_column_count(st);
    for (int i = 0; i < ncol; ++i) {
        const char* name = sqlite3_column_name(st, i);
        data->columns.emplace_back(name ? name : "");
    }
    std::size_t bytes = 0;
    while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
        if (data->rows.size() >= max_result_rows) raise_error(err::sql_failure, result_too_large);
        std::vector<Value> row;
        row.reserve(static_cast<std::size_t>(ncol));
        for (int i = 0; i < ncol; ++i) {
            row.push_back(column_value(st, i));
            bytes += static_cast<std::size_t>(sqlite3_column_bytes(st, i)) + sizeof(Value);
        }
        if (bytes > max_result_bytes) raise_error(err::sql_failure, result_too_large);
        data->rows.push_back(std::move(row));
        if (keys && key_col >= 0 && key_col < ncol) {
            BoundSql::Param k{};
            switch (sqlite3_column_type(st, key_col)) {
            case SQLITE_INTEGER:
                k.integral = true;
                k.integer = sqlite3_column_int64(st, key_col);
                break;
            case SQLITE_FLOAT: k.number = sqlite3_column_double(st, key_col); break;
            case SQLITE_TEXT:
                k.is_text = true;
                k.text = std::string(reinterpret_cast<const char*>(sqlite3_column_text(st, key_col)),
                                     static_cast<std::size_t>(sqlite3_column_bytes(st, key_col)));
                break;
            default: k.text = "\x01";  // NULL or a blob: no boundary is kept at such a row
            }
            keys->push_back(std::move(k));
        }
    }
    if (deadline.expired) throw ScriptTimeout{};
    if (rc != SQLITE_DONE) raise_error(err::sql_failure, sqlite3_errmsg(db));
    return data;
}

sqlite3_stmt* cached_statement(StoreHandle& h, const std::string& key, const std::string& text, bool translate) {
    sqlite3_stmt* st = h.find(key);
    if (!st) {
        st = translate ? prepare_checked(h.db, text, 0, 0) : prepare_engine(h.db, text);
        h.keep(key, st);
    }
    return st;
}

BoundSql::Param int_param(long long v) {
    BoundSql::Param p{};
    p.integral = true;
    p.integer = v;
    return p;
}

// The parameters' values as one key: the same statement text with other
// values is another list.
std::string params_key(const std::vector<BoundSql::Param>& params) {
    std::string key;
    for (const auto& p : params) {
        if (p.is_text)
            key += "t" + std::to_string(p.text.size()) + ":" + p.text;
        else if (p.integral)
            key += "i" + std::to_string(p.integer) + ";";
        else
            key += "d" + std::to_string(p.number) + ";";
    }
    return key;
}

// Begins a read whose answer other handles may share (SharedAnswers): the
// snapshot begins with this read, the cheapest there is, and its version
// tells whether the file changed since this handle last read. A change
// moves the shared generation on. True when there was none.
// Begins the handle's snapshot for a read other handles share; its
// generation when the snapshot is the version the process knows.
std::optional<unsigned long long> begin_shared_read(StoreHandle& h, SharedAnswers& shared, const Deadline& deadline) {
    return shared.begin_read(h.path, std::to_string(h.file.dev) + ':' + std::to_string(h.file.ino) + ':' + h.path, [&] {
        step_rows(h.db, cached_statement(h, "\n-- data version", "pragma data_version", false), {}, deadline);
    });
}

// One screen of a list the store knows the shape of (see ListShape): read
// from the nearest boundary remembered at or before the screen, else from
// the start; the screen's first and last rows are remembered in turn, so
// the next, the previous and the same screen read from there, on any
// handle. A boundary is only used within the database version it was read
// in (see SharedAnswers). The caller begins no snapshot before this.
// Rows a screen may lie past its nearest boundary before its readers take turns.
constexpr long long far_rows = 2000;

std::shared_ptr<Recordset::Data> read_list(StoreHandle& h, const BoundSql& bound, ListMemo& memo, std::size_t rows,
                                           long long offset, const Deadline& deadline) {
    const ListShape& shape = *memo.shape;
    const bool by_rowid = iequals(shape.column, "rowid");
    const char* op = shape.desc ? "<" : ">";
    const std::string dir = shape.desc ? " DESC" : "";
    const std::string where = shape.where.empty() ? "" : "(" + shape.where + ") and ";
    const std::string order = " order by " + (by_rowid ? std::string("rowid") + dir : shape.column + dir + ", rowid" + dir);

    SharedAnswers& shared = SharedAnswers::instance();
    const auto known = begin_shared_read(h, shared, deadline);
    const bool same = known.has_value();
    const unsigned long long generation = known.value_or(0);
    const std::string marks_key = h.path + '\0' + bound.text + '\0' + params_key(bound.params);
    auto mark = same ? shared.nearest_mark(marks_key, offset, generation) : std::nullopt;
    // A screen far from every boundary is reached by reading the rows before
    // it. When many ask for it at once (a deep page nobody has read since the
    // last change), one reads and the others wait for the boundary it leaves.
    auto far = [&] { return offset - (mark ? mark->first : 0) > far_rows; };
    const std::string walk_key = "walk\n" + marks_key;
    bool walking = false;
    if (same && far() && shared.claim(walk_key, generation, deadline.at) == SharedAnswers::Claim::Read) {
        mark = shared.nearest_mark(marks_key, offset, generation);
        walking = far();
        if (!walking) shared.read_done(walk_key, generation, true);
    }
    struct WalkDone {
        SharedAnswers& shared;
        const std::string& key;
        unsigned long long generation;
        bool on;
        ~WalkDone() {
            if (on) shared.read_done(key, generation, true);
        }
    } walk_done{shared, walk_key, generation, walking};

    for (;;) {
        const long long from = mark ? mark->first : 0;
        long long skip = offset - from;
        // One row before the screen, when there is one, gives the screen's
        // own boundary.
        const bool lead = skip > 0;
        if (lead) --skip;
        const long long want = static_cast<long long>(rows) + (lead ? 1 : 0);

        std::vector<BoundSql::Param> params = bound.params;
        auto ph = [&params](BoundSql::Param p) {
            params.push_back(std::move(p));
            return " :k" + std::to_string(params.size()) + " ";
        };
        std::string text, key;
        if (mark) {
            std::string b = ph(mark->second.value), r = ph(int_param(mark->second.rowid));
            std::string after = by_rowid ? "rowid " + std::string(op) + r
                                         : shape.column + " " + op + "=" + b + " and (" + shape.column + " " + op + b +
                                               " or rowid " + op + r + ")";
            text = "select *, rowid from " + shape.table + " where " + where + after + order;
            key = bound.text + "\n-- list after";
        } else {
            text = "select *, rowid from " + shape.table + (shape.where.empty() ? "" : " where (" + shape.where + ")") +
                   order;
            key = bound.text + "\n-- list";
        }
        text += " limit" + ph(int_param(want)) + "offset" + ph(int_param(skip));
        sqlite3_stmt* st = cached_statement(h, key, text, false);
        int key_col = -1;
        for (int i = 0, n = sqlite3_column_count(st) - 1; i < n && !by_rowid; ++i)
            if (iequals(sqlite3_column_name(st, i), shape.column)) key_col = i;
        if (by_rowid) key_col = sqlite3_column_count(st) - 1;
        std::vector<BoundSql::Param> keys;
        auto data = step_rows(h.db, st, params, deadline, key_col, &keys);

        const long long got = static_cast<long long>(data->rows.size());
        // Descending, rows without a value come after the boundary's range;
        // a short read from a boundary holds the end only when there are none.
        if (mark && got < want && shape.desc && !by_rowid) {
            std::string probe = "select 1 from " + shape.table + " where " + where + shape.column + " is null limit 1";
            auto none = step_rows(h.db, cached_statement(h, bound.text + "\n-- list nulls", probe, false), bound.params,
                                  deadline);
            if (!none->rows.empty()) {
                mark.reset();
                continue;
            }
        }

        const int rowid_col = static_cast<int>(data->columns.size()) - 1;
        auto remember = [&](long long at, std::size_t i) {
            if (!same || key_col < 0 || keys[i].text == "\x01") return;
            shared.keep_mark(marks_key, generation, at,
                             ListMemo::Mark{keys[i], data->rows[i][static_cast<std::size_t>(rowid_col)].lng()});
        };
        if (got > 0) {
            if (lead) remember(offset, 0);
            remember(from + skip + got, static_cast<std::size_t>(got - 1));
        }
        if (lead && got > 0) data->rows.erase(data->rows.begin());
        for (auto& row : data->rows) row.pop_back();
        data->columns.pop_back();
        return data;
    }
}

}  // namespace

Recordset Connection::run(const Sql& sql, std::size_t window_rows, long long window_offset, bool remember,
                          std::source_location loc) {
    host_call(loc);
    if (!is_open()) raise_error(closed_object, closed_text);
    if (impl_->pg) {
        store_detail::PgSession& pg = *impl_->pg;
        BoundSql bound;
        std::string error = bind_sql(sql, bound, [&pg](const std::string& n) { return pg.schema_name(n); });
        if (!error.empty()) raise_error(err::sql_failure, error);
        if (bound.text.size() > max_program_bytes) raise_error(err::sql_failure, "statement too long");
        return Recordset(pg.run(bound, window_rows, window_offset));
    }
    StoreHandle& h = *impl_->h;
    sqlite3* db = h.db;
    BoundSql bound;
    std::string error = bind_sql(sql, bound, [&h](const std::string& n) { return schema_name(h, n); });
    if (!error.empty()) raise_error(err::sql_failure, error);
    if (bound.text.size() > max_program_bytes) raise_error(err::sql_failure, "statement too long");

    ListMemo* memo = window_rows ? &h.list_memo(bound.text) : nullptr;
    if (memo && !memo->shape) memo = nullptr;

    sqlite3_stmt* st = nullptr;
    if (!memo) {
        std::string key = bound.text;
        if (window_rows) key += "\n-- window " + std::to_string(window_rows) + " " + std::to_string(window_offset);
        st = h.find(key);
        if (!st) {
            st = prepare_checked(db, bound.text, window_rows, window_offset);
            h.keep(key, st);
        }
    }
    // A list read may take two statements, a remembered answer belongs to
    // the snapshot whose version it checked: each shares one snapshot.
    remember = remember && st && sqlite3_stmt_readonly(st);
    // A page's held snapshot may be older than what other handles have
    // seen: a remembered answer or a list screen is read in a snapshot that
    // begins here.
    if (remember || memo) h.end_reads();
    remember = remember && sqlite3_get_autocommit(db);
    const bool own_snapshot = (memo || remember) && !impl_->hold_reads;
    if (impl_->hold_reads || own_snapshot) {
        if (!st || sqlite3_stmt_readonly(st))
            h.begin_reads();
        else
            h.end_reads();
    }
    struct Rest {
        StoreHandle& h;
        bool own;
        ~Rest() {
            sqlite3_progress_handler(h.db, 0, nullptr, nullptr);
            if (own) h.end_reads();
        }
    } rest{h, own_snapshot};

    // The page's script time limit holds inside the engine too.
    Deadline deadline{std::chrono::steady_clock::time_point::max()};
    if (Context* ctx = current_context(); ctx && ctx->server) {
        deadline.at = ctx->started + std::chrono::seconds(ctx->server->script_timeout());
        sqlite3_progress_handler(db, progress_steps, check_deadline, &deadline);
    }
    if (memo) return Recordset(read_list(h, bound, *memo, window_rows, window_offset, deadline));
    if (!remember) return Recordset(step_rows(db, st, bound.params, deadline));

    SharedAnswers& shared = SharedAnswers::instance();
    const auto known = begin_shared_read(h, shared, deadline);
    const bool same = known.has_value();
    const unsigned long long generation = known.value_or(0);
    const std::string key = h.path + '\0' + bound.text + '\0' + params_key(bound.params);
    // Only small answers to short statements are kept.
    const bool keep = same && key.size() <= 4096;
    const auto claim = keep ? shared.claim(key, generation, deadline.at) : SharedAnswers::Claim::ReadAlone;
    if (claim == SharedAnswers::Claim::Known) {
        if (auto known = shared.find(key, generation))
            return Recordset(std::make_shared<Recordset::Data>(*known));  // a copy: readers move through it
    }
    struct Claimed {
        SharedAnswers& shared;
        const std::string& key;
        unsigned long long generation;
        bool on;
        bool kept = false;
        ~Claimed() {
            if (on) shared.read_done(key, generation, kept);
        }
    } claimed{shared, key, generation, claim == SharedAnswers::Claim::Read};
    auto data = step_rows(db, st, bound.params, deadline);
    if (keep && data->rows.size() <= 1) {
        shared.keep(key, generation, std::make_shared<Recordset::Data>(*data));
        claimed.kept = true;
    }
    return Recordset(data);
}

// ---------------------------------------------------------------------------

void build_database(const std::string& path, const std::string& sql_source) {
    configure_engine_once();
    std::error_code ec;
    if (std::filesystem::exists(path, ec)) throw std::runtime_error("database already exists: " + path);
    sqlite3* db = nullptr;
    int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    std::string msg;
    if (rc == SQLITE_OK) rc = store_detail::register_dialect_functions(db);
    char* errmsg = nullptr;
    if (rc == SQLITE_OK) rc = sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, &errmsg);
    // One transaction: the seed is many rows, and one commit is one sync.
    std::string script = "BEGIN;\n" + sql_source + "\nCOMMIT;";
    if (rc == SQLITE_OK) rc = sqlite3_exec(db, script.c_str(), nullptr, nullptr, &errmsg);
    if (rc == SQLITE_OK) rc = store_detail::create_text_indexes(db);
    if (rc != SQLITE_OK) msg = errmsg ? errmsg : (db ? sqlite3_errmsg(db) : sqlite3_errstr(rc));
    sqlite3_free(errmsg);
    sqlite3_close_v2(db);
    if (rc != SQLITE_OK) {
        // A half-built file would be taken for a good one on the next start.
        for (const char* suffix : {"", "-wal", "-shm", "-journal"})
            std::filesystem::remove(path + suffix, ec);
        throw std::runtime_error("building " + path + ": " + msg);
    }
}

namespace {

// One object the schema makes (a table with the rows that fill it, an index,
// a trigger), by name, its statements in the schema's order.
struct SchemaObject {
    std::string name;
    std::vector<std::string> statements;
};

std::string skip_comments(const std::string& s) {
    std::size_t i = 0;
    for (;;) {
        while (i < s.size() && std::isspace(static_cast<unsigned char>(s[i]))) ++i;
        if (s.compare(i, 2, "--") != 0) break;
        i = s.find('\n', i);
        if (i == std::string::npos) return {};
    }
    return s.substr(i);
}

// The schema's objects: each whole statement (a trigger's body holds
// semicolons) is a CREATE, which starts an object, or an INSERT into a table
// made just before, which fills it. On a new database the fill finds no rows
// (or the empty tallies); on an old one it counts what is there.
std::vector<SchemaObject> schema_objects(const std::string& sql) {
    static const std::regex create(R"(^CREATE\s+(?:UNIQUE\s+)?(?:TABLE|INDEX|TRIGGER|VIEW)\s+(?:IF\s+NOT\s+EXISTS\s+)?["\[]?(\w+))",
                                   std::regex::icase);
    static const std::regex insert(R"(^INSERT\s+(?:OR\s+\w+\s+)?INTO\s+["\[]?(\w+))", std::regex::icase);
    std::vector<SchemaObject> out;
    std::string statement;
    for (std::size_t i = 0; i < sql.size();) {
        std::size_t end = sql.find(';', i);
        end = end == std::string::npos ? sql.size() : end + 1;
        statement.append(sql, i, end - i);
        i = end;
        if (!sqlite3_complete(statement.c_str()) && i < sql.size()) continue;
        std::string text = skip_comments(statement);
        statement.clear();
        std::smatch m;
        if (std::regex_search(text, m, create)) {
            out.push_back({m[1].str(), {text}});
        } else if (std::regex_search(text, m, insert) && !out.empty() && iequals(out.back().name, m[1].str())) {
            out.back().statements.push_back(text);
        } else if (!text.empty()) {
            throw std::runtime_error("schema statement neither makes nor fills an object: " + text.substr(0, 80));
        }
    }
    return out;
}

}  // namespace

void upgrade_database(const std::string& path, const std::string& schema_sql) {
    upgrade_database(path, schema_sql, {});
}

void upgrade_database(const std::string& path, const std::string& schema_sql, const TextIndexProgress& progress) {
    configure_engine_once();
    // Columns added after sites were first made: table, column, its type.
    static const char* const added[][3] = {
        {"user", "must_change", "INTEGER DEFAULT 0"},
    };
    const std::vector<SchemaObject> objects = schema_objects(schema_sql);
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        std::string msg = db ? sqlite3_errmsg(db) : "cannot open";
        sqlite3_close_v2(db);
        throw std::runtime_error("opening " + path + ": " + msg);
    }
    sqlite3_busy_timeout(db, 5000);
    std::string failure;
    for (const auto& [table, column, type] : added) {
        sqlite3_stmt* st = nullptr;
        std::string probe = std::string("select ") + column + " from \"" + table + "\" limit 0";
        bool present = sqlite3_prepare_v2(db, probe.c_str(), -1, &st, nullptr) == SQLITE_OK;
        sqlite3_finalize(st);
        if (present) continue;
        std::string alter = std::string("alter table \"") + table + "\" add column " + column + " " + type;
        char* err = nullptr;
        if (sqlite3_exec(db, alter.c_str(), nullptr, nullptr, &err) != SQLITE_OK) failure = err ? err : alter;
        sqlite3_free(err);
        if (!failure.empty()) break;
    }
    // Every object of the schema the database lacks, made by the schema's own
    // text and filled from the rows, all in one transaction.
    auto exec = [&](const std::string& sql, std::string& error) {
        char* err = nullptr;
        int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &err);
        if (rc != SQLITE_OK) error = err ? err : sql;
        sqlite3_free(err);
        return rc == SQLITE_OK;
    };
    auto in_schema = [&](const std::string& name) {
        sqlite3_stmt* st = nullptr;
        bool present = false;
        if (sqlite3_prepare_v2(db, "select 1 from sqlite_schema where name = ? collate nocase", -1, &st, nullptr) ==
            SQLITE_OK) {
            sqlite3_bind_text(st, 1, name.c_str(), -1, SQLITE_STATIC);
            present = sqlite3_step(st) == SQLITE_ROW;
        }
        sqlite3_finalize(st);
        return present;
    };
    if (failure.empty()) exec("BEGIN IMMEDIATE", failure);
    for (const SchemaObject& object : objects) {
        if (!failure.empty()) break;
        if (in_schema(object.name)) continue;
        std::string error;
        exec("SAVEPOINT object", failure);
        bool made = true;
        for (const std::string& statement : object.statements)
            if (!(made = exec(statement, error))) break;
        // A table that lacks the columns an index or a tally reads has no
        // rows for it to serve: left without it, as that table was made.
        if (!made && error.rfind("no such column", 0) != 0) failure = error;
        exec(made ? "RELEASE object" : "ROLLBACK TO object; RELEASE object", failure);
    }
    // Indexes an index above now serves, wider: left beside it, the planner
    // may take the narrower one and read the rows it spares.
    static const char* const retired[][2] = {
        {"datas_sub_menu_date", "datas_list"}, {"email_inbox", "email_inbox_list"}, {"email_sent", "email_sent_list"}};
    for (const auto& [old_index, wider] : retired)
        if (failure.empty() && in_schema(wider)) exec(std::string("DROP INDEX IF EXISTS ") + old_index, failure);
    if (failure.empty()) exec("COMMIT", failure);
    if (!failure.empty()) sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    // Text indexes added since: built once from the rows already there.
    if (failure.empty() && store_detail::create_text_indexes(db, progress) != SQLITE_OK)
        failure = sqlite3_errmsg(db);
    sqlite3_close_v2(db);
    if (!failure.empty()) throw std::runtime_error("upgrading " + path + ": " + failure);
}

}  // namespace tav
