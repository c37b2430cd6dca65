// Composing and sending: the form, the recipient dialog, and the rows and
// files a sending leaves.
#include "tests/support/page_test.h"

#include "tests/mail/mail_support.h"

using namespace tav::test;
using mail::MailSite;

TEST(MailSend, ThreeRecipientsTwoFilesShareOneAttachmentString) {
    MailSite m;
    std::string a = m.user("ann"), b = m.user("bob"), c = m.user("cid");
    m.as("admin", "admin");
    auto r = m.send(a + "@" + b + "@" + c + "@", "季度报告", "<p>见附件</p>",
                    {{1, "c:\\docs\\report.doc", "DOC"}, {2, "plan.xls", "XLS"}});
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=邮件成功发送&next_href=Email_list.asp?type=3");

    // The table was empty when the prefix was read: 0, then the slot.
    EXPECT_EQ(m.rows(), 3);
    EXPECT_EQ(m.rows("Email_doc='01report.doc*02plan.xls'"), 3);
    EXPECT_EQ(m.rows("send_user_id=1 and Email_id=2 and read=0 and reply=0 and To_del=0 and Send_del=0"), 3);
    EXPECT_EQ(slurp(m.email_file("01report.doc")), "DOC");
    EXPECT_EQ(slurp(m.email_file("02plan.xls")), "XLS");
    // The audit line joins the recipient ids without a separator.
    EXPECT_EQ(m.site.scalar("select work_text from monitor order by id desc", "work_text"),
              "发邮件：季度报告 到 " + a + b + c);
}

TEST(MailSend, StoredNamesFollowSlotAndPrefix) {
    MailSite m;
    std::string a = m.user("ann");
    m.as("admin", "admin");

    // Slot 3 alone: the number in the name is the slot's, not a running count.
    m.send(a + "@", "只有附件3", "x", {{3, "only.txt", "3"}});
    EXPECT_EQ(m.scalar("select Email_doc as v from Email"), "03only.txt");
    EXPECT_TRUE(m.on_disk("03only.txt"));

    // From now on the prefix is the first row's id, and it stands still while
    // that row lives.
    std::string first = m.last_id();
    m.send(a + "@", "有前缀", "x", {{3, "only.txt", "old"}});
    EXPECT_EQ(m.scalar("select Email_doc as v from Email where id=" + m.last_id()), first + "3only.txt");

    // So the same name in the same slot clashes: the mail goes without it,
    // the earlier file stays as it was, and the sender still sees success.
    auto again = m.send(a + "@", "再次", "x", {{3, "only.txt", "new"}});
    EXPECT_EQ(again.location(), "Pop_OK.asp?message=邮件成功发送&next_href=Email_list.asp?type=3");
    EXPECT_EQ(m.scalar("select Email_doc as v from Email where id=" + m.last_id()), "0");
    EXPECT_EQ(slurp(m.email_file(first + "3only.txt")), "old");

    // Once the first row is gone the prefix moves on, and old names no longer clash.
    m.site.exec("delete from Email where id=" + first);
    std::string now = m.scalar("select min(id) as v from Email");
    m.send(a + "@", "新前缀", "x", {{3, "only.txt", "again"}});
    EXPECT_EQ(m.scalar("select Email_doc as v from Email where id=" + m.last_id()), now + "3only.txt");
}

TEST(MailSend, RecipientTextAsTheFormSendsIt) {
    struct Case {
        const char* idstr;  // {a} and {b} stand for two account ids
        int rows;
    } cases[] = {
        {"{a}@undefined@{b}@", 2},  // a position the form's arrays did not hold
        {"{a}@{b}@", 2},
        {"undefined@", 0},
        {"", 0},
        {"{a}@@{a}@", 2},  // the same account twice gets two copies
    };
    for (const Case& c : cases) {
        MailSite m;
        std::string a = m.user("ann"), b = m.user("bob");
        m.as("admin", "admin");
        std::string idstr = c.idstr;
        for (auto [key, id] : {std::pair{"{a}", a}, std::pair{"{b}", b}})
            for (auto at = idstr.find(key); at != std::string::npos; at = idstr.find(key))
                idstr.replace(at, 3, id);
        auto r = m.send(idstr, "题", "x", {{1, "f.txt", "F"}});
        EXPECT_EQ(r.location(), "Pop_OK.asp?message=邮件成功发送&next_href=Email_list.asp?type=3") << c.idstr;
        EXPECT_EQ(m.rows(), c.rows) << c.idstr;
        // Without a recipient the file stays behind with no row pointing to it.
        EXPECT_TRUE(m.on_disk("01f.txt")) << c.idstr;
    }
}

TEST(MailSend, SubjectAndBodyAreMadeSafeOnTheWayIn) {
    MailSite m;
    std::string a = m.user("ann");
    m.as("admin", "admin");
    m.send(a + "@", "It's <b>done</b>", "<p onclick=\"x()\">第一行\r\n第二行</p><script>alert(1)</script>", {}, "0");
    std::string title = m.scalar("select Email_title as v from Email");
    std::string text = m.scalar("select Email_text as v from Email");
    EXPECT_EQ(title, "It\xE2\x80\x98s <b>done</b>");
    expect_texts(text, {"第一行第二行"}, {"script", "onclick", "\r\n"});
    EXPECT_EQ(m.scalar("select Email_id as v from Email"), "0");
}

TEST(MailSend, FormListsOtherAccountsInTheDialogsOrderAndSetsThePictureFolder) {
    MailSite m;
    std::string a = m.user("ann", "安"), b = m.user("bob", "博");
    m.as("ann");
    std::string form = m.site.get("/Email_send.asp?Emailto=博;&to_user_idstr=" + b + "@&Email_title=回复:旧").body;
    // Everybody but the account itself, by id: admin first, then bob.
    expect_texts(form,
                 {"user_name[0]=\"系统管理员\";", "user_id[0]=\"1\";", "user_name[1]=\"博\";", "user_id[1]=\"" + b + "\";",
                  "value=\"博;\"", "value=\"" + b + "@\"", "value=\"回复:旧\"", "else note_body = '无内容';"},
                 {"\"安\""});
    EXPECT_EQ(count(form, "name=\"File"), 4);

    // The dialog writes the same accounts in the same order: box i is entry i.
    std::string dialog = m.site.get("/Select_user.asp").body;
    auto admin_box = dialog.find("name=\"1|系统管理员\""), bob_box = dialog.find("name=\"" + b + "|博\"");
    ASSERT_NE(admin_box, std::string::npos) << dialog;
    ASSERT_NE(bob_box, std::string::npos);
    EXPECT_LT(admin_box, bob_box);
    EXPECT_FALSE(has(dialog, "|安\""));
    EXPECT_EQ(count(dialog, "type=\"checkbox\""), 2);
    // The form set the picture dialog's folder to that of mail.
    EXPECT_TRUE(has(m.site.get("/upload_img.asp").body, "value=\"./Datas/email/\""));
}
