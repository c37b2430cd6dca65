// Values a request sends, bound on whichever engine the site uses (this
// suite runs on SQLite and again on PostgreSQL): they never change a
// statement's shape, and what an engine cannot store is refused whole.
#include <gtest/gtest.h>

#include <string>

#include "frame/errors.h"
#include "frame/site_layout.h"
#include "frame/store.h"
#include "tests/support/test_site.h"

using namespace tav;

namespace {

long failure_number(Connection& c, const Sql& sql) {
    try {
        c.execute(sql);
    } catch (const PageError& e) {
        return e.number();
    }
    return 0;
}

}  // namespace

TEST(BoundValues, HostileTextStaysOneValueAndNulIsRefusedOrKept) {
    test::TestSite site;
    Connection c;
    c.Open("driver={Microsoft Access Driver (*.mdb)};dbq=" + layout::database_path(site.root()));
    const bool postgresql = !test::test_postgresql_server().empty();
    auto count = [&] { return c.execute("select count(*) as n from Book")("n").lng(); };
    const long long before = count();
    // Each lands as the text it is, read back unchanged by its own value.
    const std::string texts[] = {"</script><script>alert(1)</script>", "x\" or \"1\"=\"1", "a\\b%_[c]",
                                 "--", std::string(1 << 20, 'y'), "中文 École"};
    for (const std::string& t : texts) {
        c.execute("insert into Book(user_id,Book_title,Reply_id) values (1,'"_sql + t + "',7)");
        Recordset rs = c.execute("select Book_title from Book where Book_title='"_sql + t + "' and Reply_id=7");
        ASSERT_FALSE(rs.eof()) << t.substr(0, 40);
        EXPECT_EQ(rs("Book_title").str(), t);
    }
    EXPECT_EQ(count(), before + static_cast<long long>(std::size(texts)));
    // A like pattern's backslash is a plain character, as in the pages' dialect.
    EXPECT_EQ(c.execute("select count(*) as n from Book where Book_title like '%a\\b%'")("n").lng(), 1);
    // A quote inside a quoted value, a value over 16 MB: refused before running.
    EXPECT_EQ(failure_number(c, "insert into Book(Book_title) values ('"_sql + std::string("it's") + "')"),
              err::sql_failure);
    EXPECT_EQ(failure_number(c, "insert into Book(Book_title) values ('"_sql + std::string(17 << 20, 'z') + "')"),
              err::sql_failure);
    // NUL: SQLite keeps the bytes; PostgreSQL's text holds none, and cutting
    // the value there would store another text, so the statement is refused.
    const std::string nul("a\0b", 3);
    const long refused = failure_number(c, "insert into Book(Book_title,Reply_id) values ('"_sql + nul + "',8)");
    Recordset rs = c.execute("select Book_title from Book where Reply_id=8");
    if (postgresql) {
        EXPECT_EQ(refused, err::sql_failure);
        EXPECT_TRUE(rs.eof());
    } else {
        EXPECT_EQ(refused, 0);
        ASSERT_FALSE(rs.eof());
        EXPECT_EQ(rs("Book_title").str(), nul);
    }
    EXPECT_EQ(count(), before + static_cast<long long>(std::size(texts)) + (postgresql ? 0 : 1));
}
