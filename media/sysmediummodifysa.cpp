// Sys_Medium_Modify_Save.asp: stores a new title with its file, changes a
// title (replacing its file when one was sent) or removes a title and its
// file. The file is written before anything is decided.
#include "frame/files.h"
#include "frame/page.h"
#include "frame/upload.h"
#include "frame/vb.h"
#include "media/media_common.h"

namespace tav::pages {

class sysmediummodifysa : public Page {
public:
    void I_init() override {
        Response.buffer(true);
        Server.ScriptTimeOut(5000);
        dbI_init();

        up.upload_initialize();
        Value id = form("id");
        Value dele = form("dele");
        Value title = form("title");
        Value text = form("text");
        Value path = form("path");
        Value file_type = form("file_type");
        Value py = form("py");
        Value author = form("author");
        if (text.blank()) text = "无";
        if (author.blank()) author = "无名";

        FileSystemObject fso;
        std::string folder = Server.MapPath("./") + path.str();
        if (!fso.FolderExists(folder)) fso.CreateFolder(folder);
        std::string field = "filename";
        std::string saved = up.upload_file(field, "." + path.str(), "");

        Sql held;
        if (!id.blank() && dele == "ok") {
            rs = conn.execute("select Title,Path,filename from Medium where id="_sql + id);
            std::string old_file;
            if (!rs.eof()) {
                old_file = Replace(Server.MapPath("./") + rs("Path").str() + rs("filename").str(), "/", "\\");
                remove_file(old_file);
            }
            conn.execute("delete from Medium where id="_sql + id);
            monitor("删除媒体“" + rs("Title").text() + "”及相应文件：" + old_file);
            held = "select Title,Path,filename from Medium where id="_sql + id;
        } else if (!id.blank()) {
            Sql set = "Update Medium set Title='"_sql + title + "',Medium_text='" + text + "',Path='" + path + "'";
            if (saved.empty()) {
                monitor("修改媒体“" + title.str() + "”的属性。");
            } else {
                rs = conn.execute("select title,Path,filename from Medium where id="_sql + id);
                if (!rs.eof()) remove_file(Server.MapPath("./") + rs("Path").str() + rs("filename").str());
                set += ",filename='"_sql + saved + "'";
                monitor("修改媒体：" + rs("title").text() + "，并替换文件：" + rs("filename").text() + "==>>" + saved);
            }
            held = set + ",file_type='" + file_type + "',Author='" + author + "',PY='" + py + "' where id=" + id;
        } else {
            conn.execute("Insert into Medium(Title,Medium_text,Path,filename,file_type,Author,PY) values('"_sql + title +
                         "','" + text + "','" + path + "','" + saved + "','" + file_type + "','" + author + "','" +
                         py + "')");
            monitor("添加新的" + file_type.str() + "媒体文件：" + title.str());
            up.upload_terminate();
            Response.redirect("Pop_OK.asp?message=添加新媒体文件成功！&next_href=Medium_List.asp");
            END_PAGE();
        }
        conn.execute(held);
        up.upload_terminate();
        Response.redirect("Pop_OK.asp?message=媒体信息修改成功！&next_href=Sys_Medium.asp");
        END_PAGE();
    }

private:
    Value form(const char* name) {
        std::string n = name;
        return Trim(up.upload_form(n));
    }

    // A stored path never reaches the database or the site's own root.
    void remove_file(const std::string& physical) {
        FileSystemObject fso;
        if (media::removable_media_file(physical) && fso.FileExists(physical)) fso.DeleteFile(physical);
    }

    UploadGroup up{*this};
};

TAVELOR_PAGE(sysmediummodifysa, "Sys_Medium_Modify_Save.asp", access::right("1311").with("deletes only for 1311"))

}  // namespace tav::pages
