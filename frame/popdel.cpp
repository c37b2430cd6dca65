// Pop_Del.asp: asks before a deletion and hands the row on to Del_Record.asp.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class popdel : public Page {
public:
    popdel() : Page("popdel") {}
    void I_init() override {
        Response.block(
            "<html>\r\n"
            "<head>\r\n"
            "<title>系统提示</title>\r\n"
            "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
            "<link href=\"style.css\" rel=\"stylesheet\" type=\"text/css\">\r\n"
            "</head>\r\n"
            "<body>\r\n"
            "<form action=\"Del_Record.asp\" method=\"GET\" id=\"info\" name=\"info\">\r\n"
            "<table width=\"100%\" height=\"100%\" border=\"0\" cellspacing=\"0\" cellpadding=\"0\">\r\n"
            "<tr><td align=\"center\" valign=\"middle\">\r\n"
            "<table width=\"308\" border=\"0\" cellspacing=\"1\" cellpadding=\"0\" bgcolor=\"#336699\">\r\n"
            "<tr><td height=\"24\" align=\"center\"><font color=\"#FFFFFF\">Tavelor 系统提示</font></td></tr>\r\n"
            "<tr><td bgcolor=\"#F5F5F5\" align=\"center\" height=\"100\">");
        Response.write(Request.querystring("message"));
        Response.line("<br><br>");
        Response.line("<INPUT class=\"buttons02\" type=\"submit\" value=\"删除\" name=\"Submit2\">");
        Response.line("<INPUT class=\"buttons02\" type=\"button\" value=\"返回\" name=\"Submit2\" "
                      "onclick=\"window.history.back()\">");
        // Written without quotes, as the callers' values never hold a blank.
        Response.line("<input type=\"hidden\" name=\"Table\" value=" + Request.querystring("Table") + ">");
        Response.line("<input type=\"hidden\" name=\"ID\" value=" + Request.querystring("ID") + ">");
        Response.line("<input type=\"hidden\" name=\"next\" value=" + Request.querystring("next") + ">");
        Response.line("</td></tr>");
        Response.line("<tr><td height=\"4\" bgcolor=\"#6d8e4d\"></td></tr>");
        Response.line("</table>");
        Response.line("</td></tr>");
        Response.line("</table>");
        Response.line("</form>");
        Response.line("</body>");
        Response.line("</html>");
        Response.write("");
    }
};

TAVELOR_PAGE(popdel)

}  // namespace tav::pages
