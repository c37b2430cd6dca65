// Hostile values at every parameter of the mail pages: no statement changes
// shape, no stored or reflected value runs in a page.
#include "tests/support/page_test.h"

#include "tests/mail/mail_support.h"

using namespace tav::test;
using mail::MailSite;

namespace {

const char kMailCols[] = "id,send_user_id,to_user_id,Email_title,Email_text,Email_doc,read,reply,To_del,Send_del";

struct Seeded : MailSite {
    std::string ann, bob, mail;
    Seeded() {
        ann = user("ann");
        bob = user("bob");
        as("admin", "admin");
        send(ann + "@" + bob + "@", "原件", "x", {{1, "keep.txt", "K"}});
        mail = last_id();
    }
    std::string snapshot() {
        return rows_of(site, "Email", kMailCols) + rows_of(site, "user", "id,username,menu_idstr");
    }
};

}  // namespace

// Each payload in every part of the mail form, the recipient list and the
// degree too: the earlier rows stand, new rows only are added, and every
// page that shows a stored value (or one written by the common routine)
// shows it inert.
TEST(MailSecurity, PayloadsInTheMailFormAreStoredAsTextAndComeBackInert) {
    for (const std::string& p : all_payloads()) {
        SCOPED_TRACE(p);
        Seeded m;
        const std::string users = rows_of(m.site, "user", "id,username,menu_idstr");
        const std::string first = rows_of(m.site, "Email", kMailCols);
        m.send(m.ann + "@" + p + "@", p, p, {{1, p + ".txt", "P"}}, "2");
        m.send(m.ann + "@", "t", "b", {}, p);  // the degree is a number or the statement fails
        EXPECT_EQ(rows_of(m.site, "user", "id,username,menu_idstr"), users);
        EXPECT_EQ(rows_of(m.site, "Email", kMailCols).substr(0, first.size()), first);
        EXPECT_LE(m.rows(), 5);

        const std::string q = sql_quoted(p);
        m.site.exec("update user set TrueName='" + q + "' where id=" + m.bob);
        m.send(m.ann + "@" + m.bob + "@", p, p, {{2, p, "P"}}, "1");
        std::string id = m.last_id();
        m.site.exec("insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id) values (0," + m.bob +
                    ",'" + q + "','" + q + "',0)");
        std::string raw = m.last_id();
        for (const char* type : {"0", "3"}) expect_inert(m.site.get(std::string("/Email_list.asp?type=") + type), type);
        expect_inert(without_edit_frame(m.site.get("/Email_send.asp")), "send form");
        expect_inert(m.site.get("/Select_user.asp"), "dialog");
        m.as("bob");
        for (const std::string& url :
             {std::string("/Email_list.asp?type=0"), "/Email_read.asp?id=" + id, "/Email_read.asp?id=" + raw})
            expect_inert(m.site.get(url), url);
        auto reply = m.site.get("/Email_Reply.asp?id=" + id);
        expect_inert(reply, "reply");
        if (reply.status == 302) {
            std::string form = reply.location();
            form.insert(0, 1, '/');
            expect_inert(without_edit_frame(m.site.get(form)), "reply form");
        }
    }
}

// Each exploit once possible against the mail, replayed: another account's
// mail reads as a missing one and no request of it changes a row; an
// attachment's name keeps only its last component, inside Email/.
TEST(MailExploits, AnotherAccountsMailStaysOutOfReach) {
    Seeded m;
    std::string cid = m.user("cid");
    m.send(m.ann + "@", "只给安", "x");  // admin to ann, with the first mail to ann and bob
    const std::string to_ann = m.last_id();
    m.as("cid");
    const std::string before = m.snapshot();
    for (const std::string& url :
         {"Email_read.asp?id=" + m.mail, "Email_read.asp?id=" + to_ann, "Email_Reply.asp?id=" + to_ann,
          "Email_Del.asp?type=0&dellist=" + to_ann, "Email_Del.asp?type=2&dellist=" + to_ann + "*" + m.mail,
          "Email_Del.asp?type=3&dellist=" + to_ann}) {
        auto r = m.site.get("/" + url);
        EXPECT_FALSE(has(r.body, "只给安") || has(r.body, "原件")) << url;
        EXPECT_EQ(m.snapshot(), before) << url;
    }
    // The recipient may not act as the sender, nor the sender as the recipient.
    m.as("ann");
    m.site.get("/Email_Del.asp?type=3&dellist=" + to_ann);
    m.as("admin", "admin");
    m.site.get("/Email_Del.asp?type=0&dellist=" + to_ann);
    m.site.get("/Email_Reply.asp?id=" + to_ann);
    EXPECT_EQ(m.snapshot(), before);
    // The dialog lists accounts by name only.
    auto users = m.site.get("/Select_user.asp").body;
    EXPECT_TRUE(has(users, cid + "|"));
    EXPECT_FALSE(has(users, "value=\"pw\"") || has(users, ">pw<"));

    for (const char* name : {"/../../../images/x.html", "..\\..\\y.html", "NUL.txt", "a..b.txt"})
        m.send(m.ann + "@", "附件", "x", {{1, name, "<script>x</script>"}});
    EXPECT_FALSE(std::filesystem::exists(m.site.root() + "/images/x.html"));
    EXPECT_FALSE(std::filesystem::exists(m.site.root() + "/y.html"));
    std::string docs = rows_of(m.site, "Email where Email_title='附件'", "Email_doc");
    expect_texts(docs, {"1x.html|", "1y.html|"});
    EXPECT_EQ(count(docs, "0|"), 2) << docs;

    // A subject is text: stored as typed (the apostrophe as ‘), shown as text.
    m.send(m.ann + "@", "a</script>\"'<b", "x");
    EXPECT_EQ(m.scalar("select Email_title as v from Email where id=" + m.last_id()), "a</script>\"‘<b");
    for (const std::string& page : {std::string("/Email_list.asp?type=3"), "/Email_read.asp?id=" + m.last_id()}) {
        auto r = m.site.get(page);
        EXPECT_TRUE(has(r.body, "a&lt;/script&gt;")) << page << r.body;
        expect_inert(r, page);
    }
}
