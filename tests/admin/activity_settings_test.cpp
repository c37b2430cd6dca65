// The activity log views and the settings form with its save.
#include "tests/support/page_test.h"

using namespace tav::test;

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

// The settings form as a browser posts it: ticked boxes only, then the
// rest; a music file when one is named.
Reply post_settings(TestSite& site, const Fields& fields, const std::string& music = "",
                               const std::string& content = "ID3") {
    std::vector<Part> parts;
    for (const auto& [name, value] : fields) parts.push_back({name, value});
    parts.push_back(file("mfile", music, music.empty() ? "" : content));
    return post_multipart(site, "/Sys_Modify.asp", parts);
}

std::string setting(TestSite& site, const std::string& key) {
    return site.scalar("select Hardserial from software where softname='" + key + "'", "Hardserial");
}

const Fields kUsual = {{"forgetpass", "on"}, {"work_time", "90"},   {"pop_music", "on"},
                       {"stat_time", "15"},  {"old_music", "a.mp3"}, {"logout", "1"}, {"quota_mail", "50"}};

}  // namespace

TEST(ActivityLog, LinesNewestFirstAndTheWordsForNone) {
    TestSite site;
    std::string quiet = add_user(site, "quiet");
    ASSERT_TRUE(site.login());
    site.exec("insert into monitor(user_id,work_text,work_date) values (1,'第一件','2026-01-02 08:00:00')");
    site.exec("insert into monitor(user_id,work_text,work_date) values (1,'<b>第二件</b>','2026-01-02 09:30:00')");
    auto b = site.get("/Sys_User_Active_List.asp?ID=1").body;
    EXPECT_TRUE(has(b, "系统管理员[admin] 最近活动记载"));
    std::size_t second = b.find("&lt;b&gt;第二件"), first = b.find("第一件"), login = b.find("登录系统……");
    EXPECT_TRUE(second < first && first < login) << b;  // by id descending: the login line came first
    expect_texts(b, {"<td nowrap>2026-01-02 09:30:00</td>", "<td width=\"4%\" align=\"center\">3</td>"}, {"此用户今日没有来！"});

    EXPECT_TRUE(has(site.get("/sys_user_active_list.asp?id=" + quiet).body, "此用户今日没有来！"));
    for (const char* bad : {"999", ""})
        EXPECT_TRUE(has(site.get(std::string("/Sys_User_Active_List.asp?ID=") + bad).body,
                        "Routine : sysuseractivelist.I_init"))
            << bad;
}

TEST(ActivityLog, AccountListOffersThreePagesForTwentyAccounts) {
    AdminSite site;  // the administrator
    for (int i = 1; i <= 19; ++i) { std::string n = "a"; n += std::to_string(i); add_user(site, n); };
    auto b = site.get("/Sys_User_Active.asp").body;
    EXPECT_EQ(count(b, "<option "), 3);
    expect_texts(b, {"<td>30</td>", "Sys_User_Active_List.asp?id=20", "系统管理 =>>查看用户当日活动记载"});
    EXPECT_EQ(count(site.get("/Sys_User_Active.asp?p=2").body, "<tr height=\"28\"><td>"), 10);
    EXPECT_TRUE(has(site.get("/Sys_User_Active.asp?p=-4").body, ">a19<")) << "below 0 is the first page";
}

TEST(Settings, CheckboxesTextsAndTheLogoutSelectAreStoredAsPosted) {
    AdminSite site;  // the administrator
    site.exec("update software set Hardserial='7' where softname='logout'");
    // A time or quota that is no whole number stores nothing and names its box.
    const std::pair<const char*, const char*> refused[] = {{"work_time", "“间隔时间”处输入数字(>60)!"},
                                                           {"quota_store", "“个人文件柜空间(MB)”处输入数字!"}};
    for (const auto& [box, alert] : refused) {
        Fields f = {{"regnewuser", "on"}, {"work_time", "60"}, {"stat_time", "12"}};
        f.push_back({box, "1e3\"><b>"});
        EXPECT_TRUE(has(post_settings(site, f).body, alert)) << box;
        EXPECT_EQ(setting(site, "forgetpass") + setting(site, "quota_store"), "1200") << box;
    }
    auto r = post_settings(site, {{"regnewuser", "on"}, {"pop_note", "yes"}, {"work_time", "75"},
                             {"stat_time", " 12"}, {"logout", "7"}});
    EXPECT_LT(r.body.find("<script language=\"javascript\">\r\nalert(\"系统参数修改成功！\");"), r.body.find("<html>"))
        << "the alert stands ahead of the page";
    const std::pair<const char*, const char*> stored[] = {
        {"forgetpass", "0"}, {"regnewuser", "1"}, {"indroduce", "0"}, {"pop_note", "0"}, {"work_pop", "0"},
        {"pop_music", "0"},  {"work_time", "75"}, {"stat_time", "12"}, {"logout", "0"}, {"music", ""}};
    for (const auto& [key, value] : stored) EXPECT_EQ(setting(site, key), value) << key;
    // The form shows what is stored.
    expect_texts(r.body,
                 {"name=\"regnewuser\" checked>", "<option value=\"0\" selected>返回至登录页"},
                 {"name=\"forgetpass\" checked>"});

    // And the pages that read them follow at their next load.
    EXPECT_FALSE(has(site.get("/login.asp").body, "忘记密码"));
    EXPECT_TRUE(has(site.get("/login.asp").body, "新用户注册"));
    post_settings(site, kUsual);
    EXPECT_EQ(setting(site, "logout") + setting(site, "quota_mail"), "150");
    ASSERT_TRUE(site.login());
    EXPECT_TRUE(has(site.get("/sysmonitor.asp").body, "content=\"15\""));
    EXPECT_TRUE(has(site.get("/message.asp").body, "content=\"90\""));
}

TEST(Settings, MusicIsReplacedAndTheOldFileRemovedOnlyWhenANewOneIsTaken) {
    AdminSite site;  // the administrator
    const std::string medium = site.root() + "/Medium/";
    std::ofstream(medium + "a.mp3") << "old";
    std::ofstream(medium + "keep.mp3") << "other";
    site.exec("update software set Hardserial='a.mp3' where softname='music'");

    post_settings(site, kUsual);  // no file: nothing moves
    EXPECT_EQ(setting(site, "music"), "a.mp3");
    EXPECT_TRUE(std::filesystem::exists(medium + "a.mp3"));

    post_settings(site, kUsual, "C:\\音乐\\新曲.MP3");
    EXPECT_EQ(setting(site, "music"), "新曲.MP3");
    EXPECT_TRUE(std::filesystem::exists(medium + "新曲.MP3"));
    EXPECT_FALSE(std::filesystem::exists(medium + "a.mp3"));
    EXPECT_TRUE(std::filesystem::exists(medium + "keep.mp3"));

    // A name already there: refused, music and files stay, the rest is saved.
    Fields f = kUsual;
    f[1].second = "120";
    f[4].second = "新曲.MP3";
    auto r = post_settings(site, f, "C:\\keep.mp3");
    expect_texts(r.body, {"文件已经存在于服务器上", "系统参数修改成功！"});
    EXPECT_EQ(setting(site, "music"), "新曲.MP3");
    EXPECT_EQ(setting(site, "work_time"), "120");
    EXPECT_TRUE(std::filesystem::exists(medium + "新曲.MP3"));
}

TEST(Settings, OldMusicNeverReachesOutsideTheMusicFolderAndOnlySoundIsTaken) {
    AdminSite site;  // the administrator
    const std::string medium = site.root() + "/Medium/";
    std::ofstream(site.root() + "/Datas/victim.txt") << "x";
    for (const char* old : {"../Datas/victim.txt", "..\\Datas\\victim.txt", "../datebase/office.mdb"}) {
        Fields f = kUsual;
        f[4].second = old;
        post_settings(site, f, std::string("C:\\n") + std::to_string(f[4].second.size()) + ".wav");
    }
    EXPECT_TRUE(std::filesystem::exists(site.root() + "/Datas/victim.txt"));
    EXPECT_TRUE(std::filesystem::exists(site.root() + "/datebase/office.mdb"));

    for (const char* name : {"C:\\page.htm", "C:\\x.svg", "C:\\..mid"}) {
        post_settings(site, kUsual, name, "<script>alert(1)</script>");
        EXPECT_NE(setting(site, "music").substr(0, 2), std::string(name).substr(3, 2)) << name;
    }
    EXPECT_FALSE(std::filesystem::exists(medium + "page.htm"));
    EXPECT_FALSE(std::filesystem::exists(medium + "x.svg"));
}

TEST(Settings, AMissingRowCutsTheFormThere) {
    AdminSite site;  // the administrator
    site.exec("delete from software where softname='stat_time'");
    auto b = site.get("/Sys_Modify.asp").body;
    expect_texts(b,
                 {"name=\"work_time\" size=\"4\" value=\"60\"", "Routine : sysmodify.I_init"},
                 {"name=\"stat_time\"", "提 交"});
    // A save updates nothing for it and inserts nothing.
    post_settings(site, kUsual);
    EXPECT_EQ(site.scalar("select count(id) as num from software where softname='stat_time'", "num"), "0");
}
