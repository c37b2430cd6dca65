// Data_list.asp: the items of one category, newest first, with a search in
// the titles. A page shows eleven rows but moves on by ten, so the last row
// of a page comes again at the top of the next.
#include <map>
#include <string>

#include "datacentre/catalog.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"
#include "frame/store_search.h"
#include "frame/vb.h"

namespace tav::pages {

class datalist : public Page {
public:
    void I_init() override {
        dbI_init();
        Value Sub_menu = Trim(Request.querystring("Sub_menu"));
        if (Sub_menu.blank()) Sub_menu = "3110";
        // A category's list is for the holders of its code.
        if (!datacentre::category_code(Sub_menu.str())) refuse("没有这个类别");
        require_right(conn, Sub_menu.str());
        // Apostrophes are taken out of the search text; a text of nothing
        // else is no search.
        Value sstr = Replace(Trim(Request.querystring("sstr")), "'", "");

        PageBar bar(*this, {.url = "Data_list.asp",
                            .size = 10,
                            .limit = 11,
                            .row_height = 26,
                            .carry = {{"Sub_menu", html_text(datacentre::url_part(Sub_menu.str()))},
                                      {"sstr", html_text(datacentre::url_part(sstr.str()))}},
                            .own_hidden = true,
                            .hidden = {{"Sub_menu", html_text(Sub_menu)}, {"sstr", html_text(sstr)}}});
        bar.read_p();
        if (sstr.blank()) {
            // The store keeps each category's count (see datas_tally in the schema).
            bar.count("select coalesce(sum(num),0) as num from datas_tally where Sub_menu='"_sql + Sub_menu + "'");
            rs = bar.fetch("select * from Datas where Sub_menu='"_sql + Sub_menu + "' order by D_date DESC");
        } else {
            // D_title like '%sstr%', answered as the store can.
            Sql found = text_contains(conn, "Datas", {"D_title"}, sstr.str());
            bar.count("select count(id) as num from Datas where Sub_menu='"_sql + Sub_menu + "' and " + found);
            rs = bar.fetch("select * from Datas where Sub_menu='"_sql + Sub_menu + "'  and " + found +
                           " order by D_date DESC");
        }
        Recordset names = conn.execute("select user_text from menu where menu_id='"_sql +
                                       ("menu" + Left(Sub_menu, 2)) + "'");
        std::string main_name = names.eof() ? "" : names("user_text").str();
        names = conn.execute("select user_text from menu where menu_id='"_sql + Sub_menu + "'");
        std::string category = names("user_text").str();

        write_head({.title = "Data List", .no_cache_days = 1});
        Response.lines(R"(
<script language="JavaScript">
function myform_submit() {
  if (document.searchform.sstr.value == "") {
    alert("请输入查找关键字！");
    document.searchform.sstr.focus();
    return;
  }
  document.myform.sstr.value = document.searchform.sstr.value;
  document.myform.submit();
}
</script>
</head>
<body>
<form name="searchform" method="GET" onsubmit="myform_submit(); return false;">
<table width="100%" border="0" cellspacing="0" cellpadding="2">
)");
        Response.line("<tr bgcolor=\"#336699\" height=\"25\"><td><font color=\"#ffffff\">" + html_text(main_name) +
                      " ->> " + html_text(category) + "</font></td>");
        Response.line("<td align=\"right\"><font color=\"#ffffff\">根据主题关键字：</font>"
                      "<input type=\"text\" name=\"sstr\" size=\"12\" value=\"" + html_text(sstr) + "\"> "
                      "<input type=\"button\" class=\"buttons02\" value=\"查找\" onclick=\"myform_submit()\"></td></tr>");
        Response.lines(R"(
</table>
</form>
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolor="#6699cc" style="border-collapse:collapse">
)");
        Response.line(table_row(" height=\"26\" align=\"center\" bgcolor=\"#dde8f3\"",
                                {"序号", "主 题", "发布者", "附件", "发布日期"}));
        std::map<std::string, Value> authors;
        long n = 1;
        for (; bar.within(n) && !rs.eof(); ++n) {
            // One look-up per author on the page: a list is mostly a few authors.
            Value uid = rs("user_id");
            auto known = authors.find(uid.str());
            if (known == authors.end()) {
                Recordset author = conn.execute("select truename from user where id="_sql + uid);
                known = authors.emplace(uid.str(), author.eof() ? Value("已删除") : author("truename")).first;
            }
            const Value& who = known->second;
            Response.line(table_row(
                " height=\"26\"",
                {Value(static_cast<long long>(n + bar.offset())),
                 Cell::markup("<a href=\"Data_read.asp?id=" + html_text(rs("id")) + "\">" +
                              html_text(rs("D_title")) + "</a>"),
                 who, Value(Trim(rs("d_afile")) == "0" ? "无" : "有"), rs("D_date")}));
            rs.movenext();
        }
        bar.fill_rows(n, 5);
        Response.line("</table>");
        bar.write_bar("");
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(datalist, "Data_list.asp",
             access::signed_in().with("Sub_menu=X (a four-digit code) needs the read right X"))

}  // namespace tav::pages
