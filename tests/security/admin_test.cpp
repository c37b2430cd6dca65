// Hostile input against every parameter of the administration pages: no
// statement widened, no other account's row changed, nothing echoed or
// stored comes back as markup or script, no file touched outside its folder.
#include "tests/support/page_test.h"

#include "frame/password.h"

using namespace tav::test;

namespace {

const char kSecret[] = "Vict1mSecret";
using Fields = std::vector<std::pair<std::string, std::string>>;

struct Site : TestSite {
    std::string victim;
    Site() {
        victim = add_user(*this, "victim", "1101", kSecret, "受害者");
        exec("insert into monitor(user_id,work_text) values (" + victim + ",'victim line')");
    }
    std::string users() {
        return rows_of(*this, "user", "id,username,password,TrueName,menu_idstr,plays,record");
    }
    // The two accounts that were there before, whatever a registration adds.
    std::string old_accounts() {
        std::string all = users();
        std::size_t second_end = all.find('\n', all.find('\n') + 1);
        return all.substr(0, second_end + 1) + rows_of(*this, "monitor", "id,user_id,work_text");
    }
};

Fields registration(const std::string& field, const std::string& value) {
    Fields f = {{"TureName", "t"}, {"UserName", "newbie"}, {"PassWord", "p"}, {"DepartMentID", "1"}, {"sex", "男"},
                {"IDCard", ""},    {"Telphone", ""},       {"Mobile", ""},    {"Email", ""},          {"Duty", ""},
                {"Address", ""},   {"SpeTech", ""},        {"Zip", ""},       {"UserRemark", ""}};
    for (auto& [k, v] : f)
        if (k == field) v = value;
    if (field == "ID" || field == "record" || field == "start_meeting") f.push_back({field, value});
    return f;
}

}  // namespace

TEST(AdminSecurity, SavedFormsChangeOnlyWhatTheyNameAndStoreTextAsText) {
    Site site;
    ASSERT_TRUE(site.login());
    const std::string before = site.old_accounts();
    const std::pair<const char*, const char*> fields[] = {
        {"TureName", "TrueName"}, {"UserName", "username"}, {"PassWord", "password"}, {"sex", "sex"},
        {"IDCard", "IDCard"},     {"Telphone", "Telphone"}, {"Mobile", "Mobile"},     {"Email", "Email"},
        {"Duty", "Duty"},         {"Address", "Address"},   {"SpeTech", "SpeTech"},   {"Zip", "Zip"},
        {"UserRemark", "UserRemark"}, {"DepartMentID", "DepartMentID"}};
    for (const std::string& p : kSql) {
        for (const auto& [field, column] : fields) {
            site.exec("delete from user where id>" + site.victim);
            std::filesystem::remove_all(site.root() + "/user/newbie");  // else the name stays taken by its folder
            site.post_form("NewRegisterDo.asp", registration(field, p));
            // A new row may hold the payload as its text; nothing else moves.
            EXPECT_EQ(site.old_accounts(), before) << field << " " << p;
            std::string stored = site.scalar("select " + std::string(column) + " from user where id>" + site.victim,
                                             column);
            if (std::string(field) == "PassWord") {
                EXPECT_TRUE(tav::password::matches(p, stored)) << p;
            } else if (!stored.empty() && std::string(field) != "DepartMentID") {
                EXPECT_EQ(stored, p) << field;
            }
        }
        site.exec("delete from user where id>" + site.victim);
        // The id of an update, the record days and the meeting flag are numbers
        // or nothing; the rights save and the password take theirs as values.
        const std::string accounts = site.users();
        for (const char* field : {"ID", "record", "start_meeting"}) {
            Fields f = registration(field, p);
            for (auto& [k, v] : f)
                if (k == "TureName") v = "受害者";
            if (std::string(field) != "ID") f.push_back({"ID", site.victim});
            site.post_form("NewRegisterDo.asp", f);
        }
        site.post_form("Sys_User_menu_ModifyDO.asp", {{"id", p}, {"1101", "on"}, {"del", "on"}});
        site.post_form("User_password_Modify.asp", {{"userpassword", p}, {"newpassword", "zz"}});
        EXPECT_EQ(site.users(), accounts) << p;
        EXPECT_EQ(site.scalar("select count(id) as num from user", "num"), "2");
    }
}

TEST(AdminSecurity, MultipartFieldsAndNamesStayValuesAndInTheirFolders) {
    Site site;
    ASSERT_TRUE(site.login());
    std::ofstream(site.root() + "/Datas/keep.txt") << "x";
    for (const std::string& p : kSql) {
        // The side of the signature names a column only when it is ok or no.
        post_multipart(site, "user_signe.asp",
                       {field("OK_NO", p), file("file1", "C:\\s" + std::to_string(p.size()) + ".gif", "D")});
        EXPECT_EQ(site.scalar("select count(id) as num from user where pen_ok is not null or pen_no is not null", "num"),
                  "0")
            << p;
        post_multipart(site, "Sys_Modify.asp", {field("work_time", p), field("stat_time", "30"), field("old_music", p),
                                                field("logout", p), file("mfile", "C:\\" + p + ".mp3", "D")});
        EXPECT_EQ(site.scalar("select count(id) as num from software", "num"), "13") << p;
        EXPECT_EQ(site.scalar("select Hardserial from software where softname='work_time'", "Hardserial"), "60");
        EXPECT_EQ(site.scalar("select Hardserial from software where softname='username'", "Hardserial"), "示范单位");
    }
    EXPECT_TRUE(std::filesystem::exists(site.root() + "/Datas/keep.txt"));
    EXPECT_TRUE(std::filesystem::exists(site.root() + "/datebase/office.mdb"));
    for (const auto& entry : std::filesystem::directory_iterator(site.root()))
        EXPECT_FALSE(entry.path().extension() == ".mp3" || entry.path().extension() == ".gif") << entry.path();
}

TEST(AdminSecurity, ReflectedAndStoredValuesComeBackInert) {
    for (const std::string& p : kMarkup) {
        Site site;
        const std::string q = sql_quoted(p);
        for (const char* column : {"TrueName", "sex", "Telphone", "Email", "IDCard", "Mobile", "Duty", "Address",
                                   "SpeTech", "Zip", "UserRemark", "pen_ok", "pen_no"})
            site.exec("update user set " + std::string(column) + "='" + q + "' where id in (1," + site.victim + ")");
        site.exec("insert into user(username,password,TrueName,DepartMentID) values ('" + q + "','x','" + q + "',1)");
        site.exec("update DepartMent set name='" + q + "' where id=1");
        site.exec("update word_type set name='" + q + "' where id=1");
        site.exec("update menu set user_text='" + q + "' where menu_id in ('menu11','1101','3102')");
        site.exec("update monitor set work_text='" + q + "'");
        site.exec("update software set Hardserial='" + q + "' where softname in ('music','work_time','stat_time','username')");
        site.get("login.asp");
        ASSERT_TRUE(site.login());  // the administrator, who may open every page here
        const std::string& id = site.victim;
        for (const std::string& page :
             {std::string("Sys_User.asp"), std::string("Sys_User_Menu.asp"), std::string("Sys_User_Active.asp"),
              "User_Info_Modify.asp?ID=" + id, "User_Info_Modify1.asp?id=" + id, "Sys_User_Menu_Modify.asp?ID=" + id,
              "Sys_User_Active_List.asp?ID=" + id, std::string("user_signe.asp"), std::string("User_password_Modify.asp"),
              std::string("Sys_Modify.asp"), std::string("NewRegister.asp")})
            expect_inert(site.get(page), page + " " + p);
        // Echoed names and passwords of the save pages.
        expect_inert(site.post_form("NewRegisterDo.asp", registration("UserName", p)), "taken or new name " + p);
        expect_inert(site.post_form("User_password_Modify.asp", {{"userpassword", "admin"}, {"newpassword", p}}),
                     "new password " + p);
        Reply r = site.post_form("NewRegisterDo.asp", registration("ID", id));
        EXPECT_EQ(r.status, 302) << p;
    }
}

// The access exploits once measured on these pages, replayed: each ends in
// the login page, the refusal or the message named, and no account changes.
TEST(AdminSecurity, AccessExploitsFail) {
    struct Exploit {
        const char* what;
        const char* as;          // "" anonymous, else the account signed in
        const char* regnewuser;  // the setting during the try
        const char* url;
        Fields fields;           // GET when empty
        const char* answer;      // "login", "403", or a text of the answer
    };
    const Fields admin_row = {{"ID", "1"}, {"TureName", "x"}, {"UserName", "admin"}, {"PassWord", "p"},
                              {"DepartMentID", "1"}, {"record", "1"}};
    auto own = [](const char* name) {
        return Fields{{"ID", "2"}, {"TureName", "受害者"}, {"UserName", name}, {"PassWord", "p"}, {"DepartMentID", "1"}};
    };
    const Exploit cases[] = {
        {"profile of another account", "victim", "1", "NewRegisterDo.asp", admin_row, "403"},
        {"profile without a session", "", "1", "NewRegisterDo.asp", admin_row, "login"},
        {"profile without a session, closed", "", "0", "NewRegisterDo.asp", admin_row, "login"},
        {"registration closed", "", "0", "NewRegisterDo.asp", registration("UserName", "intruder"), "login"},
        {"registration form closed", "", "0", "NewRegister.asp", {}, "login"},
        {"registration closed, no right", "victim", "0", "NewRegisterDo.asp", registration("UserName", "x2"), "403"},
        {"registration onto a left folder", "", "1", "NewRegisterDo.asp", registration("UserName", "Gone"), "已经被别人占用"},
        {"rename to a taken name", "victim", "1", "NewRegisterDo.asp", own("ADMIN"), "已经被别人占用"},
        {"rename to a left folder", "victim", "1", "NewRegisterDo.asp", own("gone"), "已经被别人占用"},
        {"rename to a path", "victim", "1", "NewRegisterDo.asp", own("../gone"), "用户账号含有非法字符"},
        {"own rights", "admin", "1", "Sys_User_menu_ModifyDO.asp", {{"id", "01"}, {"1101", "on"}}, "403"},
        {"another's profile form", "victim", "1", "User_Info_Modify.asp?ID=1", {}, "403"},
        {"administrator's form", "victim", "1", "User_Info_Modify1.asp?ID=1", {}, "403"},
        {"lost passwords", "victim", "1", "sys_losepasswordDO.asp?ID=1", {{"newpassword", "abc"}}, "403"},
        // The honest way stays open: the administrator adds an account while registration is closed.
        {"closed, right 1904", "admin", "0", "NewRegisterDo.asp", registration("UserName", "staff1"), "恭喜您注册成功"},
    };
    for (const Exploit& c : cases) {
        Site site;
        std::filesystem::create_directories(site.root() + "/user/gone");
        const std::string as = c.as;
        if (!as.empty()) {
            ASSERT_TRUE(as == "admin" ? site.login() : site.login(as, kSecret)) << c.what;
        }
        site.exec(std::string("update software set Hardserial='") + c.regnewuser + "' where softname='regnewuser'");
        const std::string before = site.users();
        Reply r = c.fields.empty() ? site.get(c.url) : site.post_form(c.url, c.fields);
        const std::string answer = c.answer;
        if (answer == "login")
            EXPECT_EQ(r.location(), "login.asp") << c.what;
        else if (answer == "403")
            EXPECT_EQ(r.status, 403) << c.what;
        else
            EXPECT_TRUE(has(r.body, answer)) << c.what << "\n" << r.body;
        EXPECT_EQ(site.users() == before, answer != "恭喜您注册成功") << c.what;
    }

    // No page shows a password or its hash: not the administrator's form of
    // another account, not the own form.
    Site site;
    ASSERT_TRUE(site.login("victim", kSecret));  // stores the hash
    ASSERT_TRUE(site.login());
    for (const char* page : {"User_Info_Modify1.asp?ID=2", "User_Info_Modify.asp?ID=2", "User_Info_Modify.asp"}) {
        std::string b = site.get(page).body;
        EXPECT_TRUE(has(b, "name=\"TureName\"")) << page;
        EXPECT_FALSE(has(b, kSecret) || has(b, "$argon2id$")) << page;
    }
}
