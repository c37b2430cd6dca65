// Data_InputDo.asp: stores what the entry form posts, a new item (ID 0) or a
// change, with its attachment under Datas/{category}/. Attachment names get
// a prefix: the newest id before a new item, the item's own id on a change.
#include <string>

#include "datacentre/catalog.h"
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/site_layout.h"
#include "frame/upload.h"
#include "frame/vb.h"

namespace tav::pages {

class datainputdo : public Page {
public:
    void I_init() override {
        Server.ScriptTimeOut(5000);
        dbI_init();
        up.upload_initialize();
        std::string Main_menu = field("Main_menu");
        std::string Sub_menu = field("Sub_menu");
        std::string D_title = field("D_title");
        std::string body = field("body");
        Value ID = field("ID");
        // Formatting stays, script goes.
        body = allow_markup(del_url_root(body));

        // Only into a category the account may enter data in (the form
        // offers no other), and only to an item the account may change.
        // The category's code is also the folder's name below Datas.
        if (!datacentre::category_code(Sub_menu)) refuse("没有这个类别");
        require_right(conn, "i" + Sub_menu);
        // The form's main menu is the one the category belongs to.
        if (Main_menu != "menu" + Sub_menu.substr(0, 2)) refuse("主菜单与类别不符");
        if (!(ID == Value(0))) {
            rs = conn.execute("select * from Datas where id="_sql + ID);
            if (!datacentre::may_change(conn, rs)) refuse("只有作者或有删除权限者可以修改未上锁的信息");
        }
        FileSystemObject fso;
        std::string folder = Server.MapPath(".\\") + "\\Datas\\";
        if (!fso.FolderExists(folder)) fso.CreateFolder(folder);
        folder += Sub_menu + "\\";
        if (!fso.FolderExists(folder)) fso.CreateFolder(folder);
        std::string relative = layout::dir(layout::kDataFolder) + Sub_menu + "/";
        std::string afile_field = "afile";

        if (ID == Value(0)) {
            // The new id is not known before the insert: the newest one stands in.
            Recordset newest = conn.execute_window("select id from Datas order by id DESC", 1, 0);
            std::string prefix = newest.eof() ? "0" : newest("id").str();
            std::string d_afile = up.upload_file(afile_field, relative, prefix);
            if (d_afile.empty()) d_afile = "0";
            if (body.empty()) body = "具体内容见附件：";
            conn.execute("insert into Datas(User_id,d_afile,D_title,D_text,Sub_menu,main_menu) values ("_sql +
                         Session("USER_ID") + ",'" + d_afile + "','" + D_title + "','" + body + "','" + Sub_menu +
                         "','" + Main_menu + "')");
            monitor("录入信息: " + Sub_menu + " =>>" + D_title);
            up.upload_terminate();
            Response.redirect("Pop_OK.asp?message=信息已经保存&next_href=Data_list.asp?Sub_menu=" +
                              datacentre::url_part(Sub_menu));
            END_PAGE();
        }

        rs = conn.execute("select * from Datas where id="_sql + ID);
        std::string prefix = rs("id").str();
        std::string old_name = Trim(rs("D_afile")).str();
        std::string d_afile = up.upload_file(afile_field, relative, prefix);
        if (d_afile.empty()) {
            d_afile = old_name;  // no new file stored (none sent, or its name clashed)
        } else if (old_name != "0" && datacentre::plain_name(old_name) && fso.FileExists(folder + old_name)) {
            // Looked for in the folder of the category now posted.
            fso.DeleteFile(folder + old_name);
        }
        if (body.empty()) body = "具体内容见附件：";
        conn.execute("Update Datas set User_id="_sql + Session("USER_ID") + ",d_afile='" + d_afile + "',D_title='" +
                     D_title + "',D_text='" + body + "',Sub_menu='" + Sub_menu + "',Main_menu='" + Main_menu +
                     "' where id=" + ID);
        monitor("修改信息: " + Sub_menu + " =>>" + D_title);
        up.upload_terminate();
        Response.redirect("Pop_OK.asp?message=修改信息文件成功&next_href=Data_list.asp?Sub_menu=" +
                          datacentre::url_part(Sub_menu));
        END_PAGE();
    }

private:
    std::string field(const char* name) {
        std::string n = name;
        return up.upload_form(n);
    }

    UploadGroup up{*this};
};

TAVELOR_PAGE(datainputdo, "Data_InputDo.asp",
             access::signed_in().with("Sub_menu needs i+code; a change (ID) only by the author or del, while not "
                                      "locked; attachments only into Datas/<code>/ under their last name component"))

}  // namespace tav::pages
