// Chat_Show.asp: the display frame of the chat room, reloaded by itself
// every 10 seconds: the 100 newest lines, newest on top.
#include "frame/encoding.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class chatshow : public Page {
public:
    void I_init() override {
        Response.line("<meta http-equiv=\"REFRESH\" content=\"10\">");
        dbI_init();
        Response.lines(R"(
<style type="text/css">
body, td { font-size: 9pt }
a { text-decoration: none }
a:hover { color: #FFFFFF; background-color: #000080 }
</style>
<body leftmargin="10" topmargin="10">
)");
        Response.write(html_text(Trim(Request.Form("oldsays"))));
        Response.write(html_text(Trim(Request.Form("username"))));

        rs = conn.execute("select top 100 * from Chat order by ID DESC");
        Response.write(html_text(Session("dw_name")) + "在线讨论欢迎您！<hr><p>");
        while (!rs.eof()) {
            Value speaker = rs("Truename");
            Response.write("<a href=\"Chat_input.asp?name=" + html_text(percent_escape(speaker.str(), "%&#+=?")) +
                           "\" target=\"f2\">" + html_text(speaker) + "</a>");
            Value to = Trim(rs("To_UserName"));
            if (to == Trim(rs("TrueName")))
                Response.write(" 自言自语：");
            else if (to.blank())
                Response.write(" 说：");
            else
                Response.write(" 对 " + html_text(to) + " 说：");
            // Formatting in a line still shows; anything that could run does not.
            Response.line(allow_markup(rs("Chat_text")) + "<BR>");
            rs.movenext();
        }
        rs.close();
        conn.close();
    }
};

TAVELOR_PAGE(chatshow, "Chat_Show.asp", access::right("1203"))

}  // namespace tav::pages
