// user_signe_upload.asp: picks the file for one of the two signature
// images and posts it to user_signe.asp.
#include "frame/html.h"
#include "frame/page.h"

namespace tav::pages {

class usersigneupload : public Page {
public:
    void I_init() override {
        dbI_init();
        Value ok_no = Request.querystring("OK_NO");
        rs = conn.execute("select * from User where id="_sql + Session("user_id"));
        write_head({.title = "用户签字维护"});
        Response.client_compat(kCompatScript);
        Response.line("<script language=\"vbscript\">");
        Response.line("sub go_update()");
        Response.line("  if update.file1.value = \"\" then");
        Response.line("    alert \"请选择 图片文件！\"");
        Response.line("    exit sub");
        Response.line("  end if");
        Response.line("  if ucase(right(update.file1.value, 4)) <> \".JPG\" and ucase(right(update.file1.value, 4)) <> \".GIF\" then");
        Response.line("    alert \"不是图片文件！\" & chr(13) & \"请选择文件扩展名为gif、jpg的文件。\"");
        Response.line("    exit sub");
        Response.line("  end if");
        Response.line("  update.submit");
        Response.line("end sub");
        Response.line("</script>");
        Response.line("</head>");
        Response.line("<body>");
        Response.line("<form name=\"update\" method=\"POST\" enctype=\"multipart/form-data\" action=\"user_signe.asp\">");
        Response.line("<table border=\"0\" align=\"center\" cellspacing=\"4\" cellpadding=\"2\">");
        Response.line("<tr><td>选择用户签字文件：</td></tr>");
        Response.line("<tr><td>文件名:<input type=\"file\" name=\"file1\" size=\"30\"> "
                      "<input type=\"button\" name=\"go\" value=\"确 定\" class=\"buttons02\" onclick=\"go_update()\"></td></tr>");
        Response.line("</table>");
        Response.line("<input type=\"hidden\" name=\"OK_NO\" value=\"" + html_text(ok_no) + "\">");
        Response.line("</form>");
        Response.line("</body>");
        Response.line("</html>");
        Response.write("");
    }
};

TAVELOR_PAGE(usersigneupload, "user_signe_upload.asp", access::signed_in())

}  // namespace tav::pages
