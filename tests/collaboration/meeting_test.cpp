// The meeting launcher, the control started at login, and the list of who
// is online: three read-only pages on user.online and user.ip.
#include "tests/support/page_test.h"

using namespace tav::test;

namespace {

const char kControl[] = "classid=\"CLSID:3E9BAF2D-7A79-11d2-9334-0000F875AE17\"";
const std::string kFiller = "<tr height=\"26\"><td>\xE3\x80\x80</td>";

}  // namespace

TEST(OnlineUsers, TheListStopsAtTenAndReadsOnlineOneWhileTheMeetingTakesAnyNonZero) {
    TestSite site;
    site.login();
    site.exec("update user set online=0");
    EXPECT_EQ(count(site.get("Online_user.asp").body, kFiller), 10);
    std::string meeting = site.get("Web_Meeting.asp").body;
    EXPECT_EQ(count(meeting, "<option value="), 0);
    EXPECT_TRUE(has(meeting, kControl));

    site.exec("update user set online=1,ip='10.0.0.1'");  // the admin
    for (int i = 0; i < 10; ++i) {
        std::string id = add_user(site, "on" + std::to_string(i), "", "pw", "在线" + std::to_string(i));
        site.exec("update user set online=1,ip='10.0.1." + std::to_string(i) + "' where id=" + id);
    }
    std::string odd = add_user(site, "odd", "", "pw", "怪值");
    site.exec("update user set online=2,ip='' where id=" + odd);  // online, but not by the list's test
    add_user(site, "off", "", "pw", "离线");
    std::string gone = add_user(site, "lost");
    site.exec("update user set DepartMentID=999,Email='lost@x.cn' where id=" + gone);

    std::string list = site.get("Online_user.asp").body;
    EXPECT_EQ(count(list, "sys_user_active_list.asp?id="), 10);
    EXPECT_EQ(count(list, kFiller), 0);
    // the eleventh with online=1, in id order
    expect_texts(list, {">admin</a></td><td>办公室</td><td>系统管理员</td><td>男</td>"}, {"在线9", "怪值"});

    meeting = site.get("Web_Meeting.asp").body;
    EXPECT_EQ(count(meeting, "<option value="), 12);
    // an empty address stays empty
    expect_texts(meeting, {"<option value=10.0.1.9>在线9</option>", "<option value=>怪值</option>"}, {"离线"});

    site.exec("update user set online=0 where id<>" + gone);
    site.exec("update user set online=1 where id=" + gone);
    list = site.get("Online_user.asp").body;
    // the mail stays in a comment
    expect_texts(list, {">lost</a></td><td>已删除部门</td>", "<!--<td>lost@x.cn</td>-->"});
}

TEST(StartMeeting, OnlyHoldersOf1408AnywhereInTheirRightsGetTheControlAndAllGoOn) {
    const std::pair<const char*, bool> cases[] = {
        {"1408", true}, {"0101 1408 1905", true}, {"114080", true},  // inside a longer number
        {"140 8 1409", false}, {"", false}};
    TestSite site;
    int n = 0;
    for (const auto& [rights, control] : cases) {
        const std::string name = std::string("m").append(std::to_string(++n));
        add_user(site, name, rights);
        site.exec("update user set start_meeting=1 where username='" + name + "'");
        ASSERT_TRUE(site.login(name, "pw"));
        std::string body = site.get("start_netmeeting.asp").body;
        EXPECT_EQ(has(body, kControl), control) << rights;
        expect_texts(body, {"action=\"started.asp\" target=\"detail\">", "document.form1.submit();"}, {}, rights);
    }
}
