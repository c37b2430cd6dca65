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
        // The upload shows its progress through the compat script.
        Response.client_compat(kCompatDialogs);
        Response.lines(R"~(<script language="javascript">
function go_update() {
  var name = document.update.file1.value;
  if (name == "") {
    alert("请选择 图片文件！");
    return;
  }
  var ext = name.slice(-4).toUpperCase();
  if (ext != ".JPG" && ext != ".GIF") {
    alert("不是图片文件！\n请选择文件扩展名为gif、jpg的文件。");
    return;
  }
  document.update.submit();
}
</script>
</head>
<body>
<form name="update" method="POST" enctype="multipart/form-data" action="user_signe.asp">
<table border="0" align="center" cellspacing="4" cellpadding="2">
<tr><td>选择用户签字文件：</td></tr>
<tr><td>文件名:<input type="file" name="file1" size="30"> <input type="button" name="go" value="确 定" class="buttons02" onclick="go_update()"></td></tr>
</table>
)~");
        Response.line("<input type=\"hidden\" name=\"OK_NO\" value=\"" + html_text(ok_no) + "\">");
        Response.lines("</form>\n</body>\n</html>\n");
    }
};

TAVELOR_PAGE(usersigneupload, "user_signe_upload.asp", access::signed_in())

}  // namespace tav::pages
