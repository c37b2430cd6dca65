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

        Response.lines(R"(
<html>
<head>
<meta http-equiv="Content-Type" content="text/html; charset=gb2312">
<link rel="stylesheet" href="style.css" type="text/css" title="mysytle">
<script language="JavaScript" src="TavelorJS.js"></script>
)");
        Response.line("<title>" + html_text(Session("dw_name")) + "网络办公系统登录</title>");
        Response.lines(R"(
<style type="text/css">
a:link { color: yellow; text-decoration: none }
a:hover { color: white; text-decoration: underline }
a:visited { color: yellow; text-decoration: none }
</style>
<script language="JavaScript">
function ValidateForm(theForm)
{
  if (theForm.username.value == "")
  {
    alert("请填写用户账号");
    theForm.username.focus();
    return (false);
  }
  if (!IsAccount(theForm.username.value))
  {
    alert("用户账号含有非法字符！\n合法字符只能是字母(a-z,A-Z)，数字(0-9)，下划线(_)。");
    theForm.username.focus();
    return (false);
  }
  var allowed = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
  if (Str1CharAllInStr2(theForm.password.value, allowed) == 0)
  {
    alert("密码中含有非法字符。");
    theForm.password.value = "";
    theForm.password.focus();
    return (false);
  }
  return (true);
}
</script>
</head>
<body background="images/login_bj.gif" leftmargin="0" topmargin="0">
<center>
)");

        std::string headline = login_headline(Session("dw_name"));
        Response.line("<br><br>");
        Response.write("<span style=\"filter: glow(Color=black,Strength=3); width: 450; height: 30; "
                       "font-family: 华文行楷; font-size: 25pt; color: yellow\">");
        Response.write(html_text(headline));
        Response.line("</span>");

        Response.lines(R"html(
<table width="400" border="0" cellspacing="0" cellpadding="0" style="position: absolute; left: 195px; top: 90px">
<tr><td height="1" bgcolor="#FFFFFF"></td></tr>
</table>
<form action="loginverify.asp" method="post" id="login" name="login" ONSUBMIT="return ValidateForm(this)">
<table width="400" height="194" border="0" cellspacing="0" cellpadding="0" style="position: absolute; left: 195px; top: 126px">
<tr><td bgcolor="#336699" align="center">
<table border="0" cellspacing="6" cellpadding="0">
<tr><td><font color="#FFFFFF">用户帐号</font></td>
<td><input type="text" name="username" id="username" maxLength="13" value="" style="height: 22px; width: 130px"></td></tr>
<tr><td><font color="#FFFFFF">密&nbsp;&nbsp;&nbsp;码</font></td>
<td><input type="password" name="password" id="password" value="" style="height: 22px; width: 127px"></td></tr>
<tr><td colspan="2" align="center"><input type="submit" name="btnlogin" value=" 登 录 " class="buttons02"></td></tr>
<tr><td colspan="2" align="center">
)html");

        rs = setting("forgetpass");
        if (rs.eof() || rs("Hardserial") == "1")
            Response.write("<a onclick='ForgetPassword()' href='#'>忘记密码</a>&nbsp;&nbsp; ");
        rs = setting("regnewuser");
        if (rs.eof() || rs("Hardserial") == "1")
            Response.write("<a onclick='NewRegister()' href='#'>新用户注册</a>&nbsp;&nbsp; ");
        rs = setting("indroduce");
        if (rs.eof() || rs("Hardserial") == "1")
            Response.write("<a href='help.htm' target='_blank'><font color='yellow'>系统简介</font></a>");

        Response.lines(R"(
</td></tr>
</table>
</td></tr>
)");
        Response.write("<tr><td bgcolor=\"#336699\" align=\"center\" height=\"24\"><font color=\"red\"><b>");
        if (login_flag == "error")
            Response.write("　用户名或密码错误，登录失败，请重新登录！　");
        else
            Response.write("　软件版本：2.0　");
        Response.lines(R"(
</b></font></td></tr>
</table>
</form>
</center>
<script language="JavaScript">
var w = screen.availWidth, h = screen.availHeight;
if (w > 800) w = 800;
if (h > 600) h = 600;
if (top.location != self.location) top.location = self.location;
self.focus();
self.resizeTo(w, h);
self.moveTo(0, 0);
document.login.username.focus();
function NewRegister()
{
  window.open("NewRegister.asp", "", "Width=570,Height=360,scrollbars=yes,left=0,top=0");
}
function ForgetPassword()
{
  window.open("losepassword.asp", "", "Width=450,Height=350,left=0,top=0");
}
</script>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(login, "login.asp", access::open())

}  // namespace tav::pages
