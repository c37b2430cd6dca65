#include "filestore/menu.h"

#include "frame/host.h"

namespace tav::filestore {

void write_menu_styles() {
    Response.lines(R"(
<style type="text/css">
.skin0 { position:absolute; width:100px; border:2px solid black; background-color:menu; font-family:Verdana; line-height:20px; cursor:default; font-size:12px; z-index:100; visibility:hidden; }
.menuitems { padding-left:10px; padding-right:10px; }
.skin1 { cursor:default; position:absolute; width:100px; text-align:left; font-family:Arial, Helvetica, sans-serif; font-size:12px; background-color:menu; border:2px outset buttonhighlight; visibility:hidden; z-index:100; }
</style>
)");
}

void write_menu(const std::vector<MenuRow>& rows) {
    Response.line("<div id=\"ie5menu\" class=\"skin0\" onmouseover=\"highlightie5()\" onmouseout=\"lowlightie5()\" "
                  "onclick=\"jumptoie5()\" style=\"width:100px\">");
    Response.line("<table width=\"100\" border=\"0\" cellspacing=\"1\" cellpadding=\"0\">");
    for (const MenuRow& r : rows) {
        Response.line(std::string("<tr><td height=\"30\" valign=\"middle\" bgcolor=\"") + r.idle +
                      "\" onmouseover=\"this.style.backgroundColor='" + r.hover +
                      "'\" onmouseout=\"this.style.backgroundColor='" + r.out + "'\">&nbsp;<a " + r.action +
                      ">" + r.caption + "</a></td></tr>");
    }
    Response.line("</table>");
    Response.line("</div>");
}

void write_menu_script(const std::string& show_test, const std::string& on_show, const std::string& on_hide) {
    Response.lines(R"(
<script language="JavaScript1.2">
var menuskin = "skin1";
var display_url = 0;
function showmenuie5() {
)");
    if (!show_test.empty()) Response.line("  if (!(" + show_test + ")) return false;");
    Response.lines(R"(
  var rightedge = document.body.clientWidth - event.clientX;
  var bottomedge = document.body.clientHeight - event.clientY;
  if (rightedge < ie5menu.offsetWidth)
    ie5menu.style.left = document.body.scrollLeft + event.clientX - ie5menu.offsetWidth;
  else
    ie5menu.style.left = document.body.scrollLeft + event.clientX;
  if (bottomedge < ie5menu.offsetHeight)
    ie5menu.style.top = document.body.scrollTop + event.clientY - ie5menu.offsetHeight;
  else
    ie5menu.style.top = document.body.scrollTop + event.clientY;
  ie5menu.style.visibility = "visible";
)");
    if (!on_show.empty()) Response.line("  " + on_show);
    Response.lines(R"(
  return false;
}
function hidemenuie5() {
  ie5menu.style.visibility = "hidden";
)");
    if (!on_hide.empty()) Response.line("  " + on_hide);
    Response.lines(R"(
}
function highlightie5() {
  if (event.srcElement.className == "menuitems") {
    event.srcElement.style.backgroundColor = "highlight";
    event.srcElement.style.color = "white";
    if (display_url == 1) window.status = event.srcElement.url;
  }
}
function lowlightie5() {
  if (event.srcElement.className == "menuitems") {
    event.srcElement.style.backgroundColor = "";
    event.srcElement.style.color = "black";
    window.status = "";
  }
}
function jumptoie5() {
  if (event.srcElement.className == "menuitems") {
    if (event.srcElement.getAttribute("target") != null)
      window.open(event.srcElement.url, event.srcElement.getAttribute("target"));
    else
      window.location = event.srcElement.url;
  }
}
if (document.all && window.print) {
  ie5menu.className = menuskin;
  document.oncontextmenu = showmenuie5;
  document.body.onclick = hidemenuie5;
}
</script>
)");
}

void create_ok() {
    Response.lines(R"(
<script language="JavaScript">
 window.top.detail.folder.location.reload()
</script>
)");
}

}  // namespace tav::filestore
