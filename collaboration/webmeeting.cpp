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
        Response.lines(R"(
<script language="JavaScript">
function CallToBtn_onclick(){
  var address=document.getElementById("CallToAddress").value;
  if (address=="NONE"){
    alert("对不起，您所呼叫的用户没有设置 IP地址或机器名");
    return false;
  }
  NetMeeting.CallTo(address);
  return true;
}
</script>
</head>
<body>
<table width="100%" border="0" cellspacing="0" cellpadding="4">
<tr><td bgcolor="#336699" height="22"><font color="#FFFFFF"><img src="images/arrow1.gif"> 网络互动会议</font></td></tr>
<tr><td>
<select id="CallToAddress" name="CallToAddress" class="pt9">
)");
        while (!rs.eof()) {
            // The address goes without quotes, as the page always wrote it.
            Response.line("<option value=" + html_unquoted(rs("ip")) + ">" + html_text(rs("truename")) + "</option>");
            rs.movenext();
        }
        Response.lines(R"html(
</select>
<input type="button" class="buttons02" id="CallToBtn" name="CallToBtn" value="呼叫" onclick="return CallToBtn_onclick()">
<input type="button" class="buttons02" id="HangUpBtn" name="HangUpBtn" value="取消" onclick="NetMeeting.LeaveConference()">
<!-- 唤醒本地界面
<input type="button" class="buttons02" id="UndockBtn" name="UndockBtn" value="唤醒" onclick="NetMeeting.UnDock()">
-->
</td></tr>
<tr><td>
)html");
        Response.line(kNetMeetingObject);
        Response.line("</td></tr>");
        Response.line("</table>");
        rs.close();
        conn.close();
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(webmeeting, "Web_Meeting.asp", access::right("1408"))

}  // namespace tav::pages
