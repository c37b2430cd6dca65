// Site set-up that page tests repeat: extra accounts, and snapshots of the
// rows (and files) a test must find unchanged.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "frame/store.h"
#include "tests/support/sqlite_file.h"
#include "tests/support/test_site.h"

namespace tav::test {

// An account with the given rights and password; returns its id.
inline std::string add_user(TestSite& site, const std::string& name, const std::string& rights = "",
                            const std::string& password = "pw", const std::string& truename = "") {
    site.exec("insert into user(username,password,TrueName,DepartMentID,menu_idstr,record) values ('" + name + "','" +
              password + "','" + (truename.empty() ? name : truename) + "',1,'" + rights + "',30)");
    return site.scalar("select id from user where username='" + name + "'", "id");
}

// Every row of a table (the columns given), one line per row: two
// snapshots compare equal when no row was added, changed or removed.
inline std::string rows_of(TestSite& site, const std::string& table, const std::string& columns) {
    std::string out;
    Recordset rs = site.query("select " + columns + " from " + table + " order by id");
    std::size_t n = 1 + static_cast<std::size_t>(std::count(columns.begin(), columns.end(), ','));
    while (!rs.eof()) {
        std::size_t start = 0;
        for (std::size_t k = 0; k < n; ++k) {
            std::size_t comma = columns.find(',', start);
            out += rs(columns.substr(start, comma - start)).str() + "|";
            start = comma + 1;
        }
        out += "\n";
        rs.movenext();
    }
    return out;
}

// Every row of every table, and with files every file of the instance but
// the database (size and time): equal snapshots mean nothing changed.
inline std::string snapshot(const TestSite& site, bool with_files = true) {
    namespace fs = std::filesystem;
    std::string out;
    if (!test_postgresql_server().empty()) {
        // The same listing through the store: every table by name, its rows
        // in the order of their first column (the heap keeps no order). The
        // sessions are left out, as SQLite's live in the process.
        auto& s = const_cast<TestSite&>(site);  // reads only
        std::vector<std::string> names;
        for (Recordset t = s.query("select table_name as name from information_schema.tables where table_schema = "
                                   "current_schema() and table_name <> 'tav_session' order by 1");
             !t.eof(); t.movenext())
            names.push_back(t("name").str());
        for (const auto& t : names) {
            out += "#" + t + "\n";
            std::vector<std::string> cols;
            for (Recordset c = s.query("select column_name as c from information_schema.columns where table_name = '" +
                                       t + "' order by ordinal_position");
                 !c.eof(); c.movenext())
                cols.push_back(c("c").str());
            for (Recordset r = s.query("select * from [" + t + "] order by 1"); !r.eof(); r.movenext()) {
                for (const auto& c : cols) {
                    Value v = r(c);
                    out += (v.is_null() ? std::string("NULL") : v.str()) + "|";
                }
                out += "\n";
            }
        }
    }
    const std::string file = site.root() + "/datebase/office.mdb";
    const std::string tables =
        out.empty() ? sqlite_rows(file, "select name from sqlite_master where type='table' order by name") : "";
    for (std::size_t at = 0, nl; (nl = tables.find('\n', at)) != std::string::npos; at = nl + 1) {
        const std::string t = tables.substr(at, nl - at);
        out += "#" + t + "\n" + sqlite_rows(file, "select * from \"" + t + "\"");
    }
    if (!with_files) return out;
    for (auto it = fs::recursive_directory_iterator(site.root()); it != fs::recursive_directory_iterator(); ++it) {
        std::string rel = fs::relative(it->path(), site.root()).string();
        if (rel.rfind("datebase", 0) == 0) continue;
        out += rel;
        if (it->is_regular_file()) {
            out.append(" ").append(std::to_string(it->file_size())).append(" ");
            out.append(std::to_string(fs::last_write_time(it->path()).time_since_epoch().count()));
        }
        out += "\n";
    }
    return out;
}

}  // namespace tav::test
