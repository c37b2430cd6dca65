// Sys_User.asp: the administrator's list of all accounts, ten to a page.
#include "admin/account_form.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"
#include "frame/vb.h"

namespace tav::pages {

class sysuser : public Page {
public:
    void I_init() override {
        dbI_init();
        PageBar bar(*this, {.url = "Sys_User.asp", .size = 10, .limit = 10, .row_height = 28});
        bar.read_p();
        bar.count("select num from user_tally");  // kept by triggers: no count over every account
        rs = bar.fetch("select * from User order by id DESC");

        write_head({});
        Response.lines(R"(
<script language="JavaScript">
function new_user()
{
  window.open("NewRegister.asp", "detail");
}
</script>
</head>
<body>
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolorlight="#000000" bordercolordark="#FFFFFF">
<tr><td colspan="8" height="25" bgcolor="#336699"><font color="#FFFFFF">系统管理 =>>用户信息管理</font></td></tr>
)");
        // The mail column is kept in the markup but out of sight.
        Response.line("<tr bgcolor=\"#E0E0E0\" align=\"center\"><td>用户账号</td><td>部门</td><td>真实姓名</td>"
                      "<td>性别</td><td>电话</td><!--<td>电子信箱</td>--><td>修改</td><td>删除</td></tr>");
        DepartmentNames departments(*this);
        long n = 1;
        for (; bar.within(n) && !rs.eof(); ++n) {
            std::string id = html_text(rs("id"));
            std::string ask = "Pop_Del.asp?id=" + id + "&amp;Table=User&amp;message=确实要删除用户[" +
                              html_text(rs("username")) + "]吗？&amp;next=Sys_User.asp";
            Response.line("<tr height=\"28\" align=\"center\"><td>" + html_text(rs("username")) + "</td><td>" +
                          html_text(departments(rs("departmentid"))) + "</td><td>" +
                          html_text(rs("Truename")) + "</td><td>" + html_text(rs("sex")) + "</td><td>" +
                          html_text(rs("Telphone")) + "</td><!--<td>" + html_text(rs("Email")) +
                          "</td>--><td><a href=\"User_Info_Modify1.asp?id=" + id +
                          "\"><img src=\"images/EDIT.GIF\" height=\"15\" border=\"0\" alt=\"修改当前行记录\"></a></td>"
                          "<td><a href=\"" + ask +
                          "\"><img src=\"images/delete.GIF\" height=\"15\" border=\"0\" alt=\"删除\"></a></td></tr>");
            rs.movenext();
        }
        bar.fill_rows(n, 8);
        Response.line("</table>");

        // Only an account with the right to add accounts gets the button (the
        // list itself asks for the same right, read afresh here as the menus do).
        bar.open_bar();
        Recordset own = conn.execute("select menu_idstr from user where id="_sql + Session("USER_ID"));
        if (InStr(own("menu_idstr"), "1904") > 0)
            Response.line("<input type=\"button\" name=\"add\" value=\"新增用户\" class=\"buttons02\" "
                          "onclick=\"new_user()\">");
        bar.write_nav();
        bar.close_bar();
        bar.write_script();
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(sysuser, "Sys_User.asp", access::right("1904"))

}  // namespace tav::pages
