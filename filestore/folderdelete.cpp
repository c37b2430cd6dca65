// Folder_delete.asp: asks before deleting a folder with all it holds, below
// the account's own root; the root itself is never deleted.
#include "filestore/menu.h"
#include "filestore/names.h"
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class folderdelete : public Page {
public:
    void I_init() override {
        std::string folder = Request.querystring("Folder").str();
        std::string curr_dir = Request.querystring("Curr_dir").str();
        if (curr_dir.empty()) curr_dir = folder;
        Value fdo = Request.querystring("FDO");
        dbI_init();
        const std::string root = filestore::account_root(conn);
        conn.close();
        if (!filestore::inside(curr_dir, root) || (fdo == "delete" && curr_dir == root))
            refuse("file store: folder outside own");
        std::string shown = filestore::shown_name(folder);
        std::string target = Server.MapPath(".\\") + curr_dir;
        if (fdo == "delete") {
            FileSystemObject fso;
            if (fso.FolderExists(target)) {
                fso.DeleteFolder(target);
                filestore::create_ok();
            }
        }

        write_head({.title = "My folder", .no_cache_days = 10});
        Response.lines(R"(
</head>
<body>
<table width="250" border="0" cellspacing="1" cellpadding="4" bgcolor="#336699" align="center">
<tr><td align="center"><font color="white">□ ::: 删除文件夹::: □</font></td></tr>
<tr><td bgcolor="#ffffff" align="center">
)");
        if (shown == "\\") {
            Response.line("根目录 \\ 不可删除！<br>请先选择某个子文件夹……<br><br>");
        } else {
            Response.line("<form name=\"myform\" method=\"get\" action=\"Folder_delete.asp\">");
            Response.line("真的删除文件夹:<br>“ " + html_text(shown) + " ”<br>内的所有文件和子文件夹吗？<br><br>");
            Response.line("<input type=\"hidden\" name=\"Folder\" value=\"" + html_text(shown) + "\">");
            Response.line("<input type=\"submit\" value=\"删 除\"> ");
            Response.line("<input type=\"hidden\" name=\"FDO\" value=\"delete\">");
            Response.line("<input type=\"hidden\" name=\"CURR_DIR\" value=\"" + html_text(curr_dir) + "\">");
            Response.line("</form>");
        }
        Response.lines(R"html(
<input type="button" value="返 回" onclick="history.back()">
</td></tr>
</table>
</body>
</html>
)html");
    }
};

TAVELOR_PAGE(folderdelete, "Folder_delete.asp", access::signed_in().with("own folder only, never its root"))

}  // namespace tav::pages
