// Pop_OK.asp: the result box that actions redirect to; its button leads on.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/resultbox.h"
#include "frame/vb.h"

namespace tav::pages {

class popok : public Page {
public:
    void I_init() override {
        Response.block(result_box_head(""));
        // The message is markup (callers put <br> into it), within the allowlist.
        Response.write(allow_markup(Trim(Request.querystring("message"))));
        Response.line("<br><br>");
        Response.write("<INPUT class=\"buttons02\" type=\"submit\" size=\"3\" value=\"确定\" name=\"Submit2\" "
                       "onclick=\"window.location.href='");
        // The target lands in a script string inside the attribute; a script
        // or data URL is no target and leaves the button on the page.
        Value next_href = Trim(Request.querystring("next_href"));
        if (!safe_url(next_href)) next_href = "#";
        if (Request.querystring("type").blank()) {
            Response.write(js_string(next_href));
        } else {
            Response.write(js_string(next_href + "&type=" + Trim(Request.querystring("type"))));
        }
        Response.line("'\">");
        Response.line("</td></tr>");
        Response.line("<tr><td height=\"4\" bgcolor=\"#6d8e4d\"></td></tr>");
        Response.line("</table>");
        Response.line("</td></tr>");
        Response.line("</table>");
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(popok, "Pop_OK.asp", access::open())

}  // namespace tav::pages
