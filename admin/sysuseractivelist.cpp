// Sys_User_Active_List.asp: every activity line the retention has left for
// one account, newest first, on one page.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class sysuseractivelist : public Page {
public:
    void I_init() override {
        dbI_init();
        Value ID = Request.querystring("ID");
        rs = conn.execute("select truename,username from user where id="_sql + ID);
        Value truename = rs("truename");
        Value username = rs("username");
        rs = conn.execute("select * from Monitor where user_id="_sql + ID + " order by id DESC");

        write_head({});
        Response.lines(R"(
</head>
<body>
<table width="650" border="1" align="center" cellspacing="0" cellpadding="2" bordercolorlight="#000000" bordercolordark="#FFFFFF">
)");
        Response.line("<tr><td colspan=\"3\" height=\"25\" bgcolor=\"#336699\"><font color=\"#FFFFFF\">" +
                      html_text(truename) + "[" + html_text(username) + "] 最近活动记载</font></td></tr>");
        Response.line("<tr bgcolor=\"#E0E0E0\" align=\"center\"><td colspan=\"2\" width=\"85%\">当日活动记载</td>"
                      "<td>发生时间</td></tr>");
        std::string out;
        long n = 0;
        while (!rs.eof()) {
            ++n;
            // The log keeps the day and the time of day in one column.
            out += "<tr><td width=\"4%\" align=\"center\">" + std::to_string(n) + "</td><td>" +
                   html_text(rs("work_text")) + "</td><td nowrap>" + html_text(rs("work_date")) + "</td></tr>\r\n";
            // Long logs go out in pieces rather than one line write per row.
            if (out.size() > 64 * 1024) {
                Response.write(out);
                out.clear();
            }
            rs.movenext();
        }
        Response.write(out);
        if (n == 0) Response.line("<tr><td colspan=\"2\">此用户今日没有来！</td><td>&nbsp;</td></tr>");
        Response.lines(R"html(
</table>
<p align="center"><input type="button" name="back" value="返回" class="buttons02" onclick="history.back()"></p>
</body>
</html>
)html");
    }
};

TAVELOR_PAGE(sysuseractivelist, "Sys_User_Active_List.asp", access::right("1903"))

}  // namespace tav::pages
