// Every registered URL, walked as three people: nobody, an account without
// rights, and the administrator. Whom a page's rule refuses gets the login
// page or the refusal, and no row and no file changes; nobody but its owner
// ever sees another account's rows.
#include "tests/support/page_test.h"

#include <map>

#include "server/page_table.h"

using tav::Access;
using namespace tav::test;

namespace {

// Marks text that only the victim's own pages may show.
const char kMark[] = "Vx7Own";

struct Walk : TestSite {
    std::string victim, mail, address, record;
    Walk() {
        victim = add_user(*this, "victim", "", "pw", "受害者");
        add_user(*this, "plain", "", "pw", "普通");
        exec("update software set hardserial='0' where softname='regnewuser'");
        // Rows of others first, so that no id sent below is the administrator's own (1).
        exec("insert into Email(send_user_id,to_user_id,Email_title) values (1,1,'first')");
        exec("insert into Address(User_id,Name) values (1,'first')");
        exec("insert into Record(user_id,Rec_title) values (1,'first')");
        exec("insert into Email(send_user_id,to_user_id,Email_title,Email_text) values (" + victim + "," + victim +
             ",'" + kMark + "m','" + kMark + "b')");
        mail = scalar("select max(id) as n from Email", "n");
        exec("insert into Address(User_id,Name,Telphone) values (" + victim + ",'" + kMark + "a','1')");
        address = scalar("select max(id) as n from Address", "n");
        exec("insert into Record(user_id,Rec_title,Rec_text,Rec_money) values (" + victim + ",'" + kMark + "r','" +
             kMark + "t',1)");
        record = scalar("select max(id) as n from Record", "n");
        fs::create_directories(root() + "/user/victim");
        std::ofstream(root() + "/user/victim/" + kMark + ".txt") << kMark;
        site().throttle().set_schedule({.free_failures = 1000000});
    }
    // The requests made of each URL: plain, and with the victim's row ids in
    // every name a page reads an id from, as GET and as a form post.
    std::vector<Reply> hit(const std::string& url) {
        std::vector<Reply> out;
        for (const std::string& id : {mail, address, record}) {
            std::string q = "?id=" + id + "&ID=" + id + "&Folder=%5Cuser%5Cvictim&folder=..%2Fuser%2Fvictim";
            out.push_back(get(url + q));
            out.push_back(post_form(url + q, {{"id", id}, {"ID", id}, {"title", "x"}, {"UserName", "victim"}}));
        }
        return out;
    }
};

// What the menu or the calling page sends with a URL; a page asked without
// it refuses for everyone, which is no test of the rule.
std::string honest_query(const std::string& url) {
    static const std::map<std::string, std::string> q = {
        {"Data_Input.asp", "?m=menu31"},
        {"Data_type.asp", "?m_id=31&xm=sjzx"},
        {"type_modify.asp", "?Dtable=DepartMent"},
        {"Del_Record.asp", "?Table=DepartMent&ID=999999&next=type_modify.asp"},
        {"Folder_create.asp", "?Folder=%5Cuser%5Cadmin&Curr_dir=%5Cuser%5Cadmin"},
        {"Folder_delete.asp", "?Folder=%5Cuser%5Cadmin%5Cnone&Curr_dir=%5Cuser%5Cadmin"},
        {"Folder_rename.asp", "?Folder=%5Cuser%5Cadmin%5Cnone&Curr_dir=%5Cuser%5Cadmin"},
        {"file_rename.asp", "?Folder=%5Cuser%5Cadmin&old_name=none.txt"},
        {"file_rename_save.asp", "?Folder=%5Cuser%5Cadmin&old_name=none.txt&new_name=none2.txt"},
    };
    auto it = q.find(url);
    return it == q.end() ? "" : it->second;
}

bool to_login(const Reply& r) { return r.status == 302 && r.location().find("login.asp") != std::string::npos; }

}  // namespace

TEST(AccessWalk, EveryPageAsNobodyAsAnAccountWithoutRightsAndAsTheAdministrator) {
    Walk site;
    const auto pages = tav::page_table();
    ASSERT_EQ(pages.size(), 93u);

    struct Who {
        const char* name;
        const char* user;  // "" = no session
    };
    for (const Who who : {Who{"nobody", ""}, Who{"plain", "plain"}, Who{"admin", "admin"}}) {
        for (const auto& p : pages) {
            // Logout ends the session: sign in again for every page.
            site.forget_session();
            if (*who.user) {
                ASSERT_TRUE(site.login(who.user, who.user == std::string("admin") ? "admin" : "pw"));
            }
            const Access& rule = p.access;
            const bool refused = (rule.kind != Access::Kind::Public && !*who.user) ||
                                 (rule.kind == Access::Kind::Right && who.user == std::string("plain"));
            const std::string before = snapshot(site);
            for (const Reply& r : site.hit(p.url)) {
                std::string ctx = who.name;
                ctx.append(" ").append(p.url);
                EXPECT_LT(r.status, 500) << ctx;
                // Only the victim may see the victim's rows and files.
                EXPECT_EQ(r.body.find(kMark), std::string::npos) << ctx;
                if (refused && !*who.user) {
                    EXPECT_TRUE(to_login(r)) << ctx << " " << r.status;
                }
                if (refused && *who.user) {
                    EXPECT_EQ(r.status, 403) << ctx;
                }
            }
            if (refused) {
                EXPECT_EQ(snapshot(site), before) << who.name << " changed something through " << p.url;
            }
            // The administrator holds every right: no rule turns it away (the
            // victim's ids above may still be refused inside a page).
            // (Data_InputDo.asp reads only its form's upload: the data centre tests post one.)
            if (who.user == std::string("admin") && p.url != "logout.asp" && p.url != "loginverify.asp" &&
                p.url != "Data_InputDo.asp") {
                site.forget_session();
                ASSERT_TRUE(site.login("admin", "admin"));
                Reply r = site.get(p.url + honest_query(p.url));
                EXPECT_NE(r.status, 403) << p.url;
                EXPECT_FALSE(to_login(r)) << p.url;
            }
        }
    }
    // The victim's own rows are still all there.
    EXPECT_EQ(site.scalar("select count(id) as n from Address where Name='" + std::string(kMark) + "a'", "n"), "1");
    EXPECT_EQ(site.scalar("select count(id) as n from Record where Rec_title='" + std::string(kMark) + "r'", "n"), "1");
    EXPECT_TRUE(fs::exists(site.root() + "/user/victim/" + std::string(kMark) + ".txt"));
}
