// The desktop: the frame set in which every other page of a session runs.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

// "default" is a word of the language, so the class carries a trailing
// underscore, which the registration drops from the reported name.
class default_ : public Page {
public:
    void I_init() override {
        dbI_init();
        std::string meeting_src = "about:blank";
        std::string main_src = "started.asp";
        Session.set("Message_POP", "YES");
        rs = conn.execute("select start_meeting,must_change from user where id="_sql + Session("user_id"));
        // The desktop waits until a password the administrator set is changed.
        if (rs("must_change").str() == "1") {
            Response.redirect("User_password_Modify.asp");
            END_PAGE();
        }
        if (rs("start_meeting") == 1) {
            meeting_src = "start_netmeeting.asp";
            main_src = "starting.asp";
        }
        rs.close();
        conn.close();

        write_head({.title = Session("dw_name") + "网络办公系统", .style = false});
        // The frame sources are the program's own page names, chosen above.
        Response.lines(R"(
<script language="JavaScript">
function show_status()
{
  self.status = ")" + js_string(Session("dw_name")) + R"(网络办公系统！";
}
document.onmousemove = show_status;
</script>
</head>
<frameset rows="46,*,25,0,0,0,0" frameborder="NO" border="0" framespacing="0">
  <frame name="top_w" scrolling="NO" noresize src="top.asp">
  <frameset cols="135,*" frameborder="NO" border="5" framespacing="0">
    <frame name="dir" scrolling="NO" noresize src="left.asp">
    <frame name="detail" noresize src=")" + main_src + R"(">
  </frameset>
  <frame name="bottom" scrolling="NO" noresize src="bottom.asp">
  <frame name="monitorbottom" src="about:blank">
  <frame name="sound" src="sys_user_load.asp">
  <frame name="message" src="message.asp">
  <frame name="net_metmeen" src=")" + meeting_src + R"(">
</frameset>
<noframes>
<body>
您的浏览器不支持Frame格式，请下载新版本。 
</body>
</noframes>
</html>
)");
    }
};

TAVELOR_PAGE(default_, "default.asp",
             access::signed_in().with("an account that must change its password goes to User_password_Modify.asp"))

}  // namespace tav::pages
