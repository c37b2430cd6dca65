// Moving a site's rows from its SQLite file to a PostgreSQL server: every
// table's rows under their ids in one transaction, the counts and id
// sequences made to match, and the site pointed at the server.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tav::migrate {

struct Options {
    std::string dir;           // the site instance
    std::string url;           // postgresql://...
    std::string template_dir;  // schema.postgresql.sql, for a database without the tables
    bool replace = false;      // a target that holds rows loses them
    // Hears each table, its rows copied and its rows in all.
    std::function<void(std::string_view table, long long done, long long total)> progress;
};

struct Summary {
    std::vector<std::pair<std::string, long long>> tables;  // table, rows copied, in copy order
    long long rows = 0;
    std::vector<std::string> changed;  // values PostgreSQL cannot hold as they were, and what was done
    std::size_t changed_over = 0;      // more of them than listed
    std::vector<std::string> left;     // what was not copied, with the reason
    std::string kept_as;               // where the SQLite file now is, relative to the site
    bool triggers_off = false;         // the copy ran without the tables' triggers (the role owns them)
    double seconds = 0;
};

// Throws with the reason when refused or failed; the PostgreSQL database is
// then as it was and the site still on its SQLite file.
Summary run(const Options& opt);
std::string format_summary(const Summary& s);

// A value of a text column as PostgreSQL's COPY text format carries it,
// appended to out. PostgreSQL holds no NUL and only valid UTF-8 in a text:
// NULs are dropped and bytes that are no UTF-8 become U+FFFD; the return
// says what was changed ("" when nothing). Exposed for tests.
std::string append_copy_text(std::string& out, std::string_view value);

}  // namespace tav::migrate
