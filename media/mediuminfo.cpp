// Medium_Info.asp: the description of one title. It runs for anyone.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class mediuminfo : public Page {
public:
    void I_init() override {
        dbI_init();
        rs = conn.execute("select * from Medium where id="_sql + Request.querystring("id"));
        Value title = rs("title");
        Value text = rs("Medium_text");
        write_head({.title = Session("dw_name").str() + "网络办公系统"});
        Response.lines(R"(
</head>
<body>
<table width="610" border="0" cellspacing="1" cellpadding="2" align="center">
<tr bgcolor="#336699"><td colspan="2" height="26"><font color="#FFFFFF">网络互动 =>>在线播放 =>>媒体信息</font></td></tr>
)");
        Response.line("<tr bgcolor=\"#E0E0E0\"><td width=\"80\">媒体标题：</td><td>" + html_text(title) + "</td></tr>");
        Response.line("<tr bgcolor=\"#E0E0E0\"><td colspan=\"2\">媒体简介：</td></tr>");
        // The description keeps its formatting, never its script.
        Response.line("<tr bgcolor=\"#E0E0E0\"><td colspan=\"2\" width=\"610\">\xE3\x80\x80" + allow_markup(text) +
                      "</td></tr>");
        Response.lines(R"html(
</table>
<p align="center"><input type="button" value="返回" name="back" onclick="history.back()"></p>
</body>
</html>
)html");
        rs.close();
        conn.close();
    }
};

TAVELOR_PAGE(mediuminfo, "Medium_Info.asp", access::right("1301|1311"))

}  // namespace tav::pages
