// tavelor migrate: a site used on SQLite, moved to PostgreSQL, and used
// again there. Needs a server (TAVELOR_TEST_POSTGRES); CTest runs it in the
// PostgreSQL stage only.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "frame/site_layout.h"
#include "frame/store.h"
#include "server/migrate.h"
#include "tests/collaboration/book_support.h"
#include "tests/datacentre/data_site.h"
#include "tests/mail/mail_support.h"
#include "tests/support/files.h"
#include "tests/support/served_site.h"
#include "tests/support/pages.h"
#include "tests/support/sqlite_file.h"
#include "tests/support/text.h"

namespace fs = std::filesystem;
using tav::test::has;
using tav::test::Reply;
using tav::test::TestSite;

namespace {

std::string pg_server() {
    const char* s = std::getenv("TAVELOR_TEST_POSTGRES");
    return s ? s : "";
}

// An empty database of its own: migrate refuses one that holds rows.
struct Database : tav::test::PostgresqlDatabase {
    Database() : PostgresqlDatabase(pg_server(), "migrate", false) {}
};

tav::test::Outcome migrate(const TestSite& site, const std::string& url, const std::string& more = "") {
    return tav::test::run_command(std::string(TAVELOR_BINARY) + " migrate '" + site.root() + "' '" + url + "' " + more);
}

// A statement straight on the SQLite file: what the pages cannot write.
void on_file(const TestSite& site, const std::string& sql) {
    tav::test::sqlite_exec(site.root() + "/datebase/office.mdb", sql);
}

const char* const kTables[] = {"user", "menu", "software", "monitor", "Email", "Datas", "Book", "Chat",
                               "Address", "Record", "Medium", "DepartMent", "word_type", "Word", "Files"};

// Every row of every table through the store, columns by the SQLite
// file's names: the same text on either engine means the same rows.
std::string all_rows(TestSite& site, const std::map<std::string, std::string>& columns) {
    std::string out;
    for (const char* t : kTables) out += std::string("#") + t + "\n" + tav::test::rows_of(site, t, columns.at(t));
    return out;
}

std::map<std::string, std::string> columns_of(const TestSite& site) {
    std::map<std::string, std::string> out;
    for (const char* t : kTables)
        out[t] = tav::test::sqlite_value(site.root() + "/datebase/office.mdb",
                                         std::string("select group_concat(name) from pragma_table_info('") + t + "')");
    return out;
}

// The pages whose rows a user sees, in a fixed order.
const char* const kPages[] = {"Email_list.asp?type=0",     "Email_list.asp?type=3", "Book_list.asp",
                              "Data_list.asp?sub_menu=3102", "Sys_User.asp",         "Address_List.asp",
                              "folder.asp"};

// A page as it shows rows: the expiry date it carries is the clock's.
std::string page(TestSite& site, const std::string& url) {
    std::string body = site.get(url).body;
    const std::string meta = "<meta http-equiv=\"expires\" content=\"";
    if (std::size_t at = body.find(meta); at != std::string::npos) body.erase(at, body.find('>', at) - at);
    return body;
}

// Each kept count against the rows it counts.
void expect_counts_agree(TestSite& site) {
    struct Count {
        const char *kept, *counted;
    } counts[] = {
        {"select num as n from user_tally", "select count(*) as n from user"},
        {"select num as n from book_tally", "select count(*) as n from Book where Reply_id=0"},
        {"select num as n from datas_tally where Sub_menu='3102'", "select count(*) as n from Datas where Sub_menu='3102'"},
        {"select num as n from email_tally where user_id=1 and folder=0",
         "select count(*) as n from Email where to_user_id=1 and To_del=0"},
        {"select num as n from email_tally where user_id=1 and folder=3",
         "select count(*) as n from Email where send_user_id=1 and Send_del=0"},
        {"select num as n from unread_tally where user_id=1",
         "select count(*) as n from Email where to_user_id=1 and read=0 and To_del<>2"},
        {"select num as n from address_tally where User_id=1", "select count(*) as n from Address where User_id=1"},
    };
    for (const Count& c : counts) {
        const std::string kept = site.scalar(c.kept, "n");  // no row: nothing counted yet
        EXPECT_EQ(kept.empty() ? "0" : kept, site.scalar(c.counted, "n")) << c.kept;
    }
}

}  // namespace

TEST(SiteMigration, PagesShowTheSameRowsOnPostgreSQLAndNewRowsTakeIdsPastTheOld) {
    if (pg_server().empty()) GTEST_SKIP() << "no PostgreSQL server (TAVELOR_TEST_POSTGRES)";
    Database target;
    tav::test::mail::MailSite m;
    TestSite& site = m.site;
    ASSERT_TRUE(site.login());
    const std::string bob = m.user("bob", "鲍勃");
    m.user("o''neil");  // o'neil: the helper writes it into a literal

    // Used through its pages: mail with an attachment, both ways; an item;
    // guest-book threads and a reply; a card; a folder.
    ASSERT_EQ(m.send(bob + "@", "季度报告", "<p>见附件</p>", {{1, "报告.txt", "附件内容"}}).status, 302);
    m.as("bob");
    m.send("1@", "回复：季度报告");
    m.as("admin", "admin");
    tav::test::post_item(site, "0", "3102", "通知", "<p>正文</p>");
    ASSERT_EQ(site.scalar("select count(*) as n from Datas where D_title='通知'", "n"), "1");
    const std::string b = "----Boundary";
    site.post_raw("Book_Save.asp", tav::test::multipart_type(b),
                  tav::test::multipart_body(b, {{"Reply_id", "0"}, {"Book_Title", "第一条"}, {"body", "<p>留言</p>"}}));
    const std::string thread = site.scalar("select max(id) as m from Book", "m");
    site.post_raw("Book_Save.asp", tav::test::multipart_type(b),
                  tav::test::multipart_body(b, {{"Reply_id", thread}, {"Book_Title", "回复"}, {"body", "<p>好</p>"}}));
    site.exec("insert into Address(User_id,Name,Work) values (1,'张三','单位')");
    site.get("Folder_create.asp?Folder=" + tav::test::form_encode("新文件夹") + "&CURR_DIR=%5Cuser%5Cadmin%5C&FDO=create");

    ASSERT_EQ(site.scalar("select count(*) as n from Book", "n"), "2");

    // Values PostgreSQL must keep as they are (a quote, markup, 1.5 MB of
    // text, a tab and a line break) and ones it cannot hold (NUL, bytes that
    // are no UTF-8), written straight into the file. The long text's item
    // is older than the other: items of equal dates list in no fixed order
    // on PostgreSQL.
    on_file(site, "insert into Datas(User_id,D_title,D_text,Sub_menu,Main_menu,D_date) values (1,"
                  "'a''b \"c\" \\n </script>',replace(hex(zeroblob(262144)), '0', '中'),'3102','menu31',"
                  "'2020-01-01 00:00:00')");
    site.exec("insert into Chat(user_id,Truename,To_username,Chat_text) values (1,'x','y','gone')");
    site.exec("delete from Chat");  // its id is never given again
    on_file(site, "insert into Record(user_id,Rec_title,Rec_text,Rec_money) values (1,'t\tab'||char(13,10)||'x',"
                  "'a'||char(0)||'b'||cast(x'ff' as text)||'c',12.5)");

    std::vector<std::string> before;
    for (const char* p : kPages) before.push_back(page(site, p));
    ASSERT_TRUE(has(before.back(), "新文件夹"));
    const auto columns = columns_of(site);
    const std::string rows = all_rows(site, columns);
    const std::string top_mail = m.last_id(), top_book = site.scalar("select max(id) as m from Book", "m");

    auto out = migrate(site, target.url);
    ASSERT_EQ(out.status, 0) << out.out;
    EXPECT_TRUE(has(out.out, "Record id 1, Rec_text: 1 NUL character removed, 1 byte that are no UTF-8 replaced"))
        << out.out;
    EXPECT_TRUE(fs::exists(site.root() + "/datebase/office.mdb.migrated"));
    EXPECT_FALSE(fs::exists(site.root() + "/datebase/office.mdb"));
    EXPECT_EQ(fs::status(site.root() + "/datebase/postgresql.url").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);

    site.reopen();
    EXPECT_TRUE(has(site.scalar("select version() as v", "v"), "PostgreSQL"));
    // The same rows, but for the text PostgreSQL cannot hold, and the
    // 1 MB text whole.
    std::string expected = rows;
    const std::string bad = std::string("a") + '\0' + "b\xff" + "c";
    ASSERT_NE(expected.find(bad), std::string::npos);
    expected.replace(expected.find(bad), bad.size(), "ab\xEF\xBF\xBD" "c");
    EXPECT_EQ(all_rows(site, columns), expected);
    EXPECT_EQ(site.scalar("select len(D_text) as n from Datas where D_title like 'a''b%'", "n"), "524288");
    expect_counts_agree(site);

    ASSERT_TRUE(site.login());
    for (std::size_t i = 0; i < std::size(kPages); ++i) EXPECT_EQ(page(site, kPages[i]), before[i]) << kPages[i];

    // New rows through the pages: ids past every old one, even the deleted chat line's.
    ASSERT_EQ(m.send(bob + "@", "迁移之后", "<p>新</p>", {{1, "新.txt", "新"}}).status, 302);
    EXPECT_GT(std::stoll(m.last_id()), std::stoll(top_mail));
    site.post_raw("Book_Save.asp", tav::test::multipart_type(b),
                  tav::test::multipart_body(b, {{"Reply_id", "0"}, {"Book_Title", "新留言"}, {"body", "<p>x</p>"}}));
    EXPECT_GT(std::stoll(site.scalar("select max(id) as m from Book", "m")), std::stoll(top_book));
    site.exec("insert into Chat(user_id,Truename,To_username,Chat_text) values (1,'x','y','new')");
    EXPECT_EQ(site.scalar("select id from Chat", "id"), "2");
    expect_counts_agree(site);
    EXPECT_TRUE(has(site.get("Email_list.asp?type=3").body, "迁移之后"));

    // Served as a new process would: `serve DIR` alone finds the server.
    EXPECT_EQ(tav::test::served_login_status(site.root(), site.root() + ".served.log"), 200);
    EXPECT_FALSE(fs::exists(site.root() + "/datebase/office.mdb")) << "serve made a new SQLite file";

    // check reads the rows from the server; backup leaves them to pg_dump.
    const std::string tavelor = std::string(TAVELOR_BINARY) + " ";
    out = tav::test::run_command(tavelor + "check '" + site.root() + "'");
    EXPECT_EQ(out.status, 0) << out.out;
    EXPECT_TRUE(has(out.out, "database on PostgreSQL")) << out.out;
    const std::string doc = site.scalar("select Email_doc from Email where Email_title='季度报告'", "Email_doc");
    ASSERT_TRUE(fs::remove(site.root() + "/Email/" + doc)) << doc;
    out = tav::test::run_command(tavelor + "check '" + site.root() + "'");
    EXPECT_EQ(out.status, 1) << out.out;
    EXPECT_TRUE(has(out.out, "names Email/" + doc + ", which is missing")) << out.out;
    out = tav::test::run_command(tavelor + "backup '" + site.root() + "' '" + site.root() + ".tar'");
    EXPECT_EQ(out.status, 1);
    EXPECT_TRUE(has(out.out, "pg_dump")) << out.out;
    EXPECT_FALSE(fs::exists(site.root() + ".tar"));

    // Again: the site has no SQLite database left; another site into the
    // same database is refused, and replaces it only when told to.
    out = migrate(site, target.url);
    EXPECT_EQ(out.status, 1);
    EXPECT_TRUE(has(out.out, "served from PostgreSQL already")) << out.out;
    TestSite other;
    const std::string users = site.scalar("select count(*) as n from user", "n");
    out = migrate(other, target.url);
    EXPECT_EQ(out.status, 1);
    EXPECT_TRUE(has(out.out, "holds rows already")) << out.out;
    EXPECT_TRUE(fs::exists(other.root() + "/datebase/office.mdb"));
    EXPECT_FALSE(fs::exists(other.root() + "/datebase/postgresql.url"));
    EXPECT_EQ(site.scalar("select count(*) as n from user", "n"), users);
    out = migrate(other, target.url, "--replace");
    ASSERT_EQ(out.status, 0) << out.out;
    EXPECT_EQ(site.scalar("select count(*) as n from user", "n"), "1");
    EXPECT_EQ(site.scalar("select count(*) as n from Email", "n"), "0");
    expect_counts_agree(site);
    tav::forget_postgresql(tav::layout::database_path(site.root()));
    tav::forget_postgresql(tav::layout::database_path(other.root()));
}

TEST(SiteMigration, ARowPostgreSQLCannotTakeLeavesTheTargetAndTheSiteAsTheyWere) {
    if (pg_server().empty()) GTEST_SKIP() << "no PostgreSQL server (TAVELOR_TEST_POSTGRES)";
    struct Case {
        const char* why;
        std::string sql;     // on the SQLite file
        std::string url;     // "" for the test database
        const char* refusal;
    } cases[] = {
        {"text in number columns, each named",
         "update user set online='yes' where id=1; insert into Email(to_user_id, send_user_id) values ('2;', 1)", "",
         "\n  Email id 1, to_user_id holds the text '2;'\n  user id 1, online holds the text 'yes'\n"},
        {"a fraction in a whole-number column", "update user set record=2.5 where id=1", "", "the fraction"},
        {"not a PostgreSQL URL", "", "mysql://x/y", "not a postgresql:// URL"},
        {"no such server", "", "postgresql:///nothing?host=/nonexistent&port=1", "connecting to"},
    };
    for (const Case& c : cases) {
        Database target;
        TestSite site;
        if (!c.sql.empty()) on_file(site, c.sql);
        auto out = migrate(site, c.url.empty() ? target.url : c.url);
        EXPECT_EQ(out.status, 1) << c.why;
        EXPECT_TRUE(has(out.out, c.refusal)) << c.why << ": " << out.out;
        EXPECT_TRUE(fs::exists(site.root() + "/datebase/office.mdb")) << c.why;
        EXPECT_FALSE(fs::exists(site.root() + "/datebase/postgresql.url")) << c.why;
        // The schema made in the failed transaction went with it.
        auto tables = tav::test::run_command("psql -Atq '" + target.url +
                                             "' -c \"select count(*) from information_schema.tables where "
                                             "table_schema = current_schema()\"");
        EXPECT_EQ(tables.out, "0\n") << c.why;
    }
}

TEST(MigrateText, CopyKeepsEveryCharacterPostgreSQLHoldsAndSaysWhatItChanged) {
    struct Case {
        std::string in, copied, said;
    } cases[] = {
        {"plain 中文 ' \" </script>", "plain 中文 ' \" </script>", ""},
        {"tab\there\nline\r\\back", "tab\\there\\nline\\r\\\\back", ""},
        {std::string("a\0b", 3), "ab", "1 NUL character removed"},
        {"x\xff\xfe" "y", "x\xEF\xBF\xBD\xEF\xBF\xBDy", "2 bytes that are no UTF-8 replaced by U+FFFD"},
        {"\xe4\xb8", "\xEF\xBF\xBD\xEF\xBF\xBD", "2 bytes that are no UTF-8 replaced by U+FFFD"},  // cut short
        {"\xed\xa0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD", "3 bytes that are no UTF-8 replaced by U+FFFD"},
    };
    for (const Case& c : cases) {
        std::string out;
        EXPECT_EQ(tav::migrate::append_copy_text(out, c.in), c.said) << c.in;
        EXPECT_EQ(out, c.copied) << c.in;
    }
}
