// Hostile input against every parameter of the guest book and the chat
// room: statements keep their shape (no row changes but the one the page
// makes), and what is stored comes back as text or formatting, never as
// script, in every page that shows it.
#include "tests/support/page_test.h"

#include "tests/collaboration/book_support.h"

using namespace tav::test;

namespace {

struct Site : BookSite {
    std::string owner, parent, reply;
    Site() {
        owner = user("owner", "1201 1202 1203 1204");
        parent = message(owner, "parent");
        reply = message("1", "reply", std::stol(parent));
        as("owner");
    }
    std::string users() { return rows_of(*this, "user", "id,username,password,online,menu_idstr"); }
    std::string book() { return rows_of(*this, "Book", "id,user_id,Book_title,book_text,Reply_id,Reply_num,reply_read,Read_num"); }
    std::string chat() { return rows_of(*this, "Chat", "id,user_id,Truename,To_username,Chat_text"); }
    std::string all() { return users() + book() + chat(); }
};

void inert(const Reply& r, const std::string& where) {
    expect_inert(without_edit_frame(r, "78%"), where);
}

}  // namespace

// The reading page's unused gl with a real id: only the read counter moves.
TEST(BookChatSecurity, ReadingWithAPayloadInGlOnlyCountsTheRead) {
    Site site;
    const std::string users = site.users();
    for (const std::string& p : kMarkup)
        inert(site.get("Book_read.asp?id=" + site.parent + "&gl=" + form_encode(p)), "Book_read gl " + p);
    EXPECT_EQ(site.field(site.parent, "Read_num"), std::to_string(kMarkup.size()));
    EXPECT_EQ(site.users(), users);
}

// Each payload posted through every field, and placed in the rows directly
// (a quote stops the pages' own statements): stored as text or refused, and
// inert on every page that shows it.
TEST(BookChatSecurity, PostedOrPlacedPayloadsAreStoredAsTextOrRefusedAndShowInert) {
    for (const std::string& p : all_payloads()) {
        SCOPED_TRACE(p);
        Site site;
        const std::string users = site.users();
        const std::string count = site.scalar("select count(id) as n from Book", "n");
        // The reply id is a number or the post fails before anything is written.
        site.save("title", p, "body");
        EXPECT_EQ(site.scalar("select count(id) as n from Book", "n"), count);
        EXPECT_EQ(site.field(site.parent, "Reply_num"), "1");
        // Title and body: stored as sent (a quote in the title is refused).
        site.save(p, site.parent, p);
        std::string last = site.scalar("select max(id) as m from Book", "m");
        if (p.find('\'') == std::string::npos) {
            EXPECT_EQ(site.field(last, "Book_title"), p);
        }
        site.save("t", "", p);
        // Chat: every field as posted.
        site.post_form("Chat_Save.asp", {{"oldsays", p}, {"username", p}, {"to_username", p}, {"Truename", p}});
        EXPECT_EQ(site.users(), users);

        const std::string q = sql_quoted(p);
        site.exec("update Book set Book_title='" + q + "',book_text='" + q + "',User_IP='" + q + "' where id in (" +
                  site.parent + "," + site.reply + ")");
        site.exec("update user set TrueName='" + q + "' where id=" + site.owner + " or id=1");
        site.exec("insert into Chat(user_id,Truename,To_username,Chat_text) values (1,'" + q + "','" + q + "','" + q +
                  "'),(1,'" + q + "','" + q + "','x')");
        site.exec("update software set Hardserial='" + q + "' where softname='username'");
        site.get("login.asp");  // the organisation name into the session
        site.as("owner");
        for (const std::string& url :
             {std::string("Book_list.asp?GL=1"), std::string("book_list1.asp"), "Book_read.asp?id=" + site.parent,
              "Book_read.asp?id=" + last, "Book_Write.asp?id=" + last, "Book_Write.asp?id=" + site.parent,
              "Book_Write.asp?id=" + site.reply, std::string("Chat_Show.asp"), std::string("Chat_Input.asp"),
              std::string("Chat_Main.asp")})
            inert(site.get(url), url);
    }
}
