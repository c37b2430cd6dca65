// The mail list's search: by title as the list always did, and with the tick
// box "搜索正文" also in the body and the sender's name, over the account's
// own folder only. The rows shown are those of the plain like statement.
#include "tests/support/page_test.h"

#include <algorithm>

#include "tests/mail/mail_support.h"

using namespace tav::test;
using mail::MailSite;

namespace {

std::string linked(const std::string& body) { return linked_ids(body, "Email_read.asp?id="); }

// What the page does to the box's text before it searches: trimmed, no apostrophes.
std::string cleaned(std::string t) {
    std::erase(t, '\'');
    while (!t.empty() && t.front() == ' ') t.erase(0, 1);
    while (!t.empty() && t.back() == ' ') t.pop_back();
    return t;
}

struct Mailboxes {
    MailSite m;
    std::string ann, bob, carl;
    Mailboxes() {
        ann = m.user("ann", "安娜");
        bob = m.user("bob", "Bob 鲍勃");
        carl = m.user("carl", "卡尔");
        struct Mail { std::string from, to, title, body; } mails[] = {
            {bob, ann, "季度预算审核", "<p>请审阅 Budget 表</p>"},
            {bob, ann, "Budget 50% done", "<p>进度</p>"},
            {carl, ann, "BUDGET_v2", "见附件 a_b"},
            {carl, ann, "会议通知", "<p>周五 BOB 主持</p>"},
            {carl, ann, "école", "École"},
            {"1", ann, "</script>", "x"},
            {bob, carl, "季度预算审核", "Budget 别人的信"},
            {ann, bob, "预算回复", "安娜的正文 Budget"},
        };
        for (const Mail& x : mails)
            m.site.exec("insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id) values (" +
                        x.from + "," + x.to + ",'" + x.title + "','" + x.body + "',1)");
        m.as("ann");
    }
    // The rows of the plain statement for ann's inbox, newest first.
    std::string expected(const std::string& term, bool wide) {
        std::string t = cleaned(term);
        std::string cond = "to_user_id=" + ann + " and To_del=0";
        if (!t.empty() && !wide) cond += " and Email_title like '%" + t + "%'";
        if (!t.empty() && wide)
            cond += " and (Email_title like '%" + t + "%' or Email_text like '%" + t +
                    "%' or send_user_id in (select id from user where truename like '%" + t + "%'))";
        std::string out;
        for (auto rs = m.site.query("select id from Email where " + cond + " order by ID DESC limit 10"); !rs.eof();
             rs.movenext())
            out += rs("id").str() + ",";
        return out;
    }
};

const std::vector<std::string> kTerms = {
    "预",  "b",      "%",    "_",         "预算",   "bu",      "a_b",     "季度预算", "budget", "BUDGET",
    "et 50%", "T_v", "%do", "'Bud'get'", "  鲍勃 ", "bob",     "École",   "école",    "审阅 b", "</script>",
    "别人的", "安娜", "'", "zzz", std::string(20000, 'x'), "x' or '1'='1", "') or 1=1 --", "\"><script>alert(1)</script>",
};

TEST(MailSearch, RowsOfThePlainLikeWithAndWithoutTheBody) {
    Mailboxes box;
    // Another account's many budget mails: a term in more rows than the text
    // index hands over is read in the folder's order instead.
    for (int from = 0; from < 2100; from += 300) {
        std::string rows;
        for (int i = from; i < from + 300; ++i) {
            if (!rows.empty()) rows += ',';
            rows += "(" + box.ann + "," + box.bob + ", 'Budget 周报 " + std::to_string(i) + "', 'budget', 1)";
        }
        box.m.site.exec("insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id) values " + rows);
    }
    for (bool wide : {false, true})
        for (const std::string& t : kTerms) {
            std::string body = box.m.list("type=0&sstr=" + form_encode(t) + (wide ? "&sbody=1" : ""));
            EXPECT_EQ(linked(body), box.expected(t, wide)) << t.substr(0, 40) << (wide ? " in bodies" : "");
            EXPECT_FALSE(has(body, " Error ")) << t.substr(0, 40);
        }
    // Another account's mail never shows, whatever it holds.
    EXPECT_EQ(linked(box.m.list("type=0&sbody=1&sstr=" + form_encode("别人的"))), "");
    EXPECT_EQ(linked(box.m.list("type=0&sbody=1&sstr=" + form_encode("安娜的正文"))), "");
    // ann's own sent mail holds it, in the sent folder.
    EXPECT_NE(linked(box.m.list("type=3&sbody=1&sstr=" + form_encode("安娜的正文"))), "");
}

TEST(MailSearch, TheTickBoxKeepsItsStateAcrossThePages) {
    Mailboxes box;
    for (int i = 0; i < 12; ++i)
        box.m.site.exec("insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id) values (" +
                        box.bob + "," + box.ann + ",'第" + std::to_string(i) + "封','深处的词',1)");
    std::string body = box.m.list("type=0&sbody=1&sstr=" + form_encode("深处的"));
    expect_texts(body,
                 {"name=\"sbody\" value=\"1\" checked>", "href=\"Email_list.asp?p=1&type=0&sstr=深处的&sbody=1\"",
                  "<input type=\"hidden\" name=\"sbody\" value=\"1\">", "页/共2页"});
    std::string second = linked(box.m.list("type=0&p=1&sbody=1&sstr=" + form_encode("深处的")));
    EXPECT_EQ(std::count(second.begin(), second.end(), ','), 2) << second;
    // Unticked: the links are as they always were, and the title alone is searched.
    body = box.m.list("type=0&sstr=" + form_encode("深处的"));
    expect_texts(body, {"<input type=\"hidden\" name=\"sbody\" value=\"\">"}, {" checked>", "sbody=1"});
    EXPECT_EQ(linked(body), "");
}

}  // namespace
