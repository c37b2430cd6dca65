// upload_img.asp: the editor's picture dialog. The first view shows the
// form; its post stores every file part under the posted folder.
#include "frame/files.h"
#include "frame/page.h"
#include "frame/upload.h"
#include "frame/vb.h"

namespace tav::pages {

class uploadimg : public Page {
public:
    uploadimg() : Page("uploadimg") {}

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
            if (!fso.FolderExists(folder)) fso.CreateFolder(folder);
            std::string relative = "./Datas/" + upload_path + "/";
            write_form(relative);
            up.upload_terminate();
        } else {
            const std::vector<FileRecord> received = up.files();
            for (const FileRecord& r : received)
                Response.write(up.upload_save(Server.MapPath(filepath + r.file_name), r));
            up.upload_terminate();
            Response.line("<script language=\"javascript\">window.close(1);</script>");
        }
        Response.write("");
    }

private:
    void write_form(const std::string& relative) {
        Response.line("<html>");
        Response.line("<head>");
        Response.line("<title>文件上传</title>");
        Response.line("<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">");
        Response.line("<link rel=\"stylesheet\" href=\"style.css\" type=\"text/css\">");
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
        Response.line("<input type=\"hidden\" name=\"filepath\" value=\"" + relative + "\">");
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

TAVELOR_PAGE(uploadimg)

}  // namespace tav::pages
