// The desktop frame set and its frame pages: top's headline sizes, bottom's
// status cells, the welcome page that marks the account online.
#include <gtest/gtest.h>

#include "tests/support/test_site.h"
#include "tests/support/text.h"

using tav::test::TestSite;
using tav::test::has;
using tav::test::count;

namespace {

// An organisation name of n Chinese characters.
std::string name_of(int n) {
    static const char* chars[] = {"甲", "乙", "丙", "丁", "戊", "己", "庚", "辛", "壬", "癸", "子", "丑", "寅", "卯"};
    std::string s;
    for (int i = 0; i < n; ++i) s += chars[i % 14];
    return s;
}

// The session takes its organisation name from the login page.
void use_name(TestSite& site, const std::string& name) {
    site.exec("update software set Hardserial='" + name + "' where softname='username'");
    site.get("/login.asp");
}

}  // namespace

TEST(DesktopFrames, WithoutSession) {
    TestSite site;
    auto r = site.get("/");
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "login.asp");
    // The login form gives the session its name, not the marker.
    site.get("/login.asp");
    EXPECT_EQ(site.get("/").location(), "login.asp");
    // The frame pages too: each sends a visitor without a session to the login.
    for (const char* page : {"/top.asp", "/bottom.asp", "/started.asp", "/left.asp", "/starting.asp"})
        EXPECT_EQ(site.get(page).location(), "login.asp") << page;
}

TEST(DesktopFrames, FrameSetWithItsEightFramesInOrder) {
    TestSite site;
    ASSERT_TRUE(site.login());
    auto r = site.get("/");
    ASSERT_EQ(r.status, 200);
    const std::string& b = r.body;
    EXPECT_TRUE(has(b, "<title>示范单位网络办公系统</title>"));
    EXPECT_TRUE(has(b, "<frameset rows=\"46,*,25,0,0,0,0\" frameborder=\"NO\" border=\"0\" framespacing=\"0\">"));
    EXPECT_EQ(count(b, "<frame "), 8);
    // top, dir, detail, then the four background rows, with their sources.
    const char* frames[][2] = {{"top_w", ""}, {"dir", ""}, {"detail", " noresize src=\"started.asp\""},
                               {"bottom", ""}, {"monitorbottom", " src=\"about:blank\""}, {"sound", ""},
                               {"message", ""}, {"net_metmeen", " src=\"about:blank\""}};
    std::size_t at = 0;
    for (const auto& f : frames) {
        std::size_t next = b.find("name=\"" + std::string(f[0]) + "\"" + f[1], at);
        ASSERT_NE(next, std::string::npos) << f[0];
        at = next;
    }
}

TEST(DesktopFrames, MeetingAtLoginStartsTheMeetingPair) {
    TestSite site;
    site.exec("update user set start_meeting=1 where username='admin'");
    ASSERT_TRUE(site.login());
    auto b = site.get("/").body;
    EXPECT_TRUE(has(b, "name=\"detail\" noresize src=\"starting.asp\""));
    EXPECT_TRUE(has(b, "name=\"net_metmeen\" src=\"start_netmeeting.asp\""));

    site.exec("update user set start_meeting=null where username='admin'");
    b = site.get("/").body;
    EXPECT_TRUE(has(b, "name=\"net_metmeen\" src=\"about:blank\""));
    EXPECT_TRUE(has(b, "src=\"started.asp\""));
}

TEST(DesktopTop, HeadlineSizeFollowsNameAndHeadlineLength) {
    struct Case {
        int len;
        std::string tail;
        std::string size;
    };
    const Case cases[] = {
        {3, "自动化网络办公系统", "13"},    // headline of 12
        {4, "自动化网络办公系统", "12.5"},  // headline of 13
        {5, "网络办公系统", "13.5"},
        {7, "办公系统", "15"},
        {8, "办公系统", "13"},     // 13.5 by the name, 13 by the headline of 12
        {9, "办公系统", "12.5"},   // headline of 13
        {10, "系统", "13"},
        {11, "系统", "12.5"},
        {12, "", "13"},            // the name alone, 12 long
        {13, "", "12.5"},
        {14, "", "13.5"},
    };
    TestSite site;
    ASSERT_TRUE(site.login());
    for (const Case& c : cases) {
        std::string name = name_of(c.len);
        use_name(site, name);
        auto b = site.get("/top.asp").body;
        EXPECT_TRUE(has(b, "font-size: " + c.size + "pt; color: yellow\">" + name + c.tail + "</span>"))
            << c.len << "\n" << b;
    }
}

TEST(DesktopBottom, StatusCellsByBlockWritesAndTheMonitorStart) {
    TestSite site;
    ASSERT_TRUE(site.login());
    auto b = site.get("/bottom.asp").body;
    EXPECT_TRUE(has(b, " 用户:系统管理员</font>"));
    const char* ids[] = {"onlines", "email", "board", "infiles", "meeting", "password"};
    std::size_t at = 0;
    for (const char* id : ids) {
        std::size_t next = b.find("id=\"" + std::string(id) + "\" name=\"" + id + "\" width=\"20\"", at);
        ASSERT_NE(next, std::string::npos) << id;
        at = next;
    }
    EXPECT_TRUE(has(b, "<a href=\"Email_list.asp?Type=0\" target=\"detail\"><img src=\"images/mail_0.gif\" border=\"0\" alt=\"没有新邮件！\">"));
    EXPECT_TRUE(has(b, "parent.monitorbottom.location.href=\"sysmonitor.asp\";\r\n "));
}

TEST(DesktopStarted, MarksOnlineWithTheClientAddressAtEachVisit) {
    TestSite site;
    ASSERT_TRUE(site.login());
    EXPECT_EQ(site.scalar("select online from user where username='admin'", "online"), "0");
    tav::HttpRequest req;
    req.method = "GET";
    req.target = "/started.asp";
    req.remote_addr = "10.1.2.3";
    auto r = site.send(req);
    EXPECT_TRUE(has(r.body, "content=\"30;url=data_home.asp\""));
    EXPECT_TRUE(has(r.body, "示范单位<br>自动化网络办公系统</span>"));
    EXPECT_EQ(site.scalar("select online from user where username='admin'", "online"), "1");
    EXPECT_EQ(site.scalar("select ip from user where username='admin'", "ip"), "10.1.2.3");
    req.remote_addr = "10.9.9.9";
    site.send(req);
    EXPECT_EQ(site.scalar("select ip from user where username='admin'", "ip"), "10.9.9.9");
}
