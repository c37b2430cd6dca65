// Hostile values in every parameter of the data centre's pages: statements
// keep their shape (no row changes but the one a page is there to write, and
// that one holds the value as typed), and nothing stored or echoed runs as
// script on any page that shows it, the navigation frame included.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/datacentre/data_site.h"
#include "tests/support/accounts.h"
#include "tests/support/payloads.h"
#include "tests/support/text.h"

using tav::test::expect_inert;
using tav::test::form_encode;
using tav::test::kMarkup;
using tav::test::kSql;
using tav::test::TestSite;

namespace {

std::string fill(std::string url, const std::string& value) {
    std::size_t at = url.find("{}");
    return url.replace(at, 2, form_encode(value));
}

std::string all_rows(TestSite& site) {
    return tav::test::rows_of(site, "user", "id,username,password,menu_idstr") +
           tav::test::rows_of(site, "Datas", "id,User_id,D_title,D_text,D_afile,Sub_menu,Main_menu,lock") +
           tav::test::rows_of(site, "menu", "id,menu_id,menu_text,user_text,xm") +
           tav::test::rows_of(site, "DepartMent", "id,name,Remark");
}

// The entry form's own edit frame is the one frame a page may hold.
tav::test::Reply own_frame_out(tav::test::Reply r) {
    const std::string frame =
        "<IFRAME class=\"mytext\" id=\"mytext\" width=\"530\" valign=\"bottom\" height=\"75%\"></IFRAME>";
    std::size_t at = r.body.find(frame);
    if (at != std::string::npos) r.body.erase(at, frame.size());
    return r;
}

std::string trimmed(const std::string& s) {
    std::size_t b = s.find_first_not_of(' '), e = s.find_last_not_of(' ');
    return b == std::string::npos ? "" : s.substr(b, e - b + 1);
}

std::vector<std::string> payloads() {
    std::vector<std::string> all = kSql;
    all.insert(all.end(), kMarkup.begin(), kMarkup.end());
    return all;
}

}  // namespace

TEST(DataCentreSecurity, ParametersThatOnlyReadOrNameARowChangeNothing) {
    TestSite site;
    ASSERT_TRUE(site.login());
    std::string item = tav::test::add_item(site, "3102", "条目", "1", "5a.doc");
    const std::vector<std::string> urls = {
        "Menu.asp?id={}", "Menu.asp?id={}&del=yes", "Menu.asp?id={}&user_text=abc", "Menu.asp?del={}",
        "Menu.asp?old_text={}", "Data_type.asp?m_id={}", "Data_type.asp?m_id=31&xm={}", "Data_type.asp?m_id=31&id={}",
        "Data_type.asp?m_id=31&id={}&user_text=abc", "Data_type.asp?m_id=31&old_text={}", "type_modify.asp?Dtable={}",
        "type_modify.asp?Dtable={}&id=0&new_name=abc", "type_modify.asp?Dtable=DepartMent&id={}",
        "type_modify.asp?Dtable=DepartMent&id={}&new_name=abc", "type_modify.asp?Dtable=DepartMent&old_name={}",
        "Data_list.asp?p={}", "Data_list.asp?Sub_menu={}", "Data_list.asp?Sub_menu=3102&sstr={}", "Data_read.asp?id={}",
        "Lock.asp?id={}&k=lock", "Lock.asp?id=" + item + "&k={}", "Lock.asp?id=" + item + "&k=unlock&table={}",
        "Data_Input.asp?ID={}", "Data_Input.asp?ID=" + item + "&type={}", "Data_Del.asp?id={}"};
    const std::string before = all_rows(site);
    int cases = 0;
    for (const std::string& p : payloads()) {
        for (const std::string& url : urls) {
            tav::test::Reply r = site.get(fill(url, p));
            expect_inert(own_frame_out(r), fill(url, p));
            ++cases;
        }
        tav::test::Reply r = tav::test::post_item(site, p, "3102", "t", "x");
        expect_inert(r, "Data_InputDo.asp ID=" + p);
    }
    EXPECT_EQ(all_rows(site), before);
    EXPECT_GE(cases, 900);
}

TEST(DataCentreSecurity, StoredNamesTitlesAndBodiesStayText) {
    TestSite site;
    ASSERT_TRUE(site.login());
    const std::string users = tav::test::rows_of(site, "user", "id,username,password,menu_idstr");
    std::vector<std::string> items;
    int n = 0;
    for (const std::string& p : payloads()) {
        bool quote = p.find('\'') != std::string::npos;
        // Main menus only while codes are free; categories under 31 and 55.
        if (n < 6 && !quote) {
            site.get(fill("Menu.asp?id=0&user_text={}", p));
            ++n;
        }
        site.get(fill("Data_type.asp?m_id=31&xm=sjzx&id=0&user_text={}", p));
        site.get(fill("Data_type.asp?m_id=55&xm={}&id=0&user_text=x" + std::to_string(n++), p));
        site.get(fill("type_modify.asp?Dtable=DepartMent&id=0&new_name={}", p));
        std::string name = site.scalar("select count(*) as c from menu where user_text='" +
                                           (quote ? std::string("-") : trimmed(p)) + "'", "c");
        EXPECT_EQ(name, quote ? "0" : "1") << p;  // in whole, as text, once (names are unique)
        tav::test::post_item(site, "0", "3102", p, p);
        tav::test::post_item(site, "0", "3103", std::string("t").append(std::to_string(n)), p);
        tav::test::post_multipart(site, "Data_InputDo.asp",
                                  {{"ID", "0"}, {"Main_menu", p}, {"D_title", "m"}, {"Sub_menu", "3110"},
                                   {"body", "x"}, tav::test::file("Afile", p + ".doc", "F")});
    }
    EXPECT_EQ(tav::test::rows_of(site, "user", "id,username,password,menu_idstr"), users);
    // Every body was saved through the markup allowlist.
    tav::Recordset rs = site.query("select id,D_text from Datas");
    for (; !rs.eof(); rs.movenext()) {
        EXPECT_EQ(rs("D_text").str().find("<script"), std::string::npos) << rs("D_text").str();
        items.push_back(rs("id").str());
    }
    EXPECT_GT(items.size(), 20u);

    std::vector<std::string> pages = {"Menu.asp", "Data_type.asp?m_id=31&xm=sjzx", "Data_type.asp?m_id=55",
                                      "type_modify.asp?Dtable=DepartMent", "left.asp?xm=sjzx", "left.asp?xm=home",
                                      "data_home.asp", "Data_list.asp?Sub_menu=3102", "Data_list.asp?Sub_menu=3103",
                                      "Data_list.asp?Sub_menu=3110"};
    for (const std::string& id : items) {
        pages.push_back("Data_read.asp?id=" + id);
        pages.push_back("Data_Input.asp?ID=" + id);
    }
    for (const std::string& p : payloads()) pages.push_back(fill("Data_Input.asp?m={}", p));
    // Let the account see and enter every category the payloads made.
    tav::Recordset cats = site.query("select menu_id from menu");
    std::string rights = "del";
    for (; !cats.eof(); cats.movenext()) {
        rights += " i";
        rights += cats("menu_id").str();
    }
    site.exec("update user set menu_idstr='" + rights + "' where username='admin'");
    for (const std::string& url : pages) expect_inert(own_frame_out(site.get(url)), url);
}

TEST(DataCentreSecurity, CategoryNamesCannotForgeAMenuEntry) {
    TestSite site;
    ASSERT_TRUE(site.login());
    // Backquotes are the stored form of the entry's quotes: a name made of
    // them must not add a link of its own.
    site.get(fill("Data_type.asp?m_id=31&xm=sjzx&id=0&user_text={}", "x`,`javascript:alert(1)`,`detail`,`"));
    std::string code = site.scalar("select menu_id from menu where user_text like 'x`%'", "menu_id");
    ASSERT_NE(code, "");
    // A row written by other means with a script link is left out.
    site.exec("insert into menu(menu_id,menu_text,user_text,xm) values ('3177','`images/arrow1.gif`,` y`,"
              "` JavaScript:alert(1)`, `detail`,','y','sjzx')");
    site.exec("update user set menu_idstr='" + code + " 3177 3102' where username='admin'");
    std::string b = site.get("left.asp?xm=sjzx").body;
    // The name stays inside its label; no field of the value starts a script link.
    std::string low = tav::test::lower_ascii(b);
    EXPECT_EQ(low.find("'javascript:"), std::string::npos) << b;
    EXPECT_EQ(low.find("' javascript:"), std::string::npos) << b;
    EXPECT_NE(b.find("' x‘,‘javascript:alert(1)‘,‘detail‘,‘'"), std::string::npos) << b;
    EXPECT_NE(b.find("'Data_list.asp?sub_menu=" + code + "'"), std::string::npos) << b;
    EXPECT_NE(b.find("'Data_list.asp?sub_menu=3102'"), std::string::npos);
}
