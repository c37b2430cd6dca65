// A database from before a column or an index was added gets it at start,
// and keeps its rows.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <sqlite3.h>

#include "frame/store.h"
#include "frame/store_search.h"
#include "tests/support/files.h"

using tav::operator""_sql;

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

// A database from before the unread count gets its table, triggers and
// indexes at start, the same text as a new database's, filled from its mails.
TEST(StoreUpgrade, AddsTheUnreadCountFilledFromTheMails) {
    namespace fs = std::filesystem;
    tav::test::TempDir dir("tav_upgrade_unread");
    std::string old_db = (dir / "old.mdb").string(), new_db = (dir / "new.mdb").string();
    tav::build_database(new_db, tav::test::slurp(fs::path(TAVELOR_TEMPLATE_DIR) / "datebase" / "schema.sql"));
    tav::build_database(old_db, "create table user(id integer primary key, username text, online int, password_lose int);"
                                "create table Email(id integer primary key, to_user_id int, read int, To_del int);"
                                "insert into Email(to_user_id, read, To_del) values (1,0,0),(1,0,1),(1,1,0),(1,0,2),"
                                "(2,0,0),(null,0,0),('x',0,0);");
    tav::upgrade_database(old_db);
    tav::upgrade_database(old_db);
    auto schema_of = [](const std::string& db) {
        sqlite3* h = nullptr;
        sqlite3_open_v2(db.c_str(), &h, SQLITE_OPEN_READONLY, nullptr);
        std::string out;
        sqlite3_stmt* st = nullptr;
        sqlite3_prepare_v2(h, "select name, sql from sqlite_schema where name like 'unread_tally%' or name like 'user_%' "
                              "and name not like 'user_username' order by name", -1, &st, nullptr);
        while (st && sqlite3_step(st) == SQLITE_ROW)
            out += std::string(reinterpret_cast<const char*>(sqlite3_column_text(st, 0))) + ": " +
                   reinterpret_cast<const char*>(sqlite3_column_text(st, 1)) + "\n";
        sqlite3_finalize(st);
        sqlite3_close_v2(h);
        return out;
    };
    EXPECT_EQ(schema_of(old_db), schema_of(new_db));
    EXPECT_NE(schema_of(old_db).find("unread_tally_update"), std::string::npos);
    tav::Connection conn;
    conn.Open("dbq=" + old_db);
    auto unread = [&](const char* user) {
        return conn.execute("select coalesce(sum(num),0) as num from unread_tally where user_id="_sql + std::string(user))("num").lng();
    };
    auto counted = [&](const char* user) {
        return conn.execute("select count(id) as num from Email where read=0 and to_del<>2 and to_user_id="_sql +
                            std::string(user))("num").lng();
    };
    const char* users[] = {"1", "2", "3"};
    auto same = [&](const char* when) {
        for (const char* u : users) EXPECT_EQ(unread(u), counted(u)) << when << ", account " << u;
    };
    same("filled");
    conn.execute("insert into Email(to_user_id, read, To_del) values (3,0,0)");
    conn.execute("update Email set read=1 where id=1");
    conn.execute("update Email set to_user_id=2 where id=2");
    conn.execute("update Email set To_del=0 where id=4");
    conn.execute("delete from Email where id=5");
    same("after changes");
    conn.close();
}

// A database from before the text index gets it at start, filled from its
// rows, with progress; the next start finds it and builds nothing.
TEST(StoreUpgrade, BuildsTheTextIndexOnceFromTheRows) {
    tav::test::TempDir dir("tav_upgrade_fts");
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
}
