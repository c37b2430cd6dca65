// The result box, the deletion question and the row deletion behind it, and
// the two window pages.
#include <gtest/gtest.h>

#include "frame/page.h"
#include "tests/support/page_runner.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

using namespace tav;
using tav::test::BodyPage;
using tav::test::TestSite;
using tav::test::has;
using tav::test::count;

namespace {

const bool registered = register_page("sessionprobe", [] { return std::make_unique<BodyPage>("sessionprobe"); });

}  // namespace

TEST(PopOk, ButtonLeadsToNextHrefWithTheTypeWhenGiven) {
    TestSite site;
    struct Case {
        std::string query, message, target;
    };
    const Case cases[] = {
        // Blanks around the target go; the message keeps its own.
        {"message=%20%20删除成功！&next_href=%20Data_type.asp?m_id=41%20", " 删除成功！<br><br>", "Data_type.asp?m_id=41"},
        // A type is appended to the target; the message is markup; the target
        // stands in a script string, its & escaped for it.
        {"message=邮件成功发送<br>共2封&next_href=Email_list.asp?sstr=a&type=%203%20", "邮件成功发送<br>共2封<br><br>",
         "Email_list.asp?sstr=a\\x26type=3"},
    };
    for (const Case& c : cases) {
        auto r = site.get("Pop_OK.asp?" + c.query);
        ASSERT_EQ(r.status, 200);
        EXPECT_TRUE(has(r.body, c.message)) << r.body;
        EXPECT_TRUE(has(r.body, "value=\"确定\" name=\"Submit2\" onclick=\"window.location.href='" + c.target + "'\">"))
            << r.body;
        EXPECT_FALSE(has(r.body, "<form") || has(r.body, " Error "));
    }
}

TEST(PopDel, HiddenFieldsCarryTheRowToTheDeletion) {
    TestSite site;
    auto r = site.get("Pop_Del.asp?id=7&Table=Book&message=%20确实要删除留言[你好]及所有回复吗？"
                      "&next=Book_list.asp?GL=1");
    ASSERT_EQ(r.status, 200);
    EXPECT_TRUE(has(r.body, "<form action=\"Del_Record.asp\" method=\"GET\""));
    EXPECT_TRUE(has(r.body, "\r\n  确实要删除留言[你好]及所有回复吗？<br><br>")) << r.body;  // as it came
    EXPECT_TRUE(has(r.body, "name=\"Table\" value=Book>"));
    EXPECT_TRUE(has(r.body, "name=\"ID\" value=7>"));  // sent as id
    EXPECT_TRUE(has(r.body, "name=\"next\" value=Book_list.asp?GL=1>"));
    EXPECT_LT(r.body.find("type=\"submit\" value=\"删除\""), r.body.find("</form>"));
}

class DelRecord : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(site.login());
        uid = site.scalar("select id from user where username='admin'", "id");
        site.exec("delete from DepartMent");
        site.exec("insert into DepartMent(name,Remark) values ('甲',' ')");
        site.exec("insert into DepartMent(name,Remark) values ('乙',' ')");
        first = site.scalar("select id from DepartMent where name='甲'", "id");
        logs_before = site.scalar("select count(id) as num from monitor", "num");
    }
    std::string logs() { return site.scalar("select count(id) as num from monitor", "num"); }
    TestSite site;
    std::string uid, first, logs_before;
};

TEST_F(DelRecord, DeletesTheRowLogsAndRedirectsToTheResultBox) {
    auto r = site.get("Del_Record.asp?Table=DepartMent&ID=" + first + "&next=type_modify.asp?Dtable=DepartMent");
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=记录成功删除！&next_href=type_modify.asp?Dtable=DepartMent");
    EXPECT_EQ(site.scalar("select count(id) as num from DepartMent where id=" + first, "num"), "0");
    EXPECT_EQ(site.scalar("select count(id) as num from DepartMent", "num"), "1");  // only that row
    EXPECT_EQ(site.scalar("select work_text from monitor order by id DESC", "work_text"),
              "删除数据库表：DepartMent 记录ID号: " + first);
    EXPECT_EQ(site.scalar("select user_id from monitor order by id DESC", "user_id"), uid);
}

TEST_F(DelRecord, MissingRowStillReportsSuccessAndNextKeepsItsQuery) {
    auto r = site.get("Del_Record.asp?Table=DepartMent&ID=999999&next=Data_type.asp?m_id=41");
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=记录成功删除！&next_href=Data_type.asp?m_id=41");
    EXPECT_EQ(site.scalar("select count(id) as num from DepartMent", "num"), "2");
}

TEST_F(DelRecord, FailingDeleteStopsBeforeTheLogLineAndTheRedirect) {
    auto r = site.get("Del_Record.asp?Table=DepartMent&ID=x1&next=type_modify.asp");
    EXPECT_EQ(r.status, 200);
    EXPECT_EQ(r.header("Location"), "");
    EXPECT_EQ(r.body.rfind(" Error ", 0), 0u) << r.body;
    EXPECT_TRUE(has(r.body, " Routine : delrecord.I_init")) << r.body;
    EXPECT_EQ(logs(), logs_before);
    EXPECT_TRUE(has(site.log_text(), "delrecord.I_init"));
}

TEST(ClosePages, CloseClosesTheWindow) {
    TestSite site;
    auto r = site.get("close.asp");
    ASSERT_EQ(r.status, 200);
    EXPECT_TRUE(has(r.body, "window.close();")) << r.body;
}

TEST(ClosePages, ClosePopRearmsTheReminder) {
    TestSite site;
    std::string seen;
    auto probe = [&](const char* set) {
        return tav::test::run_body(site, "sessionprobe", "/x.asp", [&, set](BodyPage&) {
            if (set) Session.set("Message_POP", set);
            seen = Session("message_pop").str();
        });
    };
    probe("NO");
    ASSERT_EQ(seen, "NO");
    auto r = site.get("closepop.asp");
    EXPECT_EQ(r.status, 200);
    EXPECT_EQ(r.body, "");
    probe(nullptr);
    EXPECT_EQ(seen, "YES");
}
