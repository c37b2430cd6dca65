// Profile forms, the own password and the two signature images.
#include "tests/support/page_test.h"

#include "frame/password.h"

using namespace tav::test;

namespace {

Reply post_signature(TestSite& site, const std::string& ok_no, const std::string& filename) {
    std::vector<Part> parts = {{"OK_NO", ok_no}};
    if (!filename.empty()) parts.push_back(file("file1", filename, "GIF89a"));
    return post_multipart(site, "/user_signe.asp", parts);
}

std::string col(TestSite& site, const std::string& id, const std::string& column) {
    return site.scalar("select " + column + " from user where id=" + id, column);
}

}  // namespace

TEST(ProfileForms, OwnFormLocksTheNameAndAdminFormCarriesRecordAndMeeting) {
    TestSite site;
    std::string id = add_user(site, "prof1", "", "secret", "李四");
    site.exec("update user set sex='x', start_meeting=1, Zip=' 310000 ', record=12 where id=" + id);
    ASSERT_TRUE(site.login());
    auto own = site.get("/User_Info_Modify.asp?ID=" + id).body;
    expect_texts(own, {"修改个人信息", "name=\"UserName\" value=\"prof1\" maxlength=\"16\" size=\"20\" readonly"});
    EXPECT_FALSE(has(own, "UserPassWord")) << "the own password changes on its own page";
    EXPECT_TRUE(has(own, "name=\"Zip\" value=\"310000\"")) << "values are trimmed";
    EXPECT_TRUE(has(own, "value=\"女\" checked")) << "anything but 男 shows as 女";
    expect_texts(own, {"<option value=\"1\" selected>"}, {"name=\"record\"", "name=\"start_meeting\""});
    // Without ID the form is the session's own account.
    EXPECT_TRUE(has(site.get("/User_Info_Modify.asp").body, "name=\"UserName\" value=\"admin\""));

    auto adm = site.get("/User_Info_Modify1.asp?id=" + id).body;
    expect_texts(adm,
                 {"系统管理 =>>用户信息修改", "name=\"record\" size=\"2\" value=\"12\"",
                  "name=\"start_meeting\" value=\"1\" checked"},
                 {"readonly"});
    EXPECT_TRUE(has(adm, "name=\"UserPassWord\" value=\"\"")) << "a new password may be set, none is shown";
}

TEST(PasswordChange, ComparesAfterTrimAndTreatsBlanksAsNoChange) {
    struct Case { const char* old_pw; const char* new_pw; const char* shown; const char* stored; };
    const Case cases[] = {
        {"  admin ", " new_1 ", "<br><font color=red>密码已经修改！</font>", "new_1"},
        {"wrong", "new_1", "<br><font color=red>原密码错误！</font>", "admin"},
        {"admin", "   ", "", "admin"},  // blanks alone: as a first view
        {"admin", "a-b", "<br><font color=red>密码中含有非法字符。</font>", "admin"},
    };
    const std::string longest(64, 'x'), too_long(65, 'x');
    for (const Case& c : cases) {
        AdminSite site;
        auto r = site.post_form("/User_password_Modify.asp",
                                {{"UserPassWord", c.old_pw}, {"NewPassWord", c.new_pw}, {"NewPassWord1", c.new_pw}});
        if (*c.shown)
            EXPECT_EQ(r.body.rfind(c.shown, 0), 0u) << "the result stands ahead of the page\n" << r.body;
        else
            EXPECT_EQ(r.body.rfind("<html>", 0), 0u) << r.body;
        EXPECT_TRUE(tav::password::matches(c.stored, col(site, "1", "password"))) << c.old_pw;
        EXPECT_TRUE(has(r.body, "<td>系统管理员</td>"));
    }
    AdminSite site;  // the length the forms allow, and one more
    for (const std::string& pw : {too_long, longest})
        site.post_form("/User_password_Modify.asp", {{"UserPassWord", "admin"}, {"NewPassWord", pw}});
    EXPECT_TRUE(tav::password::matches(longest, col(site, "1", "password")));
}

TEST(Signature, ImagesAreStoredByTheirSideAndKeptWhenTheNameIsTaken) {
    AdminSite site;  // makes user/admin
    auto first = site.get("/user_signe.asp").body;
    EXPECT_EQ(count(first, "<img src=\"\" border=\"1\">"), 2) << "no images yet";
    EXPECT_TRUE(has(first, "action=\"user_signe_upload.asp\""));
    expect_texts(site.get("/user_signe_upload.asp?OK_NO=no&ID=1").body,
                 {"<input type=\"hidden\" name=\"OK_NO\" value=\"no\">",
                  "enctype=\"multipart/form-data\" action=\"user_signe.asp\""});

    auto r = post_signature(site, "ok", "C:\\签字\\yes.gif");
    EXPECT_EQ(col(site, "1", "pen_ok"), "user/admin/yes.gif");
    EXPECT_TRUE(std::filesystem::exists(site.root() + "/user/admin/yes.gif"));
    EXPECT_TRUE(has(r.body, "<img src=\"user/admin/yes.gif\" border=\"1\">"));
    post_signature(site, "no", "C:\\later.jpg");
    EXPECT_EQ(col(site, "1", "pen_no"), "user/admin/later.jpg");

    // The same name again: refused, the column keeps its path.
    site.exec("update user set pen_ok='user/admin/before.gif' where id=1");
    r = post_signature(site, "ok", "C:\\yes.gif");
    EXPECT_TRUE(has(r.body, "文件已经存在于服务器上"));
    EXPECT_EQ(col(site, "1", "pen_ok"), "user/admin/before.gif");

    // No file: nothing changes. No side: the column pen_ fails.
    r = post_signature(site, "ok", "");
    EXPECT_FALSE(has(r.body, "Routine : "));
    EXPECT_EQ(col(site, "1", "pen_ok"), "user/admin/before.gif");
    r = post_signature(site, "", "C:\\third.gif");
    EXPECT_TRUE(has(r.body, "Routine : usersigne.I_init")) << r.body;

    // A file that is no picture, or names a folder, is not taken.
    for (const char* name : {"C:\\evil.htm", "a/../../x.gif"}) {
        post_signature(site, "no", name);
        EXPECT_EQ(col(site, "1", "pen_no"), "user/admin/later.jpg") << name;
    }
    EXPECT_FALSE(std::filesystem::exists(site.root() + "/user/admin/evil.htm"));
    EXPECT_FALSE(std::filesystem::exists(site.root() + "/x.gif"));
}
