// The guest book: the list and its manager switch, the owner's list of
// unread replies, reading (who clears what, the red line), and saving.
#include "tests/support/page_test.h"

#include "tests/collaboration/book_support.h"

using namespace tav::test;

namespace {

// The number of table rows of the list's body (header rows have no height).
// prefix and number, joined without g++ 12's false -Wrestrict on "x" + std::string.
std::string tag(std::string prefix, int i) { return prefix.append(std::to_string(i)); }

int rows(const std::string& body) { return count(body, "<tr align=\"center\" height=\"25\">") + count(body, "<tr height=\"25\">"); }

}  // namespace

TEST(BookList, PagesRunFromZeroToIntOfCountOverTen) {
    struct Case { int messages; const char* query; const char* pages; int filled; };  // filled: rows with a message
    for (const Case& c : std::vector<Case>{{0, "", "页/共1页", 0}, {10, "", "页/共2页", 10}, {10, "?p=1", "页/共2页", 0},
                                           {11, "?p=1", "页/共2页", 1}, {3, "?p=-4", "页/共1页", 3}}) {
        SCOPED_TRACE(std::to_string(c.messages) + c.query);
        BookSite site;
        for (int i = 0; i < c.messages; ++i) site.message("1", tag("t", i));
        Reply r = site.get(std::string("Book_list.asp") + c.query);
        EXPECT_TRUE(has(r.body, c.pages));
        EXPECT_EQ(count(r.body, "Book_read.asp?id="), c.filled);
        EXPECT_EQ(rows(r.body), 10);  // always padded to ten
    }
}

TEST(BookList, NewestFirstNumberedAcrossPagesRepliesNotListedAndAGoneWriter) {
    BookSite site;
    std::string gone = site.user("gone");
    for (int i = 0; i < 12; ++i)
        site.message(i ? "1" : gone, tag("m", i), 0, tag(i < 9 ? "2026-01-0" : "2026-01-", i + 1) + " 10:00:00");
    site.message("1", "a reply", 1);
    site.as("gone");
    EXPECT_TRUE(has(site.get("book_list1.asp").body, "<td>gone</td>"));
    site.exec("delete from user where id=" + gone);
    site.as("admin");
    std::string first = site.get("Book_list.asp").body;
    EXPECT_LT(first.find(">m11<"), first.find(">m2<"));
    expect_texts(first, {}, {">m1<", "a reply"});
    // numbers go on from page one
    expect_texts(site.get("Book_list.asp?p=1").body, {">m1<", ">m0<", "<td>11</td>", "<td>12</td>", "<td>已删除</td>"});
}

TEST(BookList, DeleteColumnOnlyForGlExactlyOneAndTheManagers) {
    struct Case { const char* query; const char* as; bool column; };
    BookSite site;
    site.user("u1201", "1201");
    site.user("u1204", "1204");
    site.message("1", "hello");
    for (const Case& c : std::vector<Case>{{"", "admin", false},         {"?GL=0", "admin", false},
                                           {"?GL=01", "admin", false},   {"?GL=1", "admin", true},
                                           {"?gl=1", "admin", true},     {"?GL=1&p=0", "admin", true},
                                           {"?GL=1", "u1201", false},    {"?GL=1", "u1204", true}}) {
        SCOPED_TRACE(std::string(c.as) + c.query);
        site.as(c.as);
        std::string body = site.get(std::string("Book_list.asp") + c.query).body;
        EXPECT_EQ(has(body, "删除留言</td>"), c.column);
        EXPECT_EQ(has(body, "Pop_Del.asp?id=") && has(body, "&Table=Book&message=确实要删除留言[hello]及所有回复吗？&next="
                                                          "Book_list.asp?GL=1"), c.column);
    }
}

TEST(BookUnread, OwnerAloneClearsRepliesByReading) {
    BookSite site;
    std::string owner = site.user("owner");
    std::string other = site.user("other");
    std::string m = site.message(owner, "mine");
    std::string r1 = site.message(other, "r1", std::stol(m));
    std::string r2 = site.message(other, "r2", std::stol(m));

    // Someone else reads: nothing cleared, the owner still sees it.
    site.as("other");
    ASSERT_EQ(site.get("Book_read.asp?id=" + m).status, 200);
    EXPECT_EQ(site.field(r1, "reply_read") + site.field(r2, "reply_read"), "00");
    site.as("owner");
    EXPECT_TRUE(has(site.get("book_list1.asp").body, ">mine</a>"));

    // The owner reads: both cleared at once, the message leaves the list.
    site.get("Book_read.asp?id=" + m);
    EXPECT_EQ(site.field(r1, "reply_read") + site.field(r2, "reply_read"), "11");
    expect_texts(site.get("book_list1.asp").body, {"没有新的留言回复信息"}, {">mine</a>"});
    // Every reading counted, the writer's too.
    EXPECT_EQ(site.field(m, "Read_num"), "2");
}

TEST(BookUnread, OnlyOwnMessagesWithUnreadRepliesFirstTenByNewestId) {
    BookSite site;
    std::string me = site.user("me");
    std::vector<std::string> mine;
    for (int i = 0; i < 12; ++i) {
        mine.push_back(site.message(me, tag("q", i)));
        site.message("1", "a", std::stol(mine.back()));
    }
    std::string quiet = site.message(me, "no replies");
    std::string read = site.message(me, "read already");
    site.exec("update Book set reply_read=1 where Reply_id=" + site.message("1", "x", std::stol(read)));
    site.exec("update Book set reply_read=1 where Reply_id=" + read);
    std::string others = site.message("1", "not mine");
    site.message(me, "r", std::stol(others));

    site.as("me");
    std::string body = site.get("book_list1.asp").body;
    EXPECT_EQ(count(body, "Book_read.asp?id="), 10);
    // printed rows are counted
    expect_texts(body, {">q11</a>", ">q2</a>", "<td>1</td>", "<td>10</td>"},
                 {">q1</a>", ">q0</a>", "no replies", "read already", "not mine", "没有新的留言回复信息"});
}

TEST(BookRead, RepliesUnderTheParentsTitleAndTheRedLineWhenSomeWereDeleted) {
    BookSite site;
    std::string m = site.message("1", "topic");
    std::string r1 = site.message("1", "own title", std::stol(m));
    site.message("1", "second", std::stol(m));
    std::string body = site.get("Book_read.asp?id=" + m).body;
    EXPECT_EQ(count(body, "删除此回复"), 2);  // for a manager
    expect_texts(body,
                 {"回复1：topic", "回复2：topic", "来自：10.0.0.9",
                  "Pop_Del.asp?id=" + r1 + "&Table=Book&message=确实要删除留言回复[topic]吗？&next=Book_list.asp?GL=1"},
                 {"回复1：own title", "此留言部分或全部回复已经被管理员删除！"});

    site.user("reader");
    site.as("reader");
    EXPECT_EQ(count(site.get("Book_read.asp?id=" + m).body, "删除此回复"), 0);
    EXPECT_EQ(site.get("Del_Record.asp?Table=book&ID=" + r1 + "&next=close.asp").status, 403);  // nor deletes
    EXPECT_EQ(site.field(r1, "Book_title"), "own title");
    site.as("admin");
    site.exec("delete from Book where id=" + r1);  // what Del_Record.asp does
    body = site.get("Book_read.asp?id=" + m).body;
    EXPECT_EQ(count(body, "删除此回复"), 1);
    EXPECT_TRUE(has(body, "<font color=\"red\"> 此留言部分或全部回复已经被管理员删除！</font>"));
    EXPECT_EQ(site.field(m, "Reply_num"), "2");
}

TEST(BookRead, MissingOrUnknownIdEndsInTheErrorReportAReadingIsLogged) {
    BookSite site;
    for (const char* q : {"", "?id=", "?id=999"}) {
        Reply r = site.get(std::string("Book_read.asp") + q);
        EXPECT_TRUE(has(r.body, "Routine : bookread.I_init")) << q;
        EXPECT_FALSE(has(r.body, "回 复")) << q;
    }
    site.get("Book_read.asp?id=" + site.message("1", "logged"));
    EXPECT_EQ(last_activity(site), "查看留言: logged");
}

TEST(BookSave, MessageAndReplyRowsAndTheParentsCounter) {
    BookSite site;
    std::string uid = site.user("writer");
    site.as("writer");
    Reply r = site.save("第一条", "", "<p>it's\r\nhere</p>");
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=留言成功！&next_href=Book_list.asp");
    std::string m = site.scalar("select max(id) as m from Book", "m");
    site.save("回复：第一条", m, "<b>yes</b>");
    // line break gone, quote curly
    EXPECT_EQ(rows_of(site, "Book", "user_id,Reply_id,User_IP,Book_title,book_text,Reply_num,reply_read"),
              uid + "|0|127.0.0.1|第一条|<p>it\xE2\x80\x98shere</p>|1|0|\n" + uid + "|" + m +
                  "|127.0.0.1|回复：第一条|<b>yes</b>|0|0|\n");

    // Beyond the caps nothing is stored, and the answer names the cap.
    const std::string before = site.scalar("select count(id) as n from Book", "n");
    EXPECT_TRUE(has(site.save(std::string(200, 'x') + "字", "", "b").body, "留言主题太长：最多200个字符"));
    EXPECT_TRUE(has(site.save("t", "", std::string(19999, 'x') + "字字").body, "留言内容太长：最多20000个字符"));
    EXPECT_EQ(site.scalar("select count(id) as n from Book", "n"), before);
    EXPECT_EQ(site.save("t", "", std::string(19999, 'x') + "字").status, 302);
}

TEST(BookSave, AFailedReplyInsertLeavesTheParentCountingOneTooMany) {
    BookSite site;
    std::string m = site.message("1", "parent");
    std::string before = site.scalar("select count(id) as n from Book", "n");
    Reply r = site.save("it's broken", m, "text");  // the quote in the title breaks the insert
    EXPECT_TRUE(has(r.body, " Error "));
    EXPECT_EQ(site.scalar("select count(id) as n from Book", "n"), before);
    EXPECT_EQ(site.field(m, "Reply_num"), "1");
    EXPECT_TRUE(has(site.get("Book_read.asp?id=" + m).body, "此留言部分或全部回复已经被管理员删除！"));
}

TEST(BookWrite, AReplyStartsFromTheParentAndANewMessageFromTheHint) {
    BookSite site;
    std::string m = site.message("1", "  spaced  ");
    std::string reply = site.get("Book_Write.asp?id=" + m).body;
    expect_texts(reply, {"value=\"回复：spaced\"", "name=\"Reply_id\" value=\"" + m + "\""});
    // The parent's whole text, as a script literal that holds no markup of its own.
    std::size_t at = reply.find("else note_body = '");
    ASSERT_NE(at, std::string::npos);
    std::string literal = reply.substr(at, reply.find("\r\n", at) - at);
    EXPECT_TRUE(has(literal, "p\\x3E  spaced  \\x3C/p")) << literal;
    expect_texts(site.get("Book_Write.asp").body, {"name=\"Reply_id\" value=\"\"", "else note_body = '请输入你的留言内容……';"});
}
