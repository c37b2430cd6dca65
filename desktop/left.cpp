// The navigation frame: the rows of one section of `menu`, filtered by the
// account's rights, become the hidden fields that TreeBar.html draws.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

#include <string>
#include <vector>

namespace tav::pages {

class left : public Page {
public:
    void I_init() override {
        dbI_init();
        // the folder script reads each folder's hidden field by its bare name
        Response.client_compat(kCompatDialogs);
        write_head({.no_cache_days = 1});
        Response.lines(R"(
<style type="text/css">
body { scrollbar-face-color: #C0C0C0; scrollbar-highlight-color: #E0E0E0; scrollbar-shadow-color: #808080; scrollbar-3dlight-color: #D0D0D0; scrollbar-arrow-color: #404040; scrollbar-track-color: #E8E8E8; scrollbar-darkshadow-color: #606060 }
</style>
</head>
<body leftmargin="0" topmargin="0" marginwidth="0" marginheight="0" bgcolor="#336699">
<script language="JavaScript">
OutBarFolder=new Array(10);
MenuItem=0;
nWinHeight=document.body.clientHeight;
Button_FontColor="black";
Button_Class="controlpanel";
OB_Top=0;
OB_Left=0;
OB_Margin=10;
OB_Width=135;
OB_Height=nWinHeight;
OB_SlideSpeed=3;
OB_BackgroundColor="#336699";
OB_ItemsSpacing=40;
OB_OnlyLabelItemsSpacing=8;
OB_BorderWidth=2;
OB_BorderStyle="ridge";
OB_BorderColor="#6699cc";
OB_IconsWidth=50;
OB_IconsHeight=50;
OB_ButtonFontFamily="宋体";
OB_ButtonFontSize=12;
OB_ButtonFontColor="#f0f0f0";
OB_ButtonBGColor="white";
OB_ButtonHeight=22;
OB_LabelFontFamily="宋体";
OB_LabelFontSize=12;
OB_LabelFontColor="white";
OB_LabelHoverFontColor="white";
OB_LabelBorderColor="#6699cc";
OB_LabelMargin=60;
OB_UpArrow="images/up.gif";
OB_DownArrow="images/down.gif";
OB_ArrowWidth=15;
OB_ArrowHeight=15;
OB_ArrowSlideSpeed=2;
</script>
)");

        Value xm = Request.querystring("xm");
        if (xm.blank()) xm = "home";
        Value rights = Trim(user_rights()("menu_idstr"));

        // The rows of one folder spell one hidden field: NN00 opens it, the
        // granted entries fill its value, NNZZ closes it. The rows are data
        // and program at once, so each is written only in its known shape,
        // its values escaped; a row of any other shape is left out.
        rs = conn.execute("select * from menu where xm='"_sql + xm + "' order by menu_id");
        bool open = false;
        while (!rs.eof()) {
            Value id = Trim(rs("menu_id"));
            if (InStr(id, "00") > 0 || InStr(id, "ZZ") > 0 || InStr(rights, id) > 0) {
                std::string text = Replace(Trim(rs("menu_text")), "`", "'");
                std::string folder, entries;
                if (opening_row(text, folder)) {
                    if (open) Response.write("\">");
                    Response.write("<INPUT type='hidden' name='" + folder + "' value=\"");
                    open = true;
                } else if (text == "”>") {
                    if (open) Response.write("\">");
                    open = false;
                } else if (open && entry_row(text, entries)) {
                    Response.write(entries);
                }
            }
            rs.movenext();
        }
        if (open) Response.write("\">");

        Response.write("<SCRIPT language=JavaScript>");
        rs = conn.execute("select * from menu where xm='"_sql + xm + "_m' order by menu_id");
        while (!rs.eof()) {
            // The folder's field is named in the script: a name, nothing else.
            std::string field = Trim(rs("menu_text")).str();
            if (plain_name(field)) {
                Response.write("MenuItem=MenuItem+1;");
                Response.write("strSQL=" + field + ".value;");
                Response.write("OutBarFolder[MenuItem]= new Array('0','" + js_string(rs("user_text")) +
                               "', 'images/arrow1.gif', '1',strSQL);");
            }
            rs.movenext();
        }
        Response.lines(R"(
</SCRIPT>
<script language="JavaScript" src="TreeBar.html"></script>
<script language="JavaScript">
)");
        if (xm == "home")
            Response.line("window.open(\"data_home.asp\",\"detail\");");
        else
            Response.line("window.open(\"started.asp\",\"detail\");");
        Response.lines(R"(
</script>
<script language="JavaScript">
function click_menu()
{
  if (event.button == 2 || event.button == 3)
    alert("欢迎使用[)" + js_string(Session("dw_name")) + R"(网络办公系统]！");
}
if (document.all) document.body.onmousedown = click_menu;
</script>
</body>
</html>
)");
    }

private:
    // Letters, digits and the underscore: a field name the script may name.
    static bool plain_name(const std::string& name) {
        if (name.empty() || name.size() > 32) return false;
        for (unsigned char c : name)
            if (!(c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'))) return false;
        return true;
    }
    // The row that opens a folder's field: <INPUT type='hidden' name='menuNN' value=”
    static bool opening_row(const std::string& text, std::string& folder) {
        static const std::string head = "<INPUT type='hidden' name='";
        static const std::string tail = "' value=”";
        if (text.size() < head.size() + tail.size() || text.compare(0, head.size(), head) != 0 ||
            text.compare(text.size() - tail.size(), tail.size(), tail) != 0)
            return false;
        folder = text.substr(head.size(), text.size() - head.size() - tail.size());
        return plain_name(folder);
    }
    // An entry row: one or more entries of four quoted values (icon, label,
    // link, target), with only blanks and commas between them. TreeBar.html
    // reads the field's value back as such values and shows the label as
    // text, so each value goes out as text of the double-quoted attribute;
    // icon and link must be harmless to follow, the target a frame's name.
    static bool entry_row(const std::string& text, std::string& out) {
        std::vector<std::string> values;
        for (std::size_t i = 0; i < text.size();) {
            char c = text[i];
            if (c == ' ' || c == ',' || c == '\t' || c == '\r' || c == '\n') {
                ++i;
                continue;
            }
            if (c != '\'') return false;
            std::size_t end = text.find('\'', i + 1);
            if (end == std::string::npos) return false;
            values.push_back(text.substr(i + 1, end - i - 1));
            i = end + 1;
        }
        if (values.empty() || values.size() % 4 != 0) return false;
        out.clear();
        for (std::size_t k = 0; k < values.size(); k += 4) {
            const std::string &icon = values[k], &label = values[k + 1], &url = values[k + 2], &target = values[k + 3];
            if (!safe_url(icon) || url.empty() || !safe_url(url) || !plain_name(target)) return false;
            // Appended piece by piece (g++ 12 warns falsely on a long chain of +).
            for (const std::string* part : {&icon, &label, &url}) {
                out += '\'';
                out += html_text(*part);
                out += "',";
            }
            out += " '";
            out += target;
            out += "',";
        }
        return true;
    }
};

TAVELOR_PAGE(left, "left.asp", access::signed_in().with("writes only menu rows of the known shape, escaped"))

}  // namespace tav::pages
