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

        rs = conn.execute("select * from menu where instr(menu_text,'sub_menu=41') and instr('"_sql + rights +
                          "',menu_id) order by menu_id");
        int sections = 0;
        while (!rs.eof()) {
            if (sections % 2 == 0) Response.line("<tr>");
            write_section(rs("menu_id"), rs("user_text"));
            ++sections;
            if (sections % 2 == 0) Response.line("</tr>");
            rs.movenext();
        }
        // An odd count leaves the last row with one cell.
        if (sections % 2 == 1) Response.line("</tr>");
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
        if (sections == 0) raise_error(3704, "Operation is not allowed when the object is closed.");
        Response.write("");
    }

private:
    void write_section(const Value& menu_id, const Value& name) {
        Response.lines(R"(<td width="50%" valign="top" bgcolor="#ffffff">
<table width="100%" border="0" cellspacing="0" cellpadding="2">
)");
        Response.line("<tr><td height=\"20\" bgcolor=\"#336699\"><font color=\"#ffffff\">" + html_text(name) +
                      "</font></td></tr>");
        // The newest seven only: the engine stops after them.
        Recordset items = conn.execute_window("select * from Datas where Sub_menu='"_sql + menu_id +
                                                  "' order by ID DESC",
                                              7, 0);
        int n = 1;
        for (; n <= 7 && !items.eof(); ++n) {
            Response.line("<tr><td height=\"20\">" + std::to_string(n) + ". <a href=\"Data_read.asp?id=" +
                          html_text(items("id")) + "\" title=\"查看详细内容\" target=\"file_win\">" +
                          html_text(items("D_title")) + "</a></td></tr>");
            items.movenext();
        }
        for (; n <= 7; ++n) Response.line("<tr><td height=\"20\">　</td></tr>");
        Response.line("<tr><td align=\"right\"><a href=\"Data_list.asp?sub_menu=" + html_text(menu_id) +
                      "\">=>>更多" + html_text(name) + "...</a></td></tr>");
        Response.lines("</table>\n</td>\n");
    }
};

TAVELOR_PAGE(datahome, "data_home.asp", access::signed_in().with("sections of the categories the account may read"))

}  // namespace tav::pages
