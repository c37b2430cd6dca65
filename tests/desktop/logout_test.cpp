// Leaving the desktop, and the lost-password flag from the user's report to
// the administrator's list.
#include <gtest/gtest.h>

#include "frame/password.h"
#include "tests/support/accounts.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

using tav::test::TestSite;
using tav::test::has;
using tav::test::count;

namespace {

const std::string kFiller = "<tr height=\"25\"><td>&nbsp;</td>";

}  // namespace

TEST(Logout, MarksOfflineLogsAbandonsAndGoesToLogin) {
    TestSite site;
    ASSERT_TRUE(site.login());
    site.get("/started.asp");
    auto r = site.get("/logout.asp");
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "login.asp");
    EXPECT_EQ(site.scalar("select online from user where username='admin'", "online"), "0");
    EXPECT_EQ(site.scalar("select ip from user where username='admin'", "ip"), " ");
    EXPECT_EQ(site.scalar("select count(id) as num from monitor where work_text='正常退出本系统'", "num"), "1");
    EXPECT_EQ(site.get("/").location(), "login.asp");  // the session is gone

    // A second logout finds no session: no update, no log line, same ending.
    site.exec("update user set online=1 where username='admin'");
    r = site.get("/logout.asp");
    EXPECT_EQ(r.location(), "login.asp");
    EXPECT_EQ(site.scalar("select online from user where username='admin'", "online"), "1");
    EXPECT_EQ(site.scalar("select count(id) as num from monitor where work_text='正常退出本系统'", "num"), "1");
}

TEST(Logout, AnyOtherSettingClosesTheWindowAMissingOneReportsAfterTheSessionEnded) {
    for (bool missing : {false, true}) {
        TestSite site;
        site.exec(missing ? "delete from software where softname='logout'"
                          : "update software set Hardserial='1' where softname='logout'");
        ASSERT_TRUE(site.login());
        site.get("/started.asp");
        auto r = site.get("/logout.asp");
        EXPECT_EQ(r.status, 200);
        EXPECT_EQ(has(r.body, "<script language=\"javascript\">\r\nwindow.close();\r\n</script>"), !missing);
        EXPECT_EQ(has(r.body, "Routine : logout.I_init"), missing) << r.body;
        EXPECT_EQ(site.scalar("select online from user where username='admin'", "online"), "0");
        EXPECT_EQ(site.get("/").location(), "login.asp");
    }
}

TEST(LogoutClose, LogsTheAbnormalExitAndNeverRedirects) {
    TestSite site;
    ASSERT_TRUE(site.login());
    site.get("/started.asp");
    auto r = site.get("/logout_close.asp?myclose=1");
    EXPECT_EQ(r.status, 200);
    EXPECT_TRUE(has(r.body, "window.close()"));
    EXPECT_EQ(site.scalar("select online from user where username='admin'", "online"), "0");
    EXPECT_EQ(site.scalar("select count(id) as num from monitor where work_text='非正常退出本系统'", "num"), "1");
    EXPECT_EQ(site.get("/").location(), "login.asp");
    // Without a session: only the closing script.
    r = site.get("/logout_close.asp");
    EXPECT_TRUE(has(r.body, "window.close()"));
    EXPECT_FALSE(has(r.body, " Error "));
    EXPECT_EQ(site.scalar("select count(id) as num from monitor where work_text='非正常退出本系统'", "num"), "1");
}

TEST(LosePassword, FormAtFirstVisitAndForAnEmptyName) {
    TestSite site;
    site.get("/login.asp");
    auto b = site.get("/losepassword.asp").body;
    EXPECT_TRUE(has(b, "<title>示范单位网络办公系统</title>"));
    EXPECT_TRUE(has(b, "action=\"LosePassword.asp\" method=\"post\" name=\"form1\""));
    EXPECT_TRUE(has(b, "密码遗失，通知系统管理员。"));
    EXPECT_TRUE(has(b, "alert(\"请您填写用户名(帐号)。\");"));
    auto r = site.post_form("/LosePassword.asp", {{"username", "  "}, {"truename", "系统管理员"}});
    EXPECT_EQ(r.status, 200);
    EXPECT_TRUE(has(r.body, "2、请填写您的真实姓名："));
    EXPECT_EQ(site.scalar("select password_lose from user where username='admin'", "password_lose"), "0");
}

TEST(LosePassword, UnknownAccountOrNameAndKnownAccount) {
    TestSite site;
    const std::string unknown =
        "Pop_OK.asp?message=您输入的帐号或姓名在系统中不存在！<br>请重新输入……&next_href=losepassword.asp";
    auto r = site.post_form("/losepassword.asp", {{"username", "admin"}, {"truename", "别人"}});
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), unknown);
    EXPECT_EQ(site.post_form("/losepassword.asp", {{"username", "admin"}}).location(), unknown);  // empty true name
    EXPECT_EQ(site.scalar("select password_lose from user where username='admin'", "password_lose"), "0");

    r = site.post_form("/losepassword.asp", {{"username", " admin "}, {"truename", "系统管理员"}});
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=您的通知已经发送给系统管理员！<br>请等待管理员的回复……&next_href=close.asp");
    EXPECT_EQ(site.scalar("select password_lose from user where username='admin'", "password_lose"), "1");
}

TEST(SysLosePassword, HolderOfTheRightSeesFlaggedAccountsButNoPassword) {
    TestSite site;
    site.exec("insert into user(username,password,TrueName,DepartMentID,sex,Telphone,Email,record,password_lose) "
              "values ('lisi','secret9','李四',99,'女','555','li@x',30,1)");
    site.exec("insert into user(username,password,TrueName,DepartMentID,record,password_lose) "
              "values ('wangwu','pw2','王五',1,30,2)");
    site.exec("update user set password_lose=1 where username='admin'");
    ASSERT_TRUE(site.login());
    auto b = site.get("/sys_losepassword.asp").body;
    EXPECT_TRUE(has(b, "<title>Losed password people</title>"));
    EXPECT_TRUE(has(b, "系统管理 =>>用户信息管理"));
    EXPECT_TRUE(has(b, "<td>lisi</td><td>已删除部门</td><td>李四</td><td>女</td><td>555</td>"
                       "<td><a href=mailto:>li@x</a></td>"));
    EXPECT_FALSE(has(b, "secret9"));
    EXPECT_TRUE(has(b, "<td>admin</td><td>办公室</td><td>系统管理员</td>"));
    std::string lisi = site.scalar("select id from user where username='lisi'", "id");
    EXPECT_TRUE(has(b, "<a href=\"sys_losepasswordDO.asp?id=" + lisi + "\"><img src=\"images/delete.GIF\" height=\"15\""));
    // A flag of 2 counts elsewhere but is not listed here.
    EXPECT_FALSE(has(b, "wangwu"));
    EXPECT_EQ(count(b, kFiller), 11);
}

TEST(SysLosePassword, RightFoundInsideLongerCodeNoRightAndNoSession) {
    TestSite site;
    EXPECT_EQ(site.get("/sys_losepassword.asp").location(), "login.asp");
    site.exec("update user set password_lose=1 where username='admin'");
    site.exec("insert into user(username,password,TrueName,DepartMentID,record,menu_idstr) "
              "values ('clerk','pw','文员',1,30,'i1905')");
    ASSERT_TRUE(site.login("clerk", "pw"));
    auto b = site.get("/sys_losepassword.asp").body;
    EXPECT_TRUE(has(b, "<td>admin</td>"));
    EXPECT_EQ(count(b, kFiller), 12);

    site.exec("update user set menu_idstr='1904' where username='clerk'");
    auto r = site.get("/sys_losepassword.asp");
    EXPECT_EQ(r.status, 403);
    EXPECT_FALSE(has(r.body, "<td>admin</td>"));
}

TEST(SysLosePasswordDo, ClearsTheFlagAndReturnsToTheListAnIdThatIsNoNumberReports) {
    TestSite site;
    ASSERT_TRUE(site.login());
    site.exec("update user set password_lose=1 where username='admin'");
    for (const char* url : {"/sys_losepasswordDO.asp?ID=abc", "/sys_losepasswordDO.asp"}) {
        auto r = site.get(url);
        EXPECT_EQ(r.status, 200) << url;
        EXPECT_TRUE(has(r.body, "Routine : syslosepassworddo.I_init")) << url;
    }
    EXPECT_EQ(site.scalar("select password_lose from user where username='admin'", "password_lose"), "1");
    std::string id = site.scalar("select id from user where username='admin'", "id");
    auto r = site.get("/sys_losepasswordDO.asp?ID=" + id);
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=处理密码忘记成功！&next_href=sys_losepassword.asp");
    EXPECT_EQ(site.scalar("select password_lose from user where username='admin'", "password_lose"), "0");
}

TEST(SysLosePasswordDo, ANewPasswordFromTheListMustBeChangedAtTheNextLogin) {
    TestSite site;
    ASSERT_TRUE(site.login());
    std::string id = tav::test::add_user(site, "lost1", "1101", "old1");
    site.exec("update user set password_lose=1 where id=" + id);
    auto r = site.post_form("/sys_losepasswordDO.asp?ID=" + id, {{"newpassword", "temp_9"}});
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=处理密码忘记成功！&next_href=sys_losepassword.asp");
    EXPECT_EQ(site.scalar("select password_lose from user where id=" + id, "password_lose"), "0");
    EXPECT_TRUE(tav::password::is_hash(site.scalar("select password from user where id=" + id, "password")));

    site.forget_session();
    auto in = site.post_form("/loginverify.asp", {{"username", "lost1"}, {"password", "temp_9"}});
    EXPECT_EQ(in.location(), "User_password_Modify.asp");
    EXPECT_EQ(site.get("/").location(), "User_password_Modify.asp") << "no desktop before the change";
    auto done = site.post_form("/User_password_Modify.asp",
                               {{"UserPassWord", "temp_9"}, {"NewPassWord", "mine_2"}, {"NewPassWord1", "mine_2"}});
    EXPECT_EQ(done.location(), "./");
    EXPECT_EQ(site.get("/").status, 200);
    site.forget_session();
    EXPECT_TRUE(site.login("lost1", "mine_2"));
}
