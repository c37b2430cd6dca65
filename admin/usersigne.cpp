// user_signe.asp: the account's two signature images (approval and
// deferral); a multipart post from user_signe_upload.asp replaces one.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/site_layout.h"
#include "frame/sql.h"
#include "frame/upload.h"
#include "frame/vb.h"

namespace tav::pages {

class usersigne : public Page {
public:
    void I_init() override {
        Server.ScriptTimeOut(5000);
        dbI_init();
        rs = conn.execute("select * from User where id="_sql + Session("user_id"));
        if (Request.ServerVariables("REQUEST_METHOD") == "POST") {
            up.upload_initialize();
            std::string field = "OK_NO";
            std::string ok_no = up.upload_form(field);
            std::string name;
            // Only a picture of a plain name goes into the account's folder:
            // the folder is served to the account's own session, and nothing
            // but the two images belongs there from this page.
            if (picture_sent()) {
                field = "file1";
                name = up.upload_file(field, layout::dir(layout::kUserFolder) + rs("username").str() + "/", "");
            }
            if (!name.empty())
                conn.execute("update user set "_sql + sql_name("pen_" + ok_no) + "='user/" +
                             (rs("username").str() + "/" + name) + "' where id=" + Session("user_id"));
            up.upload_terminate();
            rs = conn.execute("select * from User where id="_sql + Session("user_id"));
        }

        write_head({.title = "用户签字维护"});
        // Upload progress and the frame's close() come with the compat script.
        Response.client_compat(kCompatDialogs);
        Response.lines(R"(<script language="javascript">
function go_ok() {
  document.ff.OK_NO.value = "ok";
  document.ff.submit();
}
function go_no() {
  document.ff.OK_NO.value = "no";
  document.ff.submit();
}
</script>
</head>
<body>
<form name="ff" method="get" action="user_signe_upload.asp">
<table border="0" align="center" cellspacing="4" cellpadding="2">
<tr><td colspan="3" align="center"><font size="4">用户签字维护：</font></td></tr>
)");
        Response.line("<tr><td>同意： </td><td>" + image(rs("pen_ok")) +
                      "</td><td><input type=\"button\" name=\"OK\" value=\"修改\" class=\"buttons02\" "
                      "onclick=\"go_ok()\"></td></tr>");
        Response.line("<tr><td>暂缓： </td><td>" + image(rs("pen_no")) +
                      "</td><td><input type=\"button\" name=\"NO\" value=\"修改\" class=\"buttons02\" "
                      "onclick=\"go_no()\"></td></tr>");
        Response.lines(R"(<tr><td colspan="3">对于有公文审核或签发的用户，可以修改您的签字，<br>请根据发文稿纸版面设置签字的大小等属性。<br>对于"业务股审核"、"会核"、"复核"栏的签字<br>图片高度在25点左右，领导和分管领导的签字图片<br>可以大些，但高度应控制在100点内。</td></tr>
</table>
)");
        Response.line("<input type=\"hidden\" name=\"ID\" value=\"" + html_text(Session("user_id")) + "\">");
        Response.lines(R"(<input type="hidden" name="OK_NO" value="">
</form>
</body>
</html>
)");
    }

private:
    // The file of file1 is a .gif or .jpg of a name without a folder part:
    // the upload form's own test, repeated here.
    bool picture_sent() const {
        for (const FileRecord& r : up.files()) {
            if (r.form_name != "file1") continue;
            std::string ext = UCase(Right(r.file_name, 4));
            return (ext == ".GIF" || ext == ".JPG") && r.file_name.find('/') == std::string::npos &&
                   r.file_name[0] != '.';
        }
        return false;
    }
    static std::string image(const Value& path) {
        std::string src = safe_url(path) ? html_text(path) : "";
        return "<img src=\"" + src + "\" border=\"1\">";
    }

    UploadGroup up{*this};
};

TAVELOR_PAGE(usersigne, "user_signe.asp", access::signed_in())

}  // namespace tav::pages
