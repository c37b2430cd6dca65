// data_home.asp: the organisation's home page. Every category of main menu
// 41 that the account may see is a section with its newest seven items.
#include <string>

#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class datahome : public Page {
public:
    void I_init() override {
        dbI_init();
        Value rights = Trim(user_rights()("menu_idstr"));
        // Read first, since the compatibility script must be asked for before
        // anything is written; a missing row still fails where it is used.
        Recordset pop_note = setting("pop_note");
        bool pop = !pop_note.eof() && pop_note("Hardserial") == "1";
        if (pop) Response.client_compat(kCompatDialogs);
        write_head({.title = "Data Home", .no_cache_days = 5});
        Response.lines(R"(</head>
<body leftmargin="0" topmargin="0">
<table width="100%" border="0" cellspacing="6" cellpadding="0" bgcolor="#29C1E8">
)");

        // The sections depend on the rights string and the database only:
        // every account that holds the same string sees the same ones, built
        // again after any change to the database.
        std::string key = "data_home.asp sections\n" + (rights.is_null() ? std::string("\x01") : rights.str());
        std::string sections = conn.kept_text(key, [&] { return write_sections(rights); });
        Response.write(sections);
        Response.line("</table>");

        if (pop_note.eof()) pop_note("Hardserial");
        if (pop) {
            Response.lines(R"(<script language="javascript">
window.onload = function () {
  showModalDialog("pop_note.asp", undefined, "dialogWidth:25em;dialogHeight:18em; status:0");
};
</script>
)");
        }
        Response.lines("</body>\n</html>\n");
        // The item list is opened per section; without a section there is
        // none to close.
        if (sections.empty()) raise_error(3704, "Operation is not allowed when the object is closed.");
        Response.write("");
    }

private:
    // The sections, two to a table row, as one text.
    std::string write_sections(const Value& rights) {
        // Every section with its newest seven in one statement: a statement a
        // category cost more than the page's markup on a site with many. The
        // last two conditions follow from the first; they let an engine that
        // cannot look rows up by the list's ids read the category's newest
        // from its index instead of testing every item against every section.
        rs = conn.execute(
            "select m.id as menu_row, m.menu_id, m.user_text, d.id, d.D_title from menu m left join Datas d "
            "on d.id in (select id from Datas where Sub_menu=m.menu_id order by id desc limit 7) "
            "and d.Sub_menu=m.menu_id and d.id > coalesce((select id from Datas where Sub_menu=m.menu_id "
            "order by id desc limit 1 offset 7), -1) "
            "where instr(m.menu_text,'sub_menu=41') and instr('"_sql +
            rights + "',m.menu_id) order by m.menu_id, m.id, d.id desc");
        std::string out;
        int sections = 0;
        while (!rs.eof()) {
            if (sections % 2 == 0) out += "<tr>\r\n";
            write_section(out);
            ++sections;
            if (sections % 2 == 0) out += "</tr>\r\n";
        }
        // An odd count leaves the last row with one cell.
        if (sections % 2 == 1) out += "</tr>\r\n";
        return out;
    }

    // The section at rs; moves rs past its rows.
    void write_section(std::string& out) {
        Value menu_row = rs("menu_row"), menu_id = rs("menu_id"), name = rs("user_text");
        out += "<td width=\"50%\" valign=\"top\" bgcolor=\"#ffffff\">\r\n"
               "<table width=\"100%\" border=\"0\" cellspacing=\"0\" cellpadding=\"2\">\r\n"
               "<tr><td height=\"20\" bgcolor=\"#336699\"><font color=\"#ffffff\">" +
               html_text(name) + "</font></td></tr>\r\n";
        int n = 1;
        // A category without items has one row, its item null.
        for (; !rs.eof() && rs("menu_row") == menu_row; rs.movenext()) {
            if (rs("id").is_null()) continue;
            out += "<tr><td height=\"20\">" + std::to_string(n++) + ". <a href=\"Data_read.asp?id=" +
                   html_text(rs("id")) + "\" title=\"查看详细内容\" target=\"file_win\">" + html_text(rs("D_title")) +
                   "</a></td></tr>\r\n";
        }
        for (; n <= 7; ++n) out += "<tr><td height=\"20\">　</td></tr>\r\n";
        out += "<tr><td align=\"right\"><a href=\"Data_list.asp?sub_menu=" + html_text(menu_id) + "\">=>>更多" +
               html_text(name) + "...</a></td></tr>\r\n</table>\r\n</td>\r\n";
    }
};

TAVELOR_PAGE(datahome, "data_home.asp", access::signed_in().with("sections of the categories the account may read"))

}  // namespace tav::pages
