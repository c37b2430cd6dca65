// Chat_Save.asp: stores one line posted from the input frame and shows the
// room again in the display frame. The server takes the line as it comes:
// the repeat rule and the length limits are the input page's.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class chatsave : public Page {
public:
    void I_init() override {
        dbI_init();
        Response.buffer(true);
        Value says = Trim(Request.Form("oldsays"));
        Response.write(html_text(says));  // dropped with the buffer by the redirect below
        Value username = Trim(Request.Form("username"));
        username = Trim(Request.Form("to_username"));
        if (username.blank()) username = " ";
        Value truename = Trim(Request.Form("Truename"));
        // "To everybody" is stored as a blank, like an empty addressee.
        if (username == "所有人") username = " ";
        conn.execute("Insert into Chat(user_id,Chat_text,Truename,To_username) values ("_sql + Session("USER_ID") +
                     ",'" + says + "','" + truename + "','" + username + "')");
        Response.redirect("Chat_Show.asp");
        END_PAGE();
    }
};

TAVELOR_PAGE(chatsave, "Chat_Save.asp", access::right("1203"))

}  // namespace tav::pages
