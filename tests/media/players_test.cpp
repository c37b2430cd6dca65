// The player pages: counters, audit lines, the playlist files under
// Medium/temp and the address each player is handed.
#include "tests/support/page_test.h"

#include "frame/encoding.h"
#include "tests/media/media_fixture.h"

using namespace tav::test;

namespace {

std::string last_audit(TestSite& site) {
    return site.scalar("select * from monitor order by id desc", "work_text");
}

// Prefix and number joined by appending (g++ 12 warns wrongly on "t" + string).
std::string numbered(const char* prefix, int i) {
    std::string s = prefix;
    s += std::to_string(i);
    return s;
}

std::size_t temp_files(TestSite& site) {
    std::size_t n = 0;
    for ([[maybe_unused]] auto& e : std::filesystem::directory_iterator(site.root() + "/Medium/temp")) ++n;
    return n;
}

}  // namespace

TEST(MediaPlayers, AudioIdsAndTheirPlaylist) {
    AdminSite site;
    std::string uid = site.scalar("select id from user where username='admin'", "id");
    // Ids 1 to 12, so that a cut "12" names a title too.
    for (int i = 1; i <= 12; ++i) add_title(site, {.title = numbered("t", i), .filename = std::to_string(i) + ".mp3"});
    struct Case {
        std::string id;
        std::vector<std::string> played;  // in the list's order
        std::string window_title, audit;
    } cases[] = {
        {"3", {"3"}, "t3", "点播音乐: t3"},  // a plain link: nothing is cut
        {"5|", {"5"}, "t5", "点播音乐: t5"},
        {"7|12", {"7", "1"}, "t7 等共 1 首……", "点播多首音乐: t7 等共 1 首……"},  // the 2 of 12 goes
        {"2|4|6|", {"2", "4", "6"}, "t2 等共 2 首……", "点播多首音乐: t2 等共 2 首……"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> before;
        for (int i = 1; i <= 12; ++i) before.push_back(clicks(site, std::to_string(i)));
        auto r = site.get("/Medium_play_Audio.asp?ID=" + c.id);
        ASSERT_EQ(r.status, 200) << c.id;
        for (int i = 1; i <= 12; ++i) {
            bool played = std::find(c.played.begin(), c.played.end(), std::to_string(i)) != c.played.end();
            EXPECT_EQ(std::stoi(clicks(site, std::to_string(i))), std::stoi(before[i - 1]) + played) << c.id << " " << i;
        }
        EXPECT_TRUE(has(r.body, "<TITLE>" + c.window_title + "</TITLE>")) << c.id;
        EXPECT_EQ(last_audit(site), c.audit);
        std::string list = "/Medium/temp/Audio" + uid + c.played[0] + clicks(site, c.played[0]) + ".m3u";
        std::string lines;
        for (const auto& p : c.played) lines += "http://localhost:8080/Medium/" + p + ".mp3\r\n";
        EXPECT_EQ(slurp(site.root() + list), lines) << c.id;
        EXPECT_TRUE(has(r.body, "<PARAM NAME=\"src\" VALUE=\"http://localhost:8080" + list + "\">")) << c.id;
    }
}

TEST(MediaPlayers, AsfListsGoToTheBrowserWhenSeveralAndIntoTheObjectWhenOne) {
    AdminSite site;
    std::string a = add_title(site, {.title = "a", .kind = "audio_asf", .filename = "a.asf"});
    std::string b = add_title(site, {.title = "b", .kind = "audio_asf", .filename = "b.asf"});
    auto many = site.get("/Medium_play_Audio.asp?ID=" + a + "|" + b + "|");
    EXPECT_EQ(many.status, 302);
    std::string list = "/Medium/temp/Audio1" + a + "1.asx";
    EXPECT_EQ(many.location(), "http://localhost:8080" + list);
    EXPECT_EQ(slurp(site.root() + list),
              "mms://localhost:8080/Medium/a.asf\r\nmms://localhost:8080/Medium/b.asf\r\n");
    auto one = site.get("/Medium_play_Audio.asp?ID=" + a).body;
    EXPECT_TRUE(has(one, "<PARAM NAME=\"FileName\" VALUE=\"http://localhost:8080/Medium/temp/Audio1" + a + "2.asx\">"));
}

TEST(MediaPlayers, NamesWithoutSeparatorsMeetAndTheLaterListWins) {
    TestSite site;
    // user 1, title 23, count 4 and user 12, title 3, count 4: "Audio1234.m3u".
    for (int i = 1; i <= 23; ++i) add_title(site, {.title = numbered("t", i), .filename = std::to_string(i) + ".mp3"});
    site.exec("update Medium set click_num=3 where id in (3,23)");
    for (int guard = 0; std::stoi(site.scalar("select max(id) as id from user", "id")) < 12 && guard < 20; ++guard)
        site.exec("insert into user(username,password,TrueName,DepartMentID,record) values ('" +
                  numbered("u", guard) + "','pw','u',1,30)");
    site.exec("update user set menu_idstr='1301' where id=12");
    ASSERT_EQ(site.scalar("select id from user where username='admin'", "id"), "1");
    ASSERT_TRUE(site.login());
    site.get("/Medium_play_Audio.asp?ID=23");
    std::string name = site.root() + "/Medium/temp/Audio1234.m3u";
    EXPECT_EQ(slurp(name), "http://localhost:8080/Medium/23.mp3\r\n");
    site.forget_session();
    ASSERT_TRUE(site.login(site.scalar("select username from user where id=12", "username"), "pw"));
    site.get("/Medium_play_Audio.asp?ID=3");
    EXPECT_EQ(slurp(name), "http://localhost:8080/Medium/3.mp3\r\n");
}

// Kinds without a playlist of their own write none; backslashes stay in a
// list but not in the player's address; video lists are rm only.
TEST(MediaPlayers, OddKindsPathsCapitalsAndVideoKinds) {
    AdminSite site;
    std::string odd = add_title(site, {.title = "odd", .kind = "audio_wav", .filename = "x.wav"});
    std::string bs = add_title(site, {.title = "bs", .path = "\\Medium\\", .filename = "b.mp3"});
    std::string wmv = add_title(site, {.title = "w", .kind = "video_wmv", .filename = "w.wmv"});
    std::string rm = add_title(site, {.title = "r", .kind = "video_rm", .filename = "r.rm"});
    std::string other = add_title(site, {.title = "o", .kind = "video_mp4", .filename = "o.mp4"});
    std::size_t files = temp_files(site);
    EXPECT_TRUE(has(site.get("/Medium_play_Audio.asp?ID=" + odd).body, "VALUE=\"http://localhost:8080/sys_audio.mp3\""));
    EXPECT_TRUE(has(site.get("/Medium_play_Video.asp?ID=" + wmv).body,
                    "<PARAM NAME=\"FileName\" VALUE=\"mms://localhost:8080/Medium/w.wmv\">"));
    EXPECT_EQ(last_audit(site), "点播视频: w");
    EXPECT_TRUE(has(site.get("/Medium_play_Video.asp?ID=" + other).body,
                    "<PARAM NAME=\"src\" VALUE=\"http://localhost:8080/Medium/o.mp4\">"));
    EXPECT_EQ(temp_files(site), files);
    site.get("/Medium_play_Audio.asp?ID=" + bs);
    EXPECT_EQ(slurp(site.root() + "/Medium/temp/Audio1" + bs + "1.m3u"), "http://localhost:8080\\Medium\\b.mp3\r\n");
    // The page's name is cut only in its own capitals.
    EXPECT_TRUE(has(site.get("/medium_play_audio.asp?ID=" + bs).body,
                    "VALUE=\"http://localhost:8080/medium_play_audio.asp/Medium/temp/Audio1" + bs + "2.m3u\""));
    auto r = site.get("/Medium_play_Video.asp?ID=" + rm).body;
    EXPECT_EQ(slurp(site.root() + "/Medium/temp/Video11.ram"), "http://localhost:8080/Medium/r.rm\r\n");
    EXPECT_TRUE(has(r, "VALUE=\"http://localhost:8080/Medium/temp/Video11.ram\""));
}

TEST(MediaPlayers, BadIdsReport) {
    TestSite site;
    std::string id = add_title(site, {.title = "t"});
    ASSERT_TRUE(site.login());
    for (const char* url : {"/Medium_play_Audio.asp", "/Medium_play_Video.asp", "/Medium_play_Audio.asp?ID=999",
                            "/Medium_play_Video.asp?ID=999"})
        EXPECT_TRUE(has(site.get(url).body, " Error ")) << url;
    // Counters before the missing title have moved already.
    EXPECT_TRUE(has(site.get("/Medium_play_Audio.asp?ID=" + id + "|999|").body, " Error "));
    EXPECT_EQ(clicks(site, id), "1");
}
