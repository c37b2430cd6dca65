// User_password_Modify.asp: the own password, changed when the old one is
// given right; where a login sends an account whose password the
// administrator set.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/password.h"
#include "frame/vb.h"

namespace tav::pages {

class userpasswordmodif : public Page {
public:
    void I_init() override {
        dbI_init();
        rs = conn.execute("select * from user where id="_sql + Session("user_id"));
        Value truename = rs("truename");
        Value username = rs("username");
        bool must_change = rs("must_change").str() == "1";
        Value newpassword = Trim(Request.Form("newpassword"));
        Value userpassword = Trim(Request.Form("userpassword"));
        if (!newpassword.blank()) {
            // The stored text is a hash (or, on an old row, the clear text):
            // it is checked, never kept in the session or shown.
            if (!password::matches(userpassword.str(), Trim(rs("password")).str())) {
                Response.write("<br><font color=red>原密码错误！</font>");
            } else if (!password::acceptable(newpassword.str())) {
                Response.write("<br><font color=red>密码中含有非法字符。</font>");
            } else {
                conn.execute("update user set password='"_sql + password::hash(newpassword.str()) +
                             "',must_change=0 where id=" + Session("user_id"));
                Session.set("must_change", "");
                // The account that had to change its password goes on to the desktop.
                if (must_change) {
                    Response.redirect("./");
                    END_PAGE();
                }
                Response.write("<br><font color=red>密码已经修改！</font>");
            }
        }
        write_head({.title = "Tavelor"});
        Response.lines(R"(
<script language="JavaScript" src="TavelorJS.js"></script>
<script language="JavaScript">
function check()
{
  var f = document.form1;
  var allowed = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
  if (f.NewPassWord.value == "") { alert("请填写密码"); f.NewPassWord.focus(); return (false); }
  if (Str1CharAllInStr2(f.NewPassWord.value, allowed) == 0) { alert("密码中含有非法字符。"); f.NewPassWord.value = ""; f.NewPassWord.focus(); return (false); }
  if (f.NewPassWord.value != f.NewPassWord1.value) { alert("新密码与确认密码不一致,请重新输入!"); f.NewPassWord1.value = ""; f.NewPassWord1.focus(); return (false); }
  return (true);
}
</script>
</head>
<body>
<table width="100%" border="0" cellspacing="1" cellpadding="3" bgcolor="#336699">
<tr><td colspan="2" height="25" align="center"><font color="#FFFFFF">修改个人密码</font></td></tr>
)");
        Response.line("<tr bgcolor=\"#F5F5F5\"><td width=\"30%\" align=\"right\">真实姓名</td><td>" + html_text(truename) +
                      "</td></tr>");
        Response.line("<tr bgcolor=\"#F5F5F5\"><td align=\"right\">用户账号</td><td>" + html_text(username) + "</td></tr>");
        Response.line("</table>");
        if (must_change)
            Response.line("<p align=\"center\"><font color=\"red\">管理员为您设置了新密码，请先修改密码，再进入系统。</font></p>");
        Response.line("<form name=\"form1\" method=\"post\" action=\"User_password_Modify.asp\" onsubmit=\"return check()\">");
        Response.line("<table width=\"100%\" border=\"0\" cellspacing=\"1\" cellpadding=\"3\" bgcolor=\"#336699\">");
        const char* boxes[][2] = {{"原 密 码", "UserPassWord"}, {"新 密 码", "NewPassWord"}, {"确认密码", "NewPassWord1"}};
        for (const auto& box : boxes)
            Response.line(std::string("<tr bgcolor=\"#F5F5F5\"><td width=\"30%\" align=\"right\">") + box[0] +
                          "</td><td><input type=\"password\" name=\"" + box[1] +
                          "\" maxlength=\"18\" size=\"20\"><font color=\"red\">*</font></td></tr>");
        Response.lines(R"(
<tr bgcolor="#E0E0E0"><td colspan="2" align="center"><input type="submit" name="Submit" value=" 确 认 " class="buttons02"></td></tr>
</table>
</form>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(userpasswordmodif, "User_password_Modify.asp",
             access::signed_in().with("the own password, given the current one"))

}  // namespace tav::pages
