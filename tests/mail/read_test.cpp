// Reading a mail (who marks it read) and answering it.
#include "tests/support/page_test.h"

#include "tests/mail/mail_support.h"

using namespace tav::test;
using mail::MailSite;

TEST(MailRead, WhoOpensItDecidesTheReadMark) {
    struct Case { const char* reader; const char* read_after; bool reply_button; } cases[] = {
        {"cid", "0", false},    // a third account: reads as a missing mail
        {"admin", "0", false},  // the sender, looking at the sent copy
        {"ann", "1", true},     // the recipient
    };
    MailSite m;
    std::string a = m.user("ann");
    m.user("cid");
    m.as("admin", "admin");
    m.send(a + "@", "看看", "<p>正文<b>粗</b></p>", {{1, "x.txt", "X"}, {2, "y.txt", "Y"}}, "1");
    std::string id = m.last_id();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reader);
        m.as(c.reader, std::string(c.reader) == "admin" ? "admin" : "pw");
        std::string body = m.site.get("/Email_read.asp?id=" + id).body;
        EXPECT_EQ(m.scalar("select read as v from Email where id=" + id), c.read_after);
        EXPECT_EQ(has(body, "value=\"回 复\""), c.reply_button);
        if (std::string(c.reader) == "cid") {
            expect_texts(body, {" Error "}, {"看看"});
            continue;
        }
        // Numbers, not names, and the folder in lower case.
        expect_texts(body, {"主题：看看", "重要程度：紧急&nbsp;&nbsp;&nbsp;&nbsp;附件：有", "<p>正文<b>粗</b></p>",
                            "<a href=\"./email/01x.txt\" target=\"_blank\">查看附件1</a>",
                            "<a href=\"./email/02y.txt\" target=\"_blank\">查看附件2</a>"});
        EXPECT_TRUE(has(last_activity(m.site), "阅读邮件: 看看"));
    }
}

TEST(MailRead, UnknownMailEndsInTheErrorReportWithoutAudit) {
    MailSite m;
    m.as("admin", "admin");
    std::string lines = m.scalar("select count(*) as v from monitor");
    for (const char* page : {"/Email_read.asp?id=424242", "/Email_Reply.asp?id=424242"}) {
        auto r = m.site.get(std::string(page));
        EXPECT_TRUE(has(r.body, "Routine : email")) << page << r.body;
        EXPECT_NE(r.status, 302) << page;
    }
    EXPECT_EQ(m.scalar("select count(*) as v from monitor"), lines);
}

TEST(MailReply, OpensTheFormWithSenderAndSubject) {
    MailSite m;
    std::string a = m.user("ann", "安");
    m.as("admin", "admin");
    m.send(a + "@", "计划", "x");
    m.as("ann");
    std::string id = m.last_id();
    expect_texts(m.site.get("/Email_read.asp?id=" + id).body, {"主题：计划"}, {"附件：有", "查看附件"});
    auto r = m.site.get("/Email_Reply.asp?id=" + id);
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "Email_send.asp?to_user_idstr=1@&Emailto=系统管理员;&Email_title=回复:计划");
    EXPECT_EQ(m.scalar("select reply as v from Email where id=" + id), "1");

    // A reply to the reply carries the mark twice.
    std::string form = m.site.get(r.location()).body;
    EXPECT_TRUE(has(form, "value=\"回复:计划\""));
    m.send("1@", "回复:计划", "无内容");
    m.as("admin", "admin");
    auto again = m.site.get("/Email_Reply.asp?id=" + m.last_id());
    EXPECT_EQ(again.location(), "Email_send.asp?to_user_idstr=" + a + "@&Emailto=安;&Email_title=回复:回复:计划");
    EXPECT_TRUE(has(m.list("type=0"), ">回复:计划</a>"));
}
