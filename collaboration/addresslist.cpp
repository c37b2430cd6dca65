// Address_List.asp: the account's own cards, ten to a page, in the order the
// store keeps them.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"
#include "frame/vb.h"

namespace tav::pages {

class addresslist : public Page {
public:
    void I_init() override {
        dbI_init();
        Value uid = Session("USER_ID");
        PageBar bar(*this, {.url = "Address_list.asp", .size = 10, .limit = 10, .row_height = 26});
        bar.read_p();
        // The store keeps each account's number of cards (address_tally).
        bar.count("select coalesce(sum(num),0) as num from address_tally where user_id="_sql + uid);
        rs = bar.fetch("select * from Address where user_id="_sql + uid);

        write_head({});
        Response.line("</head>");
        Response.line("<body>");
        // The search form is a leftover without fields; nothing reads its action.
        Response.lines(R"(
<form name="searchform" method="post" action="Address_List.asp?action=search">
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolorlight="#336699" bordercolordark="#FFFFFF">
<tr bgcolor="#336699"><td colspan="8" height="22"><font color="#FFFFFF"><img src="images/arrow1.gif"> 日程安排-->>我的名片夹</font></td></tr>
<tr align="center" bgcolor="#E0E0E0"><td>姓名</td><td>性别</td><td>工作单位</td><td>电话</td><td>手机</td><td>电子邮件</td><!--<td>邮编</td><td>通讯地址</td><td>备注</td>--><td>修改</td><td>删除</td></tr>
)");
        long n = 1;
        for (; bar.within(n) && !rs.eof(); ++n) {
            std::string id = html_text(rs("id"));
            Response.line(table_row(
                " align=\"center\" height=\"26\"",
                {rs("name"), rs("sex"), rs("work"), rs("Telphone"), rs("Mobile"), rs("Email"),
                 Cell::markup("<a href=\"Address_edit.asp?id=" + id +
                              "\"><img src=\"images/edit.GIF\" border=\"0\" alt=\"修改\"></a>"),
                 Cell::markup("<a href=\"Address_delete.asp?id=" + id +
                              "\"><img src=\"images/delete.GIF\" border=\"0\" alt=\"删除\"></a>")}));
            rs.movenext();
        }
        bar.fill_rows(n, 8);
        Response.line("</table>");
        Response.line("</form>");
        bar.write_bar("<input type=\"button\" class=\"buttons02\" value=\"新增名片\" "
                      "onclick=\"window.location.href='Address_Edit.asp'\">");
        rs.close();
        conn.close();
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(addresslist, "Address_List.asp", access::signed_in().with("own cards only"))

}  // namespace tav::pages
