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
    struct Case {
        int messages;
        const char* query;
        const char* pages;   // the bar's "of" text
        int filled;          // rows with a message on the shown page
    };
    for (const Case& c : std::vector<Case>{{0, "", "页/共1页", 0},
                                           {10, "", "页/共2页", 10},
                                           {10, "?p=1", "页/共2页", 0},
                                           {11, "?p=1", "页/共2页", 1},
                                           {3, "?p=-4", "页/共1页", 3}}) {
        BookSite site;
        for (int i = 0; i < c.messages; ++i) site.message("1", tag("t", i));
        Reply r = site.get(std::string("Book_list.asp") + c.query);
        ASSERT_EQ(r.status, 200) << c.messages << c.query;
        EXPECT_TRUE(has(r.body, c.pages)) << c.messages << c.query;
        EXPECT_EQ(count(r.body, "Book_read.asp?id="), c.filled) << c.messages << c.query;
        EXPECT_EQ(rows(r.body), 10) << c.messages << c.query;  // always padded to ten
    }
}

TEST(BookList, NewestFirstNumberedAcrossPagesAndRepliesNotListed) {
    BookSite site;
    for (int i = 0; i < 12; ++i)
        site.message("1", tag("m", i), 0, tag(i < 9 ? "2026-01-0" : "2026-01-", i + 1) + " 10:00:00");
    site.message("1", "a reply", 1);
    std::string first = site.get("Book_list.asp").body;
    EXPECT_LT(first.find(">m11<"), first.find(">m2<"));
    expect_texts(first, {}, {">m1<", "a reply"});
    std::string second = site.get("Book_list.asp?p=1").body;
    EXPECT_TRUE(has(second, ">m1<") && has(second, ">m0<"));
    EXPECT_TRUE(has(second, "<td>11</td>") && has(second, "<td>12</td>"));  // numbers go on from page one
}

TEST(BookList, DeleteColumnOnlyForGlExactlyOneAndTheManagers) {
    struct Case {
        const char* query;
        const char* rights;  // "" for the administrator
        bool column;
    };
    for (const Case& c : std::vector<Case>{{"", "", false}, {"?GL=0", "", false}, {"?GL=01", "", false},
                                           {"?GL=1", "", true}, {"?gl=1", "", true}, {"?GL=1&p=0", "", true},
                                           {"?GL=1", "1201", false}, {"?GL=1", "1204", true}}) {
        BookSite site;
        if (*c.rights) {
            site.user("u", c.rights);
            site.as("u");
        }
        site.message("1", "hello");
        std::string body = site.get(std::string("Book_list.asp") + c.query).body;
        EXPECT_EQ(has(body, "删除留言</td>"), c.column) << c.query;
        EXPECT_EQ(has(body, "Pop_Del.asp?id="), c.column) << c.query;
        if (c.column) {
            EXPECT_TRUE(has(body, "&Table=Book&message=确实要删除留言[hello]及所有回复吗？&next=Book_list.asp?GL=1"));
        }
    }
}

TEST(BookList, DeletedWriterShowsAsDeleted) {
    BookSite site;
    std::string uid = site.user("gone");
    std::string m = site.message(uid, "orphan");
    site.message("1", "re", std::stol(m));
    site.as("gone");
    EXPECT_TRUE(has(site.get("book_list1.asp").body, "<td>gone</td>"));
    site.exec("delete from user where id=" + uid);
    site.as("admin");
    EXPECT_TRUE(has(site.get("Book_list.asp").body, "<td>已删除</td>"));
}

TEST(BookUnread, OwnerAloneClearsRepliesByReading) {
    BookSite site;
    std::string owner = site.user("owner");
    std::string other = site.user("other");
    std::string m = site.message(owner, "mine");
    std::string r1 = site.message(other, "r1", std::stol(m));
    std::string r2 = site.message(other, "r2", std::stol(m));

    site.as("owner");
    EXPECT_TRUE(has(site.get("book_list1.asp").body, ">mine</a>"));

    // Someone else reads: nothing cleared, the owner still sees it.
    site.as("other");
    ASSERT_EQ(site.get("Book_read.asp?id=" + m).status, 200);
    EXPECT_EQ(site.field(r1, "reply_read") + site.field(r2, "reply_read"), "00");
    site.as("owner");
    EXPECT_TRUE(has(site.get("book_list1.asp").body, ">mine</a>"));

    // The owner reads: both cleared at once, the message leaves the list.
    site.get("Book_read.asp?id=" + m);
    EXPECT_EQ(site.field(r1, "reply_read") + site.field(r2, "reply_read"), "11");
    std::string after = site.get("book_list1.asp").body;
    expect_texts(after, {"没有新的留言回复信息"}, {">mine</a>"});
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
    EXPECT_TRUE(has(body, ">q11</a>") && has(body, ">q2</a>"));
    EXPECT_FALSE(has(body, ">q1</a>") || has(body, ">q0</a>"));
    EXPECT_FALSE(has(body, "no replies") || has(body, "read already") || has(body, "not mine"));
    EXPECT_FALSE(has(body, "没有新的留言回复信息"));
    EXPECT_TRUE(has(body, "<td>1</td>") && has(body, "<td>10</td>"));  // printed rows are counted
}

TEST(BookRead, RepliesUnderTheParentsTitleAndTheRedLineWhenSomeWereDeleted) {
    BookSite site;
    std::string m = site.message("1", "topic");
    std::string r1 = site.message("1", "own title", std::stol(m));
    site.message("1", "second", std::stol(m));
    std::string body = site.get("Book_read.asp?id=" + m).body;
    EXPECT_TRUE(has(body, "回复1：topic") && has(body, "回复2：topic"));
    EXPECT_FALSE(has(body, "回复1：own title"));
    EXPECT_EQ(count(body, "删除此回复"), 2);  // for a manager
    expect_texts(body,
                 {"Pop_Del.asp?id=" + r1 + "&Table=Book&message=确实要删除留言回复[topic]吗？&next=Book_list.asp?GL=1",
                  "来自：10.0.0.9"},
                 {"此留言部分或全部回复已经被管理员删除！"});

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
    EXPECT_EQ(site.scalar("select work_text from monitor order by id desc", "work_text"), "查看留言: logged");
}

TEST(BookSave, MessageAndReplyRowsAndTheParentsCounter) {
    BookSite site;
    std::string uid = site.user("writer");
    site.as("writer");
    Reply r = site.save("第一条", "", "<p>it's\r\nhere</p>");
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=留言成功！&next_href=Book_list.asp");
    std::string m = site.scalar("select max(id) as m from Book", "m");
    // line break gone, quote curly
    for (const auto& [key, value] : std::vector<std::pair<std::string, std::string>>{{"user_id", uid},
             {"Reply_id", "0"}, {"User_IP", "127.0.0.1"}, {"Book_title", "第一条"},
             {"book_text", "<p>it\xE2\x80\x98shere</p>"}})
        EXPECT_EQ(site.field(m, key), value) << key;

    site.save("回复：第一条", m, "<b>yes</b>");
    std::string reply = site.scalar("select max(id) as m from Book", "m");
    EXPECT_EQ(site.field(reply, "Reply_id"), m);
    EXPECT_EQ(site.field(reply, "reply_read"), "0");
    EXPECT_EQ(site.field(m, "Reply_num"), "1");
    EXPECT_EQ(site.field(reply, "Reply_num"), "0");

    // Beyond the caps nothing is stored, and the answer names the cap.
    const std::string before = site.scalar("select count(id) as n from Book", "n");
    Reply title = site.save(std::string(200, 'x') + "字", "", "b");
    EXPECT_TRUE(has(title.body, "留言主题太长：最多200个字符")) << title.body;
    Reply body = site.save("t", "", std::string(19999, 'x') + "字字");
    EXPECT_TRUE(has(body.body, "留言内容太长：最多20000个字符")) << body.body;
    EXPECT_EQ(site.scalar("select count(id) as n from Book", "n"), before);
    EXPECT_EQ(site.save("t", "", std::string(19999, 'x') + "字").status, 302);
}

TEST(BookSave, AFailedReplyInsertLeavesTheParentCountingOneTooMany) {
    BookSite site;
    site.login();
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
    std::string fresh = site.get("Book_Write.asp").body;
    expect_texts(fresh, {"name=\"Reply_id\" value=\"\"", "else note_body = '请输入你的留言内容……';"});
}
