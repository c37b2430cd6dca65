// The desktop frame set and its frame pages: top's headline sizes, bottom's
// status cells, the welcome page that marks the account online.
#include <tuple>

#include "tests/support/page_test.h"

using namespace tav::test;

TEST(DesktopFrames, EightFramesInOrderAndTheMeetingPairAtLogin) {
    TestSite site;
    site.get("/login.asp");  // the login form gives the session its name, not the marker
    EXPECT_EQ(site.get("/").location(), "login.asp");
    for (bool meeting : {false, true}) {
        site.exec(std::string("update user set start_meeting=") + (meeting ? "1" : "null") + " where username='admin'");
        ASSERT_TRUE(site.login());
        auto b = site.get("/").body;
        EXPECT_TRUE(has(b, "<frameset rows=\"46,*,25,0,0,0,0\""));
        EXPECT_EQ(count(b, "<frame "), 8);
        std::string detail = meeting ? "starting.asp" : "started.asp";
        std::string net = meeting ? "start_netmeeting.asp" : "about:blank";
        const std::string frames[] = {"top_w\"", "dir\"", "detail\" noresize src=\"" + detail + "\"", "bottom\"",
                                      "monitorbottom\" src=\"about:blank\"", "sound\"", "message\"",
                                      "net_metmeen\" src=\"" + net + "\""};
        std::size_t at = 0;
        for (const auto& f : frames) {
            at = b.find("name=\"" + f, at);
            ASSERT_NE(at, std::string::npos) << f;
        }
    }
}

TEST(DesktopTop, HeadlineSizeFollowsNameAndHeadlineLength) {
    struct Case { int len; std::string tail, size; };
    const Case cases[] = {
        {3, "自动化网络办公系统", "13"}, {4, "自动化网络办公系统", "12.5"}, {5, "网络办公系统", "13.5"},
        {7, "办公系统", "15"},
        {8, "办公系统", "13"},  // 13.5 by the name, 13 by the headline of 12
        {9, "办公系统", "12.5"}, {10, "系统", "13"}, {11, "系统", "12.5"},
        {12, "", "13"},  // the name alone, 12 long
        {13, "", "12.5"}, {14, "", "13.5"},
    };
    static const char* chars[] = {"甲", "乙", "丙", "丁", "戊", "己", "庚", "辛", "壬", "癸", "子", "丑", "寅", "卯"};
    AdminSite site;
    for (const Case& c : cases) {
        std::string name;
        for (int i = 0; i < c.len; ++i) name += chars[i];
        site.exec("update software set Hardserial='" + name + "' where softname='username'");
        site.get("/login.asp");  // the session takes its organisation name from the login page
        auto b = site.get("/top.asp").body;
        EXPECT_TRUE(has(b, "font-size: " + c.size + "pt; color: yellow\">" + name + c.tail + "</span>")) << c.len;
    }
}

TEST(DesktopTop, EachButtonOpensItsSectionInItsFrame) {
    AdminSite site;
    auto b = site.get("/top.asp").body;
    for (auto [stem, href, target] : {std::tuple{"sy", "left.asp?xm=home", "dir"}, {"wlzx", "left.asp?xm=wlzx", "dir"},
                                      {"bgzx", "left.asp?xm=bgzx", "dir"}, {"sjzx", "left.asp?xm=sjzx", "dir"},
                                      {"xtbz", "help.htm", "detail"}, {"tcxt", "logout.asp", "_top"}})
        EXPECT_TRUE(has(b, "<a href=\"" + std::string(href) + "\" target=\"" + target + "\"><img name=\"" + stem + "\""))
            << stem;
}

TEST(DesktopBottom, StatusCellsInOrderAndTheMonitorStart) {
    AdminSite site;
    auto b = site.get("/bottom.asp").body;
    EXPECT_TRUE(has(b, " 用户:系统管理员</font>"));
    std::size_t at = 0;
    for (const char* id : {"onlines", "email", "board", "infiles", "meeting", "password"}) {
        at = b.find("id=\"" + std::string(id) + "\" name=\"" + id + "\"", at);
        ASSERT_NE(at, std::string::npos) << id;
    }
    EXPECT_TRUE(has(b, "parent.monitorbottom.location.href=\"sysmonitor.asp\";"));
}

TEST(DesktopStarted, MarksOnlineWithTheClientAddressAtEachVisit) {
    AdminSite site;
    EXPECT_EQ(site.scalar("select online from user where username='admin'", "online"), "0");
    tav::HttpRequest req;
    req.method = "GET";
    req.target = "/started.asp";
    for (const char* ip : {"10.1.2.3", "10.9.9.9"}) {
        req.remote_addr = ip;
        EXPECT_TRUE(has(site.send(req).body, "content=\"30;url=data_home.asp\""));
        EXPECT_EQ(site.scalar("select online from user where username='admin'", "online"), "1");
        EXPECT_EQ(site.scalar("select ip from user where username='admin'", "ip"), ip);
    }
}
