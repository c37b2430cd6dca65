#include "datacentre/catalog.h"

#include "frame/access.h"
#include "frame/encoding.h"
#include "frame/vb.h"

namespace tav::datacentre {

bool is_category(const Value& menu_id, const Value& user_text) {
    return InStr(menu_id, "A") == 0 && InStr(menu_id, "01") == 0 && Trim(user_text).str() != "";
}

std::string category_entry(const Value& menu_id, const Value& name) {
    // A backquote in the name would end the label's field in the stored form.
    return "`images/arrow1.gif`,` " + Replace(name, "`", "\xE2\x80\x98") + "`,`Data_list.asp?sub_menu=" + menu_id.str() + "`, `detail`,";
}

std::string url_part(const std::string& s) { return percent_escape(s, "%&#+=?\"'<>\\"); }

bool plain_name(const std::string& s) {
    if (s.empty() || s == "." || s == "..") return false;
    for (unsigned char c : s)
        if (c < 32 || c == '/' || c == '\\' || c == ':') return false;
    return s.find("..") == std::string::npos;
}

bool digit_code(const std::string& s) {
    if (s.empty() || s.size() > 8) return false;
    for (char c : s)
        if (c < '0' || c > '9') return false;
    return true;
}

bool menu_name_ok(const std::string& name) {
    for (unsigned char c : name)
        if (c < 32 || c == 127 || c == '`' || c == '\'' || c == '"' || c == '<' || c == '>' || c == '\\') return false;
    // The typographic quotes: the navigation frame turns ” into '"'.
    for (const char* q : {"\xE2\x80\x9C", "\xE2\x80\x9D", "\xE2\x80\x98", "\xE2\x80\x99"})
        if (name.find(q) != std::string::npos) return false;
    return true;
}

bool may_change(Connection& conn, Recordset& item) {
    bool author = item("user_id") == Value(session_account());
    return (author || holds_right(conn, "del")) && item("lock") == "0";
}

std::string name_form_script(const char* field, const char* alert, bool trimmed) {
    std::string f = field;
    // VBScript's Trim, which the form used: blanks only, not tabs or line ends.
    std::string value = trimmed ? "myf." + f + ".value.replace(/^ +| +$/g, \"\")" : "myf." + f + ".value";
    std::string out = "<script language=\"javascript\">\r\n";
    for (const char* name : {"go_append", "go_modify"}) {
        out += "function " + std::string(name) + "() {\r\n";
        out += "  var myf = document.form1;\r\n";
        out += "  if (" + value + " == \"\") {\r\n";
        out += "    alert(\"" + std::string(alert) + "\");\r\n";
        out += "    myf." + f + ".focus();\r\n";
        out += "    return;\r\n";
        out += "  }\r\n";
        // elements: the form's own id property would hide the field named id
        if (std::string(name) == "go_append") out += "  myf.elements[\"id\"].value = 0;\r\n";
        out += "  myf.submit();\r\n";
        out += "}\r\n";
    }
    out += "</script>\r\n";
    return out;
}

std::string name_form_button(const Value& id) {
    if (id.blank() || id == Value(0))
        return "<input type=\"button\" class=\"buttons02\" value=\"确定\" onclick=\"go_append()\">";
    return "<input type=\"button\" class=\"buttons02\" value=\"修改\" onclick=\"go_modify()\">";
}

}  // namespace tav::datacentre
