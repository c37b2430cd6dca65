// A database from before a column or an index was added gets it at start,
// and keeps its rows.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <sqlite3.h>

#include "frame/store.h"
#include "frame/store_search.h"

using tav::operator""_sql;

TEST(StoreUpgrade, AddsMissingColumnsOnceAndKeepsRows) {
    namespace fs = std::filesystem;
    fs::path dir = fs::temp_directory_path() / ("tav_upgrade_" + std::to_string(::getpid()));
    fs::create_directories(dir);
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
    fs::remove_all(dir);
}

// A database from before the text index gets it at start, filled from its
// rows, with progress; the next start finds it and builds nothing.
TEST(StoreUpgrade, BuildsTheTextIndexOnceFromTheRows) {
    namespace fs = std::filesystem;
    fs::path dir = fs::temp_directory_path() / ("tav_upgrade_fts_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    std::string db = (dir / "office.mdb").string();
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(db.c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw,
                           "create table user(id integer primary key, username text, must_change integer);"
                           "create table Datas(id integer primary key, D_title text collate nocase);"
                           "insert into Datas(id, D_title) values (1, '旧的标题'), (2, 'Old title'), "
                           "(100000, 'far away title');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(raw);

    std::vector<std::string> heard;
    auto progress = [&](std::string_view table, long long done, long long total) {
        heard.push_back(std::string(table) + " " + std::to_string(done) + "/" + std::to_string(total));
    };
    tav::upgrade_database(db, progress);
    EXPECT_EQ(heard, (std::vector<std::string>{"Datas 2/3", "Datas 3/3"}));
    heard.clear();
    tav::upgrade_database(db, progress);
    EXPECT_TRUE(heard.empty());

    tav::Connection conn;
    conn.Open("dbq=" + db);
    auto ids = [&](const std::string& term) {
        std::string out;
        tav::Sql found = tav::text_contains("Datas", {"D_title"}, term);
        EXPECT_NE(found.joined().find("_fts"), std::string::npos);
        for (auto rs = conn.execute("select id from Datas where "_sql + found + " order by id"); !rs.eof(); rs.movenext())
            out += rs("id").str() + ",";
        return out;
    };
    EXPECT_EQ(ids("TITLE"), "2,100000,");
    EXPECT_EQ(ids("旧的标"), "1,");
    conn.execute("insert into Datas(D_title) values ('new title')");
    EXPECT_EQ(ids("w ti"), "100001,");
    conn.close();
    fs::remove_all(dir);
}
