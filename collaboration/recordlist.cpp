// Record_List.asp: the account's ledger, newest first, ten to a page.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"
#include "frame/vb.h"

namespace tav::pages {

class recordlist : public Page {
public:
    void I_init() override {
        dbI_init();
        // The bar is the guest book's: its links and form lead to Book_list.asp.
        PageBar bar(*this, {.url = "Book_list.asp", .size = 10, .limit = 10, .row_height = 26});
        bar.read_p();
        // Counts by the row number, not the owner: the bar always offers one page.
        bar.count("select count(id) as num from Record where id="_sql + Session("USER_ID"));
        rs = bar.fetch("select * from Record where user_id="_sql + Session("user_id") + " order by Rec_date DESC");

        write_head({});
        Response.line("<meta http-equiv=\"pragma\" content=\"no-cache\">");
        Response.line("<meta http-equiv=\"expires\" content=\"" + NowText(0) + "\">");
        Response.lines(R"(
</head>
<body>
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolorlight="#336699" bordercolordark="#FFFFFF">
<tr bgcolor="#336699"><td colspan="5" height="22"><font color="#FFFFFF"><img src="images/arrow1.gif"> 我的电脑->>我的流水帐</font></td></tr>
<tr align="center" bgcolor="#E0E0E0"><td>序号</td><td>记载主题</td><td>金额</td><td>备注</td><td>日期</td></tr>
)");
        long n = 1;
        for (; bar.within(n) && !rs.eof(); ++n) {
            std::string id = html_text(rs("id"));
            Value text = rs("Rec_text");
            std::string note = text == "无" ? html_text(text)
                                            : "<a href=\"Record_text.asp?id=" + id + "\">" + html_text(text) + "</a>";
            Response.line(table_row(
                " align=\"center\" height=\"26\"",
                {Value(n + bar.offset()),
                 Cell::markup("<a href=\"Record_write.asp?id=" + id + "\" title=\"查看或修改此记录\">" +
                              html_text(rs("Rec_title")) + "</a>"),
                 rs("Rec_money"), Cell::markup(note), rs("Rec_date")}));
            rs.movenext();
        }
        bar.fill_rows(n, 5);
        Response.line("</table>");
        bar.write_bar("<input type=\"button\" class=\"buttons02\" value=\"新增记载\" "
                      "onclick=\"window.location.href='Record_Write.asp'\">");
        rs.close();
        conn.close();
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(recordlist, "Record_List.asp", access::signed_in().with("own rows only"))

}  // namespace tav::pages
