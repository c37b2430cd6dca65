// Sys_User_Active.asp: the accounts with the days their activity log is
// kept, each leading to its log.
#include "admin/account_form.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"

namespace tav::pages {

class sysuseractive : public Page {
public:
    void I_init() override {
        dbI_init();
        PageBar bar(*this, {.url = "Sys_User_Active.asp", .size = 10, .limit = 10, .row_height = 28});
        bar.read_p();
        bar.count("select num from user_tally");  // kept by triggers: no count over every account
        rs = bar.fetch("select * from User order by id DESC");

        write_head({});
        Response.lines(R"(
</head>
<body>
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolorlight="#000000" bordercolordark="#FFFFFF">
<tr><td colspan="9" height="25" bgcolor="#336699"><font color="#FFFFFF">系统管理 =>>查看用户当日活动记载</font></td></tr>
<tr bgcolor="#E0E0E0" align="center"><td>用户账号</td><td>部门</td><td>真实姓名</td><td>性别</td><td>电话</td><td>保存天数</td><td>最近活动记载</td></tr>
)");
        DepartmentNames departments(*this);
        long n = 1;
        for (; bar.within(n) && !rs.eof(); ++n) {
            Response.line(table_row(
                " height=\"28\" align=\"center\"",
                {rs("username"), Value(departments(rs("departmentid"))), rs("Truename"), rs("sex"),
                 rs("Telphone"), rs("record"),
                 Cell::markup("<a href=\"Sys_User_Active_List.asp?id=" + html_text(rs("id")) +
                              "\"><img src=\"images/EDIT.GIF\" height=\"15\" border=\"0\" alt=\"此用户的活动记载\"></a>")}));
            rs.movenext();
        }
        bar.fill_rows(n, 7);
        Response.line("</table>");
        bar.write_bar();
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(sysuseractive, "Sys_User_Active.asp", access::right("1903"))

}  // namespace tav::pages
