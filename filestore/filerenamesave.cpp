// file_rename_save.asp: renames a file in its folder (the new name may hold
// folder parts, so the file can move) and brings the list back.
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
        std::string dir = Server.MapPath(".\\") + folder + "\\";
        FileSystemObject fso;
        if (fso.FileExists(dir + old_name)) fso.MoveFile(dir + old_name, dir + new_name);
        Response.redirect("file.asp?Folder=" + folder);
        END_PAGE();
    }
};

TAVELOR_PAGE(filerenamesave, "file_rename_save.asp", access::signed_in())

}  // namespace tav::pages
