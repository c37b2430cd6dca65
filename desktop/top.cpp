// The top frame: the organisation's headline and the section buttons.
#include "desktop/headline.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class top : public Page {
public:
    void I_init() override {
        Value dw_name = Session("dw_name");
        long n = Len(dw_name);
        // The cell is fixed in width, so the font shrinks by hand with the name.
        std::string size = "13.5";
        if (n == 7) size = "15";
        else if (n == 8) size = "13.5";
        else if (n == 9) size = "13";
        else if (n == 10 || n == 11) size = "13";
        Value headline = login_headline(dw_name);
        long h = Len(headline);
        if (h == 12) size = "13";
        if (h == 13) size = "12.5";

        write_head({.title = dw_name + "网络办公系统"});
        Response.lines(R"(
<base target="detail">
</head>
<body bgcolor="#336699" leftmargin="0" topmargin="0" marginwidth="0" marginheight="0">
<table width="800" height="46" border="0" cellspacing="0" cellpadding="0">
<tr>
<td width="740" background="images/top_bg.gif">
)");
        Response.write("<span style=\"filter: glow(Color=black,Strength=3); width: 250; height: 25; "
                       "font-family: 华文行楷; font-size: " + size + "pt; color: yellow\">");
        Response.write(html_text(headline));
        Response.line("</span>");
        button("sy", "32", "left.asp?xm=home", "dir", "首页");
        button("wlzx", "57", "left.asp?xm=wlzx", "dir", "娱乐及在线交流");
        button("bgzx", "57", "left.asp?xm=bgzx", "dir", "网络办公");
        button("sjzx", "57", "left.asp?xm=sjzx", "dir", "数据处理");
        button("xtbz", "57", "help.htm", "detail", "系统帮助");
        button("tcxt", "57", "logout.asp", "_top", "退出网络办公系统");
        Response.lines(R"(
</td>
<td><a href="help.htm" target="_blank"><img src="images/Author.gif" border="0" alt="访问作者网站，了解软件最新升级信息。"></a></td>
</tr>
</table>
</body>
</html>
)");
    }

private:
    // One image button: stem1 at rest, stem0 under the mouse, stem2 pressed.
    void button(const std::string& stem, const std::string& width, const std::string& href,
                const std::string& target, const std::string& alt) {
        std::string img = "images/" + stem;
        Response.line("<a href=\"" + href + "\" target=\"" + target + "\"><img name=\"" + stem + "\" src=\"" +
                      img + "1.gif\" width=\"" + width + "\" border=\"0\" alt=\"" + alt + "\"" +
                      " onmouseover=\"this.src='" + img + "0.gif'\"" +
                      " onmouseout=\"this.src='" + img + "1.gif'\"" +
                      " onmousedown=\"this.src='" + img + "2.gif'\"></a>");
    }
};

TAVELOR_PAGE(top, "top.asp", access::signed_in())

}  // namespace tav::pages
