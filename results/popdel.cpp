// Pop_Del.asp: asks before a deletion and hands the row on to Del_Record.asp.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/resultbox.h"
#include "frame/vb.h"

namespace tav::pages {

class popdel : public Page {
public:
    void I_init() override {
        Response.block(result_box_head("<form action=\"Del_Record.asp\" method=\"GET\" id=\"info\" name=\"info\">\r\n"));
        Response.write(allow_markup(Request.querystring("message")));
        Response.line("<br><br>");
        Response.line("<INPUT class=\"buttons02\" type=\"submit\" value=\"删除\" name=\"Submit2\">");
        Response.line("<INPUT class=\"buttons02\" type=\"button\" value=\"返回\" name=\"Submit2\" "
                      "onclick=\"window.history.back()\">");
        // Written without quotes; what could end the value goes as references.
        Response.line("<input type=\"hidden\" name=\"Table\" value=" + html_unquoted(Request.querystring("Table")) + ">");
        Response.line("<input type=\"hidden\" name=\"ID\" value=" + html_unquoted(Request.querystring("ID")) + ">");
        Response.line("<input type=\"hidden\" name=\"next\" value=" + html_unquoted(Request.querystring("next")) + ">");
        Response.line("</td></tr>");
        Response.line("<tr><td height=\"4\" bgcolor=\"#6d8e4d\"></td></tr>");
        Response.line("</table>");
        Response.line("</td></tr>");
        Response.line("</table>");
        Response.line("</form>");
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(popdel, "Pop_Del.asp", access::open())

}  // namespace tav::pages
