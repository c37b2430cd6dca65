// Folder_create.asp: one URL for the menu's link (Folder is the current
// folder) and for the form's post (Folder is the new name). Makes one level,
// a plain name, in a folder of the account's own store.
#include "filestore/menu.h"
#include "filestore/names.h"
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class foldercreate : public Page {
public:
    void I_init() override {
        std::string folder = Replace(Request.querystring("Folder"), " ", "_");
        std::string curr_dir = Request.querystring("Curr_dir").str();
        if (curr_dir.empty()) curr_dir = folder + "\\";
        Value fdo = Request.querystring("FDO");
        dbI_init();
        const std::string root = filestore::account_root(conn);
        conn.close();
        // Curr_dir ends in a backslash; the folder it names must be the own.
        std::string parent = curr_dir.ends_with("\\") ? curr_dir.substr(0, curr_dir.size() - 1) : curr_dir;
        if (!filestore::inside(parent, root)) refuse("file store: folder outside own");
        // An empty name names Curr_dir itself, which exists.
        if (std::string why = filestore::name_problem(folder); fdo == "create" && !folder.empty() && !why.empty())
            filestore::refuse_name("文件夹名不可用：" + why);
        std::string target = Server.MapPath(".\\") + curr_dir + folder;
        if (fdo == "create") {
            FileSystemObject fso;
            if (!fso.FolderExists(target)) {
                fso.CreateFolder(target);
                filestore::create_ok();
            } else {
                Response.write("Folder Exist!");
            }
        }

        write_head({.title = "My folder", .no_cache_days = 10});
        Response.lines(R"html(
</head>
<body>
<form name="myform" method="get" action="Folder_create.asp">
<table width="250" border="0" cellspacing="1" cellpadding="4" bgcolor="#336699" align="center">
<tr><td align="center"><font color="white">□ ::: 新建文件夹::: □</font></td></tr>
<tr><td bgcolor="#ffffff" align="center">
<input type="text" name="Folder" value="新文件夹" size="20"><br><br>
<input type="submit" value="确 定"> 
<input type="button" value="返 回" onclick="history.back()">
<input type="hidden" name="FDO" value="create">
)html");
        Response.line("<input type=\"hidden\" name=\"CURR_DIR\" value=\"" + html_text(curr_dir) + "\">");
        Response.lines(R"(
</td></tr>
</table>
</form>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(foldercreate, "Folder_create.asp", access::signed_in().with("own folder only; plain names"))

}  // namespace tav::pages
