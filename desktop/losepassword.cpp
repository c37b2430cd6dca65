// Lost password: the user flags the account for the administrator, who reads
// the password from the list and passes it on by other means.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class losepassword : public Page {
public:
    void I_init() override {
        dbI_init();
        Value username = Trim(Request.Form("username"));
        Value truename = Trim(Request.Form("truename"));
        if (!username.blank()) {
            rs = conn.execute("select id from user where username='"_sql + username + "' and truename='" +
                              truename + "'");
            if (rs.eof()) {
                Response.redirect("Pop_OK.asp?message=您输入的帐号或姓名在系统中不存在！<br>请重新输入……"
                                  "&next_href=losepassword.asp");
                END_PAGE();
            }
            conn.execute("update user set password_lose=1 where id="_sql + rs("id"));
            Response.redirect("Pop_OK.asp?message=您的通知已经发送给系统管理员！<br>请等待管理员的回复……"
                              "&next_href=close.asp");
            END_PAGE();
        }
        write_head({.title = Session("dw_name") + "网络办公系统"});
        Response.lines(R"html(
<script language="JavaScript">
function CheckForm(formName)
{
  if (formName.username.value == "")
  {
    alert("请您填写用户名(帐号)。");
    formName.username.focus();
    return false;
  }
  if (formName.truename.value == "")
  {
    alert("请填写您的真实姓名。");
    formName.truename.focus();
    return false;
  }
  return true;
}
</script>
</head>
<body>
<form action="LosePassword.asp" method="post" name="form1" onsubmit="return CheckForm(this)">
<table width="90%" border="1" cellspacing="0" cellpadding="4" align="center">
<tr><td bgcolor="#336699" colspan="2"><font color="#FFFFFF">密码遗失，通知系统管理员。</font></td></tr>
<tr><td colspan="2">如果您忘记密码，请填写以下信息供管理员参考。</td></tr>
<tr><td>1、 请填写您的帐号：</td><td><input type="text" name="username"></td></tr>
<tr><td>2、请填写您的真实姓名：</td><td><input type="text" name="truename"></td></tr>
<tr><td colspan="2" align="center">
<input type="submit" name="sb" value="通知管理员" class="buttons02">
<input type="button" name="cl" value="关闭窗口" class="buttons02" onclick="window.close()">
</td></tr>
</table>
</form>
</body>
</html>
)html");
    }
};

TAVELOR_PAGE(losepassword, "losepassword.asp", access::open())

}  // namespace tav::pages
