// The polling frames of the desktop (message, sysmonitor), the reminder
// popup, the notice popup, and the count of documents they share.
#include "tests/support/page_test.h"

#include "frame/page.h"

using namespace tav::test;

namespace {

// Sets one session key from the query, as the pages that arm the popup do.
class statusgate : public tav::Page {
public:
    statusgate() : Page("statusgate") {}
    void I_init() override { tav::Session.set(tav::Request.querystring("k").str(), tav::Request.querystring("v")); }
};
TAVELOR_PAGE(statusgate, "", access::open())

// The cell script line of sysmonitor for a cell id.
std::string cell_line(const std::string& body, const std::string& id) {
    auto at = body.find("parent.bottom." + id + ".innerHTML=\"");
    return at == std::string::npos ? "" : body.substr(at, body.find("\r\n", at) - at);
}

// The alt text of the image in a cell of sysmonitor.
std::string alt_of(const std::string& body, const std::string& id) {
    std::string line = cell_line(body, id);
    auto at = line.find("alt='");
    return at == std::string::npos ? "<none>" : line.substr(at + 5, line.find('\'', at + 5) - at - 5);
}

struct Desk {
    TestSite site;
    std::string add_user(const std::string& name, const std::string& rights = "", const std::string& id = "") {
        site.exec("insert into user(" + std::string(id.empty() ? "" : "id,") +
                  "username,password,TrueName,DepartMentID,menu_idstr,record) values (" + (id.empty() ? "" : id + ",") +
                  "'" + name + "','pw','" + name + "',1,'" + rights + "',30)");
        return site.scalar("select id from user where username='" + name + "'", "id");
    }
    void as(const std::string& name) {
        site.forget_session();
        ASSERT_TRUE(site.login(name, "pw"));
        arm();
    }
    void arm(const char* v = "YES") { site.run("statusgate", std::string("/gate.asp?k=Message_POP&v=") + v); }
    std::string kind(const std::string& name) {
        return site.scalar("select id from word_type where name='" + name + "'", "id");
    }
    void word(const std::string& kind, const std::string& signed_, const std::string& col, const std::string& uid) {
        site.exec("insert into Word(word_type,signed," + col + ") values (" + kind + "," + signed_ + ",'" + uid + "')");
    }
    void mail(const std::string& to, const std::string& from = "1", const std::string& read = "0",
              const std::string& del = "0") {
        site.exec("insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id,read,To_del) values (" +
                  from + "," + to + ",'t','x',0," + read + "," + del + ")");
    }
    void set(const std::string& name, const std::string& v) {
        site.exec("update software set Hardserial='" + v + "' where softname='" + name + "'");
    }
    std::string monitor() { return site.get("/sysmonitor.asp").body; }
    std::string message() { return site.get("/message.asp").body; }
};

const char kNoRights[] = "您没有权限处理任何公文！";

}  // namespace

TEST(StatusWordStr, CountsOpenDocumentsOfTheHeldStagesAndKinds) {
    struct Doc {
        int kind;  // index into the kinds below
        const char* signed_;
        const char* stage;
        bool own = true;
    };
    struct Case {
        const char* rights;  // {0} {1} stand for the kinds' ids
        std::vector<Doc> docs;
        const char* alt;     // nullptr: the statement breaks, reported under the page
        const char* sh;
    };
    const std::string two = "有 2 个公文正等待[或将要]您审核或签发！";
    const Case cases[] = {
        // Finished, a kind or a stage without the right and someone else's do not count;
        // null differs from 1 only where the database says so.
        {"0101 2302 h{0}",
         {{0, "0", "ywsh"}, {0, "0", "ywsh"}, {0, "1", "ywsh"}, {0, "NULL", "ywsh"}, {1, "0", "ywsh"},
          {0, "0", "hh"}, {0, "0", "ywsh", false}},
         two.c_str(), "ywsh"},
        {"2302 h{0}", {{0, "1", "ywsh"}}, "没有新公文需要处理", "ywsh"},
        // Several stages join in brackets with the kinds (the second would count without them).
        {"2302 2304 h{0}", {{0, "0", "ywsh"}, {0, "0", "fh"}, {1, "0", "ywsh"}, {0, "0", "hh"}}, two.c_str(),
         "ywsh|fh"},
        // One stage and two kinds: the kinds in brackets (the last would count without them).
        {"h{0} h{1} 2306", {{0, "0", "ldqf"}, {1, "0", "ldqf"}, {2, "0", "ldqf"}, {1, "0", "ldqf", false}},
         two.c_str(), "ldqf"},
        {"0101 1905", {}, kNoRights, ""},
        // Stages without kinds, in their order; a kind without a stage.
        {"2306 2305 2304 2303 2302", {}, nullptr, "ywsh|hh|fh|ldsh|ldqf"},
        {"w{0} h{0}", {}, nullptr, nullptr},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.rights);
        Desk d;
        std::string k[3] = {d.kind("通知"), d.kind("请示"), d.kind("报告")};
        std::string rights = c.rights;
        for (auto at = rights.find('{'); at != std::string::npos; at = rights.find('{'))
            rights.replace(at, 3, k[rights[at + 1] - '0']);
        std::string name = "rev" + std::to_string(++n);
        std::string u = d.add_user(name, rights);
        for (const Doc& doc : c.docs) d.word(k[doc.kind], doc.signed_, doc.stage, doc.own ? u : u + "9");
        d.as(name);
        std::string body = d.monitor();
        if (c.sh) {
            EXPECT_TRUE(has(cell_line(body, "meeting"), std::string("href='word_list_sh.asp?sh=") + c.sh + "'"));
        }
        if (c.alt) {
            EXPECT_EQ(alt_of(body, "meeting"), c.alt);
            EXPECT_FALSE(has(body, " Error "));
        } else {
            EXPECT_EQ(alt_of(body, "meeting"), "");
            EXPECT_TRUE(has(body, " Routine : sysmonitor.get_word_str"));
            EXPECT_TRUE(has(d.site.log_text(), "sysmonitor.get_word_str"));
            EXPECT_FALSE(cell_line(body, "system").empty());  // the page goes on
        }
    }
}

TEST(StatusMessage, PopupOnlyWhenSomethingWaitsArmedAndSwitchedOnWithRefreshFromTheSettings) {
    Desk d;
    d.set("work_time", "75");
    d.set("stat_time", "15");
    std::string u = d.add_user("m1");
    d.as("m1");
    expect_texts(d.message(),
                 {"<meta http-equiv=\"REFRESH\" content=\"75\">\r\n"},
                 {"showModalDialog"});  // nothing waits
    EXPECT_TRUE(has(d.monitor(), "<meta http-equiv=\"REFRESH\" content=\"15\">\r\n"));
    d.mail(u);
    d.arm("");
    EXPECT_FALSE(has(d.message(), "showModalDialog"));  // not armed
    d.arm();
    std::string body = d.message();
    EXPECT_EQ(body.rfind("<script src=\"tavdialog.js\"></script>", 0), 0u);
    EXPECT_TRUE(has(body, "showModalDialog(\"message_pop.asp?mstr=<center>欢迎您使用本系统！</center><hr>"
                          "有 1 封新邮件正等待您阅读！<br>\", \"\", \"dialogWidth:25em;dialogHeight:11em; status:0\");"));
    // work_pop "0": the page still runs its counts, and never pops up.
    d.set("work_pop", "0");
    expect_texts(d.message(), {"</html>"}, {"showModalDialog", " Error "});
}

TEST(StatusMessage, FilesDocumentsAndLostPasswordsJoinTheReminder) {
    for (bool rights : {false, true}) {
        Desk d;
        std::string k1 = d.kind("函");
        std::string u = d.add_user("m3", rights ? "2305 h" + k1 : "");
        if (rights)
            d.word(k1, "0", "ldsh", u);
        else
            d.site.exec("insert into Files(py) values ('|" + u + "|')");
        d.as("m3");
        // Without document rights the files count brings the no-rights sentence.
        EXPECT_TRUE(has(d.message(), rights ? "<hr>有 1 个公文正等待[或将要]您审核或签发！<br>\""
                                            : "<hr>有 1 个文书等待您签阅！<br>" + std::string(kNoRights) + "<br>\""));
    }
    Desk d;
    std::string u = d.add_user("m5");
    d.add_user("admin5", "i1905");  // the right matches inside a longer code
    d.site.exec("update user set password_lose=1 where username='m5'");
    d.mail(u);
    d.as("m5");
    expect_texts(d.message(), {"showModalDialog"}, {"密码忘记了"});
    d.as("admin5");
    EXPECT_TRUE(has(d.message(), "<hr>有 1 个员工的密码忘记了，请处理！<br>\""));
}

TEST(StatusMonitor, EveryCellInOrderWithItsLinkImageAndTipAndTheAlternatingCaption) {
    Desk d;
    d.add_user("s1");
    d.as("s1");
    std::string body = d.monitor();
    const char* cells[][4] = {
        {"infiles", "File_list.asp?howdo=gsqm", "boxin.gif", "没有新的文书等待您签阅！"},
        {"meeting", "word_list_sh.asp?sh=", "boxout.gif", kNoRights},
        {"onlines", "Online_user.asp", "onlinenone.gif", "当前在线人数：0 人"},
        {"board", "book_list1.asp", "boardnone.gif", "留言板没有新的回复信息！"},
        {"email", "Email_list.asp?type=0", "mail_0.gif", "没有新邮件！"},
        {"password", "sys_losepassword.asp", "key.gif", "没有密码提醒信息。"},
        {"system", "", "", ""},
    };
    std::size_t last = 0;
    for (const auto& c : cells) {
        if (*c[1]) {
            EXPECT_EQ(cell_line(body, c[0]), std::string("parent.bottom.") + c[0] + ".innerHTML=\"<a href='" + c[1] +
                                                 "' target='detail'><img src='images/" + c[2] + "' alt='" + c[3] +
                                                 "' border='0'></a>\";");
        }
        EXPECT_LT(last, body.find(std::string("bottom.") + c[0]));
        last = body.find(std::string("bottom.") + c[0]);
    }
    EXPECT_FALSE(has(body, " Error "));
    for (const char* caption : {"Tavelor for Audit&nbsp;", "示范单位自动化网络办公系统 &nbsp;", "Tavelor for Audit&nbsp;"}) {
        EXPECT_EQ(cell_line(body, "system"), std::string("parent.bottom.system.innerHTML=\"") + caption + "\";");
        body = d.monitor();
    }
}

TEST(StatusMonitor, CountsMailRepliesOnlineFilesAndLostPasswords) {
    Desk d;
    std::string u = d.add_user("s3", "", "12");
    std::string other = d.add_user("s3b", "", "121");
    d.add_user("s30", "", "30");
    d.mail(u, other);
    d.mail(u, other, "0", "1");  // in the waste box, still unread
    d.mail(u, other, "1");
    d.mail(u, other, "0", "2");
    d.mail(other, other);
    // Two own threads and one of someone else.
    auto post = [&](const std::string& who, const std::string& reply_id, const std::string& seen) {
        d.site.exec("insert into Book(user_id,Book_title,Book_text,Reply_id,User_IP,reply_read) values (" + who +
                    ",'t','x'," + reply_id + ",'1.1.1.1'," + seen + ")");
        return d.site.scalar("select top 1 id from Book order by id DESC", "id");
    };
    std::string a = post(u, "0", "0"), b = post(u, "0", "0"), c = post(other, "0", "0");
    for (const char* seen : {"0", "0", "1"}) post(other, a, seen);
    post(other, b, "0");
    post(u, c, "0");
    d.site.exec("update user set online=1 where username in ('s3','s3b')");
    d.site.exec("update user set password_lose=1 where username='s3b'");
    // Files count when the account is first in the chain.
    for (const char* py : {"|12|", "|12|30|", "|121|", "|30|12|", "|121|12|"})
        d.site.exec(std::string("insert into Files(py) values ('") + py + "')");

    d.as("s3");
    std::string body = d.monitor();
    // no right asked for here
    for (const auto& [key, value] : std::vector<std::pair<std::string, std::string>>{{"email", "邮箱中有 2 封新邮件！"},
             {"board", "留言板有 3 条新的回复信息！"}, {"onlines", "当前在线人数：2 人"}, {"password", "有 1 个员工的密码忘记了，请处理！"},
             {"infiles", "有 2 个文书等待您签阅！"}})
        EXPECT_EQ(alt_of(body, key), value) << key;
    EXPECT_TRUE(has(d.message(), "<hr>有 2 封新邮件正等待您阅读！<br>留言板有 3 条新的回复信息！<br>有 2 个文书等待您签阅！<br>" +
                                     std::string(kNoRights) + "<br>\""));
    d.as("s3b");
    EXPECT_EQ(alt_of(d.monitor(), "infiles"), "有 2 个文书等待您签阅！");
    d.as("s30");
    EXPECT_EQ(alt_of(d.monitor(), "infiles"), "有 1 个文书等待您签阅！");
}

TEST(StatusMonitor, MissingSettingStopsThePollInItsRefreshMeta) {
    Desk d;
    d.add_user("s4");
    d.as("s4");
    d.site.exec("delete from software where softname in ('stat_time','work_time')");
    std::string s = d.monitor();
    auto at = s.find("<meta http-equiv=\"REFRESH\" content=\" Error ");
    ASSERT_NE(at, std::string::npos) << s;
    expect_texts(s.substr(at), {" Routine : sysmonitor.I_init"}, {"parent.bottom"});
    expect_texts(d.message(),
                 {"<meta http-equiv=\"REFRESH\" content=\" Error ", " Routine : message.I_init"},
                 {"</html>"});
}

TEST(StatusPopup, MusicAndTheGateClosedWhileOpen) {
    Desk d;
    std::string u = d.add_user("p1");
    d.set("pop_music", "1");
    d.set("music", "ring.mid");
    d.mail(u);
    d.as("p1");
    ASSERT_TRUE(has(d.message(), "showModalDialog"));
    expect_texts(d.site.get("/message_pop.asp?mstr=" + form_encode("<b>有 1 封</b>")).body,
                 {"<bgsound src=\"./medium/ring.mid\" loop=\"infinite\">", "window.open(\"closepop.asp\",\"sound\");",
                  "<b>有 1 封</b><center>"});
    EXPECT_FALSE(has(d.message(), "showModalDialog"));  // while the popup is up the polls raise no other
    d.set("pop_music", "0");
    EXPECT_FALSE(has(d.site.get("/message_pop.asp").body, "bgsound"));
}

TEST(StatusPopup, NoticeShowsTheNewestWithItsAttachments) {
    Desk d;
    ASSERT_TRUE(d.site.login());
    EXPECT_EQ(d.site.get("/pop_note.asp").body, "<br><br><font color=red>系统数据库错误！</font>");
    auto item = [&](const std::string& title, const std::string& sub, const std::string& files) {
        d.site.exec("insert into Datas(User_id,D_title,D_text,D_afile,Sub_menu,Main_menu) values (1,'" + title +
                    "','<p>正文" + title + "</p>','" + files + "','" + sub + "','41')");
    };
    item("旧通知", "4102", "old.doc");
    item("新通知", "4102", "a.doc*附件b.txt");
    item("别的类别", "4103", "0");
    expect_texts(d.site.get("/pop_note.asp").body,
                 {"&nbsp;主题：新通知", "<p>正文新通知</p>", "<a href=\"./Datas/4102/a.doc\" target=\"_blank\">查看附件：a.doc</a>",
                  "<a href=\"./Datas/4102/附件b.txt\" target=\"_blank\">查看附件：附件b.txt</a>"},
                 {"old.doc"});
    item("无附件", "4102", "0");
    expect_texts(d.site.get("/pop_note.asp").body, {"&nbsp;主题：无附件"}, {"查看附件"});
}
