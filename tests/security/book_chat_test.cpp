// Hostile input against every parameter of the guest book and the chat
// room: statements keep their shape (no row changes but the one the page
// makes), and what is stored comes back as text or formatting, never as
// script, in every page that shows it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/collaboration/book_support.h"
#include "tests/support/payloads.h"
#include "tests/support/text.h"

using tav::test::BookSite;
using tav::test::Reply;
using tav::test::expect_inert;
using tav::test::form_encode;
using tav::test::kMarkup;
using tav::test::kSql;

namespace {

struct Site : BookSite {
    std::string owner, parent, reply;
    Site() {
        owner = user("owner", "1201 1202 1203 1204");
        parent = message(owner, "parent");
        reply = message("1", "reply", std::stol(parent));
        as("owner");
    }
    std::string users() { return tav::test::rows_of(*this, "user", "id,username,password,online,menu_idstr"); }
    std::string book() { return tav::test::rows_of(*this, "Book", "id,user_id,Book_title,book_text,Reply_id,Reply_num,reply_read,Read_num"); }
    std::string chat() { return tav::test::rows_of(*this, "Chat", "id,user_id,Truename,To_username,Chat_text"); }
    std::string all() { return users() + book() + chat(); }
};

// SQL text for a payload inside single quotes.
std::string quoted(std::string s) {
    for (std::size_t at = s.find('\''); at != std::string::npos; at = s.find('\'', at + 2)) s.insert(at, 1, '\'');
    return s;
}

// The answer with the editor's own edit frame taken out: that one iframe is
// the page's, any other would be a payload's.
Reply own_frame_removed(Reply r) {
    const std::string frame = "<IFRAME class=\"mytext\" id=\"mytext\" width=\"530\" valign=\"bottom\" height=\"78%\"></IFRAME>";
    std::size_t at = r.body.find(frame);
    if (at != std::string::npos) r.body.erase(at, frame.size());
    return r;
}

void inert(const Reply& r, const std::string& where) { expect_inert(own_frame_removed(r), where); }

std::vector<std::string> every_payload() {
    std::vector<std::string> all = kSql;
    all.insert(all.end(), kMarkup.begin(), kMarkup.end());
    return all;
}

}  // namespace

TEST(BookChatSecurity, QueryAndFormParametersChangeNoRowAndComeBackInert) {
    Site site;
    const std::string before = site.all();
    for (const std::string& p : every_payload()) {
        const std::string v = form_encode(p);
        for (const std::string& url :
             {"Book_list.asp?GL=" + v, "Book_list.asp?p=" + v, "Book_list.asp?GL=1&type=" + v,
              "Book_read.asp?id=" + v, "Book_Write.asp?id=" + v, "Chat_Input.asp?name=" + v,
              "Chat_input.asp?name=" + v + "&x=" + v}) {
            inert(site.get(url), url + " " + p);
        }
        inert(site.post_form("Chat_Show.asp", {{"oldsays", p}, {"username", p}}), "Chat_Show form " + p);
    }
    EXPECT_EQ(site.all(), before);

    // The reading page's unused gl with a real id: only the read counter moves.
    for (const std::string& p : kMarkup)
        inert(site.get("Book_read.asp?id=" + site.parent + "&gl=" + form_encode(p)), "Book_read gl " + p);
    EXPECT_EQ(site.field(site.parent, "Read_num"), std::to_string(kMarkup.size()));
    EXPECT_EQ(site.users(), tav::test::rows_of(site, "user", "id,username,password,online,menu_idstr"));
}

TEST(BookChatSecurity, PostedPayloadsAreStoredAsTextOrRefusedAndShowInert) {
    for (const std::string& p : every_payload()) {
        Site site;
        const std::string users = site.users();
        const std::string count = site.scalar("select count(id) as n from Book", "n");

        // The reply id is a number or the post fails before anything is written.
        site.save("title", p, "body");
        EXPECT_EQ(site.scalar("select count(id) as n from Book", "n"), count) << p;
        EXPECT_EQ(site.field(site.parent, "Reply_num"), "1") << p;

        // Title and body: stored as sent (a quote in the title is refused).
        site.save(p, site.parent, p);
        std::string last = site.scalar("select max(id) as m from Book", "m");
        if (p.find('\'') == std::string::npos) {
            EXPECT_EQ(site.field(last, "Book_title"), p);
        }
        site.save("t", "", p);

        // Chat: every field as posted.
        site.post_form("Chat_Save.asp", {{"oldsays", p}, {"username", p}, {"to_username", p}, {"Truename", p}});
        EXPECT_EQ(site.users(), users) << p;

        for (const std::string& url : {std::string("Book_list.asp?GL=1"), std::string("book_list1.asp"),
                                       "Book_read.asp?id=" + site.parent, "Book_Write.asp?id=" + last,
                                       "Book_read.asp?id=" + last, std::string("Chat_Show.asp")}) {
            inert(site.get(url), url + " " + p);
        }
    }
}

TEST(BookChatSecurity, PayloadsPlacedInTheTablesShowInert) {
    for (const std::string& p : kMarkup) {
        Site site;
        const std::string q = quoted(p);
        site.exec("update Book set Book_title='" + q + "',book_text='" + q + "',User_IP='" + q + "'");
        site.exec("update user set TrueName='" + q + "' where id=" + site.owner + " or id=1");
        site.exec("insert into Chat(user_id,Truename,To_username,Chat_text) values (1,'" + q + "','" + q + "','" + q +
                  "')");
        site.exec("insert into Chat(user_id,Truename,To_username,Chat_text) values (1,'" + q + "','" + q + "','x')");
        site.exec("update software set Hardserial='" + q + "' where softname='username'");
        site.get("login.asp");  // the organisation name into the session
        site.as("owner");
        for (const std::string& url : {std::string("Book_list.asp?GL=1"), std::string("book_list1.asp"),
                                       "Book_read.asp?id=" + site.parent, "Book_Write.asp?id=" + site.parent,
                                       "Book_Write.asp?id=" + site.reply, std::string("Chat_Show.asp"),
                                       std::string("Chat_Input.asp"), std::string("Chat_Main.asp")}) {
            inert(site.get(url), url + " " + p);
        }
    }
}
