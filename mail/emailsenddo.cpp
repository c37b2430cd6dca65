// Email_sendDo.asp: stores a mail, one row per recipient, all rows sharing
// one set of attachment files under Email/. A stored name is the prefix
// (the id of some row of the table, 0 on an empty table), the slot number
// and the client's file name.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/quota.h"
#include "frame/site_layout.h"
#include "frame/upload.h"
#include "frame/vb.h"

namespace tav::pages {

class emailsenddo : public Page {
public:
    void I_init() override {
        Server.ScriptTimeOut(5000);
        dbI_init();
        int slot = 1;
        Value prefix = 0;
        std::string email_doc;
        rs = conn.execute("select top 1 id from email");
        if (!rs.eof()) prefix = rs("id");

        up.set_quota(mail_attachment_quota());
        up.upload_initialize();
        // A position the form's arrays did not hold came back as "undefined";
        // without it the part is empty and skipped below.
        std::vector<std::string> recipients = Split(Replace(form("to_user_idstr"), "undefined", ""), "@");
        std::string title = form("Email_title");
        do_body(title);  // the subject is text, stored as typed and escaped where shown
        std::string body = form("body");
        do_body(body);
        // The body may carry the editor's formatting, nothing more.
        body = allow_markup(del_url_root(body));
        Value degree = form("ImpDegree");

        for (const char* field : {"file1", "file2", "file3", "file4"}) {
            std::string name = field;
            std::string stored =
                up.upload_file(name, layout::dir(layout::kMailFolder), prefix.str() + std::to_string(slot));
            if (!stored.empty()) email_doc += (email_doc.empty() ? "" : "*") + stored;
            ++slot;
        }
        if (email_doc.empty()) email_doc = "0";

        std::string sent_to;
        for (const std::string& part : recipients) {
            if (part.empty()) continue;
            conn.execute(
                "insert into Email(send_user_id,Email_doc,Email_title,Email_text,to_user_id,Email_id) values ("_sql +
                Session("USER_ID") + ",'" + email_doc + "','" + title + "','" + body + "','" + part + "'," + degree +
                ")");
            sent_to += part;
        }
        monitor("发邮件：" + title + " 到 " + sent_to);
        up.upload_terminate();
        Response.redirect("Pop_OK.asp?message=邮件成功发送&next_href=Email_list.asp?type=3");
        END_PAGE();
    }

private:
    std::string form(const char* name) {
        std::string n = name;
        return up.upload_form(n);
    }

    UploadGroup up{*this};
};

TAVELOR_PAGE(emailsenddo, "Email_sendDo.asp",
             access::signed_in().with("sender is the session's account; attachments only into Email/ under their last "
                                      "name component; the body through the markup allowlist"))

}  // namespace tav::pages
