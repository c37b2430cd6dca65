// file_upload.asp: shows the upload form and takes its post; a body with a
// non-empty Folder field tells the two apart. Only into the account's own
// store, and only while the store stays within the account's quota.
#include <cstdio>

#include "filestore/names.h"
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/upload.h"
#include "frame/vb.h"

namespace tav::pages {

class fileupload : public Page {
public:
    void I_init() override {
        Server.ScriptTimeOut(5000);
        dbI_init();
        // The upload form shows its progress through the client script.
        Response.client_compat(kCompatDialogs);
        write_head({.no_cache_days = 10});
        Response.lines(R"(
<script language="JavaScript">
function go_check() {
  var v = document.form1.File1.value;
  if (v == "" || v.indexOf(":") < 0 || v.indexOf(".") < 0 || v.indexOf("\\") < 0) {
    alert("你没有选择文件！\n请通过浏览按钮从文件夹中选取某个文件");
    document.form1.File1.focus();
    return;
  }
  document.form1.submit();
}
</script>
</head>
<body>
)");
        const std::string root = filestore::account_root(conn);
        up.upload_initialize();
        std::string field = "Folder";
        std::string folder = up.upload_form(field);
        // The form's folder, or the posted one; with none at all only the
        // form shows, and nothing is written.
        const std::string asked = folder.empty() ? Request.querystring("Folder").str() : folder;
        if (!asked.empty() && !filestore::inside(asked, root)) refuse("file store: folder outside own");
        if (folder.empty()) {
            Response.lines(R"(
<form name="form1" method="post" action="file_upload.asp" enctype="multipart/form-data">
<table width="400" border="0" cellspacing="1" cellpadding="4" align="center">
<tr><td>文件名：<input type="file" name="File1" size="30"></td></tr>
)");
            Response.line("<tr><td align=\"center\"><input type=\"hidden\" name=\"Folder\" value=\"" +
                          html_text(Request.querystring("Folder")) + "\">");
            Response.lines(R"html(
<input type="button" value="确 定" onclick="go_check()"></td></tr>
</table>
</form>
)html");
            up.upload_terminate();
            Response.line("</body>");
            Response.line("</html>");
            return;
        }
        check_upload(root);
        Response.write(html_text(folder));
        std::string file_field = "file1";
        up.upload_file(file_field, "." + folder + "/", "");
        up.upload_terminate();
        // The result page puts next_href into its script string escaped, so
        // the folder goes as it is (doubling its backslashes for a raw script
        // string would double them in the list's address).
        Response.redirect("Pop_OK.asp?message=文件上传成功&next_href=file.asp?Folder=" + folder);
        END_PAGE();
    }

private:
    // Refuses a file name that is no plain name, and an upload that would
    // take the account's store beyond its quota.
    void check_upload(const std::string& root) {
        std::uintmax_t adding = 0;
        for (const FileRecord& f : up.files()) {
            if (f.form_name != "file1" || f.file_name.empty()) continue;
            if (std::string why = filestore::name_problem(f.file_name); !why.empty())
                filestore::refuse_name("文件名不可用：" + why);
            adding += static_cast<std::uintmax_t>(f.file_size);
        }
        if (adding == 0) return;
        const std::uintmax_t quota = filestore::quota_bytes(conn);
        // The walk stops after this many entries; a store that large is
        // taken as full rather than read to its end.
        constexpr std::size_t kWalkLimit = 20000;
        bool complete = true;
        std::uintmax_t used =
            filestore::folder_bytes(FileSystemObject::resolve(Server.MapPath(".\\") + root), kWalkLimit, complete);
        if (!complete || used + adding > quota) {
            char text[200];
            std::snprintf(text, sizeof text, "您的文件柜空间不足：限额 %ju MB，已用 %.1f MB，本文件 %.1f MB。",
                          quota / (1024 * 1024), static_cast<double>(used) / (1024 * 1024),
                          static_cast<double>(adding) / (1024 * 1024));
            filestore::refuse_name(complete ? text : "您的文件柜中文件太多（超过20000个），请先删除一些文件。");
        }
    }

    UploadGroup up{*this};
};

TAVELOR_PAGE(fileupload, "file_upload.asp", access::signed_in().with("own folder only; quota_store megabytes per account"))

}  // namespace tav::pages
