// Chat_Input.asp: the input line of the chat room. The repeat rule and the
// memory of the last line live in this page's script: the form posts into
// the display frame, so this frame keeps its state until a name is clicked.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class chatinput : public Page {
public:
    void I_init() override {
        dbI_init();
        rs = conn.execute("select Truename from user where id="_sql + Session("USER_ID"));
        Value truename = Trim(rs("Truename"));
        rs.close();
        conn.close();
        Value name = Trim(Request.querystring("name"));
        if (name.blank()) name = "所有人";

        write_head({.title = "发言区"});
        Response.lines(R"html(
<script language="javascript">
function checksays() {
  var f = document.enter;
  if (f.saystemp.value == "") {
    alert("请输入发言。");
    return false;
  }
  if (f.saystemp.value == f.oldsays.value) {
    alert("内容不可重复。");
    f.saystemp.focus();
    f.saystemp.select();
    return false;
  }
  f.oldsays.value = f.saystemp.value;
  f.saystemp.value = "";
  f.saystemp.focus();
  return true;
}
function ClearScreen() {
  parent.f1.location.href = "about:blank";
  setTimeout("write()", 500);
}
)html");
        // IE's window had no write(); the delayed call above must stay as
        // harmless here as it was there.
        Response.lines(R"html(
function write() {}
</script>
</head>
<body bgcolor="#6699cc" leftmargin="5" topmargin="4">
<form name="enter" method="post" action="Chat_Save.asp" target="f1" onsubmit="return checksays()">
<input type="hidden" name="oldsays" value="">
)html");
        Response.line("<font color=\"#FFFFFF\">" + html_text(truename) + "</font> 对 "
                      "<input type=\"text\" name=\"to_username\" value=\"" + html_text(name) +
                      "\" maxlength=\"10\" size=\"10\"> 说:"
                      "<input type=\"text\" name=\"saystemp\" maxlength=\"200\" size=\"20\">"
                      "<input type=\"submit\" name=\"send\" value=\"发言\">"
                      "<input type=\"button\" value=\"清屏\" onclick=\"ClearScreen()\">");
        Response.line("<input type=\"hidden\" name=\"Truename\" value=\"" + html_text(truename) + "\">");
        Response.lines(R"(
</form>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(chatinput, "Chat_Input.asp", access::right("1203"))

}  // namespace tav::pages
