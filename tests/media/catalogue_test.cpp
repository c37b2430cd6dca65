// The reader's catalogue: one kind at a time, two titles to a row, the
// initial index and the search, the right to play several at once.
#include "tests/support/page_test.h"

#include <regex>

#include "tests/media/media_fixture.h"

using namespace tav::test;

namespace {

// The numbers of the list's cells, in page order ("" for a blank cell).
std::vector<std::string> numbers(const std::string& body) {
    std::vector<std::string> out;
    static const std::regex cell("<td>([0-9]+|\xE3\x80\x80)</td>");
    for (auto it = std::sregex_iterator(body.begin(), body.end(), cell); it != std::sregex_iterator(); ++it)
        out.push_back((*it)[1] == "\xE3\x80\x80" ? "" : (*it)[1].str());
    return out;
}

}  // namespace

TEST(MediaCatalogue, IndexOffersTwentyFourInitialsAndTheStarForTheKind) {
    AdminSite site;
    auto b = site.get("/Medium_list.asp?file_type=video_rm").body;
    EXPECT_TRUE(has(b, "在线视听=>RM视频=>作者:"));
    for (char c = 'A'; c <= 'X'; ++c)
        EXPECT_TRUE(has(b, std::string("Medium_list.asp?PY=") + c + "&file_type=video_rm\"")) << c;
    expect_texts(b,
                 {"<a href=\"Medium_list.asp?file_type=video_rm\"><font color=\"yellow\">*</font></a>"},
                 {"PY=Y&", "PY=Z&"});
    // No kind means the first one; an unknown one ends in the report.
    EXPECT_TRUE(has(site.get("/Medium_list.asp").body, "在线视听=>Mp3音频=>"));
    for (const char* kind : {"audio_wma", "AUDIO_MP3", "x"})
        expect_texts(site.get(std::string("/Medium_list.asp?file_type=") + kind).body, {"在线视听=> Error "}, {"作者:"},
                     kind);
}

TEST(MediaCatalogue, RowsRunLeftToRightButAreNumberedDownTheColumns) {
    AdminSite site;
    for (const char* t : {"t1", "t2", "t3"}) add_title(site, {.title = t});
    auto b = site.get("/Medium_list.asp").body;
    auto n = numbers(b);
    // 1 and 11 in the first row, 2 and two blanks in the last filled one,
    // then eight empty rows of four blank cells.
    ASSERT_EQ(n.size(), 5u + 8 * 4);
    EXPECT_EQ(std::vector<std::string>(n.begin(), n.begin() + 5), (std::vector<std::string>{"1", "11", "2", "", ""}));
    EXPECT_EQ(std::count(n.begin() + 5, n.end(), ""), 32);
    // Newest first.
    EXPECT_LT(b.find(">t3</a>"), b.find(">t2</a>"));
    EXPECT_LT(b.find(">t2</a>"), b.find(">t1</a>"));
}

TEST(MediaCatalogue, PagesOfTwentyAndTheEmptyLastPage) {
    AdminSite site;
    auto empty = site.get("/Medium_list.asp").body;
    EXPECT_EQ(count(empty, "<option value="), 1);
    EXPECT_EQ(numbers(empty).size(), 40u);
    for (int i = 0; i < 20; ++i) add_title(site, {.title = "song" + std::to_string(i)});
    auto first = site.get("/Medium_list.asp").body;
    EXPECT_EQ(count(first, "<option value="), 2);  // Int(20 / 20) + 1
    EXPECT_EQ(count(first, ">song"), 20);
    EXPECT_TRUE(has(first, "Medium_list.asp?p=1&sstr=&file_type=audio_mp3&PY=\""));
    auto second = site.get("/Medium_list.asp?p=1").body;
    EXPECT_EQ(count(second, ">song"), 0);
    EXPECT_EQ(numbers(second), std::vector<std::string>(40, ""));
    add_title(site, {.title = "last"});
    EXPECT_EQ(count(site.get("/Medium_list.asp?p=1").body, ">song"), 1);  // the oldest moves over
}

TEST(MediaCatalogue, PlaysRightGivesCheckboxesOnAudioAndTheButtonEverywhere) {
    AdminSite site;
    std::string audio = add_title(site, {.title = "a", .text = "about a"});
    add_title(site, {.title = "v", .kind = "video_wmv"});
    site.exec("update user set plays=0 where username='admin'");
    auto plain = site.get("/Medium_list.asp").body;
    expect_texts(plain,
                 {"openWin('Medium_play_Audio.asp?id=" + audio + "')", "<a href=\"Medium_Info.asp?id=" + audio + "\">",
                  "> [0]</td>"},
                 {"type=\"checkbox\"", "播放选中"});

    site.exec("update user set plays=1 where username='admin'");
    auto a = site.get("/Medium_list.asp").body;
    expect_texts(a, {"<input type=\"checkbox\" name=\"" + audio + "\">", "播放选中"});
    auto v = site.get("/Medium_list.asp?file_type=video_wmv").body;
    // no description, no icon
    expect_texts(v, {"播放选中", "openWin('Medium_play_Video.asp?id="}, {"type=\"checkbox\"", "Medium_Info.asp"});
}

TEST(MediaCatalogue, InitialAndWordFilter) {
    AdminSite site;
    add_title(site, {.title = "its a song", .py = "B"});
    add_title(site, {.title = "yellow", .py = "Y"});
    add_title(site, {.title = "other", .py = "B"});
    struct Case { std::string query; std::vector<std::string> shown; } cases[] = {
        {"PY=B", {"its a song", "other"}},
        {"PY=Y", {"yellow"}},  // not in the index, but the filter still works
        {"sstr=it's", {"its a song"}},  // the apostrophe goes
        {"sstr=o&PY=Y", {"yellow"}},
        {"sstr=o", {"its a song", "yellow", "other"}},
        {"file_type=audio_rm", {}},
    };
    for (const auto& c : cases) {
        auto b = site.get("/Medium_list.asp?" + c.query).body;
        EXPECT_EQ(count(b, "</a> ["), static_cast<int>(c.shown.size())) << c.query;
        for (const auto& t : c.shown) EXPECT_TRUE(has(b, ">" + t + "</a>")) << c.query << ": " << t;
    }
    EXPECT_TRUE(has(site.get("/Medium_list.asp?sstr=it's").body, "name=\"sstr\" size=\"12\" value=\"its\""));
}

TEST(MediaCatalogue, InfoShowsTheDescriptionWithItsFormattingOnly) {
    TestSite site;
    std::string id = add_title(site, {.title = "t", .text = "<b>loud</b><script>alert(1)</script>"});
    ASSERT_TRUE(site.login());
    auto b = site.get("/Medium_Info.asp?id=" + id).body;
    expect_texts(b, {"网络互动 =>>在线播放 =>>媒体信息", "<b>loud</b>"}, {"<script>alert"});
    EXPECT_TRUE(has(site.get("/Medium_Info.asp?id=999").body, " Error "));
}
