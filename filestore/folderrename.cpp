// Folder_rename.asp: renames a folder. The new name is the whole path below
// the account's root, so a rename can also move the folder in the tree,
// within the account's own store; every part of the new path is a plain
// name.
#include "filestore/menu.h"
#include "filestore/names.h"
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class folderrename : public Page {
public:
    void I_init() override {
        std::string folder = Request.querystring("Folder").str();
        if (Left(folder, 1) != "\\") folder = "\\" + folder;
        std::string curr_dir = Request.querystring("Curr_dir").str();
        if (curr_dir.empty()) curr_dir = folder;
        Value fdo = Request.querystring("FDO");
        std::string rest = Replace(folder, "\\user\\", "");
        long n = InStr(rest, "\\");
        if (n == 0) n = 1;
        // The account's root comes from the session; a root the form names
        // must be the same.
        dbI_init();
        const std::string own = filestore::account_root(conn);
        conn.close();
        std::string root = Request.querystring("root").str();
        if (root.empty()) root = "\\user\\" + Left(rest, n - 1);
        if (fdo == "rename" && root != own) refuse("file store: folder outside own");
        if (!filestore::inside(curr_dir, own) || (fdo == "rename" && curr_dir == own))
            refuse("file store: folder outside own");
        std::string shown = Replace(filestore::shown_name(folder), " ", "_");
        if (fdo == "rename") {
            // Each part of the new path below the root must be a plain name.
            if (shown == "\\") filestore::refuse_name("新文件夹名不能为空。");
            for (const std::string& part : Split(shown.substr(1), "\\"))
                if (std::string why = filestore::name_problem(part); !why.empty())
                    filestore::refuse_name("新文件夹名不可用：" + why);
        }

        if (fdo == "rename") {
            FileSystemObject fso;
            std::string from = Server.MapPath(".\\") + curr_dir;
            std::string to = Server.MapPath(".\\") + root + shown;
            if (fso.FolderExists(to)) {
                Response.write("目标文件夹已经存在！<br>");
                END_PAGE();
            }
            if (fso.FolderExists(from)) {
                fso.MoveFolder(from, to);
                filestore::create_ok();
            }
            END_PAGE();
        }

        write_head({.title = "My folder", .no_cache_days = 10});
        Response.line("</head>");
        Response.line("<body>");
        bool is_root = shown == "\\";
        if (!is_root) Response.line("<form name=\"myform\" method=\"get\" action=\"Folder_rename.asp\">");
        Response.lines(R"(
<table width="250" border="0" cellspacing="1" cellpadding="4" bgcolor="#336699" align="center">
<tr><td align="center"><font color="white">□ ::: 重命名文件夹::: □</font></td></tr>
<tr><td bgcolor="#ffffff" align="center">
)");
        if (is_root) {
            Response.line("根目录 \\ 不可删除！<br>请先选择某个子文件夹……<br><br>");
        } else {
            Response.line("文件夹:“ " + html_text(shown) + " ”<br>");
            Response.line("更名为：<input type=\"text\" name=\"Folder\" value=\"" + html_text(shown + "_new") +
                          "\" size=\"20\"><br><br>");
            Response.line("<input type=\"submit\" value=\"更 名\"> ");
        }
        Response.lines(R"html(
<input type="button" value="返 回" onclick="history.back()">
</td></tr>
</table>
<input type="hidden" name="FDO" value="rename">
)html");
        Response.line("<input type=\"hidden\" name=\"CURR_DIR\" value=\"" + html_text(curr_dir) + "\">");
        Response.line("<input type=\"hidden\" name=\"ROOT\" value=\"" + html_text(root) + "\">");
        if (!is_root) Response.line("</form>");
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(folderrename, "Folder_rename.asp", access::signed_in().with("own folder only, never its root; plain names"))

}  // namespace tav::pages
