// Connection and recordsets over the engine. Every page opens its own
// connection per request; rows of a select are read into memory at once, so
// a recordset holds no engine lock while the page writes its answer.
#include "frame/store.h"

#include <sqlite3.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <stdexcept>
#include <sys/stat.h>
#include <vector>

#include "frame/context.h"
#include "frame/errors.h"
#include "frame/paths.h"
#include "frame/store_dialect.h"

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

// Page statements may read and write rows, nothing else: no schema changes,
// no other files, no settings of the engine, no extensions.
int authorize(void*, int code, const char* a1, const char* a2, const char*, const char*) {
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

// The first word of a statement: the dialect knows only these four.
bool allowed_verb(std::string_view sql) {
    std::size_t i = 0;
    while (i < sql.size() && (std::isspace(static_cast<unsigned char>(sql[i])) || sql[i] == '(')) ++i;
    std::size_t j = i;
    while (j < sql.size() && std::isalpha(static_cast<unsigned char>(sql[j]))) ++j;
    std::string_view verb = sql.substr(i, j - i);
    return iequals(verb, "select") || iequals(verb, "insert") || iequals(verb, "update") ||
           iequals(verb, "delete");
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

// Handles of closed connections, kept per database file as the original
// platform kept its sessions, so that a request does not pay for opening
// the file and reading its schema. A handle whose file was removed or
// replaced on disk is closed instead of reused.
class HandlePool {
public:
    static HandlePool& instance() {
        static HandlePool* pool = new HandlePool();  // never destroyed: handles may return at exit
        return *pool;
    }
    sqlite3* take(const std::string& path) {
        std::lock_guard lock(mutex_);
        auto it = idle_.find(path);
        while (it != idle_.end() && !it->second.empty()) {
            sqlite3* db = it->second.back();
            it->second.pop_back();
            if (!moved(db)) return db;
            sqlite3_close_v2(db);
        }
        return nullptr;
    }
    void give(const std::string& path, sqlite3* db) {
        // Only a handle at rest goes back: no statement left, no transaction.
        if (sqlite3_next_stmt(db, nullptr) == nullptr && sqlite3_get_autocommit(db) && !moved(db)) {
            std::lock_guard lock(mutex_);
            sweep();
            auto& list = idle_[path];
            if (list.size() < max_idle) {
                list.push_back(db);
                return;
            }
        }
        sqlite3_close_v2(db);
    }

private:
    static bool moved(sqlite3* db) {
        int has_moved = 0;
        if (sqlite3_file_control(db, "main", SQLITE_FCNTL_HAS_MOVED, &has_moved) != SQLITE_OK) return true;
        return has_moved != 0;
    }
    // Sites made and removed (tests, rebuilds) must not leave descriptors.
    void sweep() {
        for (auto it = idle_.begin(); it != idle_.end();) {
            auto& list = it->second;
            for (auto h = list.begin(); h != list.end();) {
                if (moved(*h)) {
                    sqlite3_close_v2(*h);
                    h = list.erase(h);
                } else {
                    ++h;
                }
            }
            it = list.empty() ? idle_.erase(it) : std::next(it);
        }
    }

    static constexpr std::size_t max_idle = 16;
    std::mutex mutex_;
    std::map<std::string, std::vector<sqlite3*>> idle_;
};

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
    sqlite3* db = nullptr;
    std::string path;
    bool pooled = false;  // set once the handle is fully set up
    ~Impl() {
        if (!db) return;
        if (pooled)
            HandlePool::instance().give(path, db);
        else
            sqlite3_close_v2(db);
    }
};

Connection::Connection() = default;
Connection::~Connection() = default;
Connection::Connection(Connection&&) noexcept = default;
Connection& Connection::operator=(Connection&&) noexcept = default;

bool Connection::is_open() const { return impl_ && impl_->db; }

void Connection::close() { impl_.reset(); }

void Connection::Open(const std::string& connection_string, std::source_location loc) {
    host_call(loc);
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
    std::string resolved;
    struct stat sb {};
    if (!physical_path(path, resolved) || ::stat(resolved.c_str(), &sb) != 0 || !S_ISREG(sb.st_mode))
        raise_error(err::db_failure, "[Microsoft][ODBC Microsoft Access Driver] Could not find file '" + given + "'.");

    auto impl = std::make_unique<Impl>();
    impl->path = resolved;
    if ((impl->db = HandlePool::instance().take(resolved))) {
        impl->pooled = true;
        impl_ = std::move(impl);
        return;
    }
    int rc = sqlite3_open_v2(resolved.c_str(), &impl->db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        std::string msg = impl->db ? sqlite3_errmsg(impl->db) : sqlite3_errstr(rc);
        raise_error(err::db_failure, "[Microsoft][ODBC Microsoft Access Driver] " + msg);
    }
    sqlite3* db = impl->db;
    sqlite3_busy_timeout(db, busy_timeout_ms);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    // The file is built in WAL mode; asking again is a no-op then, and turns
    // a file copied in from elsewhere over before the first page writes.
    char* errmsg = nullptr;
    rc = sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, &errmsg);
    sqlite3_free(errmsg);
    // In WAL mode NORMAL keeps the file consistent on a crash without a
    // sync per statement; pages commit every statement on its own.
    if (rc == SQLITE_OK) rc = sqlite3_exec(db, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
    if (rc == SQLITE_OK) rc = store_detail::register_dialect_functions(db);
    if (rc == SQLITE_OK) rc = sqlite3_set_authorizer(db, authorize, nullptr);
    if (rc != SQLITE_OK)
        raise_error(err::db_failure, std::string("[Microsoft][ODBC Microsoft Access Driver] ") + sqlite3_errmsg(db));
    impl->pooled = true;
    impl_ = std::move(impl);
}

// Whether a name from a request is one of the schema's tables or columns.
static bool schema_name(sqlite3* db, const std::string& name) {
    if (name.size() >= 7 && iequals(std::string_view(name).substr(0, 7), "sqlite_")) return false;
    if (sqlite3_table_column_metadata(db, "main", name.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr) == SQLITE_OK)
        return true;
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, "select name from sqlite_schema where type='table' and name not like 'sqlite_%'", -1,
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

Recordset Connection::execute(const Sql& sql, std::source_location loc) {
    host_call(loc);
    if (!is_open()) raise_error(closed_object, closed_text);
    sqlite3* db = impl_->db;
    BoundSql bound;
    std::string error = bind_sql(sql, bound, [db](const std::string& n) { return schema_name(db, n); });
    if (!error.empty()) raise_error(err::sql_failure, error);
    std::string text = translate_sql(bound.text);
    if (!allowed_verb(text)) raise_error(err::sql_failure, invalid_statement);

    sqlite3_stmt* st = nullptr;
    const char* tail = nullptr;
    int rc = sqlite3_prepare_v2(db, text.c_str(), static_cast<int>(text.size()) + 1, &st, &tail);
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

    for (int i = 1, n = sqlite3_bind_parameter_count(st); i <= n; ++i) {
        const char* name = sqlite3_bind_parameter_name(st, i);
        std::size_t k = name && name[0] == ':' ? std::strtoul(name + 2, nullptr, 10) : 0;
        if (k == 0 || k > bound.params.size()) raise_error(err::sql_failure, "bad parameter");
        const BoundSql::Param& p = bound.params[k - 1];
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
    while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
        std::vector<Value> row;
        row.reserve(static_cast<std::size_t>(ncol));
        for (int i = 0; i < ncol; ++i) row.push_back(column_value(st, i));
        data->rows.push_back(std::move(row));
    }
    if (rc != SQLITE_DONE) raise_error(err::sql_failure, sqlite3_errmsg(db));
    return Recordset(std::move(data));
}

// ---------------------------------------------------------------------------

void build_database(const std::string& path, const std::string& sql_source) {
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

}  // namespace tav
