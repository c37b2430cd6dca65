// file_rename.asp: the form for a file's new name.
#include "filestore/names.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

namespace {
// The old form wrote the name into value= without quotes: the browser reads
// it only up to the first blank.
std::string up_to_blank(const std::string& s) {
    std::size_t at = s.find_first_of(" \t\r\n\f");
    return at == std::string::npos ? s : s.substr(0, at);
}
}  // namespace

class filerename : public Page {
public:
    void I_init() override {
        Value old_name = Request.querystring("old_name");
        Value folder = Request.querystring("Folder");
        dbI_init();
        if (!filestore::inside(folder.str(), filestore::account_root(conn))) refuse("file store: folder outside own");
        conn.close();
        std::string cut = html_unquoted(up_to_blank(old_name.str()));
        write_head({.title = ""});
        Response.lines(R"(
<script language="JavaScript">
function go_check() {
  if (document.form1.new_name.value == "") {
    alert("请输入新文件名！");
    document.form1.new_name.focus();
    return;
  }
  if (document.form1.new_name.value == document.form1.old_name.value) {
    alert("新文件名与原来的相同！");
    document.form1.new_name.focus();
    return;
  }
  document.form1.submit();
}
</script>
</head>
<body>
<form name="form1" method="get" action="file_rename_save.asp" enctype="multipart/form-data">
<table width="400" border="0" cellspacing="1" cellpadding="4" align="center">
)");
        Response.line("<tr><td>将文件：<font color=\"red\">" + html_text(old_name) + "</font></td></tr>");
        Response.line("<tr><td>更名为：<input type=\"text\" name=\"new_name\" value=" + cut + " size=\"30\">");
        Response.line("<input type=\"hidden\" name=\"Folder\" value=\"" + html_text(folder) + "\">");
        Response.line("<input type=\"hidden\" name=\"old_name\" value=" + cut + ">");
        Response.lines(R"html(
<input type="button" value="确 定" onclick="go_check()"></td></tr>
</table>
</form>
</body>
</html>
)html");
    }
};

TAVELOR_PAGE(filerename, "file_rename.asp", access::signed_in().with("own folder only"))

}  // namespace tav::pages
