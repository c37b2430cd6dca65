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

        Response.line("<script language=\"JavaScript\">");
        Response.line("function close_my()");
        Response.line("{");
        Response.line("  window.open(\"closepop.asp\",\"sound\");");
        Response.line("  window.close();");
        Response.line("}");
        Response.line("</script>");
        Response.line("</head>");
        Response.line("<body bgcolor=\"#FFD0FF\">");
        Session.set("Message_POP", "");
        // The reminder text is built by message.asp as markup; only the
        // allowlist of it comes through.
        Response.write(allow_markup(Request.querystring("mstr")));
        Response.line("<center><input type=\"button\" name=\"ok\" value=\"确定\" onclick=\"window.close_my()\"></center>");
        Response.line("</body>");
        Response.line("</html>");
        rs.close();
        conn.close();
        Response.write("");
    }
};

TAVELOR_PAGE(messagepop, "message_pop.asp", access::signed_in())

}  // namespace tav::pages
