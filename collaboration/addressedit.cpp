// Address_Edit.asp: the form for a new card (no id) or for one of the
// account's own cards; another account's id reads as unknown.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class addressedit : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("id");
        std::string word = "新建";
        Value name, work, phone, mobile, sex, mail;
        if (!id.blank()) {
            word = "修改";
            rs = conn.execute("select * from Address where id="_sql + id + " and User_id=" + Session("USER_ID"));
            name = rs("Name");
            work = rs("Work");
            phone = rs("Telphone");
            mobile = rs("Mobile");
            sex = rs("Sex");
            mail = Trim(rs("Email"));
            rs.close();
        }
        conn.close();

        write_head({});
        Response.lines(R"html(
<script language="JavaScript" src="TavelorJS.js"></script>
<script language="JavaScript">
function check(){
  if (document.form1.Name.value==""){
    alert("请填写用户姓名");
    document.form1.Name.focus();
    return false;
  }
  if (document.form1.Email.value!="" && !IsValidEmail(document.form1.Email.value)){
    alert("请填写正确的电子信箱！");
    document.form1.Email.focus();
    return false;
  }
  return true;
}
</script>
</head>
<body>
<form name="form1" method="post" action="Address_EditDo.asp" onsubmit="return check()">
)html");
        if (id.blank()) {
            Response.line("<input type=\"hidden\" name=\"Append\" value=\"Yes\">");
        } else {
            Response.line("<input type=\"hidden\" name=\"Append\" value=\"No\">");
            Response.line("<input type=\"hidden\" name=\"id\" value=\"" + html_text(id) + "\">");
        }
        Response.line("<table width=\"100%\" border=\"1\" cellspacing=\"0\" cellpadding=\"3\" bordercolorlight=\"#336699\" "
                      "bordercolordark=\"#FFFFFF\">");
        Response.line("<tr bgcolor=\"#336699\"><td colspan=\"2\" height=\"22\"><font color=\"#FFFFFF\">"
                      "<img src=\"images/arrow1.gif\"> " + word + "联系人信息</font></td></tr>");
        field("姓名", true, "<input type=\"text\" name=\"Name\" maxlength=\"25\" value=\"" + html_text(name) + "\">");
        bool male = sex == "男";
        field("性别", true,
              std::string("<input type=\"radio\" name=\"sex\" value=\"男\"") + (male ? " checked" : "") +
                  ">男 <input type=\"radio\" name=\"sex\" value=\"女\"" + (male ? "" : " checked") + ">女");
        field("电话", false, "<input type=\"text\" name=\"Telphone\" maxlength=\"20\" value=\"" + html_text(phone) + "\">");
        field("手机", false, "<input type=\"text\" name=\"Mobile\" maxlength=\"15\" value=\"" + html_text(mobile) + "\">");
        field("电子信箱", false, "<input type=\"text\" name=\"Email\" maxlength=\"50\" value=\"" + html_text(mail) + "\">");
        field("工作单位", false,
              "<input type=\"text\" name=\"Work\" maxlength=\"50\" size=\"40\" value=\"" + html_text(work) + "\">");
        Response.lines(R"html(
<tr><td colspan="2" align="center" height="30"><input type="submit" class="buttons02" name="Submit" value="确认"> <input type="button" class="buttons02" name="back" value="返回" onclick="window.history.back()"></td></tr>
</table>
</form>
</body>
</html>
)html");
    }

private:
    void field(const char* caption, bool required, const std::string& input) {
        Response.line(std::string("<tr><td width=\"20%\" align=\"right\">") + caption +
                      (required ? "<font color=\"#FF0000\">*</font>" : "") + "</td><td>" + input + "</td></tr>");
    }
};

TAVELOR_PAGE(addressedit, "Address_Edit.asp", access::signed_in().with("own cards only"))

}  // namespace tav::pages
