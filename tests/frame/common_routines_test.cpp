// The routines pages share, run on a page of their own inside a request.
#include <gtest/gtest.h>

#include "frame/page.h"
#include "frame/vb.h"
#include "tests/support/page_runner.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

using namespace tav;
using tav::test::BodyPage;
using tav::test::run_body;
using tav::test::TestSite;
using tav::test::has;

namespace {

const bool registered = register_page("commontest", [] { return std::make_unique<BodyPage>("commontest"); });

}  // namespace

// do_body cleans the caller's variable; del_url_root makes only the
// virtual folder's own absolute links relative.
TEST(CommonRoutines, DoBodyCleansTheCallersVariableAndDelUrlRootOnlyTheVirtualFolder) {
    TestSite site;
    std::string text = "it's\r\nnext'\rlone\nfeed", result;
    run_body(site, "commontest", "/x.asp", [&](BodyPage& page) { result = page.do_body(text); });
    EXPECT_EQ(text, "it\xE2\x80\x98snext\xE2\x80\x98\rlone\nfeed");
    EXPECT_EQ(result, text);

    const std::string body =
        "<img src=\"http://h:8080/office/img/a.gif\"><a href=\"http://other:8080/office/x.asp\">"
        "<img src=\"http://h:8080/Office/img/b.gif\"><img src=\"http://h:8080/img/c.gif\">";
    std::string out;
    auto with = [&](const std::string& target) {
        run_body(site, "commontest", target, [&](BodyPage& page) { out = page.del_url_root(body); }, "h:8080");
        return out;
    };
    // In a virtual folder: its own absolute links become "./", others stay.
    EXPECT_EQ(with("/office/x.asp"),
              "<img src=\"./img/a.gif\"><a href=\"http://other:8080/office/x.asp\">"
              "<img src=\"http://h:8080/Office/img/b.gif\"><img src=\"http://h:8080/img/c.gif\">");
    // At the server's root the first segment is the page itself: nothing matches.
    EXPECT_EQ(with("/x.asp"), body);
}

// An unknown account has no rights; a system mail names no attachment.
TEST(CommonRoutines, UnknownAccountHasNoRightsAndSendEmailLeavesTheAttachmentsAtNone) {
    TestSite site;
    std::string admin = site.scalar("select id from user where username='admin'", "id");
    site.exec("update user set menu_idstr='1903 1904 ' where id=" + admin);
    Value none, own;
    auto r = run_body(site, "commontest", "/x.asp", [&](BodyPage& page) {
        page.dbI_init();
        none = page.get_user_menu(999999);
        own = page.get_user_menu(Value(admin));
        page.send_email(0, 4321, "单位网络办公系统简介", "欢迎", 0);
    });
    EXPECT_FALSE(has(r.body, " Error ")) << r.body;
    EXPECT_TRUE(none.blank());
    EXPECT_EQ(own.str(), "1903 1904 ");
    auto rs = site.query("select * from Email where to_user_id=4321");
    ASSERT_FALSE(rs.eof());
    EXPECT_EQ(rs("Email_doc").str(), "0");
    EXPECT_EQ(rs("send_user_id").str(), "0");
    EXPECT_EQ(rs("Email_title").str(), "单位网络办公系统简介");
    EXPECT_EQ(rs("Email_id").str(), "0");
}

TEST(CommonRoutines, MonitorWritesTheSessionsAccountWithoutOneReportsAndThePageGoesOn) {
    TestSite site;
    std::string before = site.scalar("select count(id) as num from monitor", "num");
    auto r = run_body(site, "commontest", "/x.asp", [](BodyPage& page) {
        page.dbI_init();
        Response.write("start|");
        page.monitor("查阅: 测试");
        Response.write("|went on");
    });
    EXPECT_EQ(r.body.rfind("start| Error ", 0), 0u) << r.body;
    EXPECT_TRUE(has(r.body, " Routine : commontest.monitor|went on")) << r.body;
    EXPECT_EQ(site.scalar("select count(id) as num from monitor", "num"), before);
    EXPECT_TRUE(has(site.log_text(), "commontest.monitor"));

    // With a session: the line goes to the session's account.
    ASSERT_TRUE(site.login());
    std::string admin = site.scalar("select id from user where username='admin'", "id");
    r = run_body(site, "commontest", "/x.asp", [](BodyPage& page) {
        page.dbI_init();
        page.monitor("查阅: 通知 =>> 标题");
    });
    EXPECT_EQ(r.body, "");
    EXPECT_EQ(site.scalar("select work_text from monitor order by id DESC", "work_text"), "查阅: 通知 =>> 标题");
    EXPECT_EQ(site.scalar("select user_id from monitor order by id DESC", "user_id"), admin);
}
