// Online_user.asp: who is online, at most ten, without a way to the rest.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"

namespace tav::pages {

class onlineuser : public Page {
public:
    void I_init() override {
        dbI_init();
        rs = conn.execute("select * from User where online=1");
        write_head({});
        Response.lines(R"(
</head>
<body>
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolorlight="#336699" bordercolordark="#FFFFFF">
<tr bgcolor="#336699"><td colspan="5" height="22"><font color="#FFFFFF"><img src="images/arrow1.gif"> 在线用户名单</font></td></tr>
<tr align="center" bgcolor="#E0E0E0"><td>用户账号</td><td>部门</td><td>真实姓名</td><td>性别</td><td>电话</td><!--<td>电子信箱</td>--></tr>
)");
        long n = 0;
        while (!rs.eof()) {
            Recordset dept = conn.execute("select name from Department where id="_sql + rs("departmentid"));
            Value dept_name = dept.eof() ? Value("已删除部门") : dept("name");
            Response.line("<tr align=\"center\" height=\"26\">"
                          "<td><a href=\"sys_user_active_list.asp?id=" + html_text(rs("id")) + "\">" +
                          html_text(rs("username")) + "</a></td>"
                          "<td>" + html_text(dept_name) + "</td><td>" + html_text(rs("Truename")) + "</td>"
                          "<td>" + html_text(rs("sex")) + "</td><td>" + html_text(rs("Telphone")) + "</td>"
                          "<!--<td>" + html_text(rs("Email")) + "</td>--></tr>");
            rs.movenext();
            if (++n >= 10) break;
        }
        for (; n < 10; ++n) {
            Response.write("<tr height=\"26\">");
            for (int c = 0; c < 5; ++c) Response.write(std::string("<td>") + PageBar::kBlank + "</td>");
            Response.line("</tr>");
        }
        Response.line("</table>");
        rs.close();
        conn.close();
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(onlineuser, "Online_user.asp", access::right("1401"))

}  // namespace tav::pages
