// Private to the store: the PostgreSQL engine under Connection. The
// connection binds and checks a statement as for SQLite, then hands it here;
// this file owns libpq, its connections and their prepared statements.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "frame/sql.h"
#include "frame/store.h"

namespace tav::store_detail {

// The server a database path stands for, when it is one: registered by
// use_postgresql, or (on_disk) read once from the site's datebase/postgresql.url.
std::optional<std::string> postgresql_url_for(const std::string& db_path, bool on_disk);

class PgSession {
public:
    // A connection to `url`, taken from the process's idle ones when it can.
    static std::unique_ptr<PgSession> open(const std::string& url);
    virtual ~PgSession() = default;
    // Runs a bound statement of the pages' dialect; window_rows > 0 cuts the
    // rows [offset, offset + window_rows) of its result.
    virtual std::shared_ptr<Recordset::Data> run(const BoundSql& bound, std::size_t window_rows,
                                                 long long window_offset) = 0;
    // Whether a name from a request is one of the schema's tables or columns.
    virtual bool schema_name(const std::string& name) = 0;
    virtual bool healthy() const = 0;
    // With reads held, the reads up to the next write (or until reads are
    // let go) share one snapshot, as on SQLite; see Connection::hold_reads.
    virtual void hold_reads(bool on) = 0;
};

}  // namespace tav::store_detail
