// Main menus, categories and the generic name list: the codes they get, the
// rows they write and remove, and the names they refuse.
#include "tests/support/page_test.h"

#include "tests/datacentre/data_site.h"

using namespace tav::test;

namespace {

std::string menu_rows(TestSite& site, const std::string& code) {
    return rows_of(site, "menu where menu_id like '" + code + "%' or menu_id='menu" + code + "'",
                              "menu_id,menu_text,user_text,xm");
}

std::string id_of(TestSite& site, const std::string& menu_id) {
    return site.scalar("select id from menu where menu_id='" + menu_id + "'", "id");
}

}  // namespace

TEST(DataCategories, NewMainMenuTakesTheFirstFreeCodeAndStopsAtNine) {
    AdminSite site;
    site.exec("insert into menu(menu_id,menu_text,user_text,xm) values ('menu34','menu34','第四','sjzx_m')");
    auto r = site.get("Menu.asp?id=0&user_text=" + form_encode(" 新闻中心 "));
    EXPECT_EQ(menu_rows(site, "33"),
              "menu33|menu33|新闻中心|sjzx_m|\n"
              "3300|<INPUT type=`hidden` name=`menu33` value=”| |sjzx|\n"
              "3301|`images/arrow1.gif`,` 录入数据`,`Data_Input.asp?m=menu33`, `detail`,|录入数据|sjzx|\n"
              "33A9|`images/arrow1.gif`,` 类别维护`,`Data_type.asp?m_id=33&xm=sjzx`, `detail`,|类别维护|sjzx|\n"
              "33ZZ|”>| |sjzx|\n");
    expect_texts(r.body, {"新增类别成功，请设置此类别的相关权限！", "如果您继续增加主菜单，请在后面输入："});
    EXPECT_TRUE(has(site.scalar("select work_text from monitor order by id desc", "work_text"),
                    "新增数据中心主菜单: 新闻中心"));
    for (int n = 5; n <= 9; ++n) site.get("Menu.asp?id=0&user_text=m" + std::to_string(n));
    EXPECT_EQ(id_of(site, "menu39") != "", true);
    std::string before = rows_of(site, "menu", "id,menu_id,user_text");
    r = site.get("Menu.asp?id=0&user_text=tenth");
    expect_texts(r.body, {"<font color=red>达到主菜单的最多数量限制！</font>"}, {"<form", "数据中心主菜单管理"});
    EXPECT_EQ(rows_of(site, "menu", "id,menu_id,user_text"), before);
}

TEST(DataCategories, DeletingAMainMenuTakesItsRowsButKeepsItsItems) {
    AdminSite site;
    add_item(site, "3102", "留下的条目");
    auto r = site.get("Menu.asp?id=" + id_of(site, "menu31") + "&del=yes");
    EXPECT_EQ(r.location(), "menu.asp");
    EXPECT_EQ(menu_rows(site, "31"), "");
    EXPECT_NE(menu_rows(site, "32"), "");
    EXPECT_EQ(site.scalar("select count(*) as n from Datas where Main_menu='menu31'", "n"), "1");
    // The freed code is given out again.
    site.get("Menu.asp?id=0&user_text=again");
    EXPECT_EQ(site.scalar("select user_text from menu where menu_id='menu31'", "user_text"), "again");
}

TEST(DataCategories, RenamesAndDuplicates) {
    AdminSite site;
    std::string m31 = id_of(site, "menu31");
    struct Case { std::string url, answer; } cases[] = {
        {"Menu.asp?id=" + m31 + "&user_text=工作动态", "此主菜单名称已经存在，请更名："},
        {"Menu.asp?id=0&user_text=法规制度", "此主菜单名称已经存在，请更名："},
        {"Menu.asp?id=" + m31, "请输入新的主菜单名称："},
        {"Data_type.asp?m_id=31&xm=sjzx&id=" + id_of(site, "3102") + "&user_text=工作简报", "此类别名称已经存在，请更名："},
        // Category names are unique over the whole table: the entry rows count.
        {"Data_type.asp?m_id=31&xm=sjzx&id=0&user_text=录入数据", "此类别名称已经存在，请更名："},
        {"Data_type.asp?m_id=32&xm=sjzx&id=0&user_text=部门维护", "此类别名称已经存在，请更名："},
        {"type_modify.asp?Dtable=word_type&id=0&new_name=" + site.scalar("select name from word_type", "name"),
         "此类别名称已经存在，请更名："},
    };
    std::string before = rows_of(site, "menu", "id,menu_id,menu_text,user_text,xm");
    for (const Case& c : cases) {
        auto r = site.get(c.url);
        EXPECT_TRUE(has(r.body, c.answer)) << c.url << "\n" << r.body;
        EXPECT_FALSE(has(r.body, " Error ")) << c.url;
    }
    EXPECT_EQ(rows_of(site, "menu", "id,menu_id,menu_text,user_text,xm"), before);

    // A rename changes the name only; a category's entry text follows its name.
    auto r = site.get("Menu.asp?id=" + m31 + "&user_text=" + form_encode("新动态") + "&old_text=x");
    EXPECT_TRUE(has(r.body, "此主菜单成功修改为："));
    EXPECT_EQ(site.scalar("select menu_text from menu where id=" + m31, "menu_text"), "menu31");
    r = site.get("Data_type.asp?m_id=31&id=" + id_of(site, "3103") + "&user_text=" + form_encode("审计快讯"));
    EXPECT_TRUE(has(r.body, "成功地修改类别名称："));
    EXPECT_EQ(site.scalar("select menu_text from menu where menu_id='3103'", "menu_text"),
              "`images/arrow1.gif`,` 审计快讯`,`Data_list.asp?sub_menu=3103`, `detail`,");
    EXPECT_EQ(site.scalar("select user_text from menu where menu_id='3103'", "user_text"), "审计快讯");
}

TEST(DataCategories, CategoryCodes) {
    AdminSite site;
    site.exec("update user set menu_idstr=menu_idstr || ' 55A9 33A9' where username='admin'");
    site.exec("insert into menu(menu_id,menu_text,user_text,xm) values ('55A9','x','维护','test')");
    // On a code without rows the first category gets CC01; a main menu made
    // here holds CC01 itself, so its first category is CC02.
    site.get("Data_type.asp?m_id=55&xm=test&id=0&user_text=first");
    EXPECT_EQ(site.scalar("select menu_id from menu where user_text='first'", "menu_id"), "5501");
    EXPECT_EQ(site.scalar("select xm from menu where user_text='first'", "xm"), "test");
    site.get("Menu.asp?id=0&user_text=main");
    site.get("Data_type.asp?m_id=33&xm=sjzx&id=0&user_text=c1");
    site.get("Data_type.asp?m_id=33&xm=sjzx&id=0&user_text=c2");
    EXPECT_EQ(site.scalar("select menu_id from menu where user_text='c2'", "menu_id"), "3303");
    // A freed number is used again.
    site.exec("delete from menu where menu_id='3302'");
    auto r = site.get("Data_type.asp?m_id=33&xm=sjzx&id=0&user_text=c3");
    EXPECT_EQ(site.scalar("select menu_id from menu where user_text='c3'", "menu_id"), "3302");
    // The list shows categories only, with their delete link through the confirmation.
    expect_texts(r.body, {"c3", "Pop_Del.asp?id="}, {">录入数据<", ">类别维护<"});
    // A code that is no main menu's is refused before anything is read.
    EXPECT_EQ(site.get("Data_type.asp?m_id=x&id=0&user_text=c4").status, 403);
    EXPECT_EQ(site.get("Data_type.asp?m_id=x").status, 403);
}

TEST(DataCategories, ApostropheOrUnknownRowEndsInTheReportAndWritesNothing) {
    AdminSite site;
    std::string before = rows_of(site, "menu", "id,menu_id,menu_text,user_text,xm") +
                         rows_of(site, "DepartMent", "id,name");
    for (const std::string url : {"Menu.asp?id=0&user_text=it's", "Data_type.asp?m_id=31&id=0&user_text=it's",
                                  "type_modify.asp?Dtable=DepartMent&id=0&new_name=it's", "Menu.asp?id=99999"}) {
        EXPECT_TRUE(has(site.get(url).body, " Error ")) << url;
    }
    EXPECT_EQ(site.get("type_modify.asp?Dtable=nosuchtable&id=0&new_name=x").status, 403);
    EXPECT_EQ(rows_of(site, "menu", "id,menu_id,menu_text,user_text,xm") +
                  rows_of(site, "DepartMent", "id,name"),
              before);
}

TEST(DataCategories, NameListOverAnyTable) {
    AdminSite site;
    auto r = site.get("type_modify.asp?Dtable=DepartMent&id=0&new_name=" + form_encode("新部门"));
    EXPECT_EQ(site.scalar("select Remark from DepartMent where name='新部门'", "Remark"), " ");
    expect_texts(r.body, {"新部门"}, {"新增类别成功"});
    std::string id = site.scalar("select id from DepartMent where name='新部门'", "id");
    r = site.get("type_modify.asp?Dtable=DepartMent&id=" + id + "&new_name=" + form_encode("改名部门"));
    EXPECT_TRUE(has(r.body, "成功地修改类别名称："));
    EXPECT_EQ(site.scalar("select name from DepartMent where id=" + id, "name"), "改名部门");
    EXPECT_TRUE(has(site.scalar("select work_text from monitor order by id desc", "work_text"), "将 DepartMent 表"));
}
