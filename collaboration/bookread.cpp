// Book_read.asp: one message with its replies. The owner of the message
// reading it marks its replies read; the read counter rises for everyone,
// after the page is written.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class bookread : public Page {
public:
    void I_init() override {
        dbI_init();
        [[maybe_unused]] Value gl = Request.querystring("gl");  // read; the right decides the delete links
        const bool manager = holds_right(conn, "1204");
        rs = conn.execute("select * from Book where id="_sql + Request.querystring("id"));
        Value title = rs("Book_title");
        Value ID = rs("ID");
        Value owner = rs("user_id");
        Value reply_num = rs("reply_num");
        monitor("查看留言: " + title);

        write_head({.title = "信息显示"});
        Response.lines(R"(
</head>
<body>
<form name="myform" method="get" action="Book_Write.asp">
)");
        Response.line("<input type=\"hidden\" name=\"id\" value=\"" + html_text(ID) + "\">");
        Response.line("<table width=\"100%\" border=\"0\" cellspacing=\"0\" cellpadding=\"3\">");
        Response.line("<tr bgcolor=\"#336699\"><td height=\"25\"><font color=\"#FFFFFF\">"
                      "<img src=\"images/arrow1.gif\"> 您目前在浏览：网络互动->>查看留言</font></td></tr>");
        Response.line("<tr><td><b>留言主题：</b>" + html_text(title) + "</td></tr>");
        Response.line("<tr><td>" + allow_markup(rs("book_text")) + "</td></tr>");
        Response.line("<tr><td align=\"right\">留言者：" + html_text(get_user_truename(owner)) +
                      "&nbsp;&nbsp;&nbsp;&nbsp;来自：" + html_text(rs("User_IP")) + "</td></tr>");
        Response.line("</table>");

        Recordset replies = conn.execute("select * from Book where Reply_id="_sql + rs("id"));
        long shown = 0;
        while (!replies.eof()) {
            ++shown;
            Value reply_id = replies("id");
            Response.line("<table width=\"100%\" border=\"0\" cellspacing=\"0\" cellpadding=\"3\">");
            std::string del = manager ? "&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;<a href=\"Pop_Del.asp?id=" +
                                            html_text(reply_id) + "&Table=Book&message=确实要删除留言回复[" +
                                            html_text(title) + "]吗？&next=Book_list.asp?GL=1\">删除此回复</a>"
                                      : "";
            Response.line("<tr bgcolor=\"#BFAFBF\"><td>回复" + std::to_string(shown) + "：" + html_text(title) + del +
                          "</td></tr>");
            Response.line("<tr><td>" + allow_markup(replies("Book_text")) + "</td></tr>");
            Response.line("<tr><td align=\"right\">回复人：" + html_text(get_user_truename(replies("user_id"))) +
                          "&nbsp;&nbsp;&nbsp;&nbsp;来自：" + html_text(replies("User_ip")) + "</td></tr>");
            Response.line("</table>");
            // Only the owner of the message clears its unread replies.
            if (ID.num() - replies("reply_id").num() == 0 && owner.num() - Session("user_id").num() == 0)
                conn.execute("update book set reply_read=1 where id="_sql + reply_id);
            replies.movenext();
        }
        if (shown < reply_num)
            Response.line("<p><font color=\"red\"> 此留言部分或全部回复已经被管理员删除！</font></p>");

        Response.lines(R"html(
<p align="center"><input type="submit" class="buttons02" value="回 复">&nbsp;<input type="button" class="buttons02" value="返 回" onclick="history.back()"></p>
</form>
</body>
</html>
)html");
        conn.execute("update Book set Read_num=Read_num+1 where ID="_sql + ID);
    }
};

TAVELOR_PAGE(bookread, "Book_read.asp", access::right("1201|1202|1204").with("delete links only with 1204"))

}  // namespace tav::pages
