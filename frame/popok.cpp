// Pop_OK.asp: the result box that actions redirect to; its button leads on.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class popok : public Page {
public:
    popok() : Page("popok") {}
    void I_init() override {
        Response.block(
            "<html>\r\n"
            "<head>\r\n"
            "<title>系统提示</title>\r\n"
            "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
            "<link href=\"style.css\" rel=\"stylesheet\" type=\"text/css\">\r\n"
            "</head>\r\n"
            "<body>\r\n"
            "<table width=\"100%\" height=\"100%\" border=\"0\" cellspacing=\"0\" cellpadding=\"0\">\r\n"
            "<tr><td align=\"center\" valign=\"middle\">\r\n"
            "<table width=\"308\" border=\"0\" cellspacing=\"1\" cellpadding=\"0\" bgcolor=\"#336699\">\r\n"
            "<tr><td height=\"24\" align=\"center\"><font color=\"#FFFFFF\">Tavelor 系统提示</font></td></tr>\r\n"
            "<tr><td bgcolor=\"#F5F5F5\" align=\"center\" height=\"100\">");
        // The message is markup: callers put <br> into it.
        Response.write(Trim(Request.querystring("message")));
        Response.line("<br><br>");
        Response.write("<INPUT class=\"buttons02\" type=\"submit\" size=\"3\" value=\"确定\" name=\"Submit2\" "
                       "onclick=\"window.location.href='");
        if (Request.querystring("type").blank()) {
            Response.write(Trim(Request.querystring("next_href")));
        } else {
            Response.write(Trim(Request.querystring("next_href")) + "&type=" + Trim(Request.querystring("type")));
        }
        Response.line("'\">");
        Response.line("</td></tr>");
        Response.line("<tr><td height=\"4\" bgcolor=\"#6d8e4d\"></td></tr>");
        Response.line("</table>");
        Response.line("</td></tr>");
        Response.line("</table>");
        Response.line("</body>");
        Response.line("</html>");
        Response.write("");
    }
};

TAVELOR_PAGE(popok)

}  // namespace tav::pages
