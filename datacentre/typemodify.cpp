// type_modify.asp: a name list over any table with the columns id, name and
// Remark (departments, document kinds), named by the link's Dtable.
#include <string>

#include "datacentre/catalog.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/sql.h"
#include "frame/vb.h"

namespace tav::pages {

class typemodify : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("id");
        Value Dtable = Request.querystring("Dtable");
        Value new_name = Trim(Request.querystring("new_name"));
        Value old_name = Trim(Request.querystring("old_name"));
        Value shown = new_name;
        std::string prompt;

        // The two lists the navigation offers, each to the holders of its entry.
        const std::string dtable = LCase(Dtable);
        if (dtable == "department") {
            require_right(conn, "1906");
        } else if (dtable == "word_type") {
            require_right(conn, "1907");
        } else {
            refuse("没有这个类别表");
        }

        Response.client_compat(kCompatDialogs);
        write_head({.no_cache_days = 1});
        Response.block(datacentre::name_form_script("new_name", "请输入新增的数据类别名称！", true));
        Response.line("</head>");
        Response.line("<body>");

        if (id.blank()) {
            prompt = "如果您有新类别，请在后面输入：";
        } else if (id == Value(0)) {
            prompt = "如果您继续增加新类别，请在后面输入：";
            rs = conn.execute("select id from "_sql + sql_name(Dtable) + " where name='" + new_name + "'");
            if (!rs.eof()) {
                prompt = "此类别名称已经存在，请更名：";
            } else {
                conn.execute("insert into "_sql + sql_name(Dtable) + "(name,Remark) values ('" + new_name + "',' ')");
                monitor("新增" + Dtable + "表记录: " + new_name);
            }
        } else if (new_name.blank()) {
            rs = conn.execute("select name from "_sql + sql_name(Dtable) + " where id=" + id);
            shown = rs("name");
            prompt = "请输入新的类别名称：";
        } else {
            rs = conn.execute("select * from "_sql + sql_name(Dtable) + " where name='" + new_name + "'");
            if (!rs.eof()) {
                prompt = "此类别名称已经存在，请更名：";
            } else {
                rs = conn.execute("select name from "_sql + sql_name(Dtable) + " where id=" + id);
                conn.execute("update "_sql + sql_name(Dtable) + " set name='" + new_name + "' where id=" + id);
                monitor("将 " + Dtable + " 表 " + old_name + " 修改为: " + new_name);
                prompt = "成功地修改类别名称：";
            }
        }

        Response.lines(R"(
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolor="#6699cc" style="border-collapse:collapse">
<tr><td colspan="4" bgcolor="#336699" height="25">
<form name="form1" method="GET" action="type_modify.asp" style="margin:0">
)");
        Response.line("<font color=\"#ffffff\">数据类别管理</font><font color=\"#ffff00\"> ===>>> </font>"
                      "<font color=\"#ffffff\">" + html_text(prompt) + "</font>");
        Response.line("<input type=\"text\" name=\"new_name\" size=\"18\" value=" + html_unquoted(shown) + "> " +
                      datacentre::name_form_button(id));
        Response.line("<input type=\"hidden\" name=\"id\" value=" + html_unquoted(id) + ">");
        Response.line("<input type=\"hidden\" name=\"Dtable\" value=" + html_unquoted(Dtable) + ">");
        Response.line("<input type=\"hidden\" name=\"old_name\" value=" + html_unquoted(shown) + ">");
        Response.line("</form>");
        Response.line("</td></tr>");
        Response.line(table_row(" height=\"25\" align=\"center\"", {"类别ID", "名称", "修改", "删除"}));

        rs = conn.execute("select * from "_sql + sql_name(Dtable) + " order by id");
        const std::string table = html_text(datacentre::url_part(Dtable.str()));
        int rows = 0;
        while (!rs.eof()) {
            std::string rid = html_text(rs("id"));
            std::string edit = "<a href=\"type_modify.asp?Dtable=" + table + "&amp;id=" + rid +
                               "\"><img src=\"images/EDIT.GIF\" border=\"0\" alt=\"修改此类别\"></a>";
            std::string del = "<a href=\"Pop_Del.asp?id=" + rid + "&amp;Table=" + table + "&amp;message=" +
                              html_text(datacentre::url_part("确实要删除类别[" + rs("name") + "]吗？")) +
                              "&amp;next=" + html_text(datacentre::url_part("type_modify.asp?Dtable=" + Dtable)) +
                              "\"><img src=\"images/delete.GIF\" border=\"0\" alt=\"删除\"></a>";
            Response.line(table_row(" height=\"25\" align=\"center\"",
                                    {rs("id"), rs("name"), Cell::markup(edit), Cell::markup(del)}));
            ++rows;
            rs.movenext();
        }
        for (; rows < 10; ++rows) Response.line(table_row(" height=\"25\"", {"　", "　", "　", "　"}));
        Response.lines(R"(
</table>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(typemodify, "type_modify.asp",
             access::right("1906|1907").with("Dtable=DepartMent needs 1906, word_type 1907; any other table refused"))

}  // namespace tav::pages
