// Accounts: the list, registration with its defaults, folder and welcome
// mail, and the save of the profile forms.
#include "tests/support/page_test.h"

#include "frame/password.h"

using namespace tav::test;

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

// What the registration form posts when only the required boxes are filled.
Fields bare_registration(const std::string& name) {
    return {{"TureName", "张三"}, {"UserName", name},     {"TechLevel", "C"}, {"UserPassWord", "pw1"},
            {"PassWord", "pw1"},  {"DepartMentID", "2"}, {"IDCard", ""},     {"sex", "女"},
            {"Telphone", ""},     {"Mobile", ""},        {"Email", ""},      {"Duty", ""},
            {"Address", ""},      {"SpeTech", ""},       {"Zip", ""},        {"UserRemark", ""},
            {"NewUser", "Yes"}};
}

std::string col(TestSite& site, const std::string& name, const std::string& column) {
    return site.scalar("select " + column + " from user where username='" + name + "'", column);
}

const std::string kReport = "Routine : ";

}  // namespace

TEST(Registration, EmptyOptionalFieldsGetTheSiteDefaultsFolderAndWelcomeMail) {
    TestSite site;
    site.get("/login.asp");  // the organisation's name into the session
    auto r = site.post_form("/NewRegisterDo.asp", bare_registration("zhang3"));
    EXPECT_EQ(r.status, 200);
    expect_texts(r.body, {"恭喜您注册成功！账号: zhang3 已经开通，欢迎使用！请", ">登录系统</a>！"});
    EXPECT_FALSE(has(r.body, "<html")) << "the answer is bare text";

    // No rights from registration.
    EXPECT_EQ(rows_of(site, "user where username='zhang3'",
                      "TrueName,DepartMentID,sex,IDCard,Telphone,Mobile,Email,Duty,Address,SpeTech,Zip,UserRemark,"
                      "start_meeting,plays,record,menu_idstr"),
              "张三|2|女|330102|0571-|13*|zhang3@office.example.com|末填|浙江省杭州市|末知|310002| |0|0|30||\n");
    EXPECT_TRUE(tav::password::is_hash(col(site, "zhang3", "password")));
    EXPECT_TRUE(std::filesystem::is_directory(site.root() + "/user/zhang3"));

    std::string id = col(site, "zhang3", "id");
    EXPECT_EQ(rows_of(site, "Email where to_user_id=" + id, "send_user_id,Email_title,Email_text"),
              "0|示范单位网络办公系统简介|<a href=\"help.htm\" target=\"detail\">示范单位网络办公系统简介</a>|\n");

    // The new account logs in at once; the mail default differs per account.
    EXPECT_TRUE(site.login("zhang3", "pw1"));
    site.post_form("/NewRegisterDo.asp", bare_registration("li4"));
    EXPECT_EQ(col(site, "li4", "Email"), "li4@office.example.com");
}

TEST(Registration, ATakenOrBrokenFormStoresNothingAndAPathNameGetsNoFolder) {
    struct Case { const char* field; const char* value; const char* answer; };
    const Case cases[] = {
        {"TureName", "O'Brien", "Routine : newregisterdo.I_init"},  // a quote breaks the statement
        {"DepartMentID", "", "Routine : newregisterdo.I_init"},     // the insert needs a department
        {"UserName", "..\\Datas\\x", "用户账号含有非法字符！"},          // no row, no folder
        // trimmed; names compare without case in the store
        {"UserName", "  WANG5 ", "用户账号: WANG5 已经被别人占用，请"},
    };
    for (const Case& c : cases) {
        TestSite site;
        Fields f = bare_registration("reg1");
        for (auto& [k, v] : f)
            if (k == c.field) v = c.value;
        add_user(site, "wang5");
        std::string before = rows_of(site, "user", "id,username,TrueName,password");
        auto r = site.post_form("/NewRegisterDo.asp", f);
        EXPECT_TRUE(has(r.body, c.answer)) << c.field << "\n" << r.body;
        EXPECT_EQ(rows_of(site, "user", "id,username,TrueName,password"), before) << c.field;
        EXPECT_EQ(site.scalar("select count(id) as num from Email", "num"), "0") << c.field;
        EXPECT_FALSE(fs::exists(site.root() + "/Datas/x") || fs::exists(site.root() + "/user/WANG5")) << c.field;
    }
}

TEST(AccountSave, UpdateKeepsAnEmptyOrMissingRecordAndResetsAMissingMeetingFlag) {
    TestSite site;
    std::string id = add_user(site, "edit1");
    site.exec("update user set start_meeting=1, record=45 where id=" + id);
    Fields f = bare_registration("edit1");
    f.push_back({"ID", id});
    f.push_back({"record", ""});
    ASSERT_TRUE(site.login());
    auto r = site.post_form("/NewRegisterDo.asp", f);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=张三 的信息修改成功！&next_href=#");
    // Defaults apply to an update too.
    EXPECT_EQ(rows_of(site, "user where id=" + id, "TrueName,record,start_meeting,Zip"), "张三|45|0|310002|\n");
    EXPECT_EQ(site.scalar("select count(id) as num from monitor where work_text='修改用户: 张三'", "num"), "1");

    // The own profile form posts neither field: the same again.
    f.pop_back();
    site.exec("update user set start_meeting=1 where id=" + id);
    site.post_form("/NewRegisterDo.asp", f);
    EXPECT_EQ(rows_of(site, "user where id=" + id, "record,start_meeting"), "45|0|\n");
    // A number in record and the meeting flag are stored.
    f.push_back({"record", "7"});
    f.push_back({"start_meeting", "1"});
    site.post_form("/NewRegisterDo.asp", f);
    EXPECT_EQ(rows_of(site, "user where id=" + id, "record,start_meeting"), "7|1|\n");
}

TEST(AccountList, PagesByTenMarksGoneDepartmentsAndOffersTheButtonByRight) {
    TestSite site;
    for (int i = 1; i <= 9; ++i) add_user(site, std::string("u").append(std::to_string(i)));  // with admin: 10 accounts
    site.exec("update user set DepartMentID=99 where username='u9'");
    ASSERT_TRUE(site.login());
    site.exec("update user set menu_idstr='1901 1904' where username='admin'");
    auto b = site.get("/Sys_User.asp").body;
    EXPECT_EQ(count(b, "<option "), 2) << "10 accounts give two pages, the second empty";
    expect_texts(b,
                 {"<td>已删除部门</td>", "value=\"新增用户\"", "<!--<td>电子信箱</td>-->",
                  "Pop_Del.asp?id=10&amp;Table=User&amp;message=确实要删除用户[u9]吗？&amp;next=Sys_User.asp"});
    EXPECT_LT(b.find(">u9<"), b.find(">u1<")) << "newest first";
    EXPECT_EQ(count(b, "<td>已删除部门</td>"), 1) << "each row its own department";
    EXPECT_FALSE(has(b, kReport));
    EXPECT_EQ(count(site.get("/Sys_User.asp?p=1").body, "<tr height=\"28\"><td>"), 10) << "ten filler rows";
}
