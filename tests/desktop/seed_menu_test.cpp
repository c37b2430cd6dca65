// The navigation rows of a new site: every entry reaches a page, the rights
// form finds the tested codes in its groups, and the first account holds
// every code.
#include "tests/support/page_test.h"

#include <map>
#include <set>

#include "frame/vb.h"
#include "server/page_table.h"
#include "tests/support/page_urls.h"

using namespace tav::test;

namespace {

struct Row { std::string id, text, title, xm; };

std::vector<Row> rows(TestSite& site, const std::string& sql) {
    std::vector<Row> out;
    tav::Recordset rs = site.query(sql);
    while (!rs.eof()) {
        out.push_back({tav::Trim(rs("menu_id")).str(), tav::Trim(rs("menu_text")).str(), tav::Trim(rs("user_text")).str(),
                       rs("xm").str()});
        rs.movenext();
    }
    return out;
}

bool is_frame_row(const Row& r) {
    return r.xm.ends_with("_m") || r.id.find("00") != std::string::npos || r.id.find("ZZ") != std::string::npos;
}

bool static_file_exists(const std::string& name) {
    for (const auto& e : fs::recursive_directory_iterator(TAVELOR_TEMPLATE_DIR))
        if (tav::LCase(fs::relative(e.path(), TAVELOR_TEMPLATE_DIR).string()) == tav::LCase(name)) return true;
    return false;
}

}  // namespace

// A URL of the site's page table, written yet or not.
bool known_page(const std::string& file) {
    for (const auto& e : expected_pages())
        if (tav::LCase(e.url) == tav::LCase(file)) return true;
    return false;
}

TEST(SeedMenu, EveryEntryReachesAPage) {
    TestSite site;
    auto all = rows(site, "select * from menu order by menu_id");
    int entries = 0;
    for (const Row& r : all) {
        if (is_frame_row(r)) continue;
        ++entries;
        // icon, label, URL, target: four backquoted values, each with a comma.
        auto parts = tav::Split(r.text, "`");
        ASSERT_EQ(parts.size(), 9u) << r.id << " " << r.text;
        EXPECT_EQ(parts[1], "images/arrow1.gif") << r.id;
        EXPECT_EQ(parts[3], " " + r.title) << r.id;
        EXPECT_EQ(parts[7], "detail") << r.id;
        EXPECT_EQ(parts[8], ",") << r.id;
        std::string file = parts[5].substr(0, parts[5].find('?'));
        bool outside = tav::LCase(file) == "word_list_sh.asp" || tav::LCase(file) == "file_list.asp";
        EXPECT_TRUE(outside || known_page(file) || static_file_exists(file)) << r.id << " " << file;
    }
    EXPECT_GT(entries, 40);
    // Each folder of a section is opened and closed once.
    for (const Row& head : rows(site, "select * from menu where left(menu_id,4)='menu'")) {
        std::string stem = head.id.substr(4);
        std::string section = head.xm.substr(0, head.xm.size() - 2);
        EXPECT_EQ(head.text, head.id);
        EXPECT_EQ(site.scalar("select menu_text from menu where menu_id='" + stem + "00' and xm='" + section + "'",
                              "menu_text"),
                  "<INPUT type=`hidden` name=`menu" + stem + "` value=”");
        EXPECT_EQ(site.scalar("select menu_text from menu where menu_id='" + stem + "ZZ' and xm='" + section + "'",
                              "menu_text"),
                  "”>");
        EXPECT_NE(stem.back(), '0') << stem;
    }
}

// (The home page's sections and the navigation's folders are checked by their pages' tests.)
TEST(SeedMenu, PagesThatCountOnRowsFindThem) {
    TestSite site;
    EXPECT_EQ(site.scalar("select xm from menu where menu_id='3110'", "xm"), "sjzx");
    for (const char* url : {"Email_list.asp?type=0", "Email_send.asp", "Book_list.asp?GL=1", "Chat_Main.asp",
                            "Web_Meeting.asp", "Folder_list.asp", "type_modify.asp?Dtable=word_type",
                            "Data_type.asp?m_id=31&xm=sjzx", "Data_Input.asp?m=menu32"})
        EXPECT_NE(site.scalar("select count(id) as num from menu where instr(menu_text,'`" + std::string(url) + "`')",
                              "num"),
                  "0")
            << url;
}

TEST(SeedMenu, RightsFormGroupsHoldTheTestedCodes) {
    TestSite site;
    std::map<std::string, int> group_of;
    for (int g = 1; g <= 4; ++g) {
        std::string group = "menu" + std::to_string(g);
        for (const Row& head : rows(site, "select * from menu where left(menu_id,5)='" + group + "' order by menu_id")) {
            std::string prefix = tav::Replace(head.id, "menu", "");
            for (const Row& child :
                 rows(site, "select * from menu where left(menu_id,2)='" + prefix + "' order by menu_id"))
                if (!child.title.empty()) group_of[child.id] = g;
        }
    }
    for (const char* code : {"1311", "1408", "1904", "1905", "2302", "2303", "2304", "2305", "2306"}) {
        ASSERT_TRUE(group_of.count(code)) << code;
        EXPECT_LE(group_of[code], 2) << code;
    }
    EXPECT_EQ(group_of["3110"], 3);
    EXPECT_EQ(group_of["4102"], 4);
    EXPECT_FALSE(group_of.count("1900"));  // the opening rows have no title
}

TEST(SeedMenu, FirstAccountHoldsEveryCode) {
    TestSite site;
    std::string s = site.scalar("select menu_idstr from user where username='admin'", "menu_idstr");
    ASSERT_FALSE(s.empty());
    EXPECT_NE(s.front(), ' ');
    EXPECT_NE(s.back(), ' ');
    EXPECT_EQ(s.find("  "), std::string::npos);
    std::set<std::string> tokens;
    for (const auto& t : tav::Split(s, " ")) tokens.insert(t);
    for (const Row& r : rows(site, "select * from menu order by menu_id")) {
        if (is_frame_row(r)) continue;
        EXPECT_TRUE(tokens.count(r.id)) << r.id;
        bool category = (r.xm == "sjzx" || r.xm == "home") && r.id.find('A') == std::string::npos &&
                        r.id.find("01") == std::string::npos;
        if (category) {
            EXPECT_TRUE(tokens.count("i" + r.id)) << r.id;
        }
    }
    tav::Recordset kinds = site.query("select id from word_type");
    int n = 0;
    for (; !kinds.eof(); kinds.movenext(), ++n)
        for (const char* p : {"w", "y", "h"}) EXPECT_TRUE(tokens.count(p + kinds("id").str())) << p;
    EXPECT_EQ(n, 4);
    for (const char* code : {"del", "model", "Plays"}) EXPECT_TRUE(tokens.count(code)) << code;
}
