// The administrator's list of flagged accounts. Passwords are stored as
// hashes and never shown: each row offers to set a new one, which the
// account must change at its next login.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class syslosepassword : public Page {
public:
    void I_init() override {
        dbI_init();
        rs = conn.execute("select * from user where password_lose=1");
        write_head({.title = "Losed password people"});
        Response.lines(R"(
<script language="JavaScript" src="TavelorJS.js"></script>
</head>
<body>
<table width="100%" border="1" cellspacing="0" cellpadding="2">
<tr bgcolor="#336699"><td colspan="8"><font color="#FFFFFF"><img src="images/arrow1.gif"> 系统管理 =>>用户信息管理</font></td></tr>
<tr align="center"><td>用户账号</td><td>部门</td><td>真实姓名</td><td>性别</td><td>电话</td><td>电子信箱</td><td>登录密码</td><td>处理</td></tr>
)");
        long count = 0;
        Recordset dept;
        while (!rs.eof()) {
            dept = conn.execute("select name from Department where id="_sql + rs("departmentid"));
            Value dept_name = dept.eof() ? Value("已删除部门") : dept("name");
            Response.line(table_row(" align=\"center\" height=\"25\"",
                                    {rs("username"), dept_name, rs("Truename"), rs("sex"), rs("Telphone"),
                                     Cell::markup("<a href=mailto:>" + html_text(rs("Email")) + "</a>"),
                                     Cell::markup("<form method=\"post\" action=\"sys_losepasswordDO.asp?id=" +
                                                  html_text(rs("id")) + "\" style=\"margin:0\">"
                                                  "<input type=\"password\" name=\"newpassword\" size=\"8\" "
                                                  "maxlength=\"18\"><input type=\"submit\" value=\"设置\" "
                                                  "class=\"buttons02\"></form>"),
                                     Cell::markup("<a href=\"sys_losepasswordDO.asp?id=" + html_text(rs("id")) +
                                                  "\"><img src=\"images/delete.GIF\" height=\"15\" border=\"0\" "
                                                  "alt=\"处理记载\"></a>")}));
            ++count;
            rs.movenext();
        }
        for (long i = count; i < 13; ++i)
            Response.line("<tr height=\"25\"><td>&nbsp;</td><td>&nbsp;</td><td>&nbsp;</td><td>&nbsp;</td>"
                          "<td>&nbsp;</td><td>&nbsp;</td><td>&nbsp;</td><td>&nbsp;</td></tr>");
        Response.lines(R"(
</table>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(syslosepassword, "sys_losepassword.asp", access::right("1905"))

}  // namespace tav::pages
