// Book_Write.asp: the form for a new message or a reply. A reply starts
// with the parent's subject and its whole text in the editor.
#include "frame/html.h"
#include "frame/inputbox.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class bookwrite : public Page {
public:
    void I_init() override {
        Value id = Trim(Request.querystring("id"));
        Value subject;
        Value body;
        if (!id.blank()) {
            dbI_init();
            rs = conn.execute("select * from Book where id="_sql + id);
            subject = "回复：" + Trim(rs("book_title"));
            body = Trim(rs("book_text"));
        }
        if (body.blank()) body = "请输入你的留言内容……";
        // Pictures inserted by the editor land in Datas\Book\.
        Session.set("upload_path", "Book");

        Response.client_compat(kCompatDialogs);
        write_head({.title = "写留言"});
        Response.lines(R"(
</head>
<body>
<div id="wait1" style="display:none"><br><br><p align="center"><font color="red">系统正在保存留言，请稍候... </font><font color="blue">Going ...</font></p></div>
<div id="a1">
<form name="postform" method="post" action="Book_Save.asp" enctype="multipart/form-data">
)");
        Response.line("<input type=\"hidden\" name=\"Reply_id\" value=\"" + html_text(id) + "\">");
        Response.line("<table width=\"100%\" border=\"0\" cellspacing=\"0\" cellpadding=\"2\">");
        Response.line("<tr bgcolor=\"#336699\"><td height=\"25\"><font color=\"#FFFFFF\">"
                      "<img src=\"images/arrow1.gif\"> 书写新留言</font></td></tr>");
        Response.line("<tr><td>留言主题<font color=\"red\">*</font>："
                      "<input type=\"text\" name=\"Book_Title\" maxlength=\"80\" size=\"60\" value=\"" +
                      html_text(subject) + "\"></td></tr>");
        Response.line("<tr><td>");
        InputBox box{*this};
        box.inputboxI_init();
        Response.lines(R"html(
<IFRAME class="mytext" id="mytext" width="530" valign="bottom" height="78%"></IFRAME>
<input type="hidden" name="body" value="">
</td></tr>
<tr><td><input type="button" class="buttons02" name="save" value="保存留言" onclick="editinfo()"></td></tr>
</table>
</form>
</div>
)html");

        // The form's own routine first, as plain script.
        Response.lines(R"(
<script language="javascript">
function editinfo() {
  if (bTextMode) postform.body.value = mytext.document.body.innerText;
  else postform.body.value = mytext.document.body.innerHTML;
  if (postform.Book_Title.value == "") {
    alert("请输入留言主题！");
    postform.Book_Title.focus();
    return;
  }
  if (postform.body.value == "") {
    alert("留言内容不能为空！");
    return;
  }
  wait1.style.display = "";
  a1.style.display = "none";
  postform.submit();
}
</script>
)");
        // The start routine keeps its first browser's event binding (a
        // function named document.onreadystatechange), which browsers today
        // refuse to parse: typed so that they leave it to edit.js, which
        // binds it and runs it.
        Response.lines(R"(
<script type="text/x-jscript">
var note_body;
if (parent.m_body + '1' != 'undefined1') note_body = parent.m_body;
)");
        // The start text is written into the editor's document: only the
        // formatting subset, and as a script literal that cannot end early.
        Response.line("else note_body = '" + js_string(allow_markup(body)) + "';");
        box.write_ready_routine("10pt arial,sans-serif");
        Response.lines(R"(
</script>
<script language="javascript" src="edit.js"></script>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(bookwrite, "Book_Write.asp", access::right("1201|1202|1204"))

}  // namespace tav::pages
