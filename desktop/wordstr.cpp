#include "desktop/wordstr.h"

#include <string>
#include <vector>

#include "frame/html.h"
#include "frame/vb.h"

namespace tav::pages {

void WordStrGroup::write_poll_head(const char* setting) {
    Recordset rs = page_.setting(setting);
    Response.lines(R"(
<html>
<head>
<meta http-equiv="Content-Type" content="text/html; charset=gb2312">
)");
    Response.write("<meta http-equiv=\"REFRESH\" content=\"");
    Response.write(html_text(rs("Hardserial")));  // a number when saved by the settings form
    Response.line("\">");
    Response.line("<meta http-equiv=\"pragma\" content=\"no-cache\">");
    Response.line("<meta http-equiv=\"expires\" content=\"" + NowText(-10) + "\">");
}

Value WordStrGroup::count_new_mail() {
    // The store keeps each account's unread count (unread_tally in the
    // schema): every open desktop polls this figure.
    Recordset rs = page_.connection().execute("select coalesce(sum(num),0) as num from unread_tally where user_id="_sql +
                      Session("user_id"));
    num = rs("num");
    return num;
}

Value WordStrGroup::count_replies() {
    Recordset rs = page_.connection().execute("select id from book where user_id="_sql + Session("user_id") + " and reply_id=0");
    Value replies = 0;
    while (!rs.eof()) {
        Recordset rs1 =
            page_.connection().execute("select count(id) as num from book where reply_id="_sql + rs("id") + " and reply_read=0");
        replies = replies.num() + rs1("num").num();
        rs1.close();
        rs.movenext();
    }
    return replies;
}

Value WordStrGroup::count_received_files() {
    Recordset rs = page_.connection().execute("select count(id) as num from Files where left(py,instr(2,py,'|'))='|"_sql + Session("USER_ID") +
                      "|'");
    num = rs("num");
    return num;
}

Value WordStrGroup::get_shs() {
    return page_.routine("get_shs", [&]() -> Value {
        static const char* const rights[5][2] = {
            {"2302", "ywsh"}, {"2303", "hh"}, {"2304", "fh"}, {"2305", "ldsh"}, {"2306", "ldqf"}};
        Value str = page_.user_rights()("menu_idstr");
        std::string shs;
        for (const auto& right : rights) {
            if (InStr(str, right[0]) > 0) {
                if (Len(shs) <= 1)
                    shs = right[1];
                else
                    shs = shs + "|" + right[1];
            }
        }
        return shs;
    });
}

Value WordStrGroup::get_word_str() {
    return page_.routine("get_word_str", [&]() -> Value {
        Value result;
        menu_idstr = page_.user_rights()("menu_idstr");
        Value shs = get_shs();
        Value user_id = Session("user_id");

        // i is the loop variable of the persons condition and then counts the
        // kinds: after the loop it holds the number of codes, and it is not
        // set back before the count.
        Value i;
        Sql persons;
        if (InStr(shs, "|") > 0) {
            std::vector<std::string> codes = Split(shs, "|");
            persons = Sql() + sql_name(codes[0]) + "='" + user_id + "'";
            for (i = 1; i.num() <= static_cast<double>(codes.size() - 1); i = i.num() + 1)
                persons = persons + " or " + sql_name(codes[static_cast<std::size_t>(i.num())]) + "='" + user_id +
                          "'";
        } else {
            persons = Sql() + sql_name(shs) + "='" + user_id + "'";
        }

        std::string kinds;
        Recordset rs = page_.connection().execute("select * from word_type");
        while (!rs.eof()) {
            if (InStr(menu_idstr, "h" + rs("id")) > 0) {
                kinds = kinds + rs("id") + "|";
                i = i.num() + 1;
            }
            rs.movenext();
        }

        if (i > 0) {
            kinds = Left(kinds, Len(kinds) - 1);
            Sql sql;
            if (i == 1) {
                sql = "select count(id) as num from Word where "_sql + persons + " and word_type=" + kinds +
                      " and signed<>1";
            } else {
                Sql cond;
                for (const std::string& id : Split(kinds, "|"))
                    cond = cond + (cond.empty() ? "" : " or ") + "word_type=" + id;
                sql = "select count(id) as num from Word where ("_sql + persons + ") and (" + cond + ") and signed<>1";
            }
            rs = page_.connection().execute(sql);
            num = rs("num");
            if (num == 0)
                result = "没有新公文需要处理";
            else
                result = "有 " + num + " 个公文正等待[或将要]您审核或签发！";
        } else {
            result = "您没有权限处理任何公文！";
        }
        return result;
    });
}

}  // namespace tav::pages
