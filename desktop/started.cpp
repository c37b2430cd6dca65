// The welcome page of the main frame; each visit marks the account online.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class started : public Page {
public:
    void I_init() override {
        dbI_init();
        write_head({});
        Response.line("<meta http-equiv=\"refresh\" content=\"30;url=data_home.asp\">");
        Response.line("</head>");
        Response.line("<body bgcolor=\"#336666\">");
        Response.line("<br><br><br>");
        Response.line("<center>");
        Response.line("<font color=\"#FFFFFF\" style=\"font-size: 32pt\">欢迎使用！</font>");
        Response.line("<br><br>");
        Response.write("<span style=\"filter: glow(Color=black,Strength=3); width: 450; height: 40; "
                       "font-family: 华文行楷; font-size: 32pt; color: yellow\">");
        Response.write(html_text(Session("dw_name")));
        Response.write("<br>");
        Response.line("自动化网络办公系统</span>");
        Response.line("<br><br>");
        Response.line("<font color=\"yellow\">软件版本 Ver2.0</font>");
        Response.line("</center>");
        conn.execute("update user set online=1,ip='"_sql + Request.ServerVariables("remote_addr") +
                     "' where id=" + Session("user_id"));
        Response.line("</body>");
        Response.line("</html>");
        Response.write("");
    }
};

TAVELOR_PAGE(started, "started.asp", access::signed_in())

}  // namespace tav::pages
