// Site set-up that page tests repeat: extra accounts, and a snapshot of the
// rows a test must find unchanged.
#pragma once

#include <algorithm>
#include <string>

#include "frame/store.h"
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

}  // namespace tav::test
