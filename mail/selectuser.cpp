// Select_user.asp: the modal dialog that picks recipients. It returns the
// positions of the ticked boxes, which the mail form maps through its own
// copy of the same account list.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class selectuser : public Page {
public:
    void I_init() override {
        dbI_init();
        rs = conn.execute("select id,Truename from user where id<>"_sql + Session("USER_ID") + " order by ID");
        Response.client_compat(kCompatDialogs);  // returnValue and close() inside the dialog stand-in
        write_head({.title = "选择用户", .no_cache_days = 1});
        write_script();
        Response.lines(R"(
</head>
<body bgcolor="#6699cc">
<table width="100%" border="0" cellspacing="0" cellpadding="3">
<tr bgcolor="#336699"><td><font color="#FFFFFF">选择收信人</font></td></tr>
</table>
)");
        // Never submitted: the form only groups the boxes.
        Response.line("<form name=\"select_form\" method=\"post\" action=\"Email_send.asp\" target=\"detail\">");
        Response.line("<table width=\"100%\" border=\"0\" cellspacing=\"0\" cellpadding=\"2\">");
        long n = 0;
        while (!rs.eof()) {
            if (n % 5 == 0) Response.write("<tr>");
            Response.write("<td width=\"20%\" nowrap><input type=\"checkbox\" name=\"" + html_text(rs("id").str() + "|" + rs("Truename").str()) +
                           "\">" + html_text(rs("Truename")) + "</td>");
            ++n;
            if (n % 5 == 0) Response.line("</tr>");
            rs.movenext();
        }
        if (n % 5 != 0) Response.line("</tr>");
        Response.lines(R"html(
</table>
<center>
<input type="button" class="buttons02" name="clear" value="全选" onclick="checkall()">
<input type="reset" class="buttons02" value="清除">
<input type="button" class="buttons02" value="确定" onclick="do_submit()">
</center>
<input type="hidden" name="test">
</form>
</body>
</html>
)html");
    }

private:
    void write_script() {
        Response.lines(R"(
<script language="javascript">
function checkall(){
  var f = document.select_form;
  for (var i = 0; i < f.elements.length; i++) f.elements[i].checked = !f.elements[i].checked;
  f.clear.value = "反选";
}
function do_submit(){
  var f = document.select_form, picked = "";
)");
        // the last four elements are the three buttons and the field test
        Response.lines(R"(
  for (var i = 0; i < f.elements.length - 4; i++) {
    if (f.elements[i].checked) picked += i + ",";
  }
  if (picked == "") {
    alert("请选取收件人！");
    return;
  }
  window.returnValue = picked + "0";
  window.close();
}
</script>
)");
    }
};

TAVELOR_PAGE(selectuser, "Select_user.asp", access::signed_in().with("ids and names of the other accounts only"))

}  // namespace tav::pages
