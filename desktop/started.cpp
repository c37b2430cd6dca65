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
        Response.lines(R"(
<meta http-equiv="refresh" content="30;url=data_home.asp">
</head>
<body bgcolor="#336666">
<br><br><br>
<center>
<font color="#FFFFFF" style="font-size: 32pt">欢迎使用！</font>
<br><br>
)");
        Response.write("<span style=\"filter: glow(Color=black,Strength=3); width: 450; height: 40; "
                       "font-family: 华文行楷; font-size: 32pt; color: yellow\">");
        Response.write(html_text(Session("dw_name")));
        Response.write("<br>");
        Response.lines(R"(
自动化网络办公系统</span>
<br><br>
<font color="yellow">软件版本 Ver2.0</font>
</center>
)");
        conn.execute("update user set online=1,ip='"_sql + Request.ServerVariables("remote_addr") +
                     "' where id=" + Session("user_id"));
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(started, "started.asp", access::signed_in())

}  // namespace tav::pages
