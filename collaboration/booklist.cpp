// Book_list.asp: the guest book's top-level messages, ten to a page. GL=1
// adds the delete column for the holders of the management right (1204),
// whose menu entry it is; for anyone else it shows the plain list.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"
#include "frame/vb.h"

namespace tav::pages {

class booklist : public Page {
public:
    void I_init() override {
        dbI_init();
        Value GL = Request.querystring("GL");
        // GL travels on in every link and the form; as text it stays inert.
        PageBar bar(*this, {.url = "Book_list.asp", .size = 10, .limit = 10, .row_height = 25,
                            .carry = {{"GL", html_text(GL)}}});
        bar.read_p();
        [[maybe_unused]] Value type = Trim(Request.querystring("type"));  // read, and nothing uses it
        const bool manager = GL == "1" && holds_right(conn, "1204");

        // The store keeps the number of threads (book_tally).
        bar.count("select num from book_tally");
        rs = bar.fetch("select * from Book where Reply_id=0 order by Book_date DESC");

        write_head({.title = "GuestBook List", .no_cache_days = 5});
        Response.lines(R"(
</head>
<body>
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolorlight="#999999" bordercolordark="#FFFFFF">
)");
        Response.line(std::string("<tr bgcolor=\"#336699\"><td colspan=\"") + (manager ? "7" : "6") +
                      "\" height=\"25\"><font color=\"#FFFFFF\"><img src=\"images/arrow1.gif\"> "
                      "网络互动->>留言薄列表</font></td></tr>");
        Response.line(std::string("<tr align=\"center\" bgcolor=\"#E0E0E0\"><td width=\"40\">序号</td>"
                                  "<td>留言主题</td><td width=\"80\">留言者</td><td width=\"60\">阅读次数</td>"
                                  "<td width=\"50\">回复数</td>") +
                      (manager ? "<td width=\"60\">删除留言</td>" : "") + "<td width=\"140\">留言日期</td></tr>");

        long n = 1;
        for (; bar.within(n) && !rs.eof(); ++n) {
            Recordset writer = conn.execute("select truename from user where id="_sql + rs("user_id"));
            Value name = writer.eof() ? Value("已删除") : writer("truename");
            std::string id = html_text(rs("id"));
            std::string subject = "<a href=\"Book_read.asp?id=" + id + "&gl=" + html_text(GL) +
                                  "\" title=\"查看或删除留言及留言回复\">" + html_text(rs("Book_title")) + "</a>";
            std::string serial = std::to_string(n + bar.offset());
            if (manager) {
                std::string del = "<a href=\"Pop_Del.asp?id=" + id +
                                  "&Table=Book&message=确实要删除留言[" + html_text(rs("Book_title")) +
                                  "]及所有回复吗？&next=Book_list.asp?GL=1\"><img src=\"images/delete.gif\" "
                                  "border=\"0\" alt=\"删除留言及其所有回复！\"></a>";
                Response.line(table_row(" align=\"center\" height=\"25\"",
                                        {serial.c_str(), Cell::markup(subject), name, rs("Read_num"),
                                         rs("Reply_num"), Cell::markup(del), rs("Book_date")}));
            } else {
                Response.line(table_row(" align=\"center\" height=\"25\"",
                                        {serial.c_str(), Cell::markup(subject), name, rs("Read_num"),
                                         rs("Reply_num"), rs("Book_date")}));
            }
            rs.movenext();
        }
        bar.fill_rows(n, manager ? 7 : 6);
        Response.line("</table>");
        bar.write_bar("<input type=\"button\" class=\"buttons02\" value=\"书写新留言\" "
                      "onclick=\"window.location.href='Book_Write.asp'\">");
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(booklist, "Book_list.asp", access::right("1201|1204").with("GL=1 delete column only with 1204; else the plain list"))

}  // namespace tav::pages
