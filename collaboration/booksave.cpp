// Book_Save.asp: stores a message or a reply from the multipart form of
// Book_Write.asp. A reply raises its parent's reply counter first; the
// counter never goes down, which is how readers learn of deleted replies.
#include "collaboration/limits.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/upload.h"
#include "frame/vb.h"

namespace tav::pages {

class booksave : public Page {
public:
    void I_init() override {
        Response.buffer(true);
        Server.ScriptTimeOut(5000);
        dbI_init();

        std::string ip = Request.ServerVariables("remote_addr");
        up.upload_initialize();
        std::string name = "Book_Title";
        Value title = up.upload_form(name);
        name = "Reply_id";
        Value reply_id = up.upload_form(name);
        if (reply_id.blank()) reply_id = 0;
        name = "body";
        std::string text = up.upload_form(name);
        if (collaboration::chars(title.str()) > collaboration::kBookTitleChars)
            collaboration::refuse_too_long("留言主题", collaboration::kBookTitleChars);
        if (collaboration::chars(text) > collaboration::kBookTextChars)
            collaboration::refuse_too_long("留言内容", collaboration::kBookTextChars);
        do_body(text);
        // Only the editor's formatting is kept; the rest never reaches a page.
        std::string body = allow_markup(del_url_root(text));

        if (reply_id != 0) conn.execute("update book set Reply_num=Reply_num+1 where id="_sql + reply_id);
        conn.execute("Insert into Book(user_id,Book_title,book_text,Reply_id,User_IP) values ("_sql +
                     Session("USER_ID") + ",'" + title + "','" + body + "'," + reply_id + ",'" + ip + "')");
        up.upload_terminate();
        Response.redirect("Pop_OK.asp?message=留言成功！&next_href=Book_list.asp");
        END_PAGE();
    }

private:
    UploadGroup up{*this};
};

TAVELOR_PAGE(booksave, "Book_Save.asp", access::right("1201|1202|1204").with("title 200 and text 20000 characters at most"))

}  // namespace tav::pages
