// Chat_Main.asp: the chat room's frame set. Entering the room is also the
// only time old lines are purged (older than yesterday).
#include "frame/page.h"

namespace tav::pages {

class chatmain : public Page {
public:
    void I_init() override {
        dbI_init();
        conn.execute("delete from chat where DateDiff('d', chat_date,Now)>1");
        conn.close();

        write_head({.title = "Tavelor Chatroom", .style = false});
        Response.lines(R"(
</head>
<frameset rows="*,30,0" border="0" framespacing="0" frameborder="NO">
<frame name="f1" src="Chat_Show.asp" marginheight="3" marginwidth="5">
<frame name="f2" src="Chat_Input.asp" scrolling="NO" noresize>
<frame name="b" src="" scrolling="NO" noresize>
</frameset>
<noframes><body></body></noframes>
</html>
)");
    }
};

TAVELOR_PAGE(chatmain, "Chat_Main.asp", access::right("1203"))

}  // namespace tav::pages
