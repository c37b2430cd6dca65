// A database from before a column or an index was added gets it at start,
// and keeps its rows.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "frame/store.h"
#include "frame/store_search.h"
#include "tests/support/files.h"
#include "tests/support/sqlite_file.h"

using tav::operator""_sql;

namespace {

using tav::test::sqlite_rows;

std::string schema() {
    return tav::test::slurp(std::filesystem::path(TAVELOR_TEMPLATE_DIR) / "datebase" / "schema.sql");
}

// A database of today's schema without the objects `which` names (a
// condition on sqlite_schema), then `rows_sql`: one from before they came.
void build_older(const std::string& db, const std::string& which, const std::string& rows_sql) {
    tav::build_database(db, schema());
    std::string drops;
    for (const char* kind : {"trigger", "index", "table"}) {
        std::string names = sqlite_rows(db, std::string("select name from sqlite_schema where type='") + kind +
                                         "' and sql is not null and (" + which + ")");
        for (std::size_t at = 0, nl; (nl = names.find('\n', at)) != std::string::npos; at = nl + 1)
            drops += std::string("drop ") + kind + " if exists \"" + names.substr(at, nl - at) + "\";";
    }
    tav::test::sqlite_exec(db, drops + rows_sql);
}

}  // namespace

TEST(StoreUpgrade, AddsMissingColumnsOnceAndKeepsRows) {
    tav::test::TempDir dir("tav_upgrade");
    std::string db = (dir / "office.mdb").string();
    tav::build_database(db, "create table user(id integer primary key, username text, password text);"
                            "insert into user(username,password) values ('old','pw');");
    tav::upgrade_database(db, schema());
    tav::upgrade_database(db, schema());  // a second start finds the column and changes nothing
    EXPECT_EQ(sqlite_rows(db, "select username,must_change from user"), "old|0\n");
}

// A database of the first schema (its tables only) gets every index, count
// table and trigger at start, the same text as a new database's, the counts
// filled from its rows and kept from then on.
TEST(StoreUpgrade, AddsEveryMissingObjectWithCountsFilledFromTheRows) {
    tav::test::TempDir dir("tav_upgrade_objects");
    std::string old_db = (dir / "old.mdb").string(), new_db = (dir / "new.mdb").string();
    tav::build_database(new_db, schema());
    build_older(old_db, "type<>'table' or name like '%tally' or name like '%fts%'",
                "insert into Datas(Sub_menu) values ('4101'),('4101'),('a1'),('A1'),(null);"
                "insert into Email(to_user_id, send_user_id, read, To_del, Send_del) values (1,2,0,0,0),(1,2,0,1,1),"
                "(1,3,1,0,0),(1,2,0,2,0),(2,1,0,0,0),(null,1,0,0,0),('x',null,0,0,0);"
                "insert into Book(Reply_id) values (0),(0),(1),(0);"
                "insert into Address(User_id) values (1),(1),(2),(null);"
                "insert into user(username) values ('a'),('b');"
                // Narrower list indexes of an earlier schema, which the wider ones replace.
                "create index datas_sub_menu_date on Datas(Sub_menu, D_date);"
                "create index email_inbox on Email(to_user_id, To_del, id);"
                "create index email_sent on Email(send_user_id, Send_del, id);"
                "delete from sqlite_stat1;");
    ASSERT_EQ(sqlite_rows(old_db, "select count(*) from sqlite_schema where name like '%tally%'"), "0\n");

    tav::upgrade_database(old_db, schema());
    tav::upgrade_database(old_db, schema());
    const std::string objects = "select type, name, sql from sqlite_schema order by name";
    EXPECT_EQ(sqlite_rows(old_db, objects), sqlite_rows(new_db, objects));
    EXPECT_EQ(sqlite_rows(old_db, "select * from sqlite_stat1 order by idx"), sqlite_rows(new_db, "select * from sqlite_stat1 order by idx"));

    // Each kept count against the count of its rows; both ways, so a missing
    // row and a wrong one both show.
    const char* pairs[][2] = {
        {"select Sub_menu, num from datas_tally where num <> 0",
         "select Sub_menu, count(*) from Datas where Sub_menu is not null group by Sub_menu"},
        {"select user_id, folder, num from email_tally where num <> 0",
         "select to_user_id, 0, count(*) from Email where To_del = 0 and to_user_id is not null group by 1 union all "
         "select to_user_id, 1, count(*) from Email where read = 1 and To_del = 0 and to_user_id is not null group by 1 "
         "union all select to_user_id, 2, count(*) from Email where To_del = 1 and to_user_id is not null group by 1 "
         "union all select send_user_id, 3, count(*) from Email where Send_del = 0 and send_user_id is not null group by 1"},
        {"select user_id, num from unread_tally where num <> 0",
         "select to_user_id, count(*) from Email where read = 0 and To_del <> 2 and to_user_id is not null group by 1"},
        {"select num from book_tally", "select count(*) from Book where Reply_id = 0"},
        {"select User_id, num from address_tally where num <> 0",
         "select User_id, count(*) from Address where User_id is not null group by 1"},
        {"select num from user_tally", "select count(*) from user"},
    };
    auto same = [&](const char* when) {
        for (const auto& [kept, counted] : pairs) {
            const std::string a = std::string("select * from (") + kept + ")", b = std::string("select * from (") + counted + ")";
            EXPECT_EQ(sqlite_rows(old_db, a + " except " + b), "") << when << ": " << kept;
            EXPECT_EQ(sqlite_rows(old_db, b + " except " + a), "") << when << ": " << kept;
        }
    };
    same("filled");
    EXPECT_NE(sqlite_rows(old_db, "select num from datas_tally where Sub_menu = 'a1'"), "");
    tav::Connection conn;
    conn.Open("dbq=" + old_db);
    conn.execute("insert into Email(to_user_id, read, To_del) values (3,0,0)");
    conn.execute("update Email set read=1 where id=1");
    conn.execute("update Email set to_user_id=2 where id=2");
    conn.execute("update Email set To_del=0 where id=4");
    conn.execute("delete from Email where id=5");
    conn.execute("update Datas set Sub_menu='4102' where id=1");
    conn.execute("delete from Book where id=1");
    conn.execute("insert into Address(User_id) values (2)");
    conn.execute("delete from user where username='a'");
    conn.close();
    same("after changes");
}

// A database from before the text index gets it at start, filled from its
// rows, with progress; the next start finds it and builds nothing.
TEST(StoreUpgrade, BuildsTheTextIndexOnceFromTheRows) {
    tav::test::TempDir dir("tav_upgrade_fts");
    std::string db = (dir / "office.mdb").string();
    build_older(db, "name like '%fts%'",
                "insert into Datas(id, D_title) values (1, '旧的标题'), (2, 'Old title'), (100000, 'far away title');");
    std::vector<std::string> heard;
    auto progress = [&](std::string_view table, long long done, long long total) {
        heard.push_back(std::string(table) + " " + std::to_string(done) + "/" + std::to_string(total));
    };
    tav::upgrade_database(db, schema(), progress);
    EXPECT_EQ(heard, (std::vector<std::string>{"Datas 2/3", "Datas 3/3"}));
    heard.clear();
    tav::upgrade_database(db, schema(), progress);
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
