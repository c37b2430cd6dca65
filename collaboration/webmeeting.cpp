// Web_Meeting.asp: rings up a colleague who is online through the
// conferencing control; the server only hands out the addresses.
#include "collaboration/netmeetingcontrol.h"
#include "frame/html.h"
#include "frame/page.h"

namespace tav::pages {

class webmeeting : public Page {
public:
    void I_init() override {
        dbI_init();
        Response.client_compat(kCompatDialogs);  // brings the stand-in for the control
        rs = conn.execute("select truename,ip from user where online<>0 order by truename");

        write_head({.title = "网络视频会议", .no_cache_days = 1});
        Response.line("<script language=\"JavaScript\">");
        Response.line("function CallToBtn_onclick(){");
        Response.line("  var address=document.getElementById(\"CallToAddress\").value;");
        Response.line("  if (address==\"NONE\"){");
        Response.line("    alert(\"对不起，您所呼叫的用户没有设置 IP地址或机器名\");");
        Response.line("    return false;");
        Response.line("  }");
        Response.line("  NetMeeting.CallTo(address);");
        Response.line("  return true;");
        Response.line("}");
        Response.line("</script>");
        Response.line("</head>");
        Response.line("<body>");
        Response.line("<table width=\"100%\" border=\"0\" cellspacing=\"0\" cellpadding=\"4\">");
        Response.line("<tr><td bgcolor=\"#336699\" height=\"22\"><font color=\"#FFFFFF\">"
                      "<img src=\"images/arrow1.gif\"> 网络互动会议</font></td></tr>");
        Response.line("<tr><td>");
        Response.line("<select id=\"CallToAddress\" name=\"CallToAddress\" class=\"pt9\">");
        while (!rs.eof()) {
            // The address goes without quotes, as the page always wrote it.
            Response.line("<option value=" + html_unquoted(rs("ip")) + ">" + html_text(rs("truename")) + "</option>");
            rs.movenext();
        }
        Response.line("</select>");
        Response.line("<input type=\"button\" class=\"buttons02\" id=\"CallToBtn\" name=\"CallToBtn\" value=\"呼叫\" "
                      "onclick=\"return CallToBtn_onclick()\">");
        Response.line("<input type=\"button\" class=\"buttons02\" id=\"HangUpBtn\" name=\"HangUpBtn\" value=\"取消\" "
                      "onclick=\"NetMeeting.LeaveConference()\">");
        Response.line("<!-- 唤醒本地界面");
        Response.line("<input type=\"button\" class=\"buttons02\" id=\"UndockBtn\" name=\"UndockBtn\" value=\"唤醒\" "
                      "onclick=\"NetMeeting.UnDock()\">");
        Response.line("-->");
        Response.line("</td></tr>");
        Response.line("<tr><td>");
        Response.line(kNetMeetingObject);
        Response.line("</td></tr>");
        Response.line("</table>");
        rs.close();
        conn.close();
        Response.line("</body>");
        Response.line("</html>");
        Response.write("");
    }
};

TAVELOR_PAGE(webmeeting, "Web_Meeting.asp", access::right("1408"))

}  // namespace tav::pages
