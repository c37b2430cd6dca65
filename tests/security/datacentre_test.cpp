// Hostile values in every parameter of the data centre's pages: statements
// keep their shape (no row changes but the one a page is there to write, and
// that one holds the value as typed), and nothing stored or echoed runs as
// script on any page that shows it, the navigation frame included.
#include "tests/support/page_test.h"

#include <functional>

#include "tests/datacentre/data_site.h"

using namespace tav::test;

namespace {

std::string fill(std::string url, const std::string& value) {
    std::size_t at = url.find("{}");
    return url.replace(at, 2, form_encode(value));
}

std::string all_rows(TestSite& site) {
    return rows_of(site, "user", "id,username,menu_idstr") +
           rows_of(site, "Datas", "id,User_id,D_title,D_text,D_afile,Sub_menu,Main_menu,lock") +
           rows_of(site, "menu", "id,menu_id,menu_text,user_text,xm") +
           rows_of(site, "DepartMent", "id,name,Remark");
}

std::string trimmed(const std::string& s) {
    std::size_t b = s.find_first_not_of(' '), e = s.find_last_not_of(' ');
    return b == std::string::npos ? "" : s.substr(b, e - b + 1);
}

}  // namespace

TEST(DataCentreSecurity, StoredNamesTitlesAndBodiesStayText) {
    AdminSite site;
    const std::string users = rows_of(site, "user", "id,username,menu_idstr");
    std::vector<std::string> items;
    int n = 0;
    for (const std::string& p : all_payloads()) {
        bool quote = p.find('\'') != std::string::npos;
        // Menu names hold no quote of any kind, angle bracket, backslash or control.
        bool storable = p.find_first_of("'\"`<>\\\t\r\n") == std::string::npos;
        // Main menus only while codes are free; categories under 31, and
        // none under 55, whose maintenance right nobody holds.
        if (n < 6 && !quote) {
            site.get(fill("Menu.asp?id=0&user_text={}", p));
            ++n;
        }
        site.get(fill("Data_type.asp?m_id=31&xm=sjzx&id=0&user_text={}", p));
        site.get(fill("Data_type.asp?m_id=55&xm={}&id=0&user_text=x" + std::to_string(n++), p));
        site.get(fill("type_modify.asp?Dtable=DepartMent&id=0&new_name={}", p));
        std::string name = site.scalar("select count(*) as c from menu where user_text='" +
                                           (storable ? trimmed(p) : std::string("-")) + "'", "c");
        EXPECT_EQ(name, storable ? "1" : "0") << p;  // in whole, as text, once (names are unique)
        EXPECT_EQ(site.scalar("select count(*) as c from menu where menu_id like '55%'", "c"), "0");
        post_item(site, "0", "3102", p, p);
        post_item(site, "0", "3103", std::string("t").append(std::to_string(n)), p);
        post_multipart(site, "Data_InputDo.asp",
                                  {{"ID", "0"}, {"Main_menu", p}, {"D_title", "m"}, {"Sub_menu", "3110"},
                                   {"body", "x"}, file("Afile", p + ".doc", "F")});
    }
    EXPECT_EQ(rows_of(site, "user", "id,username,menu_idstr"), users);
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
    for (const std::string& p : all_payloads()) pages.push_back(fill("Data_Input.asp?m={}", p));
    // Let the account see and enter every category the payloads made.
    tav::Recordset cats = site.query("select menu_id from menu");
    std::string rights = "del";
    for (; !cats.eof(); cats.movenext()) {
        rights += " i";
        rights += cats("menu_id").str();
    }
    site.exec("update user set menu_idstr='" + rights + "' where username='admin'");
    for (const std::string& url : pages) expect_inert(without_edit_frame(site.get(url)), url);
}

TEST(DataCentreSecurity, CategoryNamesCannotForgeAMenuEntry) {
    AdminSite site;
    // Quotes and their stored forms (backquote, typographic quotes) would end
    // the entry's fields in the navigation frame: such a name is refused, on
    // an insert and on a rename alike, and no row changes.
    const std::string before = rows_of(site, "menu", "id,menu_id,menu_text,user_text,xm");
    const std::string m31 = site.scalar("select id from menu where menu_id='menu31'", "id");
    const std::string c3102 = site.scalar("select id from menu where menu_id='3102'", "id");
    for (const std::string bad : {"x`,`javascript:alert(1)`,`detail`,`", "a\"b", "a<b", "</script>", "a\\b",
                                  "a\xE2\x80\x9D" "b", "tab\tx"}) {
        for (const std::string& url : {std::string("Data_type.asp?m_id=31&xm=sjzx&id=0&user_text={}"),
                                       "Data_type.asp?m_id=31&id=" + c3102 + "&user_text={}",
                                       std::string("Menu.asp?id=0&user_text={}"), "Menu.asp?id=" + m31 + "&user_text={}"}) {
            Reply r = site.get(fill(url, bad));
            EXPECT_TRUE(has(r.body, "名称中不能含有引号")) << fill(url, bad);
        }
    }
    EXPECT_EQ(rows_of(site, "menu", "id,menu_id,menu_text,user_text,xm"), before);
    // A row written by other means with a script link is left out.
    site.exec("insert into menu(menu_id,menu_text,user_text,xm) values ('3177','`images/arrow1.gif`,` y`,"
              "` JavaScript:alert(1)`, `detail`,','y','sjzx')");
    site.exec("update user set menu_idstr='3177 3102' where username='admin'");
    std::string b = site.get("left.asp?xm=sjzx").body;
    // The name stays inside its label; no field of the value starts a script link.
    std::string low = lower_ascii(b);
    EXPECT_EQ(low.find("'javascript:"), std::string::npos) << b;
    EXPECT_EQ(low.find("' javascript:"), std::string::npos) << b;
    EXPECT_EQ(b.find("Data_list.asp?sub_menu=3177"), std::string::npos) << b;
    EXPECT_NE(b.find("'Data_list.asp?sub_menu=3102'"), std::string::npos);
}

// Each exploit once possible against the data centre, replayed: the request
// is refused (to the login page, or 403 for an account without the right)
// and nothing changes, on disk or in the store.
TEST(DataCentreExploits, EachReplayedExploitIsRefused) {
    TestSite site;
    std::string author = add_user(site, "author", "3102 i3102");
    add_user(site, "reader", "3102");
    add_user(site, "keeper", "32A9 1906 3103");
    std::string item = add_item(site, "3102", "条目", author);
    std::string other = add_item(site, "3103", "他类", "1");
    std::string locked = add_item(site, "3102", "锁住", author, "0", "2026-01-01 10:00:00", "1");
    auto id_of = [&](const char* code) { return site.scalar("select id from menu where menu_id='" + std::string(code) + "'", "id"); };
    const std::string c3102 = id_of("3102"), nav1904 = id_of("1904");
    const std::string admin = site.scalar("select id from user where username='admin'", "id");
    const std::string escape = "/../../../images/x.html";
    auto upload = [&](const std::string& id, const std::string& sub, const std::string& filename,
                      const std::string& main = "menu31") {
        return post_multipart(site, "Data_InputDo.asp",
                                         {{"ID", id}, {"Main_menu", main}, {"D_title", "t"}, {"Sub_menu", sub},
                                          {"body", "b"}, file("Afile", filename, "<script>x</script>")});
    };
    struct Try {
        const char* who;  // "" for no session
        std::string what;
        std::function<Reply()> run;
    };
    const std::vector<Try> tries = {
        {"", "anonymous upload", [&] { return upload("0", "3102", escape); }},
        {"", "anonymous category rename",
         [&] { return site.get("Data_type.asp?m_id=31&id=" + c3102 + "&user_text=x"); }},
        {"reader", "upload into a category without its entry right", [&] { return upload("0", "3102", "a.doc"); }},
        {"author", "change of another's item", [&] { return upload(other, "3102", "a.doc"); }},
        {"author", "change of a locked item", [&] { return upload(locked, "3102", "a.doc"); }},
        {"author", "category code as a path", [&] { return upload("0", "../images", "a.doc"); }},
        {"author", "a main menu not the category's", [&] { return upload("0", "3102", "a.doc", "<b>x</b>"); }},
        {"reader", "deleting another's item", [&] { return site.get("Data_Del.asp?id=" + item); }},
        {"author", "deleting a locked item", [&] { return site.get("Data_Del.asp?id=" + locked); }},
        {"reader", "the change form of another's item", [&] { return site.get("Data_Input.asp?ID=" + item); }},
        {"reader", "reading in a category without right", [&] { return site.get("Data_read.asp?id=" + other); }},
        {"reader", "listing a category without right", [&] { return site.get("Data_list.asp?sub_menu=3103"); }},
        {"reader", "a list code that widens the test", [&] { return site.get("Data_list.asp?sub_menu=3103|3"); }},
        {"reader", "a list code that is part of a right", [&] { return site.get("Data_list.asp?sub_menu=310"); }},
        {"reader", "locking", [&] { return site.get("Lock.asp?id=" + item + "&k=lock"); }},
        {"reader", "renaming a category without NNA9",
         [&] { return site.get("Data_type.asp?m_id=31&id=" + c3102 + "&user_text=x"); }},
        {"keeper", "another main menu's categories", [&] { return site.get("Data_type.asp?m_id=31&id=0&user_text=x"); }},
        {"keeper", "a row of another main menu through its own",
         [&] { return site.get("Data_type.asp?m_id=32&id=" + c3102 + "&user_text=x"); }},
        {"keeper", "a navigation row renamed as a category",
         [&] { return site.get("Data_type.asp?m_id=32&id=" + nav1904 + "&user_text=x"); }},
        {"keeper", "a category into another section",
         [&] { return site.get("Data_type.asp?m_id=32&xm=bgzx&id=0&user_text=x"); }},
        {"keeper", "main menus without 1908", [&] { return site.get("Menu.asp?id=0&user_text=x"); }},
        {"keeper", "a name list without its right", [&] { return site.get("type_modify.asp?Dtable=word_type"); }},
        {"admin", "a name list over any table", [&] { return site.get("type_modify.asp?Dtable=user&id=0&new_name=x"); }},
        {"admin", "a navigation row through Menu.asp", [&] { return site.get("Menu.asp?id=" + nav1904 + "&del=yes"); }},
        {"admin", "Del_Record on a table no page offers",
         [&] { return site.get("Del_Record.asp?Table=Datas&ID=" + item); }},
        {"admin", "Del_Record on the own account", [&] { return site.get("Del_Record.asp?Table=User&ID=" + admin); }},
        {"admin", "Del_Record on a navigation row", [&] { return site.get("Del_Record.asp?Table=menu&ID=" + nav1904); }},
        {"keeper", "Del_Record on another main menu's category",
         [&] { return site.get("Del_Record.asp?Table=menu&ID=" + c3102); }},
        {"keeper", "Del_Record on accounts without 1904", [&] { return site.get("Del_Record.asp?Table=user&ID=" + author); }},
        {"keeper", "Del_Record on the guest book without 1204", [&] { return site.get("Del_Record.asp?Table=Book&ID=1"); }},
        {"keeper", "Del_Record on document kinds without 1907", [&] { return site.get("Del_Record.asp?Table=word_type&ID=1"); }},
    };
    const std::string before = all_rows(site);
    for (const Try& t : tries) {
        site.forget_session();
        if (*t.who) {
            ASSERT_TRUE(site.login(t.who, std::string(t.who) == "admin" ? "admin" : "pw")) << t.who;
        }
        Reply r = t.run();
        if (*t.who) {
            EXPECT_EQ(r.status, 403) << t.what << "\n" << r.body;
        } else {
            EXPECT_EQ(r.location(), "login.asp") << t.what;
        }
        expect_inert(r, t.what);
        EXPECT_EQ(all_rows(site), before) << t.what;
    }
    EXPECT_FALSE(exists(site, "images/x.html"));
    EXPECT_FALSE(exists(site, "Datas/images"));

    // An honest upload keeps only the name's last component, inside its
    // category's folder; names the file system treats specially are dropped.
    ASSERT_TRUE(site.login("author", "pw"));
    for (const std::string& name : {escape, std::string("..\\..\\y.html"), std::string("CON.txt"),
                                   std::string("lpt1"), std::string("a..b.doc"), std::string("c\x01.doc")})
        upload("0", "3102", name);
    tav::Recordset rs = site.query("select d_afile from Datas where User_id=" + author + " order by id");
    std::string stored;
    for (; !rs.eof(); rs.movenext()) stored += rs("d_afile").str() + " ";
    EXPECT_TRUE(has(stored, "x.html ")) << stored;
    EXPECT_TRUE(has(stored, "y.html ")) << stored;
    EXPECT_TRUE(has(stored, " 0 0 0 0 ")) << stored;  // the four refused names: no attachment
    EXPECT_FALSE(exists(site, "images/x.html"));
    EXPECT_FALSE(exists(site, "y.html"));
    int files = 0;  // the two kept names, nothing else
    for (const auto& e : std::filesystem::directory_iterator(site.root() + "/Datas/3102")) files += e.is_regular_file();
    EXPECT_EQ(files, 2);
}
