// Data_Input.asp: the entry form of an item, new (m names the main menu) or
// existing (ID names the item), with the rich text editor. The category list
// offers only categories in which the account may enter data.
#include <string>

#include "datacentre/catalog.h"
#include "frame/html.h"
#include "frame/inputbox.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class datainput : public Page {
public:
    void I_init() override {
        dbI_init();
        Response.client_compat(kCompatDialogs);
        std::string note = "请控制好附件的文件格式";
        Value ID = Trim(Request.querystring("ID"));
        Value m, code, selected, title;
        std::string initial;
        if (ID.blank()) {
            ID = 0;
            m = Trim(Request.querystring("m"));
            // A main menu's handle (menuNN): it also names the picture folder below Datas.
            if (m.str().rfind("menu", 0) != 0 || !(m.str().size() == 6 && datacentre::digit_code(m.str().substr(4)))) refuse("没有这个主菜单");
            rs = conn.execute("select user_text,menu_id from menu where menu_text='"_sql + m + "'");
            code = Replace(rs("menu_id"), "menu", "");
            // The editor's pictures go to the main menu's folder.
            Session.set("upload_path", m);
        } else {
            rs = conn.execute("select * from Datas where id="_sql + ID);
            if (!datacentre::may_change(conn, rs)) refuse("只有作者或有删除权限者可以修改未上锁的信息");
            m = Trim(rs("Main_menu"));
            selected = Trim(rs("Sub_menu"));
            code = Left(selected, 2);
            title = rs("D_title");
            if (Trim(rs("D_afile")) != "0")
                note = "已有附件：<font color=red>" + html_text(rs("D_afile")) + "</font>";
            initial = Replace(rs("D_text"), "\r\n", "");
            rs = conn.execute("select user_text,menu_id from menu where menu_text='"_sql + m + "'");
        }
        Value main_name = rs("user_text");
        Value rights = user_rights()("menu_idstr");
        if (note == "请控制好附件的文件格式") note = html_text(note);

        write_head({.title = "输入数据", .no_cache_days = 10});
        Response.lines(R"(
</head>
<body>
<div id="wait1" style="display:none"><br><br><p align="center"><font color="red">系统正在保存数据，请稍候...... </font><font color="blue">Going ......</font></p></div>
<div id="a1">
<form name="postform" method="post" action="Data_InputDo.asp" enctype="multipart/form-data">
)");
        Response.line("<input type=\"hidden\" name=\"ID\" value=\"" + html_text(ID) + "\">");
        Response.line("<input type=\"hidden\" name=\"Main_menu\" value=\"" + html_text(m) + "\">");
        Response.line("<table width=\"560\" border=\"0\" cellspacing=\"0\" cellpadding=\"3\" align=\"center\">");
        Response.line("<tr bgcolor=\"#336699\" height=\"25\"><td colspan=\"2\"><font color=\"#ffffff\">录入 =>> " +
                      html_text(main_name) + html_text(Request.querystring("type")) + "</font></td></tr>");
        Response.line("<tr><td width=\"80\" nowrap>数据主题<font color=\"red\">*</font></td><td>"
                      "<input type=\"text\" name=\"D_title\" maxlength=\"50\" size=\"40\" value=\"" +
                      html_text(title) + "\"></td></tr>");
        Response.line("<tr><td nowrap>数据类别</td><td><select name=\"Sub_menu\">");
        Recordset cats = conn.execute("select menu_id,user_text from menu where left(menu_id,2)='"_sql + code +
                                      "' order by menu_id");
        while (!cats.eof()) {
            Value id = cats("menu_id");
            // Only categories the account may enter into; not the entry row or the fixed rows.
            if (InStr(rights, "i" + id) > 0 && InStr(id, "01") == 0 && InStr(id, "A") == 0) {
                Response.line("<option value=\"" + html_text(id) + "\"" + (id == selected ? " selected" : "") + ">" +
                              html_text(cats("user_text")) + "</option>");
            }
            cats.movenext();
        }
        Response.line("</select></td></tr>");
        Response.line("<tr><td valign=\"top\">内容<br><font color=\"#808080\">内容太过复杂，请采用附件。</font></td><td>");
        InputBox box{*this};
        box.inputboxI_init();
        Response.line("<IFRAME class=\"mytext\" id=\"mytext\" width=\"530\" valign=\"bottom\" height=\"75%\"></IFRAME>");
        Response.line("</td></tr>");
        Response.line("<tr><td nowrap>数据附件：</td><td><input type=\"file\" name=\"Afile\" size=\"30\"> [" + note +
                      "] <input type=\"button\" class=\"buttons02\" value=\"确定\" onclick=\"editinfo()\"></td></tr>");
        Response.lines(R"(
</table>
<input type="hidden" name="body" value="">
</form>
</div>
)");
        write_start_script(box, initial);
        Response.lines(R"(
<script src="edit.js"></script>
</body>
</html>
)");
    }

private:
    // The editor's start routine is bound the old way, as a function named
    // document.onreadystatechange, which today's browsers refuse to parse.
    // The block is therefore typed text/x-jscript: browsers leave it alone
    // (no syntax error on the console) and edit.js, which reads the page's
    // JScript blocks, binds and runs it.
    void write_start_script(InputBox& box, const std::string& initial) {
        Response.lines(R"(
<script type="text/x-jscript">
var note_body;
if (parent.m_body + '1' != 'undefined1') note_body = parent.m_body;
)");
        Response.line("else note_body = '" + js_string(allow_markup(initial)) + "';");
        Response.line("");
        box.write_ready_routine("10pt 宋体,arial,sans-serif");
        Response.lines(R"(

function editinfo() {
  if (bTextMode) postform.body.value = mytext.document.body.innerText;
  else postform.body.value = mytext.document.body.innerHTML;
  if (postform.D_title.value == "") {
    alert("请输入数据主题！");
    postform.D_title.focus();
    return;
  }
  if (postform.Sub_menu.value == "") {
    alert("请选择数据类别！\n\r如果没有供选择的项目，您一定是没有录入数据的权限！\r\n请与管理员联系……");
    postform.Sub_menu.focus();
    return;
  }
  if (postform.body.value == "" && postform.Afile.value == "") {
    alert("数据内容文本和数据附件不能同为空！\n\r有附件时，数据文本可用来对附件作简要说明。");
    postform.File1.focus();
    return;
  }
  wait1.style.display = "";
  a1.style.display = "none";
  postform.submit();
}
</script>
)");
    }
};

TAVELOR_PAGE(datainput, "Data_Input.asp",
             access::signed_in().with("offers the categories with i+code; an item (ID) only to its author or del, "
                                      "while not locked"))

}  // namespace tav::pages
