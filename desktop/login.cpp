// The login form; it also gives the session its organisation name.
#include "desktop/headline.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class login : public Page {
public:
    void I_init() override {
        dbI_init();
        Session.set("dw_name", "审计系统通用");
        rs = setting("username");
        if (!rs.eof()) Session.set("dw_name", Trim(rs("Hardserial")));
        Value login_flag = Trim(Request.querystring("login"));

        Response.line("<html>");
        Response.line("<head>");
        Response.line("<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">");
        Response.line("<link rel=\"stylesheet\" href=\"style.css\" type=\"text/css\" title=\"mysytle\">");
        Response.line("<script language=\"JavaScript\" src=\"TavelorJS.js\"></script>");
        Response.line("<title>" + html_text(Session("dw_name")) + "网络办公系统登录</title>");
        Response.line("<style type=\"text/css\">");
        Response.line("a:link { color: yellow; text-decoration: none }");
        Response.line("a:hover { color: white; text-decoration: underline }");
        Response.line("a:visited { color: yellow; text-decoration: none }");
        Response.line("</style>");
        Response.line("<script language=\"JavaScript\">");
        Response.line("function ValidateForm(theForm)");
        Response.line("{");
        Response.line("  if (theForm.username.value == \"\")");
        Response.line("  {");
        Response.line("    alert(\"请填写用户账号\");");
        Response.line("    theForm.username.focus();");
        Response.line("    return (false);");
        Response.line("  }");
        Response.line("  if (!IsAccount(theForm.username.value))");
        Response.line("  {");
        Response.line("    alert(\"用户账号含有非法字符！\\n合法字符只能是字母(a-z,A-Z)，数字(0-9)，下划线(_)。\");");
        Response.line("    theForm.username.focus();");
        Response.line("    return (false);");
        Response.line("  }");
        Response.line("  var allowed = \"0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_\";");
        Response.line("  if (Str1CharAllInStr2(theForm.password.value, allowed) == 0)");
        Response.line("  {");
        Response.line("    alert(\"密码中含有非法字符。\");");
        Response.line("    theForm.password.value = \"\";");
        Response.line("    theForm.password.focus();");
        Response.line("    return (false);");
        Response.line("  }");
        Response.line("  return (true);");
        Response.line("}");
        Response.line("</script>");
        Response.line("</head>");
        Response.line("<body background=\"images/login_bj.gif\" leftmargin=\"0\" topmargin=\"0\">");
        Response.line("<center>");

        std::string headline = login_headline(Session("dw_name"));
        Response.line("<br><br>");
        Response.write("<span style=\"filter: glow(Color=black,Strength=3); width: 450; height: 30; "
                       "font-family: 华文行楷; font-size: 25pt; color: yellow\">");
        Response.write(html_text(headline));
        Response.line("</span>");

        Response.line("<table width=\"400\" border=\"0\" cellspacing=\"0\" cellpadding=\"0\" "
                      "style=\"position: absolute; left: 195px; top: 90px\">");
        Response.line("<tr><td height=\"1\" bgcolor=\"#FFFFFF\"></td></tr>");
        Response.line("</table>");
        Response.line("<form action=\"loginverify.asp\" method=\"post\" id=\"login\" name=\"login\" "
                      "ONSUBMIT=\"return ValidateForm(this)\">");
        Response.line("<table width=\"400\" height=\"194\" border=\"0\" cellspacing=\"0\" cellpadding=\"0\" "
                      "style=\"position: absolute; left: 195px; top: 126px\">");
        Response.line("<tr><td bgcolor=\"#336699\" align=\"center\">");
        Response.line("<table border=\"0\" cellspacing=\"6\" cellpadding=\"0\">");
        Response.line("<tr><td><font color=\"#FFFFFF\">用户帐号</font></td>");
        Response.line("<td><input type=\"text\" name=\"username\" id=\"username\" maxLength=\"13\" value=\"\" "
                      "style=\"height: 22px; width: 130px\"></td></tr>");
        Response.line("<tr><td><font color=\"#FFFFFF\">密&nbsp;&nbsp;&nbsp;码</font></td>");
        Response.line("<td><input type=\"password\" name=\"password\" id=\"password\" value=\"\" "
                      "style=\"height: 22px; width: 127px\"></td></tr>");
        Response.line("<tr><td colspan=\"2\" align=\"center\">"
                      "<input type=\"submit\" name=\"btnlogin\" value=\" 登 录 \" class=\"buttons02\"></td></tr>");
        Response.line("<tr><td colspan=\"2\" align=\"center\">");

        rs = setting("forgetpass");
        if (rs.eof() || rs("Hardserial") == "1")
            Response.write("<a onclick='ForgetPassword()' href='#'>忘记密码</a>&nbsp;&nbsp; ");
        rs = setting("regnewuser");
        if (rs.eof() || rs("Hardserial") == "1")
            Response.write("<a onclick='NewRegister()' href='#'>新用户注册</a>&nbsp;&nbsp; ");
        rs = setting("indroduce");
        if (rs.eof() || rs("Hardserial") == "1")
            Response.write("<a href='help.htm' target='_blank'><font color='yellow'>系统简介</font></a>");

        Response.line("</td></tr>");
        Response.line("</table>");
        Response.line("</td></tr>");
        Response.write("<tr><td bgcolor=\"#336699\" align=\"center\" height=\"24\"><font color=\"red\"><b>");
        if (login_flag == "error")
            Response.write("　用户名或密码错误，登录失败，请重新登录！　");
        else
            Response.write("　软件版本：2.0　");
        Response.line("</b></font></td></tr>");
        Response.line("</table>");
        Response.line("</form>");
        Response.line("</center>");
        Response.line("<script language=\"JavaScript\">");
        Response.line("var w = screen.availWidth, h = screen.availHeight;");
        Response.line("if (w > 800) w = 800;");
        Response.line("if (h > 600) h = 600;");
        Response.line("if (top.location != self.location) top.location = self.location;");
        Response.line("self.focus();");
        Response.line("self.resizeTo(w, h);");
        Response.line("self.moveTo(0, 0);");
        Response.line("document.login.username.focus();");
        Response.line("function NewRegister()");
        Response.line("{");
        Response.line("  window.open(\"NewRegister.asp\", \"\", \"Width=570,Height=360,scrollbars=yes,left=0,top=0\");");
        Response.line("}");
        Response.line("function ForgetPassword()");
        Response.line("{");
        Response.line("  window.open(\"losepassword.asp\", \"\", \"Width=450,Height=350,left=0,top=0\");");
        Response.line("}");
        Response.line("</script>");
        Response.line("</body>");
        Response.line("</html>");
        Response.write("");
    }
};

TAVELOR_PAGE(login, "login.asp", access::open())

}  // namespace tav::pages
