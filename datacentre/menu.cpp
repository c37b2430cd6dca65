// Menu.asp: the data centre's main menus. Each main menu is five rows of
// `menu` under the code 3N (N from 1 to 9): its handle, the opening and the
// closing row of its folder field, and its two fixed entries.
#include <string>

#include "datacentre/catalog.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class menu : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("id");
        Value user_text = Trim(Request.querystring("user_text"));
        Value old_text = Trim(Request.querystring("old_text"));
        Value del = Request.querystring("del");
        Value shown = user_text;
        std::string prompt;
        bool added = false;

        // The page lists the main menus only; it never offers another row.
        if (!id.blank() && id != Value(0)) {
            Recordset row = conn.execute("select xm from menu where id="_sql + id);
            if (!row.eof() && row("xm").str() != "sjzx_m") refuse("这不是数据中心的主菜单");
        }

        Response.client_compat(kCompatDialogs);
        write_head({.no_cache_days = 1});
        Response.block(datacentre::name_form_script("user_text", "请输入新增的信息类别名称！", false));
        Response.line("</head>");
        Response.line("<body>");

        // Adding and renaming refuse a name alike: one the menus cannot hold, or one taken.
        auto name_refused = [&] {
            rs = conn.execute("select id from menu where user_text='"_sql + user_text + "' and xm='sjzx_m'");
            if (!datacentre::menu_name_ok(user_text.str())) {
                prompt = datacentre::kBadMenuName;
                shown = "";
                return true;
            }
            if (rs.eof()) return false;
            prompt = "此主菜单名称已经存在，请更名：";
            return true;
        };

        if (id.blank()) {
            prompt = "如果要新增主菜单，请在后面输入：";
        } else if (id == Value(0)) {
            prompt = "如果您继续增加主菜单，请在后面输入：";
            if (!name_refused()) {
                // The first free code, so that a deleted main menu's code is used again.
                int n = 1;
                for (; n <= 9; ++n) {
                    rs = conn.execute("select id from menu where menu_id='"_sql + ("menu3" + std::to_string(n)) + "'");
                    if (rs.eof()) break;
                }
                if (n > 9) {
                    Response.write("<font color=red>达到主菜单的最多数量限制！</font>");
                    END_PAGE();
                }
                std::string code = std::to_string(30 + n);  // main menu codes run 31 to 39
                std::string handle = "menu" + code;
                insert(handle, handle, user_text.str(), "sjzx_m");
                insert(code + "00", "<INPUT type=`hidden` name=`" + handle + "` value=”", " ", "sjzx");
                insert(code + "01", "`images/arrow1.gif`,` 录入数据`,`Data_Input.asp?m=" + handle + "`, `detail`,",
                       "录入数据", "sjzx");
                insert(code + "A9",
                       "`images/arrow1.gif`,` 类别维护`,`Data_type.asp?m_id=" + code + "&xm=sjzx`, `detail`,",
                       "类别维护", "sjzx");
                insert(code + "ZZ", "”>", " ", "sjzx");
                monitor("新增数据中心主菜单: " + user_text);
                added = true;
            }
        } else if (del == "yes") {
            rs = conn.execute("select menu_id from menu where id="_sql + id);
            std::string code = Replace(rs("menu_id"), "menu", "");
            conn.execute("delete from menu where id="_sql + id);
            // The folder's rows and categories go with it; its items stay in Datas.
            conn.execute("delete from menu where left(menu_id,2)='"_sql + code + "'");
            Response.redirect("menu.asp");
            END_PAGE();
        } else if (user_text.blank()) {
            rs = conn.execute("select user_text from menu where id="_sql + id);
            shown = rs("user_text");
            prompt = "请输入新的主菜单名称：";
        } else {
            if (!name_refused()) {
                rs = conn.execute("select menu_id from menu where id="_sql + id);
                conn.execute("update menu set user_text='"_sql + user_text + "' where id=" + id);
                monitor("将 " + old_text + " 修改为: " + user_text);
                prompt = "此主菜单成功修改为：";
            }
        }

        Response.line("<table width=\"100%\" border=\"1\" cellspacing=\"0\" cellpadding=\"2\" bordercolor=\"#6699cc\" "
                      "style=\"border-collapse:collapse\">");
        Response.line("<tr><td colspan=\"4\" bgcolor=\"#336699\" height=\"25\"><font color=\"#ffffff\">"
                      "数据中心主菜单管理 </font></td></tr>");
        Response.line(table_row(" height=\"25\" align=\"center\"", {"名称", "修改", "删除", "修改子菜单"}));
        rs = conn.execute("select * from menu where xm='sjzx_m' order by menu_id");
        int rows = 0;
        while (!rs.eof()) {
            std::string rid = html_text(rs("id"));
            std::string code = Replace(rs("menu_id"), "menu", "");
            Response.line(table_row(
                " height=\"25\" align=\"center\"",
                {rs("user_text"),
                 Cell::markup("<a href=\"Menu.asp?id=" + rid + "\"><img src=\"images/EDIT.GIF\" border=\"0\" "
                              "alt=\"修改\"></a>"),
                 Cell::markup("<a href=\"Menu.asp?id=" + rid + "&amp;del=yes\"><img src=\"images/delete.GIF\" "
                              "border=\"0\" alt=\"删除\"></a>"),
                 Cell::markup("<a href=\"Data_type.asp?m_id=" + html_text(datacentre::url_part(code)) +
                              "&amp;xm=sjzx\">Modify</a>")}));
            ++rows;
            rs.movenext();
        }
        for (; rows < 10; ++rows) Response.line(table_row(" height=\"25\"", {"　", "　", "　", "　"}));
        Response.line("</table>");

        Response.line("<form name=\"form1\" method=\"GET\" action=\"Menu.asp\">");
        Response.line("<p align=\"center\">" + html_text(prompt) +
                      "<input type=\"text\" name=\"user_text\" size=\"18\" value=" + html_unquoted(shown) + "> " +
                      datacentre::name_form_button(id));
        Response.line("<input type=\"hidden\" name=\"id\" value=" + html_unquoted(id) + ">");
        Response.line("<input type=\"hidden\" name=\"old_text\" value=" + html_unquoted(shown) + "></p>");
        Response.line("</form>");
        if (added) {
            Response.lines(R"(
<script language="JavaScript">
alert("新增类别成功，请设置此类别的相关权限！");
</script>
)");
        }
        Response.line("</body>");
        Response.line("</html>");
    }

private:
    void insert(const std::string& menu_id, const std::string& menu_text, const std::string& user_text,
                const std::string& xm) {
        conn.execute("insert into menu(menu_id,menu_text,user_text,xm) values ('"_sql + menu_id + "','" + menu_text +
                     "','" + user_text + "','" + xm + "')");
    }
};

TAVELOR_PAGE(menu, "Menu.asp",
             access::right("1908").with("id must name a main menu (xm sjzx_m); names as on Data_type.asp"))

}  // namespace tav::pages
