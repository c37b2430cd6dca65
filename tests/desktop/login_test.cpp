// The way in: the login form, its headline and links, and the check of the
// account with its activity log and folder.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "desktop/headline.h"
#include "frame/password.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

using tav::test::TestSite;
using tav::test::count;
namespace fs = std::filesystem;

TEST(LoginHeadline, WordsFollowTheLengthOfTheName) {
    EXPECT_EQ(tav::login_headline("四个字符"), "四个字符自动化网络办公系统");
    EXPECT_EQ(tav::login_headline("五个字符名"), "五个字符名网络办公系统");
    EXPECT_EQ(tav::login_headline("七个字符的名字"), "七个字符的名字办公系统");
    EXPECT_EQ(tav::login_headline("十一个字符的单位名称甲"), "十一个字符的单位名称甲系统");
    EXPECT_EQ(tav::login_headline("十二个字符的单位名称甲乙"), "十二个字符的单位名称甲乙");
    EXPECT_EQ(tav::login_headline(""), "自动化网络办公系统");
}

TEST(Login, ShowsTheFormWithTheOrganisationName) {
    TestSite site;
    auto r = site.get("/login.asp");
    ASSERT_EQ(r.status, 200);
    EXPECT_EQ(r.header("Content-Type"), "text/html; charset=gb2312");
    EXPECT_NE(r.body.find("<title>示范单位网络办公系统登录</title>"), std::string::npos);
    EXPECT_NE(r.body.find("示范单位自动化网络办公系统</span>"), std::string::npos);
    EXPECT_NE(r.body.find("action=\"loginverify.asp\""), std::string::npos);
    EXPECT_NE(r.body.find("　软件版本：2.0　"), std::string::npos);
    EXPECT_EQ(r.body.find("登录失败"), std::string::npos);
    // The answer travels as GB18030.
    EXPECT_NE(r.raw.find("\xCA\xBE\xB7\xB6\xB5\xA5\xCE\xBB"), std::string::npos);  // 示范单位
}

TEST(Login, DefaultNameWhenTheRowIsMissing) {
    TestSite site;
    site.exec("delete from software where softname='username'");
    auto r = site.get("/login.asp?login=error");
    EXPECT_NE(r.body.find("审计系统通用网络办公系统"), std::string::npos);
    EXPECT_NE(r.body.find("　用户名或密码错误，登录失败，请重新登录！　"), std::string::npos);
}

TEST(Login, LinksShowForMissingRowsAndForOneOnly) {
    TestSite site;
    auto all = site.get("/login.asp").body;
    EXPECT_NE(all.find("ForgetPassword()' href='#'>忘记密码</a>&nbsp;&nbsp; "), std::string::npos);
    EXPECT_NE(all.find("NewRegister()' href='#'>新用户注册</a>"), std::string::npos);
    EXPECT_NE(all.find("help.htm"), std::string::npos);

    site.exec("delete from software where softname in ('forgetpass','regnewuser','indroduce')");
    auto missing = site.get("/login.asp").body;
    EXPECT_NE(missing.find(">忘记密码<"), std::string::npos);
    EXPECT_NE(missing.find(">新用户注册<"), std::string::npos);
    EXPECT_NE(missing.find(">系统简介<"), std::string::npos);

    site.exec("insert into software(softname,Hardserial) values ('regnewuser','0')");
    auto off = site.get("/login.asp").body;
    EXPECT_EQ(off.find(">新用户注册<"), std::string::npos);
    EXPECT_NE(off.find(">忘记密码<"), std::string::npos);
}

TEST(LoginVerify, WrongPasswordGoesBackWithTheError) {
    TestSite site;
    auto r = site.post_form("/loginverify.asp", {{"username", "admin"}, {"password", "nope"}});
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "./login.asp?login=error");
    EXPECT_EQ(site.scalar("select count(id) as num from monitor", "num"), "0");
}

TEST(LoginVerify, RightPasswordOpensTheSessionLogsAndMakesTheFolder) {
    TestSite site;
    ASSERT_TRUE(site.login("admin", "admin"));
    EXPECT_TRUE(fs::is_directory(site.root() + "/user/admin"));
    EXPECT_EQ(site.scalar("select count(id) as num from monitor where work_text='登录系统……'", "num"), "1");
    // A second posting logs a second line; the existing folder is left alone.
    // The clear text of an old row became a hash at the first login; the
    // second checks the hash. Names compare without case, passwords with.
    EXPECT_TRUE(tav::password::is_hash(site.scalar("select password from user where id=1", "password")));
    ASSERT_TRUE(site.login("ADMIN", "admin"));
    EXPECT_EQ(site.scalar("select count(id) as num from monitor where work_text='登录系统……'", "num"), "2");
    // Chinese form values arrive whole.
    site.exec("insert into user(username,password,TrueName,DepartMentID,record) values ('张三','口令','张三',1,30)");
    ASSERT_TRUE(site.login("张三", "口令"));
    EXPECT_TRUE(fs::is_directory(site.root() + "/user/张三"));
    EXPECT_FALSE(site.login("admin", "ADMIN"));
}

TEST(LoginVerify, OldLogLinesOfTheAccountAreTrimmed) {
    TestSite site;
    std::string uid = site.scalar("select id from user where username='admin'", "id");
    site.exec("insert into monitor(user_id,work_text,work_date) values (" + uid + ",'old','2001-01-01 10:00:00')");
    site.exec("insert into monitor(user_id,work_text,work_date) values (999,'other','2001-01-01 10:00:00')");
    ASSERT_TRUE(site.login());
    EXPECT_EQ(site.scalar("select count(id) as num from monitor where work_text='old'", "num"), "0");
    EXPECT_EQ(site.scalar("select count(id) as num from monitor where work_text='other'", "num"), "1");
}

TEST(LoginVerify, EmptyRecordMakesTheTrimFailButLoginGoesOn) {
    TestSite site;
    site.exec("update user set record=null where username='admin'");
    site.get("/login.asp");
    auto r = site.post_form("/loginverify.asp", {{"username", "admin"}, {"password", "admin"}});
    // The report went into the buffered answer, which the redirect discarded.
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "./");
    EXPECT_EQ(site.scalar("select count(id) as num from monitor", "num"), "0");
    EXPECT_NE(site.log_text().find("Routine : loginverify.log_monitor"), std::string::npos);
}

TEST(LoginVerify, QuoteInTheNameGivesTheReport) {
    TestSite site;
    auto r = site.post_form("/loginverify.asp", {{"username", "a'b"}, {"password", "x"}});
    EXPECT_EQ(r.status, 200);
    EXPECT_NE(r.body.find("Routine : loginverify.I_init"), std::string::npos) << r.body;
    EXPECT_EQ(count(site.log_text(), "LINE #"), 1);  // logged once
}

TEST(Dispatch, StaticFilesWithoutCaseAndTheDatabaseNever) {
    TestSite site;
    auto css = site.get("/STYLE.CSS");
    EXPECT_EQ(css.status, 200);
    EXPECT_EQ(css.header("Content-Type"), "text/css; charset=utf-8");
    EXPECT_EQ(site.get("/datebase/office.mdb").status, 404);
    EXPECT_EQ(site.get("/DateBase/Office.MDB").status, 404);
    EXPECT_EQ(site.get("/%64atebase/office.mdb").status, 404);
    EXPECT_EQ(site.get("/images/../datebase/office.mdb").status, 404);
    EXPECT_EQ(site.get("/../site.log").status, 404);
    EXPECT_EQ(site.get("/nosuch.asp").status, 404);
    EXPECT_EQ(site.get("/LOGIN.ASP").status, 200);
}

TEST(Dispatch, StaticPathsDecodeUtf8AndGb18030) {
    TestSite site;
    fs::create_directories(site.root() + "/Datas/31");
    std::ofstream(site.root() + "/Datas/31/报告.txt") << "content";
    ASSERT_TRUE(site.login());  // attachments are served to logged-in sessions only
    EXPECT_EQ(site.get("/datas/31/%E6%8A%A5%E5%91%8A.txt").body, "content");  // UTF-8
    EXPECT_EQ(site.get("/datas/31/%B1%A8%B8%E6.txt").body, "content");        // GB18030
}
