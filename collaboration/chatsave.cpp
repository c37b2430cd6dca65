// Chat_Save.asp: stores one line posted from the input frame and shows the
// room again in the display frame. The line is stored under the session's
// own name, with only the formatting the view keeps, and never longer than
// the cap; the repeat rule stays the input page's.
#include "collaboration/limits.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class chatsave : public Page {
public:
    void I_init() override {
        dbI_init();
        Value says = Trim(Request.Form("oldsays"));
        Value username = Trim(Request.Form("to_username"));
        if (collaboration::chars(says.str()) > collaboration::kChatLineChars)
            collaboration::refuse_too_long("发言", collaboration::kChatLineChars, "Chat_Show.asp");
        if (collaboration::chars(username.str()) > collaboration::kChatNameChars)
            collaboration::refuse_too_long("对象名", collaboration::kChatNameChars, "Chat_Show.asp");
        if (username.blank()) username = " ";
        // The speaker is the session's account, whatever the form says.
        Recordset me = conn.execute("select Truename from user where id="_sql + Session("USER_ID"));
        Value truename = Trim(me("Truename"));
        me.close();
        // "To everybody" is stored as a blank, like an empty addressee.
        if (username == "所有人") username = " ";
        conn.execute("Insert into Chat(user_id,Chat_text,Truename,To_username) values ("_sql + Session("USER_ID") +
                     ",'" + allow_markup(says.str()) + "','" + truename + "','" + username + "')");
        Response.redirect("Chat_Show.asp");
        END_PAGE();
    }
};

TAVELOR_PAGE(chatsave, "Chat_Save.asp",
             access::right("1203").with("speaker is the session's own name; lines of 1000 characters at most"))

}  // namespace tav::pages
