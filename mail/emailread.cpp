// Email_read.asp: one mail, marked read when somebody other than its sender
// opens it. The sender's own look at a sent copy leaves it unread, so the
// sent folder keeps telling whether the recipient has seen it.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"
#include "mail/mailbox.h"

namespace tav::pages {

class emailread : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("id");
        Value me = Session("USER_ID");
        // Only the account's own mail, sent or received; another's id reads
        // as a missing one.
        rs = conn.execute("select * from Email where id="_sql + id + " and (to_user_id=" + me + " or send_user_id=" +
                          me + ")");
        monitor("阅读邮件: " + rs("Email_title").str());
        std::vector<std::string> files = Split(rs("Email_Doc"), "*");
        bool attached = !files.empty() && files[0] != "0";
        bool from_other = rs("send_user_id") != me;

        write_head({.title = "信息显示", .no_cache_days = 1});
        Response.lines(R"(
<script language="javascript">
function GoBack(){
  window.history.back();
}
</script>
</head>
<body>
<table width="100%" border="0" cellspacing="0" cellpadding="4">
<tr bgcolor="#336699" height="28"><td><font color="#FFFFFF">您目前在浏览：我的邮件-&gt;&gt;查看邮件</font></td></tr>
)");
        Response.line("<tr><td>主题：" + html_text(rs("Email_title")) + "</td></tr>");
        Response.write("<tr><td>重要程度：" + html_text(mail::degree_name(rs("email_id"))));
        if (attached) Response.write("&nbsp;&nbsp;&nbsp;&nbsp;附件：有");
        Response.line("</td></tr>");
        Response.line("<tr><td><hr size=\"1\">正文：</td></tr>");
        // Stored through the allowlist; passed through it again for rows
        // that did not come from the form (system mails, older rows).
        Response.line("<tr><td bgcolor=\"#FFFFFF\">" + allow_markup(rs("Email_text")) + "</td></tr>");
        if (attached) {
            Response.write("<tr><td>");
            for (std::size_t i = 0; i < files.size(); ++i)
                Response.write("<a href=\"./email/" + html_text(files[i]) + "\" target=\"_blank\">查看附件" +
                               std::to_string(i + 1) + "</a> ");
            Response.line("</td></tr>");
        }
        Response.line("<tr><td>时间：" + html_text(rs("email_date")) + "&nbsp;" + html_text(rs("email_time")) +
                      "</td></tr>");
        Response.line("</table>");
        Response.write("<center>");
        if (from_other)
            Response.write("<input type=\"button\" class=\"buttons02\" value=\"回 复\" "
                           "onclick=\"window.location.href='Email_Reply.asp?id=" +
                           html_text(js_string(rs("id"))) + "'\"> ");
        Response.lines(R"html(
<input type="button" class="buttons02" value="返 回" onclick="GoBack()">
</center>
</body>
</html>
)html");
        if (from_other) conn.execute("update Email set read=1 where id="_sql + id + " and to_user_id=" + me);
    }
};

TAVELOR_PAGE(emailread, "Email_read.asp",
             access::signed_in().with("only a mail the account sent or received; another's reads as missing"))

}  // namespace tav::pages
