// Data_Del.asp: deletes an item and its attachment files, without asking.
// Pictures that its text shows stay in their folder.
#include <string>
#include <vector>

#include "datacentre/catalog.h"
#include "frame/files.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class datadel : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("id");
        rs = conn.execute("select * from Datas where id="_sql + id);
        if (!datacentre::may_change(conn, rs)) refuse("只有作者或有删除权限者可以删除未上锁的信息");
        std::vector<std::string> files = Split(rs("D_afile"), "*");
        Value Sub_menu = rs("Sub_menu");
        Value D_title = rs("D_title");
        monitor("删除信息: " + Sub_menu + " =>> " + D_title);
        if (files.empty()) raise_error(9, "Subscript out of range");
        if (files[0] != "0" && datacentre::plain_name(Sub_menu.str())) {
            FileSystemObject fso;
            std::string folder = Server.MapPath(".\\") + "\\Datas\\" + Sub_menu.str() + "\\";
            for (const std::string& name : files) {
                // A file named in the row but gone from the disk is skipped.
                if (datacentre::plain_name(name) && fso.FileExists(folder + name)) fso.DeleteFile(folder + name);
            }
        }
        conn.execute("delete from Datas where id="_sql + id);
        Response.redirect("Pop_OK.asp?message=" + datacentre::url_part("删除 " + D_title + " 成功！") +
                          "&next_href=Data_List.asp?sub_menu=" + datacentre::url_part(Sub_menu.str()));
        END_PAGE();
    }
};

TAVELOR_PAGE(datadel, "Data_Del.asp",
             access::signed_in().with("the item's author or del, while the item is not locked"))

}  // namespace tav::pages
