// Email_Reply.asp: marks a mail answered and opens the mail form with its
// sender and subject filled in. The mark comes first: a mail counts as
// answered from the moment the button was pressed.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class emailreply : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("id");
        Value me = Session("USER_ID");
        // A mail the account received: the only one that offers the button.
        rs = conn.execute("select Email_title,send_user_id from Email where id="_sql + id + " and to_user_id=" + me);
        Value title = rs("Email_title");
        conn.execute("update email set reply=1 where id="_sql + id + " and to_user_id=" + me);
        Recordset sender = conn.execute("select id,Truename from user where id="_sql + rs("send_user_id"));
        if (sender.eof()) {
            Response.write("此邮件不需要回复！<br>因为发件人已经被删除或者是系统自动发给您的邮件。");
            return;
        }
        // Not encoded: a subject holding & or # is cut there, as it always was.
        Response.redirect("Email_send.asp?to_user_idstr=" + sender("id").str() + "@&Emailto=" +
                          sender("Truename").str() + ";&Email_title=回复:" + title.str());
        END_PAGE();
    }
};

TAVELOR_PAGE(emailreply, "Email_Reply.asp",
             access::signed_in().with("only a mail the account received; another's reads as missing"))

}  // namespace tav::pages
