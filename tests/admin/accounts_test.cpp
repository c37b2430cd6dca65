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

    const std::pair<const char*, const char*> stored[] = {
        {"TrueName", "张三"},                                {"DepartMentID", "2"}, {"sex", "女"},
        {"IDCard", "330102"},    {"Telphone", "0571-"},     {"Mobile", "13*"},     {"Email", "zhang3@office.example.com"},
        {"Duty", "末填"},         {"Address", "浙江省杭州市"}, {"SpeTech", "末知"},    {"Zip", "310002"},
        {"UserRemark", " "},     {"start_meeting", "0"},    {"plays", "0"},        {"record", "30"}};
    for (const auto& [column, value] : stored) EXPECT_EQ(col(site, "zhang3", column), value) << column;
    EXPECT_EQ(col(site, "zhang3", "menu_idstr"), "") << "no rights from registration";
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

TEST(Registration, ATakenNameStoresNothingAndFieldsAreTrimmed) {
    TestSite site;
    add_user(site, "wang5");
    std::string before = rows_of(site, "user", "id,username,TrueName,password");
    Fields f = bare_registration("  WANG5 ");  // trimmed; names compare without case in the store
    auto r = site.post_form("/NewRegisterDo.asp", f);
    expect_texts(r.body, {"用户账号: WANG5 已经被别人占用，请", ">重新填写</a>！"});
    EXPECT_EQ(rows_of(site, "user", "id,username,TrueName,password"), before);
    EXPECT_EQ(site.scalar("select count(id) as num from Email", "num"), "0");
    EXPECT_FALSE(std::filesystem::exists(site.root() + "/user/WANG5"));
}

TEST(Registration, BrokenFormsFailWithTheReportAndAPathNameGetsNoFolder) {
    struct Case { const char* field; const char* value; const char* answer; };
    const Case cases[] = {
        {"TureName", "O'Brien", "Routine : newregisterdo.I_init"},  // a quote breaks the statement
        {"DepartMentID", "", "Routine : newregisterdo.I_init"},     // the insert needs a department
        {"UserName", "..\\Datas\\x", "用户账号含有非法字符！"},          // no row, no folder
    };
    for (const Case& c : cases) {
        TestSite site;
        Fields f = bare_registration("reg1");
        for (auto& [k, v] : f)
            if (k == c.field) v = c.value;
        std::string before = rows_of(site, "user", "id");
        auto r = site.post_form("/NewRegisterDo.asp", f);
        EXPECT_TRUE(has(r.body, c.answer)) << c.field << "\n" << r.body;
        EXPECT_EQ(rows_of(site, "user", "id"), before) << c.field;
        EXPECT_EQ(site.scalar("select count(id) as num from Email", "num"), "0") << c.field;
        EXPECT_FALSE(std::filesystem::exists(site.root() + "/Datas/x")) << c.field;
    }
}

TEST(AccountSave, UpdateKeepsAnEmptyRecordAndResetsAMissingMeetingFlag) {
    TestSite site;
    std::string id = add_user(site, "edit1");
    site.exec("update user set start_meeting=1, record=45 where id=" + id);
    Fields f = bare_registration("edit1");
    f.push_back({"ID", id});
    f.push_back({"record", ""});
    ASSERT_TRUE(site.login());
    auto r = site.post_form("/NewRegisterDo.asp", f);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=张三 的信息修改成功！&next_href=#");
    EXPECT_EQ(col(site, "edit1", "TrueName"), "张三");
    EXPECT_EQ(col(site, "edit1", "record"), "45");
    EXPECT_EQ(col(site, "edit1", "start_meeting"), "0");
    EXPECT_EQ(col(site, "edit1", "Zip"), "310002") << "defaults apply to an update too";
    EXPECT_EQ(site.scalar("select count(id) as num from monitor where work_text='修改用户: 张三'", "num"), "1");

    // A number in record and the meeting flag are stored.
    f.back().second = "7";
    f.push_back({"start_meeting", "1"});
    site.post_form("/NewRegisterDo.asp", f);
    EXPECT_EQ(col(site, "edit1", "record"), "7");
    EXPECT_EQ(col(site, "edit1", "start_meeting"), "1");
}

TEST(AccountList, PagesByTenMarksGoneDepartmentsAndOffersTheButtonByRight) {
    TestSite site;
    for (int i = 1; i <= 9; ++i) { std::string n = "u"; n += std::to_string(i); add_user(site, n); };  // with admin: 10 accounts
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
