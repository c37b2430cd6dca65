// Data_type.asp: the categories of one main menu. A category is one row of
// `menu` whose code is the main code followed by two digits.
#include <string>

#include "datacentre/catalog.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class datatype : public Page {
public:
    void I_init() override {
        dbI_init();
        Value m_id = Request.querystring("m_id");
        Value xm = Request.querystring("xm");
        Value id = Request.querystring("id");
        Value user_text = Trim(Request.querystring("user_text"));
        Value old_text = Trim(Request.querystring("old_text"));
        Value shown = user_text;
        std::string prompt;
        bool added = false;

        // The page of main menu NN is offered to holders of NNA9, and works
        // on that main menu's categories only.
        if (!(m_id.str().size() == 2 && datacentre::digit_code(m_id.str()))) refuse("没有这个主菜单");
        require_right(conn, m_id.str() + "A9");
        if (!id.blank() && id != Value(0)) own_category(id, m_id);

        Response.client_compat(kCompatDialogs);
        write_head({.no_cache_days = 1});
        Response.block(datacentre::name_form_script("user_text", "请输入新增的信息类别名称！", false));
        Response.line("</head>");
        Response.line("<body>");

        // Adding and renaming refuse a name alike: one the menus cannot hold, or
        // one taken anywhere in the table, not only among categories.
        auto name_refused = [&] {
            rs = conn.execute("select id from menu where user_text='"_sql + user_text + "'");
            if (!datacentre::menu_name_ok(user_text.str())) {
                prompt = datacentre::kBadMenuName;
                shown = "";
                return true;
            }
            if (rs.eof()) return false;
            prompt = "此类别名称已经存在，请更名：";
            return true;
        };

        if (id.blank()) {
            prompt = "如果您有新类别，请在后面输入：";
        } else if (id == Value(0)) {
            prompt = "如果您继续增加新类别，请在后面输入：";
            if (!name_refused()) {
                // Into the main menu's own section of the navigation (or none,
                // as after a deletion, whose return link carries no xm).
                Recordset section = conn.execute("select xm from menu where menu_id='"_sql + (m_id + "A9") + "'");
                if (!xm.blank() && (section.eof() || section("xm").str() != xm.str()))
                    refuse("类别只能加在本主菜单的栏目中");
                long long first = CInt(m_id + "01");
                long long k = first;
                // No limit: with all 91 codes taken the code behind them is used.
                for (; k <= first + 90; ++k) {
                    rs = conn.execute("select id from menu where menu_id='"_sql + std::to_string(k) + "'");
                    if (rs.eof()) break;
                }
                Value code = Value(k);
                conn.execute("insert into menu(menu_id,menu_text,user_text,xm) values ('"_sql + code.str() + "','" +
                             datacentre::category_entry(code, user_text) + "','" + user_text + "','" + xm + "')");
                monitor("新增信息类别: " + user_text);
                added = true;
            }
        } else if (user_text.blank()) {
            rs = conn.execute("select user_text from menu where id="_sql + id);
            shown = rs("user_text");
            prompt = "请输入新的类别名称：";
        } else {
            if (!name_refused()) {
                rs = conn.execute("select menu_id from menu where id="_sql + id);
                std::string entry = datacentre::category_entry(rs("menu_id"), user_text);
                conn.execute("update menu set menu_text='"_sql + entry + "',user_text='" + user_text +
                             "' where id=" + id);
                monitor("将 " + old_text + " 修改为: " + user_text);
                prompt = "成功地修改类别名称：";
            }
        }

        Response.lines(R"(
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolor="#6699cc" style="border-collapse:collapse">
<tr><td colspan="4" bgcolor="#336699" height="25">
<form name="form1" method="GET" action="Data_type.asp" style="margin:0">
)");
        Response.line("<font color=\"#ffffff\">数据类别维护 "
                      "</font><font color=\"#ffff00\"> ===>>> </font><font color=\"#ffffff\">" +
                      html_text(prompt) + "</font>");
        Response.line("<input type=\"text\" name=\"user_text\" size=\"18\" value=" + html_unquoted(shown) + "> " +
                      datacentre::name_form_button(id));
        Response.line("<input type=\"hidden\" name=\"id\" value=" + html_unquoted(id) + ">");
        Response.line("<input type=\"hidden\" name=\"m_id\" value=" + html_unquoted(m_id) + ">");
        Response.line("<input type=\"hidden\" name=\"xm\" value=" + html_unquoted(xm) + ">");
        Response.line("<input type=\"hidden\" name=\"old_text\" value=" + html_unquoted(shown) + ">");
        Response.line("</form>");
        Response.line("</td></tr>");
        Response.line(table_row(" height=\"25\" align=\"center\"", {"类别ID", "类别名称", "修改", "删除"}));

        rs = conn.execute("select * from menu where left(menu_id,2)='"_sql + m_id + "' order by menu_id");
        int rows = 0;
        const std::string m = html_text(datacentre::url_part(m_id.str()));
        while (!rs.eof()) {
            if (datacentre::is_category(rs("menu_id"), rs("user_text"))) {
                std::string rid = html_text(rs("id"));
                // The row's id goes as xm as well; a rename does not read xm.
                std::string edit = "<a href=\"Data_type.asp?id=" + rid + "&amp;xm=" + rid + "&amp;m_id=" + m +
                                   "\"><img src=\"images/EDIT.GIF\" border=\"0\" alt=\"修改此类别\"></a>";
                std::string del = "<a href=\"Pop_Del.asp?id=" + rid + "&amp;Table=menu&amp;message=" +
                                  html_text(datacentre::url_part("确实要删除类别[" + rs("user_text") + "]吗？")) +
                                  "&amp;next=" + html_text(datacentre::url_part("Data_type.asp?m_id=" + m_id)) +
                                  "\"><img src=\"images/delete.GIF\" border=\"0\" alt=\"删除\"></a>";
                Response.line(table_row(" height=\"25\" align=\"center\"",
                                        {rs("menu_id"), rs("user_text"), Cell::markup(edit), Cell::markup(del)}));
                ++rows;
            }
            rs.movenext();
        }
        for (; rows < 10; ++rows) Response.line(table_row(" height=\"25\"", {"　", "　", "　", "　"}));
        Response.line("</table>");
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
    // A row named by id must be a category of this main menu: the page
    // never offers another row of the table. A missing row fails at the
    // field read, as it always did.
    void own_category(const Value& id, const Value& m_id) {
        Recordset row = conn.execute("select menu_id,user_text from menu where id="_sql + id);
        Value code = row("menu_id");
        if (Left(code, 2) != m_id.str() || !datacentre::is_category(code, row("user_text")))
            refuse("这不是本主菜单的类别");
    }
};

TAVELOR_PAGE(datatype, "Data_type.asp",
             access::right("A9").with("m_id=NN needs NNA9; id must name a category of NN; names without quotes, "
                                      "backquotes, angle brackets, backslashes or control characters"))

}  // namespace tav::pages
