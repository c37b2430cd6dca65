// The way in: the login form, its headline and links, and the check of the
// account with its activity log and folder.
#include "tests/support/page_test.h"

#include "frame/password.h"

using namespace tav::test;

namespace {

std::string logins(TestSite& site, const std::string& text = "登录系统……") {
    return site.scalar("select count(id) as num from monitor where work_text='" + text + "'", "num");
}

}  // namespace

TEST(Login, FormWithTheOrganisationNameItsLinksAndTheDefaultName) {
    TestSite site;
    auto r = site.get("/login.asp");
    EXPECT_EQ(r.header("Content-Type"), "text/html; charset=gb2312");
    expect_texts(r.body, {"示范单位自动化网络办公系统</span>", "action=\"loginverify.asp\"", ">忘记密码<", ">新用户注册<",
                          "help.htm"}, {"登录失败"});
    EXPECT_TRUE(has(r.raw, "\xCA\xBE\xB7\xB6\xB5\xA5\xCE\xBB"));  // 示范单位 travels as GB18030
    // Missing rows show their links; one switched off hides only its own.
    site.exec("delete from software where softname in ('forgetpass','regnewuser','indroduce','username')");
    expect_texts(site.get("/login.asp?login=error").body, {">忘记密码<", ">新用户注册<", ">系统简介<", "审计系统通用网络办公系统",
                                                           "　用户名或密码错误，登录失败，请重新登录！　"});
    site.exec("insert into software(softname,Hardserial) values ('regnewuser','0')");
    expect_texts(site.get("/login.asp").body, {">忘记密码<"}, {">新用户注册<"});
}

TEST(LoginVerify, RightPasswordOpensTheSessionLogsAndMakesTheFolder) {
    TestSite site;
    auto r = site.post_form("/loginverify.asp", {{"username", "admin"}, {"password", "nope"}});
    EXPECT_EQ(r.location(), "./login.asp?login=error");
    EXPECT_EQ(site.scalar("select count(id) as num from monitor", "num"), "0");
    std::string uid = site.scalar("select id from user where username='admin'", "id");
    site.exec("insert into monitor(user_id,work_text,work_date) values (" + uid + ",'old','2001-01-01 10:00:00')");
    site.exec("insert into monitor(user_id,work_text,work_date) values (999,'other','2001-01-01 10:00:00')");
    ASSERT_TRUE(site.login("admin", "admin"));
    EXPECT_TRUE(fs::is_directory(site.root() + "/user/admin"));
    EXPECT_EQ(logins(site), "1");
    EXPECT_EQ(logins(site, "old"), "0");  // the account's old lines are trimmed, no one else's
    EXPECT_EQ(logins(site, "other"), "1");
    // The clear text of an old row became a hash at the first login; the
    // second checks the hash. Names compare without case, passwords with.
    EXPECT_TRUE(tav::password::is_hash(site.scalar("select password from user where id=1", "password")));
    ASSERT_TRUE(site.login("ADMIN", "admin"));
    EXPECT_EQ(logins(site), "2");
    EXPECT_FALSE(site.login("admin", "ADMIN"));
    // Chinese form values arrive whole.
    site.exec("insert into user(username,password,TrueName,DepartMentID,record) values ('张三','口令','张三',1,30)");
    ASSERT_TRUE(site.login("张三", "口令"));
    EXPECT_TRUE(fs::is_directory(site.root() + "/user/张三"));
}

TEST(LoginVerify, EmptyRecordMakesTheTrimFailButLoginGoesOnAQuoteReports) {
    TestSite site;
    site.exec("update user set record=null where username='admin'");
    site.get("/login.asp");
    auto r = site.post_form("/loginverify.asp", {{"username", "admin"}, {"password", "admin"}});
    // The report went into the buffered answer, which the redirect discarded.
    EXPECT_EQ(r.location(), "./");
    EXPECT_EQ(site.scalar("select count(id) as num from monitor", "num"), "0");
    EXPECT_TRUE(has(site.log_text(), "Routine : loginverify.log_monitor"));
    int before = count(site.log_text(), "LINE #");
    r = site.post_form("/loginverify.asp", {{"username", "a'b"}, {"password", "x"}});
    EXPECT_EQ(r.status, 200);
    EXPECT_TRUE(has(r.body, "Routine : loginverify.I_init")) << r.body;
    EXPECT_EQ(count(site.log_text(), "LINE #"), before + 1);  // logged once
}

TEST(Dispatch, StaticFilesWithoutCaseInUtf8OrGb18030AndTheDatabaseNever) {
    TestSite site;
    fs::create_directories(site.root() + "/Datas/31");
    std::ofstream(site.root() + "/Datas/31/报告.txt") << "content";
    ASSERT_TRUE(site.login());  // attachments are served to logged-in sessions only
    EXPECT_EQ(site.get("/STYLE.CSS").header("Content-Type"), "text/css; charset=utf-8");
    for (const char* p : {"/DateBase/Office.MDB", "/%64atebase/office.mdb", "/images/../datebase/office.mdb",
                          "/../site.log", "/nosuch.asp"})
        EXPECT_EQ(site.get(p).status, 404) << p;
    EXPECT_EQ(site.get("/LOGIN.ASP").status, 200);
    EXPECT_EQ(site.get("/datas/31/%E6%8A%A5%E5%91%8A.txt").body, "content");
    EXPECT_EQ(site.get("/datas/31/%B1%A8%B8%E6.txt").body, "content");
}
