// The popup with the newest notice of the data centre's notice category.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/site_layout.h"
#include "frame/vb.h"

namespace tav::pages {

class popnote : public Page {
public:
    void I_init() override {
        dbI_init();
        rs = conn.execute("select top 1 * from Datas where sub_menu='4102' order by ID DESC");
        if (rs.eof()) {
            Response.write("<br><br><font color=red>系统数据库错误！</font>");
            END_PAGE();
        }
        std::vector<std::string> files = Split(rs("D_afile"), "*");

        write_head({.title = "最近通知", .no_cache_days = 1});
        Response.lines(R"(
</head>
<body bgcolor="#abcdef">
<table width="100%" border="0" cellspacing="0" cellpadding="4">
)");
        Response.write("<tr><td>&nbsp;主题：");
        Response.write(html_text(rs("D_title")));
        Response.line("</td></tr>");
        Response.write("<tr><td>");
        // The body came through the editor: formatting stays, script goes.
        Response.write(allow_markup(rs("D_text")));
        Response.line("</td></tr>");
        Response.line("<tr><td>");
        // An empty attachment text splits into nothing, and its first element
        // does not exist.
        if (files.empty()) raise_error(9, "Subscript out of range");
        if (files[0] != "0") {
            for (const std::string& name : files) {
                Response.write("　<a href=\"" + layout::dir_here(layout::kDataFolder) +
                               html_text(rs("Sub_menu") + "/" + name) +
                               "\" target=\"_blank\">查看附件：" + html_text(name) + "</a>　");
            }
        }
        Response.line("</td></tr>");
        Response.write("<tr><td align=\"right\">发布时间：");
        Response.write(html_text(rs("D_date")));
        Response.lines(R"html(
</td></tr>
<tr><td align="center"><input type="button" value="关闭" onclick="window.close()"></td></tr>
</table>
</body>
</html>
)html");
        rs.close();
        conn.close();
    }
};

TAVELOR_PAGE(popnote, "pop_note.asp", access::signed_in())

}  // namespace tav::pages
