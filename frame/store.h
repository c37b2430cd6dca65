// The store: a connection and forward-only recordsets over the site's
// database file. Statements arrive in the dialect the pages were written
// for and are translated here; nothing above this layer knows the engine.
#pragma once

#include <functional>
#include <memory>
#include <source_location>
#include <string>
#include <string_view>
#include <vector>

#include "frame/sql.h"
#include "frame/value.h"

namespace tav {

class Recordset {
public:
    Recordset() = default;

    // True when the recordset stands behind its last row (or has none).
    bool eof(std::source_location loc = std::source_location::current()) const;
    void movenext(std::source_location loc = std::source_location::current());
    // Skips n rows forward from the first row; past the end leaves the
    // recordset at its end; fails on an empty result.
    void Move(long long n, std::source_location loc = std::source_location::current());
    // Field read by name, without case. Fails at the end of the rows and for
    // an unknown name.
    Value operator()(std::string_view field,
                     std::source_location loc = std::source_location::current()) const;
    void close();

    // Built by the connection.
    struct Data {
        std::vector<std::string> columns;
        std::vector<std::vector<Value>> rows;
    };
    explicit Recordset(std::shared_ptr<Data> data) : data_(std::move(data)) {}

private:
    std::shared_ptr<Data> data_;
    std::size_t pos_ = 0;
};

class Connection {
public:
    Connection();
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    Connection(Connection&&) noexcept;
    Connection& operator=(Connection&&) noexcept;

    // Opens the database named by dbq= in the connection string; the path
    // may use backslashes and other capitals than the disk.
    void Open(const std::string& connection_string,
              std::source_location loc = std::source_location::current());
    // Runs one statement. A select gives its rows; other statements give an
    // empty recordset nobody reads. Values joined into the statement are
    // bound, never run as program text (see frame/sql.h).
    Recordset execute(const Sql& sql,
                      std::source_location loc = std::source_location::current());
    // The rows [offset, offset + rows) of the statement's result, cut by the
    // engine: what a list page shows of a long list (see PageBar::fetch).
    Recordset execute_window(const Sql& sql, std::size_t rows, long long offset,
                             std::source_location loc = std::source_location::current());
    // A statement of one row that only the data decides, such as a list's
    // count: read once per database version (any change to the file, from
    // this process or another, reads it again) and then remembered for all
    // connections of the process, so a list's later pages and its readers
    // do not count the same rows again. It reads in a snapshot of its own.
    Recordset execute_remembered(const Sql& sql, std::source_location loc = std::source_location::current());
    void close();
    bool is_open() const;
    // False once the file the connection was opened on is no longer the one
    // under its path (removed or replaced): a connection kept across
    // requests opens again then.
    bool file_unchanged() const;
    // A page's reads share one read transaction until its next write or its
    // close: one snapshot a page instead of one lock round a statement.
    void hold_reads(bool on);
    // The text `make` builds from what it reads, kept under `key` until the
    // database changes (a write from any connection or process): for a part
    // of a page that reads much and changes seldom. The key must name
    // everything the text depends on besides the database. Kept only while
    // reads are held, since only then is the text of one version.
    std::string kept_text(const std::string& key, const std::function<std::string()>& make);
    // Whether the engine under this connection keeps the text indexes the
    // search asks first (see frame/store_search.h); false on PostgreSQL,
    // where the search reads the rows.
    bool has_text_index() const;

    struct Impl;

private:
    Recordset run(const Sql& sql, std::size_t window_rows, long long window_offset, bool remember,
                  std::source_location loc);
    std::unique_ptr<Impl> impl_;
};

// Translates a statement of the pages' dialect into the engine's. Exposed for
// tests; execute() applies it.
std::string translate_sql(std::string_view sql);

// The same for a PostgreSQL database. Exposed for tests.
std::string translate_sql_postgresql(std::string_view sql);

// Sites whose rows live on a PostgreSQL server (init and serve with
// --database URL): a connection string naming db_path opens the server at
// url. A site made by init --database keeps its URL in
// datebase/postgresql.url (postgresql_url_file), read at its first open.
void use_postgresql(const std::string& db_path, const std::string& url);
void forget_postgresql(const std::string& db_path);
std::string postgresql_url_file(const std::string& db_path);
// Whether a connection string naming db_path opens a PostgreSQL server, as
// Connection::Open decides it.
bool database_on_postgresql(const std::string& db_path);
// False when this build has no PostgreSQL engine (libpq-dev was missing).
bool postgresql_built();
// Makes the tables, functions and seed rows on an empty PostgreSQL database
// (schema_sql in PostgreSQL's terms, seed_sql in the pages' dialect); a
// database that has them is left alone.
void build_postgresql_database(const std::string& url, const std::string& schema_sql, const std::string& seed_sql);

// Builds a database file from SQL source (schema and seed rows). Used by
// site initialisation only; page statements never reach this path.
void build_database(const std::string& path, const std::string& sql_source);
// Brings a database made by an earlier version up to the present schema:
// the columns added since, and every table, index and trigger of
// `schema_sql` (the SQL new databases are built from) that it lacks, made
// from that text and filled from its rows. Run once at start, before any page.
void upgrade_database(const std::string& path, const std::string& schema_sql);

}  // namespace tav
