// folder.asp: the folder tree of the account's file store. It shows the
// children of the root and of each folder on the way to the current one, so
// one branch is open at a time, and brings the current folder's file list
// into the frame beside it.
#include "filestore/menu.h"
#include "filestore/names.h"
#include "filestore/walk.h"
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class Folder : public Page {
public:
    void I_init() override {
        dbI_init();
        // the menu's test for document.all holds through the compat script
        Response.client_compat(kCompatDialogs);
        std::string root_image = "root1.gif";
        root_ = filestore::account_root(conn);
        std::string folder = Request.querystring("Folder").str();
        if (folder.empty()) folder = root_;
        // The walk below ends only inside the own root.
        if (!filestore::inside(folder, root_)) refuse("file store: folder outside own");
        if (folder == root_) root_image = "root.gif";
        current_ = folder;

        Response.write("[单击右键弹出快捷菜单]<br>");
        Response.write("<a href=folder.asp><img src=images/" + root_image + " border=0 align=absmiddle> \\ </a><br>");

        std::string list = filestore::collect_folders(
            folder, root_, [&](const std::string& path, std::string& out) { getfolder(path, out); });
        if (!list.empty()) {
            list.pop_back();
            std::vector<std::string> dirs = Split(list, "*");
            sort_dir(dirs);
            print_dir(dirs);
        }

        Response.lines(R"(
<html>
<head>
<meta http-equiv="Content-Type" content="text/html; charset=gb2312">
<title>My folder</title>
<link rel="stylesheet" href="style.css" type="text/css">
)");
        filestore::write_menu_styles();
        Response.line("</head>");
        Response.line("<body>");
        std::string q = html_text(current_);
        filestore::write_menu({
            {"新建文件夹", "href=\"folder_create.asp?Folder=" + q + "\" target=\"files\"", "#99cc00", "#999900", "#99cc33"},
            {"删除文件夹", "href=\"folder_delete.asp?Folder=" + q + "\" target=\"files\"", "#ffcc00", "#ff9900", "#ffcc00"},
            {"文件夹更名", "href=\"folder_rename.asp?Folder=" + q + "\" target=\"files\"", "#ff9900", "#ff6633", "#ff9900"},
        });
        filestore::write_menu_script("", "", "");
        Response.line("<form name=\"form1\" method=\"get\" action=\"file.asp\" target=\"files\">");
        Response.line("<input type=\"hidden\" name=\"Folder\" value=\"" + q + "\">");
        Response.lines(R"(
</form>
<script language="JavaScript">
document.form1.submit();
</script>
</body>
</html>
)");
    }

private:
    // Appends path\name* for each subfolder of path; a folder that is gone
    // adds nothing.
    void getfolder(const std::string& path, std::string& list) {
        routine("getfolder", [&] {
            FileSystemObject fso;
            std::string phys = Server.MapPath(".\\") + path;
            if (fso.FolderExists(phys)) {
                for (const FolderItem& sub : fso.GetFolder(phys).SubFolders()) list += path + "\\" + sub.Name + "*";
            }
        });
    }

    void sort_dir(std::vector<std::string>& list) {
        routine("sort_dir", [&] { filestore::sort_dir(list); });
    }

    void print_dir(const std::vector<std::string>& list) {
        routine("print_dir", [&] {
            for (const std::string& d : list) {
                std::string shown = Replace(d, root_ + "\\", "");
                std::size_t level = Split(shown, "\\").size();
                if (InStr(shown, "\\") > 0) shown = shown.substr(shown.rfind('\\') + 1);
                std::string mark;
                std::string text = html_text(shown);
                if (d == current_) {
                    mark.push_back('1');  // (an assignment of a literal trips a false g++ 12 warning here)
                    text = "<font style='background-color:#336699;color:white'>" + text + "</font>";
                }
                Response.write("<img src=images/folder" + std::to_string(level) + mark +
                               ".gif border=0 align=absmiddle>");
                Response.write("<a href=folder.asp?folder=" + html_unquoted(d) + ">" + text + "</a><br>");
            }
        });
    }

    std::string root_;
    std::string current_;
};

TAVELOR_PAGE(Folder, "folder.asp", access::signed_in().with("own folder only"))

}  // namespace tav::pages
