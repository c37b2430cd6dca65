// Sys_Medium_Modify.asp: the form for a new title, or for changing or
// deleting a stored one. Only an account with the right 1311 sees the
// delete button, and only such an account reaches the save page behind it.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/site_layout.h"
#include "frame/vb.h"
#include "media/media_common.h"

namespace tav::pages {

class sysmediummodify : public Page {
public:
    void I_init() override {
        dbI_init();
        std::vector<std::string> keys = Split(media::kKindKeys, " ");
        std::vector<std::string> labels = Split(media::kKindLabels, " ");
        std::string heading = "添加新媒体文件";
        Value path = layout::dir_at_root(layout::kMediaFolder);
        Value title, text, filename, file_type, author, py;

        Value id = Request.querystring("ID");
        if (!id.blank()) {
            rs = conn.execute("select * from Medium where id="_sql + id);
            title = Trim(rs("title"));
            text = Trim(rs("Medium_text"));
            path = Trim(rs("path"));
            filename = Trim(rs("filename"));
            file_type = Trim(rs("file_type"));
            author = Trim(rs("Author"));
            py = Trim(rs("Py"));
            heading = "修改媒体文件属性";
        }
        const bool edit = !id.blank();

        // The compatibility script shows the upload's progress.
        Response.client_compat(kCompatDialogs);
        write_head({.title = std::nullopt});
        write_script(edit);
        Response.lines(R"(
</head>
<body>
<table width="100%" border="0" cellspacing="1" cellpadding="2" class="a9px">
)");
        Response.line("<tr bgcolor=\"#336699\"><td colspan=\"2\" height=\"26\"><font color=\"#FFFFFF\">媒体维护 =>>" +
                      heading + "</font></td></tr>");
        Response.lines(R"html(
</table>
<form name="form1" method="post" action="Sys_Medium_Modify_Save.asp" enctype="multipart/form-data" onsubmit="return check()">
<table width="100%" border="0" cellspacing="1" cellpadding="2" class="a9px">
)html");
        row("媒体标题：", "<input type=\"text\" name=\"Title\" maxlength=\"50\" size=\"30\" value=\"" + html_text(title) + "\">");
        row("保存路径：", "<input type=\"text\" name=\"Path\" maxlength=\"80\" size=\"30\" value=\"" + html_text(path) +
                             "\"> 相对于网站的目录,注意首尾含字符'/'");
        row("文 件 名：", "<input type=\"file\" name=\"Filename\" size=\"30\">");
        std::string select = "<select name=\"File_type\">";
        for (std::size_t i = 0; i < keys.size(); ++i)
            select += "<option value=\"" + keys[i] + "\"" + (keys[i] == file_type.str() ? " selected" : "") + ">" +
                      labels[i] + "</option>";
        row("文件类型：", select + "</select>");
        row("作者信息：", " 演唱者 <input type=\"text\" name=\"Author\" size=\"20\" value=\"" + html_text(author) +
                             "\"> 演唱者姓名拼音首字母<input type=\"text\" name=\"Py\" size=\"4\" value=\"" +
                             html_text(py) + "\">");
        row("媒体介绍：", "<textarea name=\"Text\" rows=\"8\" cols=\"60\">" + html_text(text) + "</textarea>");
        Response.line("<tr><td colspan=\"2\" align=\"center\"><input type=\"hidden\" name=\"ID\" value=\"" +
                      html_text(id) + "\"><input type=\"submit\" value=\"确认\" name=\"btnOK\"> "
                      "<input type=\"button\" value=\"返回\" name=\"btnret\" onclick=\"history.back()\"></td></tr>");
        Response.line("</table>");
        Response.line("</form>");

        // Without a session the rights read fails by itself and leaves "".
        std::string rights = get_user_menu(Session("USER_ID")).str();
        Response.write("<table width=\"100%\" border=\"0\"><tr><td align=\"center\">");
        if (edit && InStr(rights, "1311") > 0) {
            Response.line("<form name=\"form2\" method=\"post\" action=\"Sys_Medium_Modify_Save.asp\" "
                          "enctype=\"multipart/form-data\" onsubmit=\"return MyDelete()\">");
            Response.line("<input type=\"hidden\" name=\"ID\" value=\"" + html_text(id) + "\">");
            Response.line("<input type=\"hidden\" name=\"Dele\" value=\"ok\">");
            Response.line("<input type=\"hidden\" name=\"Title\" value=\"" + html_text(title) + "\">");
            Response.line("<input type=\"submit\" value=\"删除此媒体\" name=\"btnDel\">");
            Response.line("</form>");
        } else {
            Response.write("\xE3\x80\x80");
        }
        Response.lines(R"(
</td></tr>
</table>
</body>
</html>
)");
        conn.close();
    }

private:
    void row(const std::string& label, const std::string& field) {
        Response.line("<tr bgcolor=\"#E0E0E0\"><td width=\"100\" align=\"right\">" + label + "</td><td>" + field +
                      "</td></tr>");
    }

    // The checks run on the lower-cased file name, in order; the first fault
    // stops with its message.
    void write_script(bool edit) {
        Response.lines(R"(
<script language="javascript">
function check(){
  var f=document.form1, file=f.Filename.value.toLowerCase();
  if(f.Title.value==""){ alert("请填写媒体标题！"); f.Title.focus(); return false; }
  if(f.Path.value==""){ alert("请填写媒体保存路径！"); f.Path.focus(); return false; }
)");
        Response.line(std::string("  var edit=") + (edit ? "true" : "false") + ";");
        Response.lines(R"(
  if(!edit && file==""){ alert("请填写媒体文件名！"); f.Filename.focus(); return false; }
  if(!edit || file!=""){
    if(file.search(":")==-1){ alert("您输入的文件名不正确，请通过“浏览”按钮选取声音文件!"); f.Filename.focus(); return false; }
    if(file.search(".mp")==-1 && file.search(".rm")==-1 && file.search(".asf")==-1 && file.search(".wmv")==-1){
      alert("您选取的不是声音文件！\r\n请选择文件扩展名为mp3、rm、asf、wmv的文件。"); f.Filename.focus(); return false; }
  }
  if(edit && file!="" && !confirm("用新文件替换原文件吗？")) return false;
  if(f.Py.value.length!=1){ alert("请填写演唱者姓名拼音首字母！\r\n这样便于分类查找歌曲，*表示所有类别。"); f.Py.focus(); return false; }
  return true;
}
function MyDelete(){
  return confirm("删除文件："+document.form2.Title.value+"吗？");
}
</script>
)");
    }
};

TAVELOR_PAGE(sysmediummodify, "Sys_Medium_Modify.asp", access::right("1311").with("delete button with 1311, as the save page"))

}  // namespace tav::pages
