// upload_img.asp: the editor's picture dialog. The first view shows the
// form; its post stores the pictures under the session's folder below
// Datas/. Only a logged-in session may use it, only .gif and .jpg files are
// kept (the dialog's own test, repeated here) and nothing lands outside
// that folder, whatever the post names.
#include "frame/files.h"
#include "frame/html.h"
#include "frame/names.h"
#include "frame/page.h"
#include "frame/paths.h"
#include "frame/upload.h"
#include "frame/vb.h"

namespace tav::pages {

class uploadimg : public Page {
public:
    void I_init() override {
        Server.ScriptTimeOut(5000);
        up.upload_initialize();
        std::string field = "filepath";
        std::string filepath = up.upload_form(field);
        if (filepath == "") {
            // The folder of the calling page's kind; Datas itself must exist.
            std::string upload_path = Session("upload_path").str();
            FileSystemObject fso;
            std::string folder = Server.MapPath(".\\") + "\\Datas\\" + upload_path + "\\";
            std::string physical;
            if (physical_path(folder, physical) && path_inside(lower(Server.MapPath("./Datas")), lower(physical)) &&
                !fso.FolderExists(folder))
                fso.CreateFolder(folder);
            std::string relative = "./Datas/" + upload_path + "/";
            write_form(relative);
            up.upload_terminate();
        } else {
            std::string own = Server.MapPath("./Datas/" + Session("upload_path").str() + "/");
            std::string datas = Server.MapPath("./Datas");
            const std::vector<FileRecord> received = up.files();
            for (const FileRecord& r : received) {
                const std::string leaf = upload_leaf_name(r.file_name);
                std::string target = Server.MapPath(filepath + leaf);
                if (safe_leaf_name(leaf) && picture_name(leaf) && lower(parent_of(target)) == lower(own) &&
                    path_inside(lower(datas), lower(own)))
                    Response.write(up.upload_save(target, r));
            }
            up.upload_terminate();
            Response.line("<script language=\"javascript\">window.close(1);</script>");
        }
        Response.write("");
    }

private:
    // A plain name ending in .gif or .jpg, as the dialog asks for.
    static bool picture_name(const std::string& name) {
        std::string ext = UCase(Right(name, 4));
        return (ext == ".GIF" || ext == ".JPG") && name.find_first_of("/\\") == std::string::npos;
    }
    static std::string parent_of(const std::string& path) { return path.substr(0, path.find_last_of('/')); }

    void write_form(const std::string& relative) {
        write_head({.title = "文件上传"});
        Response.client_compat(kCompatScript);
        Response.line("<script language=\"vbscript\">");
        Response.line("sub do_submit()");
        Response.line("  dim fname, ext, tag");
        Response.line("  fname = form1.file_name.value");
        Response.line("  if instr(fname, \":\") = 0 then");
        Response.line("    alert \"您输入的文件名不正确，请通过“浏览”按钮选取图片文件!\"");
        Response.line("    exit sub");
        Response.line("  end if");
        Response.line("  ext = ucase(right(fname, 4))");
        Response.line("  if ext <> \".JPG\" and ext <> \".GIF\" then");
        Response.line("    alert \"您选取的不是图片文件！\" & chr(13) & \"请选择文件扩展名为gif、jpg的文件。\"");
        Response.line("    exit sub");
        Response.line("  end if");
        Response.line("  tag = \"<IMG border=0 SRC=\" & form1.filepath.value & mid(fname, instrrev(fname, \"\\\") + 1)");
        Response.line("  if form1.demo.value <> \"\" then tag = tag & \" ALT=\" & replace(form1.demo.value, \" \", \"_\")");
        Response.line("  tag = tag & \" ALIGN=\" & form1.algin.value & \">\"");
        Response.line("  window.returnValue = tag");
        Response.line("  form1.submit");
        Response.line("  window.close");
        Response.line("end sub");
        Response.line("</script>");
        Response.line("</head>");
        Response.line("<body>");
        Response.line("<form name=\"form1\" method=\"post\" action=\"upload_img.asp\" enctype=\"multipart/form-data\">");
        Response.line("<table width=\"300\" border=\"0\" cellspacing=\"1\" cellpadding=\"3\" align=\"center\">");
        Response.line("<tr><td>");
        Response.line("<input type=\"hidden\" name=\"filepath\" value=\"" + html_text(relative) + "\">");
        Response.line("文件名: <input type=\"file\" name=\"file_name\" style=\"width:300\">");
        Response.line("</td></tr>");
        Response.line("<tr><td>对齐方式:");
        Response.line("<select name=\"algin\">");
        Response.line("<option value=\"left\" selected>默认方式</option>");
        Response.line("<option value=\"left\">左对齐</option>");
        Response.line("<option value=\"middle\">居中对齐</option>");
        Response.line("<option value=\"right\">右对齐</option>");
        Response.line("</select>");
        Response.line("</td></tr>");
        Response.line("<tr><td>注释文字: <input type=\"text\" name=\"demo\" size=\"16\" maxlength=\"50\"></td></tr>");
        Response.line("<tr><td align=\"center\">");
        Response.line("<input type=\"button\" class=\"buttons02\" value=\"上传文件\" onclick=\"do_submit()\">");
        Response.line("<input type=\"button\" class=\"buttons02\" value=\"取消\" onclick=\"window.close()\">");
        Response.line("</td></tr>");
        Response.line("</table>");
        Response.line("</form>");
        Response.line("</body>");
        Response.line("</html>");
    }

    UploadGroup up{*this, UploadGroup::Variant::UploadImg};
};

TAVELOR_PAGE(uploadimg, "upload_img.asp",
             access::signed_in().with(".gif/.jpg only into Datas/<the session's folder>/, under their last name "
                                      "component"))

}  // namespace tav::pages
