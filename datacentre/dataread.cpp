// Data_read.asp: one item with its attachments, and the buttons that lead to
// change. The buttons are the only place where the data centre decides who
// may change an item: authors and holders of "del", never while locked.
#include <string>
#include <vector>

#include "datacentre/catalog.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/site_layout.h"
#include "frame/vb.h"

namespace tav::pages {

class dataread : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("id");
        rs = conn.execute("select * from Datas where id="_sql + id);
        // Readable where its category's list is.
        std::string code = Trim(rs("Sub_menu")).str();
        if (!datacentre::category_code(code)) refuse("没有这个类别");
        require_right(conn, code);
        // Written before anything is shown, so it stands also when a name is missing.
        monitor("查阅: " + rs("Main_menu") + " =>> " + rs("D_title"));
        std::vector<std::string> files = Split(rs("D_afile"), "*");
        Recordset names = conn.execute("select user_text from menu where menu_text='"_sql + rs("Main_menu") + "'");
        Value main_name = names("user_text");
        names = conn.execute("select user_text from menu where menu_id='"_sql + rs("Sub_menu") + "'");
        Value category = names("user_text");

        write_head({.title = "信息显示", .no_cache_days = 1});
        Response.lines(R"(
<script language="JavaScript">
window.focus();
function GoBack() { window.history.back(); }
</script>
</head>
<body>
<table width="100%" border="0" cellspacing="0" cellpadding="4">
)");
        Response.line("<tr bgcolor=\"#336699\"><td><font color=\"#ffffff\">您目前在浏览：" + html_text(main_name) +
                      " ->> " + html_text(category) + "</font></td></tr>");
        Response.line("<tr><td><b>主题：" + html_text(rs("D_title")) + "</b></td></tr>");
        Response.lines(R"(
<tr><td>重要程度：</td></tr>
<tr><td><hr size="1"></td></tr>
<tr><td>正文：</td></tr>
)");
        // Saved through the editor's allowlist; read through it again, so a
        // row written by other means cannot run script either.
        Response.line("<tr><td bgcolor=\"#ffffff\">" + allow_markup(rs("D_text")) + "</td></tr>");
        Response.line("<tr><td><table border=\"0\" cellspacing=\"0\" cellpadding=\"2\"><tr>");
        if (files.empty()) raise_error(9, "Subscript out of range");
        if (files[0] != "0") {
            for (const std::string& name : files) {
                Response.line("<td><a href=\"" + layout::dir_here(layout::kDataFolder) +
                              html_text(datacentre::url_part(rs("Sub_menu").str())) + "/" +
                              html_text(datacentre::url_part(name)) + "\">查看附件：" + html_text(name) +
                              "</a></td>");
            }
        }
        Response.line("</tr></table></td></tr>");
        Response.line("<tr><td>时间：" + html_text(rs("D_date")) + "</td></tr>");
        Response.line("</table>");

        Value rights = user_rights()("menu_idstr");
        bool del = InStr(rights, "del") > 0;  // "model" holds it as well
        bool author = rs("user_id") == Session("USER_ID");
        bool free = rs("lock") == "0";
        std::string item = html_text(rs("id"));
        Response.write("<p align=\"center\">");
        Response.write(button("返 回", "GoBack()"));
        if ((del || author) && free) {
            Response.write(button("删 除", "location.href='Data_Del.asp?id=" + item + "'"));
            Response.write(button("修 改", "location.href='Data_Input.asp?id=" + item + "'"));
        }
        if (del && free) Response.write(button("Lock", "location.href='Lock.asp?id=" + item + "&amp;k=lock'"));
        if (del && !free) Response.write(button("UnLock", "location.href='lock.asp?id=" + item + "&amp;k=unlock'"));
        Response.lines(R"(
</p>
</body>
</html>
)");
    }

private:
    static std::string button(const char* label, const std::string& action) {
        return "<input type=\"button\" class=\"buttons02\" value=\"" + std::string(label) + "\" onclick=\"" + action +
               "\"> ";
    }
};

TAVELOR_PAGE(dataread, "Data_read.asp",
             access::signed_in().with("the read right of the item's category"))

}  // namespace tav::pages
