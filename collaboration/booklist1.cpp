// book_list1.asp: the account's own messages that have unread replies (the
// status cell "留言回复" leads here). No paging: the first ten by newest id.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class booklist1 : public Page {
public:
    void I_init() override {
        dbI_init();
        // The owner's messages that have an unread reply, newest id first,
        // ten at most: one statement, found from the unread replies (few,
        // and indexed; threads are no replies and ids start at 1), so an
        // owner of thousands of threads does not have each looked at.
        rs = conn.execute("select top 10 * from Book as parent where Reply_id=0 and user_id="_sql + Session("USER_ID") +
                          " and Reply_num>0 and id in (select reply_id from book where reply_read=0 and reply_id>0) "
                          "order by id DESC");

        write_head({.title = "GuestBook List"});
        Response.lines(R"(
</head>
<body>
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolorlight="#999999" bordercolordark="#FFFFFF">
<tr bgcolor="#336699"><td colspan="6" height="25"><font color="#FFFFFF"><img src="images/arrow1.gif"> 网络互动->>留言薄->本人留言回复列表</font></td></tr>
<tr align="center" bgcolor="#E0E0E0"><td width="40">序号</td><td>留言主题</td><td width="80">留言者</td><td width="60">阅读次数</td><td width="50">回复数</td><td width="140">留言日期</td></tr>
)");

        long printed = 0;
        while (!rs.eof() && printed < 10) {
            ++printed;
            Recordset writer = conn.execute("select truename from user where id="_sql + rs("user_id"));
            Value name = writer.eof() ? Value("已删除") : writer("truename");
            Response.line(table_row(" align=\"center\" height=\"25\"",
                                    {std::to_string(printed).c_str(),
                                     Cell::markup("<a href=\"Book_read.asp?id=" + html_text(rs("id")) + "\">" +
                                                  html_text(rs("Book_title")) + "</a>"),
                                     name, rs("Read_num"), rs("Reply_num"), rs("Book_date")}));
            rs.movenext();
        }
        for (long n = printed + 1; n <= 10; ++n) {
            Response.write("<tr height=\"25\">");
            for (int c = 0; c < 6; ++c) Response.write("<td>\xE3\x80\x80</td>");
            Response.line("</tr>");
        }
        if (printed == 0)
            Response.line("<tr height=\"25\"><td colspan=\"6\" align=\"center\">没有新的留言回复信息</td></tr>");
        Response.lines(R"(
</table>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(booklist1, "book_list1.asp", access::right("1202"))

}  // namespace tav::pages
