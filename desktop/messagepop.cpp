// The reminder popup. While it is open the session gate stays shut, so the
// polls raise no second one; closepop opens it again.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class messagepop : public Page {
public:
    void I_init() override {
        dbI_init();
        write_head({.title = Session("dw_name").str(), .no_cache_days = 10});

        rs = setting("pop_music");
        if (rs("Hardserial") == "1") {
            rs = setting("music");
            Response.write("<bgsound src=\"./medium/");
            Response.write(html_text(rs("Hardserial")));
            Response.line("\" loop=\"infinite\">");
        }

        Response.lines(R"(
<script language="JavaScript">
function close_my()
{
  window.open("closepop.asp","sound");
  window.close();
}
</script>
</head>
<body bgcolor="#FFD0FF">
)");
        Session.set("Message_POP", "");
        // The reminder text is built by message.asp as markup; only the
        // allowlist of it comes through.
        Response.write(allow_markup(Request.querystring("mstr")));
        Response.lines(R"html(
<center><input type="button" name="ok" value="确定" onclick="window.close_my()"></center>
</body>
</html>
)html");
        rs.close();
        conn.close();
    }
};

TAVELOR_PAGE(messagepop, "message_pop.asp", access::signed_in())

}  // namespace tav::pages
