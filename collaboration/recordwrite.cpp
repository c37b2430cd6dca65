// Record_Write.asp: one form for a new ledger row (no id) and for changing
// or, with the subject "del", deleting one of the account's own rows.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class recordwrite : public Page {
public:
    void I_init() override {
        dbI_init();
        std::string caption = "增加一条记录";
        Value id = Trim(Request.querystring("id"));
        Value title, money, text;
        if (!id.blank()) {
            rs = conn.execute("select * from Record where id="_sql + id + " and user_id=" + Session("USER_ID"));
            title = Trim(rs("Rec_title"));
            money = Trim(rs("Rec_money"));
            text = Trim(rs("Rec_text"));
            caption = "修改本记录";
            rs.close();
        }
        conn.close();

        write_head({});
        Response.lines(R"html(
<script language="JavaScript">
function isNumber(v){
  if (v==null || v=="") return 0;
  if (isNaN(v)) return 0;
  return 1;
}
function check(){
  var f=document.form1;
  if (f.Rec_Title.value==""){ alert("请填写主题！"); f.Rec_Title.focus(); return false; }
  if (f.Rec_Money.value==""){ alert("请填写金额！"); f.Rec_Money.focus(); return false; }
  if (isNumber(f.Rec_Money.value)==0){ alert("金额只能输入数字！"); f.Rec_Money.focus(); return false; }
  if (f.Rec_text.value==""){ alert("还是写一点事由吧！"); f.Rec_text.focus(); return false; }
  return true;
}
</script>
</head>
<body>
<form name="form1" method="get" action="Record_Save.asp" onsubmit="return check()">
)html");
        // Written without quotes, as the form always had it.
        Response.line("<input type=\"hidden\" name=\"id\" value=" + html_unquoted(id) + ">");
        Response.line("<table width=\"100%\" border=\"1\" cellspacing=\"0\" cellpadding=\"3\" bordercolorlight=\"#336699\" "
                      "bordercolordark=\"#FFFFFF\">");
        Response.line("<tr bgcolor=\"#336699\"><td colspan=\"2\" height=\"22\"><font color=\"#FFFFFF\">"
                      "<img src=\"images/arrow1.gif\"> " + caption + "</font></td></tr>");
        Response.line("<tr><td width=\"15%\" align=\"right\">记载主题<font color=\"#FF0000\">*</font></td>"
                      "<td><input type=\"text\" name=\"Rec_Title\" maxlength=\"25\" size=\"50\" value=\"" +
                      html_text(title) + "\"></td></tr>");
        Response.line("<tr><td align=\"right\">金额<font color=\"#FF0000\">*</font></td>"
                      "<td><input type=\"text\" name=\"Rec_Money\" maxlength=\"25\" size=\"50\" value=\"" +
                      html_text(money) + "\"></td></tr>");
        Response.line("<tr><td align=\"right\">事由</td><td><textarea name=\"Rec_text\" cols=\"50\" rows=\"10\" "
                      "class=\"small1\">" + html_text(text) + "</textarea></td></tr>");
        Response.lines(R"(
<tr><td colspan="2"><font color="#FF0000">*号要求必须填写，&nbsp;&nbsp;&nbsp;&nbsp;当“记载主题”为 del 时则删除此记录！</font></td></tr>
<tr><td colspan="2" align="center" height="30"><input type="submit" class="buttons02" name="Submit" value="确定"> <input type="button" class="buttons02" name="back" value="返回" onclick="window.location.href='Record_List.asp'"></td></tr>
</table>
</form>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(recordwrite, "Record_Write.asp", access::signed_in().with("own rows only"))

}  // namespace tav::pages
