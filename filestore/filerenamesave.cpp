// file_rename_save.asp: renames a file of the account's own store within
// its folder and brings the list back. Both names must be plain names, so a
// rename neither moves a file out of the folder nor replaces another one.
#include "filestore/names.h"
#include "frame/files.h"
#include "frame/page.h"

namespace tav::pages {

class filerenamesave : public Page {
public:
    void I_init() override {
        dbI_init();
        Value old_name = Request.querystring("old_name");
        Value new_name = Request.querystring("new_name");
        std::string folder = Request.querystring("Folder").str();
        if (!filestore::inside(folder, filestore::account_root(conn))) refuse("file store: folder outside own");
        if (!filestore::name_problem(old_name.str()).empty()) refuse("file store: file name");
        if (std::string why = filestore::name_problem(new_name.str()); !why.empty())
            filestore::refuse_name("新文件名不可用：" + why);
        std::string dir = Server.MapPath(".\\") + folder + "\\";
        FileSystemObject fso;
        if (fso.FileExists(dir + old_name)) {
            if (fso.FileExists(dir + new_name) || fso.FolderExists(dir + new_name))
                filestore::refuse_name("此文件夹中已经有名为“" + new_name.str() + "”的文件或文件夹。");
            fso.MoveFile(dir + old_name, dir + new_name);
        }
        Response.redirect("file.asp?Folder=" + folder);
        END_PAGE();
    }
};

TAVELOR_PAGE(filerenamesave, "file_rename_save.asp",
             access::signed_in().with("own folder only; plain names; never replaces a file"))

}  // namespace tav::pages
