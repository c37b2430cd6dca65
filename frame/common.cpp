// The routines that pages share: the activity line, two account lookups,
// the clean-ups of editor bodies and the system mail. They read through
// recordsets of their own and leave the page's rs alone.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav {

Value Page::get_user_menu(const Value& id) {
    return routine("get_user_menu", [&]() -> Value {
        Value result = "";
        Recordset r = conn.execute("select menu_idstr from user where id="_sql + id);
        if (!r.eof()) result = r("menu_idstr");
        return result;
    });
}

Value Page::get_user_truename(const Value& id) {
    return routine("get_user_truename", [&]() -> Value {
        Recordset r = conn.execute("select truename from user where id="_sql + id);
        if (!r.eof()) return r("truename");
        return Value();
    });
}

void Page::monitor(const std::string& text) {
    routine("monitor", [&] {
        conn.execute("Insert into monitor(user_id,work_text) values ("_sql + Session("USER_ID") + ",'" +
                     text + "')");
    });
}

std::string Page::del_url_root(const std::string& text) {
    return routine("del_url_root", [&]() -> std::string {
        std::vector<std::string> parts = Split(Request.ServerVariables("URL"), "/");
        std::string segment = parts.size() > 1 ? parts[1] : "";
        std::string pattern = "http://" + Request.ServerVariables("HTTP_HOST") + "/" + segment;
        return Replace(text, pattern, ".");
    });
}

std::string Page::do_body(std::string& text) {
    return routine("do_body", [&]() -> std::string {
        text = Replace(text, "\r\n", "");
        text = Replace(text, "'", "\xE2\x80\x98");  // the curly quote ‘
        return text;
    });
}

void Page::send_email(const Value& sender, const Value& recipient, const std::string& title,
                      const std::string& text, const Value& degree) {
    routine("send_email", [&] {
        conn.execute("Insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id) values ("_sql +
                     sender + "," + recipient + ",'" + title + "','" + text + "'," + degree + ")");
    });
}

}  // namespace tav
