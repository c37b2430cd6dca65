#include "filestore/menu.h"

#include "frame/host.h"

namespace tav::filestore {

void write_menu_styles() {
    Response.line("<style type=\"text/css\">");
    Response.line(".skin0 { position:absolute; width:100px; border:2px solid black; background-color:menu; "
                  "font-family:Verdana; line-height:20px; cursor:default; font-size:12px; z-index:100; "
                  "visibility:hidden; }");
    Response.line(".menuitems { padding-left:10px; padding-right:10px; }");
    Response.line(".skin1 { cursor:default; position:absolute; width:100px; text-align:left; "
                  "font-family:Arial, Helvetica, sans-serif; font-size:12px; background-color:menu; "
                  "border:2px outset buttonhighlight; visibility:hidden; z-index:100; }");
    Response.line("</style>");
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
    Response.line("<script language=\"JavaScript1.2\">");
    Response.line("var menuskin = \"skin1\";");
    Response.line("var display_url = 0;");
    Response.line("function showmenuie5() {");
    if (!show_test.empty()) Response.line("  if (!(" + show_test + ")) return false;");
    Response.line("  var rightedge = document.body.clientWidth - event.clientX;");
    Response.line("  var bottomedge = document.body.clientHeight - event.clientY;");
    Response.line("  if (rightedge < ie5menu.offsetWidth)");
    Response.line("    ie5menu.style.left = document.body.scrollLeft + event.clientX - ie5menu.offsetWidth;");
    Response.line("  else");
    Response.line("    ie5menu.style.left = document.body.scrollLeft + event.clientX;");
    Response.line("  if (bottomedge < ie5menu.offsetHeight)");
    Response.line("    ie5menu.style.top = document.body.scrollTop + event.clientY - ie5menu.offsetHeight;");
    Response.line("  else");
    Response.line("    ie5menu.style.top = document.body.scrollTop + event.clientY;");
    Response.line("  ie5menu.style.visibility = \"visible\";");
    if (!on_show.empty()) Response.line("  " + on_show);
    Response.line("  return false;");
    Response.line("}");
    Response.line("function hidemenuie5() {");
    Response.line("  ie5menu.style.visibility = \"hidden\";");
    if (!on_hide.empty()) Response.line("  " + on_hide);
    Response.line("}");
    Response.line("function highlightie5() {");
    Response.line("  if (event.srcElement.className == \"menuitems\") {");
    Response.line("    event.srcElement.style.backgroundColor = \"highlight\";");
    Response.line("    event.srcElement.style.color = \"white\";");
    Response.line("    if (display_url == 1) window.status = event.srcElement.url;");
    Response.line("  }");
    Response.line("}");
    Response.line("function lowlightie5() {");
    Response.line("  if (event.srcElement.className == \"menuitems\") {");
    Response.line("    event.srcElement.style.backgroundColor = \"\";");
    Response.line("    event.srcElement.style.color = \"black\";");
    Response.line("    window.status = \"\";");
    Response.line("  }");
    Response.line("}");
    Response.line("function jumptoie5() {");
    Response.line("  if (event.srcElement.className == \"menuitems\") {");
    Response.line("    if (event.srcElement.getAttribute(\"target\") != null)");
    Response.line("      window.open(event.srcElement.url, event.srcElement.getAttribute(\"target\"));");
    Response.line("    else");
    Response.line("      window.location = event.srcElement.url;");
    Response.line("  }");
    Response.line("}");
    Response.line("if (document.all && window.print) {");
    Response.line("  ie5menu.className = menuskin;");
    Response.line("  document.oncontextmenu = showmenuie5;");
    Response.line("  document.body.onclick = hidemenuie5;");
    Response.line("}");
    Response.line("</script>");
}

void create_ok() {
    Response.line("<script language=\"JavaScript\">");
    Response.line(" window.top.detail.folder.location.reload()");
    Response.line("</script>");
}

}  // namespace tav::filestore
