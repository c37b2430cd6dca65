// file.asp: the files of the current folder, two to a row, with upload,
// delete and rename through a right-click menu over the list. Only folders
// of the account's own store, and only plain names in them.
#include "filestore/menu.h"
#include "filestore/names.h"
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class File : public Page {
public:
    void I_init() override {
        dbI_init();
        rs = conn.execute("select username from user where id="_sql + Session("user_id"));
        Value file_name = Request.querystring("file_name");
        Value does = Request.querystring("does");
        // The frame set loads the page bare; the tree then asks for a folder.
        if (Request.querystring("Folder").blank()) END_PAGE();
        folder_ = Request.querystring("Folder").str();
        if (!filestore::inside(folder_, filestore::account_root(conn))) refuse("file store: folder outside own");

        if ((does == "delete" || does == "rename") && !filestore::name_problem(file_name.str()).empty())
            refuse("file store: file name");
        if (does == "delete") {
            FileSystemObject fso;
            std::string target = Server.MapPath(".\\") + folder_ + "\\" + file_name;
            if (fso.FileExists(target)) fso.DeleteFile(target);
        }
        if (does == "rename") {
            Response.redirect("file_rename.asp?old_name=" + file_name + "&Folder=" + folder_);
            END_PAGE();
        }

        std::string username = Trim(rs("username")).str();
        std::string shown = folder_;
        if (shown == "\\user\\" + username) shown = "";
        shown = Replace(shown, "\\user\\" + username + "\\", "");

        // the menu's test for document.all holds through the compat script
        Response.client_compat(kCompatDialogs);
        write_head({.title = "我的文件", .no_cache_days = 10});
        filestore::write_menu_styles();
        Response.lines(R"(
</head>
<body>
<form name="form1" method="get" action="file.asp" target="files">
<input type="hidden" name="file_name" value="">
<input type="hidden" name="does" value="">
<input type="hidden" name="menu" value="0">
)");
        Response.line("<input type=\"hidden\" name=\"Folder\" value=\"" + html_text(folder_) + "\">");
        Response.line("<table height=\"320\" width=\"430\" border=\"0\" cellspacing=\"1\" cellpadding=\"2\" "
                      "onmouseover=\"in_table('1')\" onmouseout=\"in_table('0')\">");
        Response.line("<tr><td colspan=\"2\" height=\"20\" bgcolor=\"#336699\"><font color=\"white\">当前目录：\\" +
                      html_text(shown) + "</font></td></tr>");
        showfilelist(Server.MapPath(".\\") + folder_);
        Response.line("</table>");
        Response.line("</form>");

        filestore::write_menu({
            {"上传文件", "href=\"file_upload.asp?Folder=" + html_text(folder_) + "\" target=\"files\"", "#99cc00",
             "#999900", "#99cc33"},
            {"删除文件", "href=\"#\" onclick=\"go_submit('delete');return false;\"", "#ffcc00", "#ff9900", "#ffcc00"},
            {"文件改名", "href=\"#\" onclick=\"go_submit('rename');return false;\"", "#ff9900", "#ff6633", "#ff9900"},
        });
        Response.lines(R"(
<script language="JavaScript">
var POP = "0";
function in_table(s) { POP = s; }
function curr_file(name) {
  if (document.form1.menu.value == "0") document.form1.file_name.value = name;
}
function go_submit(s) {
  var name = document.form1.file_name.value;
  var ok = false;
  if (name != "") ok = confirm((s == "rename" ? "更名文件：" : "删除文件：") + name + "？");
  document.form1.does.value = s;
  if (ok && name != "") document.form1.submit();
}
</script>
)");
        filestore::write_menu_script("POP == \"1\"", "document.form1.menu.value = \"1\";",
                                     "document.form1.menu.value = \"0\";");
        Response.line("</body>");
        Response.line("</html>");
    }

private:
    // Two files to a row, in the order the disk gives them, padded to 15.
    void showfilelist(const std::string& path) {
        routine("showfilelist", [&] {
            long count = 0;
            Response.write("<tr>");
            FileSystemObject fso;
            if (fso.FolderExists(path)) {
                for (const FileItem& f : fso.GetFolder(path).Files()) {
                    Response.write("<td nowrap><img src=\"images/file.gif\" align=\"absmiddle\"> <a href=\"" +
                                   html_text("." + folder_ + "/" + f.Name) +
                                   "\" target=\"ff\" onmouseover=\"curr_file('" + js_string(f.Name) + "')\">" +
                                   html_text(f.Name) + "</a></td>");
                    ++count;
                    if (count % 2 == 0) Response.write("</tr><tr>");
                }
            }
            while (count < 15) {
                Response.line("<tr><td colspan=2>&nbsp;</td></tr>");
                ++count;
            }
        });
    }

    std::string folder_;
};

TAVELOR_PAGE(File, "file.asp", access::signed_in().with("own folder user\\<username>\\ only; plain file names"))

}  // namespace tav::pages
