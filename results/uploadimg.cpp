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
#include "frame/site_layout.h"
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
            std::string datas = Server.MapPath(layout::dir_here(layout::kDataFolder));
            std::string folder = Server.MapPath(".\\") + "\\" + std::string(layout::kDataFolder) + "\\" + upload_path + "\\";
            std::string physical;
            if (physical_path(folder, physical) && path_inside(lower(datas), lower(physical)) && !fso.FolderExists(folder))
                fso.CreateFolder(folder);
            std::string relative = layout::dir_here(layout::kDataFolder) + upload_path + "/";
            write_form(relative);
            up.upload_terminate();
        } else {
            std::string own =
                Server.MapPath(layout::dir_here(layout::kDataFolder) + Session("upload_path").str() + "/");
            std::string datas = Server.MapPath(layout::dir_here(layout::kDataFolder));
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
        // returnValue and close() inside the dialog stand-in.
        Response.client_compat(kCompatDialogs);
        Response.lines(R"~(<script language="javascript">
function do_submit() {
  var f = document.form1;
  var fname = f.file_name.value;
  if (fname.indexOf(":") < 0) {
    alert("您输入的文件名不正确，请通过“浏览”按钮选取图片文件!");
    return;
  }
  var ext = fname.slice(-4).toUpperCase();
  if (ext != ".JPG" && ext != ".GIF") {
    alert("您选取的不是图片文件！\n请选择文件扩展名为gif、jpg的文件。");
    return;
  }
  var tag = "<IMG border=0 SRC=" + f.filepath.value + fname.slice(fname.lastIndexOf("\\") + 1);
  if (f.demo.value != "") tag = tag + " ALT=" + f.demo.value.split(" ").join("_");
  tag = tag + " ALIGN=" + f.algin.value + ">";
  window.returnValue = tag;
  f.submit();
  window.close();
}
</script>
</head>
<body>
<form name="form1" method="post" action="upload_img.asp" enctype="multipart/form-data">
<table width="300" border="0" cellspacing="1" cellpadding="3" align="center">
<tr><td>
)~");
        Response.line("<input type=\"hidden\" name=\"filepath\" value=\"" + html_text(relative) + "\">");
        Response.lines(R"~(文件名: <input type="file" name="file_name" style="width:300">
</td></tr>
<tr><td>对齐方式:
<select name="algin">
<option value="left" selected>默认方式</option>
<option value="left">左对齐</option>
<option value="middle">居中对齐</option>
<option value="right">右对齐</option>
</select>
</td></tr>
<tr><td>注释文字: <input type="text" name="demo" size="16" maxlength="50"></td></tr>
<tr><td align="center">
<input type="button" class="buttons02" value="上传文件" onclick="do_submit()">
<input type="button" class="buttons02" value="取消" onclick="window.close()">
</td></tr>
</table>
</form>
</body>
</html>
)~");
    }

    UploadGroup up{*this, UploadGroup::Variant::UploadImg};
};

TAVELOR_PAGE(uploadimg, "upload_img.asp",
             access::signed_in().with(".gif/.jpg only into Datas/<the session's folder>/, under their last name "
                                      "component"))

}  // namespace tav::pages
