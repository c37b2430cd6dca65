// User_address.asp: the staff directory, every account by login name, ten to
// a page, open to anyone.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"

namespace tav::pages {

class useraddress : public Page {
public:
    void I_init() override {
        dbI_init();
        PageBar bar(*this, {.url = "User_address.asp", .size = 10, .limit = 10, .row_height = 26});
        bar.read_p();
        bar.count("select num from user_tally");  // kept by triggers: no count over every account
        rs = bar.fetch("select * from User order by username");

        write_head({});
        Response.lines(R"(
</head>
<body>
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolorlight="#336699" bordercolordark="#FFFFFF">
<tr bgcolor="#336699"><td colspan="7" height="22"><font color="#FFFFFF"><img src="images/arrow1.gif"> 内部职工通讯录</font></td></tr>
<tr align="center" bgcolor="#E0E0E0"><td>姓 名</td><td>工作部门</td><td>性别</td><td>电话</td><td>手机</td><td>电子信箱</td><td>身份证号</td></tr>
)");
        long n = 1;
        for (; bar.within(n) && !rs.eof(); ++n) {
            Recordset dept = conn.execute("select name from Department where id="_sql + rs("departmentid"));
            Value dept_name = dept.eof() ? Value("已删除部门") : dept("name");
            Response.line(table_row(" align=\"center\" height=\"26\"",
                                    {rs("truename"), dept_name, rs("sex"), rs("Telphone"), rs("Mobile"),
                                     rs("email"), rs("IDCard")}));
            rs.movenext();
        }
        // Eight cells in rows of a seven-column table: the filler has always been one wider.
        bar.fill_rows(n, 8);
        Response.line("</table>");
        bar.write_bar();
        rs.close();
        conn.close();
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(useraddress, "User_address.asp", access::right("1502"))

}  // namespace tav::pages
