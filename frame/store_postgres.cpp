// The PostgreSQL engine: libpq, one server connection per Connection taken
// from a small pool per URL, statements prepared once per server
// connection, results read as text and turned into the Values the SQLite
// engine gives (numbers as numbers, NULL as Null). Every statement commits
// on its own, as on SQLite, so an error never leaves a transaction aborted.
#include "frame/store_postgres.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <map>
#include <mutex>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "frame/errors.h"
#include "frame/paths.h"
#include "frame/store_dialect.h"
#include "frame/sql_tokens.h"

#if TAVELOR_POSTGRESQL
#include <libpq-fe.h>
#endif

namespace tav {

namespace {

// The key of a site's database: absolute, so `serve site --database URL`
// given a relative folder names the file the pages open by its full path.
std::string normalized(std::string path) {
    for (char& c : path)
        if (c == '\\') c = '/';
    std::error_code ec;
    std::filesystem::path full = std::filesystem::absolute(path, ec);
    if (!ec) path = full.lexically_normal().string();
    return lower(path);
}

class Registry {
public:
    static Registry& instance() {
        static Registry* r = new Registry();  // never destroyed: connections may close at exit
        return *r;
    }
    void set(const std::string& path, const std::string& url) {
        std::lock_guard lock(mutex_);
        urls_[normalized(path)] = url;
    }
    std::optional<std::string> get(const std::string& path) {
        std::lock_guard lock(mutex_);
        auto it = urls_.find(normalized(path));
        if (it == urls_.end()) return std::nullopt;
        return it->second;
    }
    void forget(const std::string& path) {
        std::lock_guard lock(mutex_);
        urls_.erase(normalized(path));
    }

private:
    std::mutex mutex_;
    std::unordered_map<std::string, std::string> urls_;
};

const char* const url_file = "postgresql.url";

// Closes the idle server connections to url: its database is going away.
void drop_idle_sessions(const std::string& url);

bool is_postgresql_url(const std::string& url) {
    return url.rfind("postgresql://", 0) == 0 || url.rfind("postgres://", 0) == 0;
}

}  // namespace

void use_postgresql(const std::string& db_path, const std::string& url) {
    if (!is_postgresql_url(url)) throw std::runtime_error("not a postgresql:// URL: " + url);
    Registry::instance().set(db_path, url);
}

void forget_postgresql(const std::string& db_path) {
    if (auto url = Registry::instance().get(db_path)) drop_idle_sessions(*url);
    Registry::instance().forget(db_path);
}

std::string postgresql_url_file(const std::string& db_path) {
    return std::filesystem::path(db_path).parent_path().string() + "/" + url_file;
}

bool database_on_postgresql(const std::string& db_path) {
    if (Registry::instance().get(db_path)) return true;
    std::string found;
    if (physical_path(db_path, found)) return false;
    return store_detail::postgresql_url_for(db_path, true).has_value();
}

namespace store_detail {

std::optional<std::string> postgresql_url_for(const std::string& db_path, bool on_disk) {
    if (auto url = Registry::instance().get(db_path)) return url;
    if (!on_disk) return std::nullopt;
    // A site made with init --database: the URL beside where the file would be.
    std::string found;
    if (!physical_path(postgresql_url_file(db_path), found)) return std::nullopt;
    std::ifstream in(found);
    std::string url;
    std::getline(in, url);
    while (!url.empty() && std::isspace(static_cast<unsigned char>(url.back()))) url.pop_back();
    if (!is_postgresql_url(url)) return std::nullopt;
    Registry::instance().set(db_path, url);
    return url;
}

}  // namespace store_detail

#if TAVELOR_POSTGRESQL

bool postgresql_built() { return true; }

namespace {

// The limits of the SQLite engine (see store.cpp), the same here.
constexpr std::size_t max_value_bytes = 16 * 1024 * 1024;
constexpr std::size_t max_result_rows = 200000;
constexpr std::size_t max_result_bytes = 64 * 1024 * 1024;
constexpr std::size_t statement_cache_size = 128;
// Idle server connections kept: as many as were ever busy at once (a
// server's workers find theirs again after a burst; a new one costs the
// server a process and the statements prepared again), within these.
constexpr std::size_t min_idle = 16, max_idle = 128;

// Type oids of the results the pages read as numbers.
constexpr Oid bool_oid = 16, int8_oid = 20, int2_oid = 21, int4_oid = 23, oid_oid = 26, float4_oid = 700,
              float8_oid = 701, numeric_oid = 1700;

std::string trimmed_error(const char* text) {
    std::string s = text ? text : "";
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.pop_back();
    // libpq prefixes "ERROR:  "; the rest is what the report shows.
    if (s.rfind("ERROR:  ", 0) == 0) s.erase(0, 8);
    if (std::size_t nl = s.find('\n'); nl != std::string::npos) s.resize(nl);
    return s;
}

Value field_value(const PGresult* r, int row, int col) {
    if (PQgetisnull(r, row, col)) return Value::null();
    const char* p = PQgetvalue(r, row, col);
    std::string text(p, static_cast<std::size_t>(PQgetlength(r, row, col)));
    switch (PQftype(r, col)) {
    case bool_oid: return Value(static_cast<long long>(text == "t" ? 1 : 0));
    case int2_oid:
    case int4_oid:
    case int8_oid:
    case oid_oid: return Value(std::strtoll(text.c_str(), nullptr, 10));
    case numeric_oid:
        // A sum of integers is numeric here; SQLite gives an integer.
        if (text.find_first_of(".eE") == std::string::npos && text.find_first_not_of("-0123456789") == std::string::npos)
            return Value(std::strtoll(text.c_str(), nullptr, 10));
        return Value(std::strtod(text.c_str(), nullptr));
    case float4_oid:
    case float8_oid: return Value(std::strtod(text.c_str(), nullptr));
    default: return Value(std::move(text));
    }
}

struct Result {
    PGresult* r;
    ~Result() { PQclear(r); }
};

class PgServerSession;

// Idle server connections per URL: a request does not pay for the
// connection, its authentication and its prepared statements again.
class PgPool {
public:
    static PgPool& instance() {
        static PgPool* pool = new PgPool();
        return *pool;
    }
    std::unique_ptr<PgServerSession> take(const std::string& url);
    void give(std::unique_ptr<PgServerSession> s);
    void drop(const std::string& url) {
        std::vector<std::unique_ptr<PgServerSession>> gone;
        std::lock_guard lock(mutex_);
        if (auto it = idle_.find(url); it != idle_.end()) {
            gone = std::move(it->second);
            idle_.erase(it);
        }
    }

private:
    std::mutex mutex_;
    std::map<std::string, std::vector<std::unique_ptr<PgServerSession>>> idle_;
    std::size_t busy_ = 0, peak_ = 0;  // taken and not given back; the most at once
};

class PgServerSession final : public store_detail::PgSession {
public:
    PgServerSession(std::string url, PGconn* c) : url_(std::move(url)), conn_(c) {}
    ~PgServerSession() override { PQfinish(conn_); }
    const std::string& url() const { return url_; }
    bool healthy() const override {
        const PGTransactionStatusType t = PQtransactionStatus(conn_);
        return PQstatus(conn_) == CONNECTION_OK &&
               (t == PQTRANS_IDLE || (in_snapshot_ && t == PQTRANS_INTRANS));
    }

    void hold_reads(bool on) override {
        hold_ = on;
        if (!on) end_snapshot();
    }

    std::shared_ptr<Recordset::Data> run(const BoundSql& bound, std::size_t window_rows,
                                         long long window_offset) override {
        // A page's reads share a snapshot; a write ends it first, runs on its
        // own and commits at once, and the page's next read sees it.
        if (is_read(bound.text)) {
            if (hold_ && !in_snapshot_) {
                Result b{PQexec(conn_, "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY")};
                if (PQresultStatus(b.r) != PGRES_COMMAND_OK)
                    raise_error(err::db_failure, "[PostgreSQL] " + trimmed_error(PQresultErrorMessage(b.r)));
                in_snapshot_ = true;
            }
        } else {
            end_snapshot();
        }
        std::string key = bound.text;
        if (window_rows) key += "\n-- window";
        // A statement without values is mostly one of a kind (set-up, tools):
        // sent once, unnamed, rather than prepared and kept.
        const bool once = bound.params.empty() && !window_rows;
        std::string once_text;
        if (once) once_text = checked_text(bound, 0);
        const std::string& name = once ? once_text : prepared(key, bound, window_rows);
        // Values as text, typed where the statement gives no type: numbers
        // are typed at preparation (see prepared), texts take the column's.
        std::vector<std::string> numbers;
        numbers.reserve(bound.params.size() + 2);
        std::vector<const char*> values;
        std::vector<int> lengths;
        for (const BoundSql::Param& p : bound.params) {
            if (p.is_text) {
                if (p.text.size() > max_value_bytes) raise_error(err::sql_failure, "string or blob too big");
                // The server's text holds no NUL; libpq would cut the value
                // there. Refused whole rather than stored short.
                if (p.text.find('\0') != std::string::npos)
                    raise_error(err::sql_failure, "a text value holds a NUL character");
                values.push_back(p.text.c_str());
                lengths.push_back(static_cast<int>(p.text.size()));
                continue;
            }
            numbers.push_back(p.integral ? std::to_string(p.integer) : number_text(p.number));
            values.push_back(nullptr);
            lengths.push_back(0);
        }
        if (window_rows) {
            numbers.push_back(std::to_string(window_rows));
            numbers.push_back(std::to_string(window_offset));
            values.push_back(nullptr);
            values.push_back(nullptr);
            lengths.push_back(0);
            lengths.push_back(0);
        }
        for (std::size_t i = 0, k = 0; i < values.size(); ++i)
            if (!values[i]) values[i] = numbers[k++].c_str();
        Result res{once ? PQexecParams(conn_, once_text.c_str(), 0, nullptr, nullptr, nullptr, nullptr, 0)
                        : PQexecPrepared(conn_, name.c_str(), static_cast<int>(values.size()), values.data(),
                                         lengths.data(), nullptr, 0)};
        ExecStatusType status = PQresultStatus(res.r);
        if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
            // A failed statement aborts the snapshot: the next read begins another.
            end_snapshot();
            // A statement the server no longer knows (a reset) is prepared anew next time.
            forget(key);
            raise_error(err::sql_failure, trimmed_error(PQresultErrorMessage(res.r)));
        }
        auto data = std::make_shared<Recordset::Data>();
        if (status != PGRES_TUPLES_OK) return data;
        const int ncol = PQnfields(res.r), nrow = PQntuples(res.r);
        if (static_cast<std::size_t>(nrow) > max_result_rows)
            raise_error(err::sql_failure, "Query result too large: more than 200000 rows or 64 MB.");
        for (int c = 0; c < ncol; ++c) data->columns.emplace_back(PQfname(res.r, c));
        std::size_t bytes = 0;
        data->rows.reserve(static_cast<std::size_t>(nrow));
        for (int r = 0; r < nrow; ++r) {
            std::vector<Value> row;
            row.reserve(static_cast<std::size_t>(ncol));
            for (int c = 0; c < ncol; ++c) {
                row.push_back(field_value(res.r, r, c));
                bytes += static_cast<std::size_t>(PQgetlength(res.r, r, c)) + sizeof(Value);
            }
            if (bytes > max_result_bytes)
                raise_error(err::sql_failure, "Query result too large: more than 200000 rows or 64 MB.");
            data->rows.push_back(std::move(row));
        }
        return data;
    }

    bool schema_name(const std::string& name) override {
        if (names_.empty()) {
            Result r{PQexec(conn_,
                            "select lower(table_name) from information_schema.tables where table_schema = "
                            "current_schema() union select lower(column_name) from information_schema.columns "
                            "where table_schema = current_schema()")};
            if (PQresultStatus(r.r) != PGRES_TUPLES_OK) return false;
            for (int i = 0; i < PQntuples(r.r); ++i) names_.insert(PQgetvalue(r.r, i, 0));
        }
        return names_.count(lower(name)) > 0;
    }

private:
    static std::string number_text(double d) {
        char buf[40];
        std::snprintf(buf, sizeof buf, "%.17g", d);
        return buf;
    }

    // The server's text of a statement, checked to be one of the four verbs.
    std::string checked_text(const BoundSql& bound, std::size_t window_rows) {
        std::string text = translate_sql_postgresql(bound.text);
        // One statement of the four verbs: the server refuses a second one in
        // a prepared statement itself.
        if (!store_detail::allowed_verb(text))
            raise_error(err::sql_failure,
                        "Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or 'UPDATE'.");
        if (!window_rows) return text;
        const std::string limit = " limit $" + std::to_string(bound.params.size() + 1) + " offset $" +
                                  std::to_string(bound.params.size() + 2);
        if (std::string by_order = window_by_order(bound.text, limit); !by_order.empty()) return by_order;
        std::size_t end = text.size();
        while (end > 0 && (std::isspace(static_cast<unsigned char>(text[end - 1])) || text[end - 1] == ';')) --end;
        return "select * from (" + text.substr(0, end) + ") as tav_window" + limit;
    }

    // A screen of a list of one table, read as the other engine reads it:
    // equal values of the order column in id order, the direction of the
    // order (without it the server gives them as it finds them, and a row
    // could show on two screens and another on none). The rows before the
    // screen are skipped in the index alone, and only the screen's rows are
    // read from the table: a deep page costs a walk of the index, not of
    // the rows. Empty when the statement is not such a list.
    std::string window_by_order(const std::string& dialect, const std::string& limit) {
        auto shape = store_detail::list_shape(dialect);
        if (!shape || !has_id(shape->table)) return {};
        const std::string dir = shape->desc ? " desc" : "";
        const bool by_id = iequals(shape->column, "rowid") || iequals(shape->column, "id");
        const std::string order = " order by " + (by_id ? "id" + dir : shape->column + dir + ", id" + dir);
        const std::string where = shape->where.empty() ? "" : " where (" + shape->where + ")";
        std::string ids = translate_sql_postgresql("select id from " + shape->table + where + order);
        std::string rows = translate_sql_postgresql("select * from " + shape->table + order);
        const std::size_t o = rows.rfind(" order by ");
        if (o == std::string::npos) return {};
        return rows.substr(0, o) + " where id in (" + ids + limit + ")" + rows.substr(o);
    }

    bool has_id(const std::string& table) {
        if (with_id_.empty()) {
            Result r{PQexec(conn_,
                            "select lower(table_name) from information_schema.columns where table_schema = "
                            "current_schema() and lower(column_name) = 'id'")};
            if (PQresultStatus(r.r) != PGRES_TUPLES_OK) return false;
            for (int i = 0; i < PQntuples(r.r); ++i) with_id_.insert(PQgetvalue(r.r, i, 0));
        }
        return with_id_.count(lower(table)) > 0;
    }

    const std::string& prepared(const std::string& key, const BoundSql& bound, std::size_t window_rows) {
        if (auto it = by_key_.find(key); it != by_key_.end()) {
            lru_.splice(lru_.begin(), lru_, it->second);
            return it->second->second;
        }
        const std::string text = checked_text(bound, window_rows);
        // Numbers are typed: a placeholder alone (select :n1, :n1 + 1) has no
        // type of its own. Texts are left to the statement, so '5' may meet
        // an integer column as it did on the original platform.
        std::vector<Oid> types;
        for (const BoundSql::Param& p : bound.params)
            types.push_back(p.is_text ? 0 : p.integral ? int8_oid : float8_oid);
        if (window_rows) types.insert(types.end(), {int8_oid, int8_oid});
        std::string name = "tav" + std::to_string(++serial_);
        Result r{PQprepare(conn_, name.c_str(), text.c_str(), static_cast<int>(types.size()), types.data())};
        if (PQresultStatus(r.r) != PGRES_COMMAND_OK)
            raise_error(err::sql_failure, trimmed_error(PQresultErrorMessage(r.r)));
        lru_.emplace_front(key, name);
        by_key_[key] = lru_.begin();
        if (lru_.size() > statement_cache_size) {
            Result d{PQexec(conn_, ("DEALLOCATE " + lru_.back().second).c_str())};
            by_key_.erase(lru_.back().first);
            lru_.pop_back();
        }
        return lru_.front().second;
    }

    static bool is_read(const std::string& text) {
        std::size_t i = 0;
        while (i < text.size() && (std::isspace(static_cast<unsigned char>(text[i])) || text[i] == '(')) ++i;
        return text.size() - i >= 6 && iequals(std::string_view(text).substr(i, 6), "select");
    }

    void end_snapshot() {
        if (!in_snapshot_) return;
        in_snapshot_ = false;
        // Read only: nothing to keep, and a failed one ends the same way.
        Result r{PQexec(conn_, "ROLLBACK")};
    }

    void forget(const std::string& key) {
        auto it = by_key_.find(key);
        if (it == by_key_.end()) return;
        Result d{PQexec(conn_, ("DEALLOCATE " + it->second->second).c_str())};
        lru_.erase(it->second);
        by_key_.erase(it);
    }

    std::string url_;
    PGconn* conn_;
    unsigned long serial_ = 0;
    std::list<std::pair<std::string, std::string>> lru_;  // key, statement name; most recent first
    std::unordered_map<std::string, std::list<std::pair<std::string, std::string>>::iterator> by_key_;
    std::unordered_set<std::string> names_;
    std::unordered_set<std::string> with_id_;  // tables with an id column
    bool hold_ = false, in_snapshot_ = false;
};

std::unique_ptr<PgServerSession> PgPool::take(const std::string& url) {
    std::lock_guard lock(mutex_);
    peak_ = std::max(peak_, ++busy_);
    auto it = idle_.find(url);
    while (it != idle_.end() && !it->second.empty()) {
        auto s = std::move(it->second.back());
        it->second.pop_back();
        if (s->healthy()) return s;
    }
    return nullptr;
}

void PgPool::give(std::unique_ptr<PgServerSession> s) {
    std::lock_guard lock(mutex_);
    --busy_;
    if (!s || !s->healthy()) return;
    auto& list = idle_[s->url()];
    if (list.size() < std::clamp(peak_, min_idle, max_idle)) list.push_back(std::move(s));
}

// Returns its server connection to the pool when the page's connection closes.
class PooledSession final : public store_detail::PgSession {
public:
    explicit PooledSession(std::unique_ptr<PgServerSession> s) : s_(std::move(s)) {}
    ~PooledSession() override {
        s_->hold_reads(false);  // no snapshot outlives its page
        PgPool::instance().give(std::move(s_));
    }
    std::shared_ptr<Recordset::Data> run(const BoundSql& b, std::size_t rows, long long offset) override {
        return s_->run(b, rows, offset);
    }
    bool schema_name(const std::string& name) override { return s_->schema_name(name); }
    bool healthy() const override { return s_->healthy(); }
    void hold_reads(bool on) override { s_->hold_reads(on); }

private:
    std::unique_ptr<PgServerSession> s_;
};

PGconn* connect(const std::string& url, std::string& error) {
    PGconn* c = PQconnectdb(url.c_str());
    if (PQstatus(c) != CONNECTION_OK) {
        error = trimmed_error(PQerrorMessage(c));
        PQfinish(c);
        return nullptr;
    }
    // Dates are local time as text, made by the server: the server's
    // session speaks this process's zone; a statement stops at the script
    // time limit. Messages stay untranslated, as the reports quote them.
    // No compiling of statements to machine code: the planner's figures
    // for a page's joins pass its threshold, and compiling costs a fresh
    // server process 400 ms where the statement runs in 10.
    std::string tz;
    if (const char* env = std::getenv("TZ"); env && *env) tz = env;
    std::string setup =
        "SET statement_timeout = '90s'; SET lc_messages = 'C'; SET client_encoding = 'UTF8'; SET jit = off";
    Result r{PQexec(c, setup.c_str())};
    if (!tz.empty()) {
        const char* values[] = {tz.c_str()};
        Result t{PQexecParams(c, "select set_config('TimeZone', $1, false)", 1, nullptr, values, nullptr, nullptr, 0)};
    }
    return c;
}

void drop_idle_sessions(const std::string& url) { PgPool::instance().drop(url); }

}  // namespace

namespace store_detail {

std::unique_ptr<PgSession> PgSession::open(const std::string& url) {
    auto s = PgPool::instance().take(url);
    if (!s) {
        std::string error;
        PGconn* c = connect(url, error);
        if (!c) {
            PgPool::instance().give(nullptr);  // counted as taken
            raise_error(err::db_failure, "[PostgreSQL] " + error);
        }
        s = std::make_unique<PgServerSession>(url, c);
    }
    return std::make_unique<PooledSession>(std::move(s));
}

}  // namespace store_detail

namespace {

// The statements of a script, split where the tokenizer finds ';' outside
// literals, comments and function bodies ($$ ... $$).
std::vector<std::string> statements_of(const std::string& script) {
    std::vector<std::string> out;
    std::string cur;
    bool in_body = false;
    for (std::size_t i = 0; i < script.size(); ++i) {
        char c = script[i];
        if (!in_body && c == '-' && i + 1 < script.size() && script[i + 1] == '-') {
            std::size_t nl = script.find('\n', i);
            i = nl == std::string::npos ? script.size() : nl;
            cur += '\n';
            continue;
        }
        if (c == '$' && i + 1 < script.size() && script[i + 1] == '$') {
            in_body = !in_body;
            cur += "$$";
            ++i;
            continue;
        }
        if (!in_body && c == '\'') {
            std::size_t j = i + 1;
            while (j < script.size() && !(script[j] == '\'' && (j + 1 >= script.size() || script[j + 1] != '\''))) {
                j += script[j] == '\'' ? 2 : 1;
            }
            cur.append(script, i, j + 1 - i);
            i = j;
            continue;
        }
        if (!in_body && c == ';') {
            out.push_back(cur);
            cur.clear();
            continue;
        }
        cur += c;
    }
    bool blank = true;
    for (char c : cur)
        if (!std::isspace(static_cast<unsigned char>(c))) blank = false;
    if (!blank) out.push_back(cur);
    return out;
}

}  // namespace

void build_postgresql_database(const std::string& url, const std::string& schema_sql, const std::string& seed_sql) {
    std::string error;
    PGconn* c = connect(url, error);
    if (!c) throw std::runtime_error("connecting to " + url + ": " + error);
    std::unique_ptr<PGconn, void (*)(PGconn*)> guard(c, PQfinish);
    {
        // A database that has the tables already is left as it is.
        Result r{PQexec(c, "select 1 from information_schema.tables where table_schema = current_schema() "
                           "and table_name = 'software'")};
        if (PQresultStatus(r.r) == PGRES_TUPLES_OK && PQntuples(r.r) > 0) {
            // Built before: only what the schema makes IF NOT EXISTS or OR
            // REPLACE (what was added since) and the indexes it drops as
            // replaced are done now, without a notice for each one.
            Result quiet{PQexec(c, "SET client_min_messages = warning")};
            for (const std::string& s : statements_of(schema_sql)) {
                std::size_t b = s.find_first_not_of(" \t\r\n");
                if (b == std::string::npos) continue;
                std::string head = lower(s.substr(b, 40));
                bool again = false;
                for (const char* kind : {"create table if not exists", "create index if not exists", "drop index if exists",
                                         "create extension if not exists", "create or replace function"})
                    if (head.rfind(kind, 0) == 0) again = true;
                if (!again)
                    continue;
                Result u{PQexec(c, s.c_str())};
                if (PQresultStatus(u.r) != PGRES_COMMAND_OK)
                    throw std::runtime_error("upgrading the database at " + url + ": " +
                                             trimmed_error(PQresultErrorMessage(u.r)));
            }
            return;
        }
    }
    // One transaction: a half-built database would pass for a good one.
    std::vector<std::string> all{"BEGIN"};
    for (std::string& s : statements_of(schema_sql)) all.push_back(std::move(s));
    // The seed is written in the pages' dialect.
    for (std::string& s : statements_of(seed_sql)) all.push_back(translate_sql_postgresql(s));
    all.push_back("COMMIT");
    for (const std::string& s : all) {
        Result r{PQexec(c, s.c_str())};
        ExecStatusType st = PQresultStatus(r.r);
        if (st != PGRES_COMMAND_OK && st != PGRES_TUPLES_OK) {
            std::string msg = trimmed_error(PQresultErrorMessage(r.r));
            Result rb{PQexec(c, "ROLLBACK")};
            throw std::runtime_error("building the database at " + url + ": " + msg + " in: " + s.substr(0, 120));
        }
    }
}

#else  // built without libpq

bool postgresql_built() { return false; }

namespace {
void drop_idle_sessions(const std::string&) {}
}  // namespace

namespace store_detail {
std::unique_ptr<PgSession> PgSession::open(const std::string&) {
    raise_error(err::db_failure, "[PostgreSQL] this build has no PostgreSQL engine (libpq-dev was missing)");
}
}  // namespace store_detail

void build_postgresql_database(const std::string&, const std::string&, const std::string&) {
    throw std::runtime_error("this build has no PostgreSQL engine: install libpq-dev and build again");
}

#endif

}  // namespace tav
