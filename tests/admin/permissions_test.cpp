// The rights form and its save: the string is the names of the ticked
// boxes, and every tick on the form is a substring test.
#include "tests/support/page_test.h"

using namespace tav::test;

namespace {

bool ticked(const std::string& body, const std::string& name) {
    return has(body, "name=\"" + name + "\" checked>");
}
bool boxed(const std::string& body, const std::string& name) { return has(body, "name=\"" + name + "\""); }

}  // namespace

TEST(RightsSave, TickedBoxesInPostedOrderWithFlagColumnsAndTheFormComingBack) {
    TestSite site;
    std::string id = add_user(site, "r1", "1101");
    ASSERT_TRUE(site.login());
    auto r = site.post_form("/Sys_User_menu_ModifyDO.asp", {{"ID", id},
                                                            {"1101", "on"},
                                                            {"i3102", "on"},
                                                            {"w2", "on"},
                                                            {"model", "on"},
                                                            {"Plays", "on"},
                                                            {"odd", "yes"},
                                                            {"btnSet", "提交"}});
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=修改用户权限成功！&next_href=Sys_User_Menu_modify.asp?id=" + id);
    EXPECT_EQ(site.scalar("select menu_idstr from user where id=" + id, "menu_idstr"), "1101 i3102 w2 model Plays");
    EXPECT_EQ(site.scalar("select plays from user where id=" + id, "plays"), "1");
    EXPECT_EQ(site.scalar("select start_meeting from user where id=" + id, "start_meeting"), "0");

    auto b = site.get("/Sys_User_Menu_modify.asp?id=" + id).body;
    struct Expect { const char* box; bool on; };
    const Expect expect[] = {
        {"1101", true},  {"1102", false}, {"i3102", true}, {"3102", true},  // input alone reads as read too
        {"model", true}, {"del", true},                                   // model holds del
        {"w2", true},    {"y2", false},   {"Plays", true}, {"start_meeting", false},
    };
    for (const Expect& e : expect) EXPECT_EQ(ticked(b, e.box), e.on) << e.box;
    EXPECT_TRUE(has(b, "查看或修改 r1 的权限"));
}

TEST(RightsSave, NoBoxTickedFailsAndKeepsEverything) {
    TestSite site;
    std::string id = add_user(site, "r2", "1101 1102");
    site.exec("update user set plays=1 where id=" + id);
    ASSERT_TRUE(site.login());
    auto r = site.post_form("/Sys_User_menu_ModifyDO.asp", {{"id", id}, {"btnSet", "提交"}});
    EXPECT_TRUE(has(r.body, "Routine : sysusermenumodify2.I_init")) << r.body;
    EXPECT_EQ(site.scalar("select menu_idstr from user where id=" + id, "menu_idstr"), "1101 1102");
    EXPECT_EQ(site.scalar("select plays from user where id=" + id, "plays"), "1");

    // The next page the account opens follows the new string.
    site.post_form("/Sys_User_menu_ModifyDO.asp", {{"id", id}, {"1102", "on"}});
    ASSERT_TRUE(site.login("r2", "pw"));
    auto menu = site.get("/left.asp?xm=wlzx").body;
    expect_texts(menu, {"已阅读邮件"}, {"收件箱"});
}

TEST(RightsForm, BoxesComeFromMenuRowsAndDocumentKinds) {
    TestSite site;
    std::string id = add_user(site, "r3", "");
    site.exec("insert into menu(menu_id,menu_text,user_text,xm) values ('menu17','menu17','空的一组','bgzx_m')");
    site.exec("insert into menu(menu_id,menu_text,user_text,xm) values ('3199','x','   ','sjzx')");
    ASSERT_TRUE(site.login());
    auto b = site.get("/Sys_User_Menu_Modify.asp?ID=" + id).body;
    expect_texts(b, {"target=\"detail\"", "bgcolor=\"#F5D0aF\"><b>电子邮件</b>"});
    EXPECT_TRUE(has(b, "<b>空的一组</b></td></tr>\r\n<tr><td></td></tr>")) << "a section without children";
    EXPECT_FALSE(boxed(b, "3199")) << "no label, no box";
    EXPECT_FALSE(boxed(b, "1100"));
    // In the data centre groups an entry with 01 or A gets one box, the others two.
    EXPECT_TRUE(boxed(b, "3101"));
    EXPECT_FALSE(boxed(b, "i3101"));
    EXPECT_FALSE(boxed(b, "i31A8"));
    expect_texts(b,
                 {"name=\"3102\">读取\xE3\x80\x80<input type=\"checkbox\" name=\"i3102\">录入",
                  "name=\"h4\">核\xE3\x80\x80函<br>"});
    EXPECT_FALSE(boxed(b, "i1101")) << "two boxes only in the data centre groups";
    // No account by that number: the form fails at its first read.
    EXPECT_TRUE(has(site.get("/Sys_User_Menu_Modify.asp?ID=999").body, "Routine : sysusermenumodify.I_init"));
}
