// Email_send.asp: the form for a new mail. The recipient dialog returns
// positions in the account list; the script arrays written here turn them
// into ids and names, so both pages must list the same accounts in the
// same order (every account but the current one, by id).
#include "frame/html.h"
#include "frame/inputbox.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class emailsend : public Page {
public:
    void I_init() override {
        dbI_init();
        Value email_to = Request.querystring("Emailto");
        Value to_user_idstr = Request.querystring("to_user_idstr");
        Value email_title = Request.querystring("Email_title");
        Session.set("upload_path", "email");
        Response.client_compat(kCompatDialogs);  // the recipient dialog, fields by bare name

        write_head({.title = "发送邮件", .no_cache_days = 1});
        Response.line("<script language=\"javascript\">");
        Response.line("var user_name = new Array();");
        Response.line("var user_id = new Array();");
        rs = conn.execute("select id,truename from user order by ID");
        Value me = Session("USER_ID");
        long k = 0;
        while (!rs.eof()) {
            if (rs("id") != me) {
                Response.line("user_name[" + std::to_string(k) + "]=\"" + js_string(rs("truename")) + "\";");
                Response.line("user_id[" + std::to_string(k) + "]=\"" + js_string(rs("id")) + "\";");
                ++k;
            }
            rs.movenext();
        }
        rs.close();
        write_pick_script();
        Response.line("</script>");
        Response.line("</head>");
        Response.line("<body>");
        Response.line("<div id=\"wait1\" style=\"display:none\"><br><br><center><font color=\"red\">系统正在发送，请稍候... "
                      "</font><font color=\"blue\">Going ...</font></center></div>");
        Response.line("<div id=\"a1\">");
        Response.line("<form name=\"postform\" method=\"post\" action=\"Email_sendDo.asp\" "
                      "enctype=\"multipart/form-data\">");
        Response.line("<table width=\"100%\" border=\"0\" cellspacing=\"1\" cellpadding=\"3\">");
        Response.line("<tr bgcolor=\"#336699\" height=\"28\"><td colspan=\"2\"><font color=\"#FFFFFF\">新邮件</font></td></tr>");
        Response.line("<tr><td width=\"80\" align=\"right\">");
        Response.line("<input type=\"button\" class=\"buttons02\" name=\"sendto\" value=\"选择收件人\" "
                      "onclick=\"select_emailer()\"></td>");
        Response.line("<td><font color=\"red\">*</font><input type=\"text\" name=\"EmailTo\" size=\"40\" readonly value=\"" +
                      html_text(email_to) + "\">");
        Response.line("<input type=\"hidden\" name=\"to_user_idstr\" value=\"" + html_text(to_user_idstr) + "\"></td></tr>");
        Response.line("<tr><td align=\"right\">重要程度</td><td>");
        Response.line("<input type=\"radio\" name=\"ImpDegree\" value=\"0\"><font color=\"red\">！</font>非常紧急");
        Response.line("<input type=\"radio\" name=\"ImpDegree\" value=\"1\"><font color=\"blue\">！</font>紧急");
        Response.line("<input type=\"radio\" name=\"ImpDegree\" value=\"2\" checked>一般");
        Response.line("</td></tr>");
        Response.line("<tr><td align=\"right\">邮件主题</td><td><font color=\"red\">*</font>"
                      "<input type=\"text\" name=\"Email_title\" maxlength=\"50\" size=\"40\" value=\"" +
                      html_text(email_title) + "\"> ");
        Response.line("<input type=\"button\" class=\"buttons02\" value=\"发 送\" onclick=\"editinfo()\"></td></tr>");
        Response.line("<tr><td align=\"right\" valign=\"middle\">邮<br>件<br>内<br>容</td><td>");
        box.inputboxI_init();
        Response.line("<IFRAME class=\"mytext\" id=\"mytext\" width=\"530\" valign=\"bottom\" height=\"75%\"></IFRAME>");
        Response.line("</td></tr>");
        Response.line("<tr><td colspan=\"2\"><table border=\"0\" cellspacing=\"0\" cellpadding=\"2\">");
        for (int slot = 1; slot <= 4; slot += 2) {
            std::string a = std::to_string(slot), b = std::to_string(slot + 1);
            Response.line("<tr><td>附件" + a + "</td><td><input type=\"file\" name=\"File" + a + "\" size=\"25\"></td>" +
                          "<td>附件" + b + "</td><td><input type=\"file\" name=\"File" + b + "\" size=\"25\"></td></tr>");
        }
        Response.line("</table></td></tr>");
        Response.line("</table>");
        Response.line("<center><input type=\"button\" class=\"buttons02\" value=\"发 送\" onclick=\"editinfo()\"></center>");
        Response.line("<input type=\"hidden\" name=\"body\" value=\"\">");
        Response.line("</form>");
        Response.line("</div>");
        write_editor_script();
        Response.line("<script src=\"edit.js\"></script>");
        Response.line("</body>");
        Response.line("</html>");
        Response.write("");
    }

private:
    void write_pick_script() {
        Response.line("function get_user(ids){");
        Response.line("  var parts = String(ids).split(\",\");");
        Response.line("  var names = \"\", idstr = \"\";");
        Response.line("  for (var i = 0; i < parts.length - 1; i++) {");
        Response.line("    names += user_name[parts[i]] + \";\";");
        Response.line("    idstr += user_id[parts[i]] + \"@\";");
        Response.line("  }");
        Response.line("  postform.to_user_idstr.value = idstr;");
        Response.line("  return names;");
        Response.line("}");
        // The dialog answers at once where the browser still has a modal
        // dialog, and later (through a promise) where it is a stand-in.
        Response.line("function select_emailer(){");
        Response.line("  var r = showModalDialog(\"Select_user.asp\", \"\", \"dialogWidth:35em; dialogHeight:15em;status:0\");");
        Response.line("  if (r && typeof r.then == \"function\") r.then(picked_emailer);");
        Response.line("  else picked_emailer(r);");
        Response.line("}");
        Response.line("function picked_emailer(r){");
        Response.line("  if (r == null) return;");
        Response.line("  postform.EmailTo.value = get_user(r);");
        Response.line("  postform.EmailTo.focus();");
        Response.line("}");
    }

    void write_editor_script() {
        // The start routine keeps the event binding of its first browser
        // (a function named document.onreadystatechange), which today's
        // browsers refuse to parse. Typed so that they leave it alone;
        // edit.js binds it and runs it. The form's own routine stands apart.
        write_submit_script();
        Response.line("<script type=\"text/x-jscript\">");
        Response.line("var note_body;");
        Response.line("if (parent.m_body + '1' != 'undefined1') note_body = parent.m_body;");
        Response.line("else note_body = '无内容';");
        box.write_ready_routine("10pt arial,sans-serif");
        Response.line("</script>");
    }

    void write_submit_script() {
        Response.line("<script language=\"javascript\">");
        Response.line("function editinfo() {");
        Response.line("  if (bTextMode) postform.body.value = mytext.document.body.innerText;");
        Response.line("  else postform.body.value = mytext.document.body.innerHTML;");
        Response.line("  if (postform.EmailTo.value == \"\") {");
        Response.line("    alert(\"请选择收件人！\");");
        Response.line("    postform.EmailTo.focus();");
        Response.line("    return;");
        Response.line("  }");
        Response.line("  if (postform.Email_title.value == \"\") {");
        Response.line("    alert(\"请输入邮件主题！\");");
        Response.line("    postform.Email_title.focus();");
        Response.line("    return;");
        Response.line("  }");
        Response.line("  if (postform.body.value == \"\") {");
        Response.line("    alert(\"邮件内容不能为空！\");");
        Response.line("    return;");
        Response.line("  }");
        Response.line("  wait1.style.display = \"\";");
        Response.line("  a1.style.display = \"none\";");
        Response.line("  postform.submit();");
        Response.line("}");
        Response.line("</script>");
    }

    InputBox box{*this};
};

TAVELOR_PAGE(emailsend, "Email_send.asp", access::signed_in())

}  // namespace tav::pages
