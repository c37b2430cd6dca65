// A database from before a column was added gets it at start, and keeps its rows.
#include <gtest/gtest.h>

#include "frame/store.h"
#include "tests/support/files.h"

TEST(StoreUpgrade, AddsMissingColumnsOnceAndKeepsRows) {
    tav::test::TempDir dir("tav_upgrade");
    std::string db = (dir / "office.mdb").string();
    tav::build_database(db, "create table user(id integer primary key, username text, password text);"
                            "insert into user(username,password) values ('old','pw');");
    tav::upgrade_database(db);
    tav::upgrade_database(db);  // a second start finds the column and changes nothing
    tav::Connection conn;
    conn.Open("driver={Microsoft Access Driver (*.mdb)};dbq=" + db);
    tav::Recordset rs = conn.execute("select username,must_change from user");
    ASSERT_FALSE(rs.eof());
    EXPECT_EQ(rs("username").str(), "old");
    EXPECT_EQ(rs("must_change").str(), "0");
    conn.close();
}
