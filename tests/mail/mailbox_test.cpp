// The folders of Email_list.asp and the way of a mail through Email_Del.asp
// to its end, with the attachment shared by all copies of a sending.
#include "tests/support/page_test.h"

#include "tests/mail/mail_support.h"

using namespace tav::test;
using mail::MailSite;

namespace {

const char kDeleted[] = "Pop_OK.asp?message=邮件删除成功！&next_href=Email_list.asp?type=";
const char kGone[] = "Pop_OK.asp?message=邮件被彻底删除！&next_href=Email_list.asp?type=";

// Links to mails in a list answer.
int mails_listed(const std::string& body) { return count(body, "href=\"Email_read.asp?id="); }

void insert_mail(MailSite& m, const std::string& from, const std::string& to, const std::string& title,
                 const std::string& extra_cols = "", const std::string& extra_vals = "") {
    m.site.exec("insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id" + extra_cols +
                ") values (" + from + "," + to + ",'" + title + "','t',1" + extra_vals + ")");
}

}  // namespace

TEST(MailList, FoldersAreConditionsOnTheFlags) {
    MailSite m;
    std::string a = m.user("ann", "安");
    insert_mail(m, "1", a, "新的");
    insert_mail(m, "1", a, "读过", ",read", ",1");
    insert_mail(m, "1", a, "扔了", ",read,To_del", ",1,1");  // read, then deleted: no longer among the read
    insert_mail(m, "1", a, "没了", ",To_del", ",2");
    insert_mail(m, a, "1", "我发的");
    insert_mail(m, a, "1", "我删的", ",Send_del", ",2");
    m.as("ann");

    // Each folder: its mails, heading, the person column and the states (the
    // sent folder tells unread mails as sent, and names the recipient).
    const std::string in = "我的信箱-&gt;&gt;", from = "<td width=\"80\">发件人</td>", sent = in + "已经发送的邮件";
    const std::vector<std::string> sent_texts = {">我发的</a>", sent, "<td width=\"80\">收件人</td>", "已发送",
                                                 "系统管理员", "彻底删除选中项"};
    struct Case { std::string type; int mails; std::vector<std::string> texts; } cases[] = {
        {"0", 2, {">新的</a>", ">读过</a>", in + "收件箱", from, "<font color=\"red\">新邮件</font>", "value=\"删除选中项\""}},
        {"1", 1, {">读过</a>", in + "已阅读过的邮件", from, "已查阅"}},
        {"2", 1, {">扔了</a>", in + "已经删除了邮件", from}},
        {"3", 1, sent_texts},
        {" 3 ", 1, sent_texts},
    };
    for (const auto& [type, mails, texts] : cases) {
        SCOPED_TRACE(type);
        std::string body = m.list("type=" + type);
        EXPECT_EQ(mails_listed(body), mails);
        for (const auto& t : texts) EXPECT_TRUE(has(body, t)) << t;
    }
}

TEST(MailList, TheSystemsMailIsUrgentAndFromNobody) {
    MailSite m;
    std::string a = m.user("ann");
    // What the registration greeting writes through the common routine.
    m.site.exec("insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id) values (0," + a +
                ",'欢迎','欢迎使用',0)");
    std::string gone = m.user("gone");
    insert_mail(m, gone, a, "故人");
    m.site.exec("delete from user where id=" + gone);
    m.as("ann");
    std::string body = m.list("type=0");
    // "无": the store gave the system's row "0"
    expect_texts(body, {"<td>系 统</td>", "<td>非常紧急</td>", "<td>已删除</td>", "<td>无</td>"});

    // Neither can be answered; the button still marks them answered.
    for (const std::string& id : {m.scalar("select id as v from Email where send_user_id=0"),
                                 m.scalar("select id as v from Email where send_user_id=" + gone)}) {
        auto r = m.site.get("/Email_Reply.asp?id=" + id);
        EXPECT_EQ(r.status, 200);
        EXPECT_TRUE(has(r.body, "此邮件不需要回复！<br>因为发件人已经被删除或者是系统自动发给您的邮件。"));
        EXPECT_EQ(m.scalar("select reply as v from Email where id=" + id), "1");
    }
    EXPECT_TRUE(has(m.list("type=0"), "<td>Yes</td>"));
}

TEST(MailList, PagesOfTen) {
    MailSite m;
    std::string a = m.user("ann");
    for (int i = 0; i < 10; ++i) insert_mail(m, "1", a, "第" + std::to_string(i) + "封");
    m.as("ann");

    std::string first = m.list("type=0");
    EXPECT_EQ(mails_listed(first), 10);
    // Newest first; ten mails make two pages, the second blank.
    expect_texts(first, {">第9封</a>", "<option value=\"1\">2</option>", "页/共2页"});
    std::string second = m.list("type=0&p=1");
    EXPECT_EQ(mails_listed(second), 0);
    EXPECT_EQ(count(second, "<tr height=\"28\">"), 10);
    // Beyond the last page, and below the first.
    EXPECT_EQ(mails_listed(m.list("type=0&p=7")), 0);
    EXPECT_EQ(mails_listed(m.list("type=0&p=-3")), 10);
    // The running number counts on over the pages.
    insert_mail(m, "1", a, "第十一封");
    EXPECT_TRUE(has(m.list("type=0&p=1"), "onclick=\"changechecked(this)\">11"));
    // The bar's links keep the folder and the search.
    expect_texts(m.list("type=0&sstr=封"),
                 {"href=\"Email_list.asp?p=1&type=0&sstr=封\"", "<input type=\"hidden\" name=\"sstr\" value=\"封\">"});
}

TEST(MailList, FolderOutsideTheFourEndsInTheErrorReport) {
    MailSite m;
    m.as("admin", "admin");
    for (const char* type : {"4", "-1", "x", "", "1.5"}) {
        auto r = m.site.get(std::string("/Email_list.asp?type=") + type);
        EXPECT_TRUE(has(r.body, "Routine : emaillist")) << type << r.body;
        EXPECT_FALSE(has(r.body, "我的信箱")) << type;
    }
}

TEST(MailDelete, EachFolderMovesTheMailOneStep) {
    struct Case { const char* type; const char* to_del; const char* send_del; const char* answer; } cases[] = {
        {"0", "1", "0", kDeleted}, {"1", "1", "0", kDeleted}, {"2", "2", "0", kGone},
        {"3", "0", "2", kGone},    {"4", "0", "0", kDeleted}, {"x", "0", "0", kDeleted},
    };
    MailSite m;
    std::string a = m.user("ann");
    for (const Case& c : cases) {
        insert_mail(m, "1", a, "一");
        std::string id = m.last_id();
        if (std::string(c.type) == "3") m.as("admin", "admin");  // the sender's folder
        else m.as("ann");
        EXPECT_EQ(m.del(id, c.type), std::string(c.answer) + c.type) << c.type;
        EXPECT_EQ(rows_of(m.site, "Email where id=" + id, "To_del,Send_del"),
                  std::string(c.to_del) + "|" + c.send_del + "|\n") << c.type;
    }
}

TEST(MailDelete, StrayTokensAreSkipped) {
    MailSite m;
    std::string a = m.user("ann");
    insert_mail(m, "1", a, "一");
    std::string id = m.last_id();
    m.as("ann");
    std::string before = rows_of(m.site, "Email", "id,To_del,Send_del");
    // Ticking the select-all box alone sends "kall".
    EXPECT_EQ(m.del("kall", "0"), std::string(kDeleted) + "0");
    EXPECT_EQ(m.del("kall*1%20or%201=1**", "2"), std::string(kDeleted) + "2");
    EXPECT_EQ(rows_of(m.site, "Email", "id,To_del,Send_del"), before);
    // A number that is no mail reports in del_email and the rest goes on.
    auto r = m.site.get("/Email_Del.asp?dellist=99999*" + id + "&type=2");
    EXPECT_EQ(r.location(), std::string(kGone) + "2");
    EXPECT_TRUE(has(m.site.log_text(), "emaildel.del_email"));
    EXPECT_EQ(m.scalar("select To_del as v from Email where id=" + id), "2");
}

TEST(MailDelete, SharedAttachmentGoesWithTheLastCopy) {
    MailSite m;
    std::string a = m.user("ann"), b = m.user("bob"), c = m.user("cid");
    m.as("admin", "admin");
    m.send(a + "@" + b + "@" + c + "@", "共享", "x", {{1, "shared.txt", "S"}});
    auto id_of = [&](const std::string& to) { return m.scalar("select id as v from Email where to_user_id=" + to); };
    std::string ia = id_of(a), ib = id_of(b), ic = id_of(c);
    ASSERT_TRUE(m.on_disk("01shared.txt"));

    // The sender removes all three copies from the sent folder; two
    // recipients remove theirs for good.
    m.del(ia + "*" + ib + "*" + ic, "3");
    for (const auto& [id, who] : {std::pair{ia, "ann"}, std::pair{ib, "bob"}}) {
        m.as(who);
        m.del(id, "0");
        m.del(id, "2");
    }
    EXPECT_EQ(m.rows(), 3);
    EXPECT_TRUE(m.on_disk("01shared.txt"));
    EXPECT_EQ(m.rows("To_del=2 and Send_del=2"), 2);  // in no folder, still there

    // The third recipient: everything goes in one step.
    m.as("cid");
    m.del(ic, "0");
    EXPECT_TRUE(m.on_disk("01shared.txt"));
    m.del(ic, "2");
    EXPECT_EQ(m.rows(), 0);
    EXPECT_FALSE(m.on_disk("01shared.txt"));
}

// The recipient first, then the sender: the row goes with the second, and
// a file already gone is skipped silently.
TEST(MailDelete, RowGoesWhenBothSidesRemovedIt) {
    MailSite m;
    std::string a = m.user("ann");
    m.as("admin", "admin");
    m.send(a + "@", "两个", "x", {{1, "one.txt", "1"}, {2, "two.txt", "2"}});
    std::string id = m.last_id();
    std::filesystem::remove(m.email_file("01one.txt"));
    m.as("ann");
    m.del(id, "0");
    m.del(id, "2");
    EXPECT_EQ(m.rows(), 1);  // the sent folder still holds it
    m.as("admin", "admin");
    EXPECT_EQ(m.del(id, "3"), std::string(kGone) + "3");
    EXPECT_EQ(m.rows(), 0);
    EXPECT_FALSE(m.on_disk("02two.txt"));
    EXPECT_FALSE(has(m.site.log_text(), "emaildel"));
}
