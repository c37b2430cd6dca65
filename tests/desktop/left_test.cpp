// The navigation frame: the section's rows filtered by the rights string and
// turned back from their stored form into hidden fields.
#include "tests/support/page_test.h"

using namespace tav::test;

namespace {

// The value of the hidden field of one folder, as the page wrote it.
std::string hidden_value(const std::string& body, const std::string& folder) {
    std::string open = "<INPUT type='hidden' name='" + folder + "' value=\"";
    std::size_t at = body.find(open);
    if (at == std::string::npos) return "<missing>";
    at += open.size();
    std::size_t end = body.find("\">", at);
    return body.substr(at, end - at);
}

std::string entry(const std::string& label, const std::string& url) {
    return "'images/arrow1.gif',' " + label + "','" + url + "', 'detail',";
}

}  // namespace

TEST(NavigationMenu, FoldersOfTheSectionWithTheirEntriesAndTheStartPage) {
    AdminSite site;
    auto b = site.get("/left.asp?xm=bgzx").body;
    expect_texts(hidden_value(b, "menu19"),
                 {entry("密码遗失", "sys_losepassword.asp"), entry("部门维护", "type_modify.asp?Dtable=DepartMent")});
    // Other sections' folders stay out; no stored quote survives.
    expect_texts(b,
                 {"MenuItem=MenuItem+1;strSQL=menu19.value;OutBarFolder[MenuItem]= new Array('0','系统管理', "
                  "'images/arrow1.gif', '1',strSQL);",
                  "window.open(\"started.asp\",\"detail\");", "欢迎使用[示范单位网络办公系统]！"},
                 {"data_home.asp", "`", "”"});
    EXPECT_EQ(hidden_value(b, "menu11"), "<missing>");
    // No section means home, with the data centre's home page.
    b = site.get("/left.asp").body;
    EXPECT_TRUE(has(hidden_value(b, "menu41"), entry("通知公告", "Data_list.asp?sub_menu=4102")));
    expect_texts(b, {"window.open(\"data_home.asp\",\"detail\");"}, {"started.asp"});
}

TEST(NavigationMenu, RightsFilterEntriesButLeaveFolderButtonsAndStoredQuotesTurnBack) {
    AdminSite site;
    site.exec("update user set menu_idstr='1901 1904' where username='admin'");
    auto b = site.get("/left.asp?xm=bgzx").body;
    EXPECT_EQ(hidden_value(b, "menu19"), entry("系统参数", "Sys_Modify.asp") + entry("用户管理", "Sys_User.asp"));
    EXPECT_EQ(hidden_value(b, "menu23"), "");
    EXPECT_TRUE(has(b, "new Array('0','公文处理'"));
    // A right found inside a longer code counts: i1905 grants 1905.
    site.exec("update user set menu_idstr='i1905' where username='admin'");
    EXPECT_EQ(hidden_value(site.get("/left.asp?xm=bgzx").body, "menu19"), entry("密码遗失", "sys_losepassword.asp"));
    // Null rights act like none.
    site.exec("update user set menu_idstr=null where username='admin'");
    b = site.get("/left.asp?xm=wlzx").body;
    EXPECT_EQ(hidden_value(b, "menu11") + hidden_value(b, "menu14"), "");
    expect_texts(b, {"new Array('0','电子邮件'", "</html>"}, {" Error "});
    // Ids holding 00 pass for everybody.
    site.exec("update user set menu_idstr='7701' where username='admin'");
    site.exec("insert into menu(menu_id,menu_text,user_text,xm) values "
              "('41001','`images/arrow1.gif`,` 旧栏目`,`Old.asp`, `detail`,','旧栏目','home')");
    EXPECT_EQ(hidden_value(site.get("/left.asp?xm=home").body, "menu41"), entry("旧栏目", "Old.asp"));
    // Only the opening row loses its ”; an entry keeps it, trimmed.
    site.exec("insert into menu(menu_id,menu_text,user_text,xm) values ('menu77','menu77','试验','test_m'),"
              "('7700','<INPUT type=`hidden` name=`menu77` value=”',' ','test'),"
              "('7701','  `a`,`b”c`,`c.asp`, `detail`,  ','x','test'), ('77ZZ','”>',' ','test')");
    b = site.get("/left.asp?xm=test").body;
    EXPECT_TRUE(has(b, "<INPUT type='hidden' name='menu77' value=\"'a','b”c','c.asp', 'detail',\"><SCRIPT language=JavaScript>"))
        << b;
}
