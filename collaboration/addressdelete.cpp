// Address_delete.asp: asks before a card goes, in a box of its own.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/resultbox.h"

namespace tav::pages {

class addressdelete : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("id");
        rs = conn.execute("select name from Address where id="_sql + id + " and User_id=" + Session("USER_ID"));
        Value name = rs("name");
        rs.close();
        conn.close();
        Response.block(result_box_head(
            "<form action=\"Address_Del_True.asp\" method=\"POST\" id=\"info\" name=\"info\">\r\n"));
        Response.line("您确信要删除联系人：" + html_text(name) + " 吗？");
        Response.line("<br><br>");
        Response.line("<input type=\"hidden\" name=\"ID\" value=\"" + html_text(id) + "\">");
        Response.lines(R"html(
<INPUT class="buttons02" type="submit" value="删除" name="Submit2">
<INPUT class="buttons02" type="button" value="返回" name="Submit2" onclick="window.history.back()">
</td></tr>
<tr><td height="4" bgcolor="#6d8e4d"></td></tr>
</table>
</td></tr>
</table>
</form>
</body>
</html>
)html");
    }
};

TAVELOR_PAGE(addressdelete, "Address_delete.asp", access::signed_in().with("own cards only"))

}  // namespace tav::pages
