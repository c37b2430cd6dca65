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
        Response.lines(R"(
<script language="javascript">
var user_name = new Array();
var user_id = new Array();
)");
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
        Response.lines(R"html(
</script>
</head>
<body>
<div id="wait1" style="display:none"><br><br><center><font color="red">系统正在发送，请稍候... </font><font color="blue">Going ...</font></center></div>
<div id="a1">
<form name="postform" method="post" action="Email_sendDo.asp" enctype="multipart/form-data">
<table width="100%" border="0" cellspacing="1" cellpadding="3">
<tr bgcolor="#336699" height="28"><td colspan="2"><font color="#FFFFFF">新邮件</font></td></tr>
<tr><td width="80" align="right">
<input type="button" class="buttons02" name="sendto" value="选择收件人" onclick="select_emailer()"></td>
)html");
        Response.line("<td><font color=\"red\">*</font><input type=\"text\" name=\"EmailTo\" size=\"40\" readonly value=\"" +
                      html_text(email_to) + "\">");
        Response.line("<input type=\"hidden\" name=\"to_user_idstr\" value=\"" + html_text(to_user_idstr) + "\"></td></tr>");
        Response.lines(R"(
<tr><td align="right">重要程度</td><td>
<input type="radio" name="ImpDegree" value="0"><font color="red">！</font>非常紧急
<input type="radio" name="ImpDegree" value="1"><font color="blue">！</font>紧急
<input type="radio" name="ImpDegree" value="2" checked>一般
</td></tr>
)");
        Response.line("<tr><td align=\"right\">邮件主题</td><td><font color=\"red\">*</font>"
                      "<input type=\"text\" name=\"Email_title\" maxlength=\"50\" size=\"40\" value=\"" +
                      html_text(email_title) + "\"> ");
        Response.line("<input type=\"button\" class=\"buttons02\" value=\"发 送\" onclick=\"editinfo()\"></td></tr>");
        Response.line("<tr><td align=\"right\" valign=\"middle\">邮<br>件<br>内<br>容</td><td>");
        box.inputboxI_init();
        Response.lines(R"(
<IFRAME class="mytext" id="mytext" width="530" valign="bottom" height="75%"></IFRAME>
</td></tr>
<tr><td colspan="2"><table border="0" cellspacing="0" cellpadding="2">
)");
        for (int slot = 1; slot <= 4; slot += 2) {
            std::string a = std::to_string(slot), b = std::to_string(slot + 1);
            Response.line("<tr><td>附件" + a + "</td><td><input type=\"file\" name=\"File" + a + "\" size=\"25\"></td>" +
                          "<td>附件" + b + "</td><td><input type=\"file\" name=\"File" + b + "\" size=\"25\"></td></tr>");
        }
        Response.lines(R"html(
</table></td></tr>
</table>
<center><input type="button" class="buttons02" value="发 送" onclick="editinfo()"></center>
<input type="hidden" name="body" value="">
</form>
</div>
)html");
        write_editor_script();
        Response.lines(R"(
<script src="edit.js"></script>
</body>
</html>
)");
    }

private:
    void write_pick_script() {
        Response.lines(R"(
function get_user(ids){
  var parts = String(ids).split(",");
  var names = "", idstr = "";
  for (var i = 0; i < parts.length - 1; i++) {
    names += user_name[parts[i]] + ";";
    idstr += user_id[parts[i]] + "@";
  }
  postform.to_user_idstr.value = idstr;
  return names;
}
)");
        // The dialog answers at once where the browser still has a modal
        // dialog, and later (through a promise) where it is a stand-in.
        Response.lines(R"(
function select_emailer(){
  var r = showModalDialog("Select_user.asp", "", "dialogWidth:35em; dialogHeight:15em;status:0");
  if (r && typeof r.then == "function") r.then(picked_emailer);
  else picked_emailer(r);
}
function picked_emailer(r){
  if (r == null) return;
  postform.EmailTo.value = get_user(r);
  postform.EmailTo.focus();
}
)");
    }

    void write_editor_script() {
        // The start routine keeps the event binding of its first browser
        // (a function named document.onreadystatechange), which today's
        // browsers refuse to parse. Typed so that they leave it alone;
        // edit.js binds it and runs it. The form's own routine stands apart.
        write_submit_script();
        Response.lines(R"(
<script type="text/x-jscript">
var note_body;
if (parent.m_body + '1' != 'undefined1') note_body = parent.m_body;
else note_body = '无内容';
)");
        box.write_ready_routine("10pt arial,sans-serif");
        Response.line("</script>");
    }

    void write_submit_script() {
        Response.lines(R"(
<script language="javascript">
function editinfo() {
  if (bTextMode) postform.body.value = mytext.document.body.innerText;
  else postform.body.value = mytext.document.body.innerHTML;
  if (postform.EmailTo.value == "") {
    alert("请选择收件人！");
    postform.EmailTo.focus();
    return;
  }
  if (postform.Email_title.value == "") {
    alert("请输入邮件主题！");
    postform.Email_title.focus();
    return;
  }
  if (postform.body.value == "") {
    alert("邮件内容不能为空！");
    return;
  }
  wait1.style.display = "";
  a1.style.display = "none";
  postform.submit();
}
</script>
)");
    }

    InputBox box{*this};
};

TAVELOR_PAGE(emailsend, "Email_send.asp", access::signed_in())

}  // namespace tav::pages
