// Guest book tests: accounts that log in, messages written straight into
// the table, and the multipart post that Book_Write.asp sends.
#pragma once

#include <string>

#include "tests/support/accounts.h"
#include "tests/support/multipart.h"
#include "tests/support/test_site.h"

namespace tav::test {

struct BookSite : TestSite {
    // Signed in as the administrator, who holds every right.
    BookSite() { login(); }
    // An account with the readers' rights (list and own messages); returns its id.
    std::string user(const std::string& name, const std::string& rights = "1201 1202") {
        return add_user(*this, name, rights);
    }
    // Logs in as name (made with add_user, password "pw"), forgetting any session.
    void as(const std::string& name) {
        forget_session();
        login(name, name == "admin" ? "admin" : "pw");
    }
    // A top-level message (reply_to 0) or a reply; returns its id.
    std::string message(const std::string& uid, const std::string& title, long reply_to = 0,
                        const std::string& date = "") {
        exec("insert into Book(user_id,Book_title,book_text,Reply_id,User_IP" +
             std::string(date.empty() ? "" : ",Book_date") + ") values (" + uid + ",'" + title + "','<p>" + title +
             "</p>'," + std::to_string(reply_to) + ",'10.0.0.9'" + (date.empty() ? "" : ",'" + date + "'") + ")");
        std::string id = scalar("select max(id) as m from Book", "m");
        if (reply_to) exec("update Book set Reply_num=Reply_num+1 where id=" + std::to_string(reply_to));
        return id;
    }
    std::string field(const std::string& id, const std::string& col) {
        return scalar("select " + col + " from Book where id=" + id, col);
    }
    // Posts the form of Book_Write.asp (texts UTF-8, sent as the browser sends them).
    Reply save(const std::string& title, const std::string& reply_id, const std::string& body) {
        const std::string b = "----TavelorBookBoundary";
        return post_raw("Book_Save.asp", multipart_type(b),
                        multipart_body(b, {{"Reply_id", reply_id}, {"Book_Title", title}, {"body", body}}));
    }
};

}  // namespace tav::test
