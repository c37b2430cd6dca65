// Hostile values for the security tests of every subsystem: statement
// payloads, markup and script payloads, and the check that an answer runs
// none of them. A page's own event attributes are the only ones allowed.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/markup_scan.h"
#include "tests/support/test_site.h"

namespace tav::test {

// Statement payloads: quotes, comments, unions, stacked and numeric tricks.
inline const std::vector<std::string> kSql = {
    "admin' --", "admin'--", "admin' #", "' or '1'='1", "' or 1=1 --", "') or ('1'='1", "\" or \"1\"=\"1",
    "' union select id,record from user --", "x' union select password from user where '1'='1",
    "home' union select menu_idstr,password,1,1,1 from user --", "x'; drop table user; --", "admin\\' or 1=1 --",
    "'||'", "1 or 1=1", "-1 or id>0", "1; delete from user", "0 union select password from user", "2 --", "1)",
    "1e400", "user where 1=1 --", "user;delete from monitor"};

// Markup and script payloads for every place a value is written.
inline const std::vector<std::string> kMarkup = {
    "<script>alert(1)</script>", "\"><svg onload=alert(1)>", "'><img src=x onerror=alert(1)>", "javascript:alert(1)",
    " onmouseover=alert(1) x=", "</script><script>alert(1)</script>", "';alert(1);//", "\";alert(1);//",
    "<iframe src=javascript:alert(1)>", "<a href=\"javascript:alert(1)\">x</a>", "<body onload=alert(1)>",
    "\xE2\x80\xA8" "alert(1)//", "<img src=\"data:text/html,<script>alert(1)</script>\">", "JaVa\tScRiPt:alert(1)",
    "<br><b onclick=alert(1)>b</b>"};

// Both kinds, for parameters that must take neither.
inline std::vector<std::string> all_payloads() {
    std::vector<std::string> all = kSql;
    all.insert(all.end(), kMarkup.begin(), kMarkup.end());
    return all;
}

// A payload as an SQL literal's text (quotes doubled), for placing it in a
// row directly.
inline std::string sql_quoted(std::string s) {
    for (std::size_t at = s.find('\''); at != std::string::npos; at = s.find('\'', at + 2)) s.insert(at, 1, '\'');
    return s;
}

// The answer without the editor's own edit frame (at the height the form
// gives it): that one iframe is the page's, any other would be a payload's.
inline Reply without_edit_frame(Reply r, const std::string& height = "75%") {
    const std::string own =
        "<IFRAME class=\"mytext\" id=\"mytext\" width=\"530\" valign=\"bottom\" height=\"" + height + "\"></IFRAME>";
    std::size_t at = r.body.find(own);
    if (at != std::string::npos) r.body.erase(at, own.size());
    return r;
}

// The answer with the media players' object and embed tags renamed: they
// are written on purpose, and their attributes are still checked.
inline Reply without_players(Reply r) {
    const std::pair<std::string, std::string> renames[] = {
        {"<OBJECT", "<xOBJECT"}, {"<EMBED", "<xEMBED"}, {"</OBJECT", "</xOBJECT"}, {"</EMBED", "</xEMBED"}};
    for (const auto& [from, to] : renames)
        for (std::size_t at = r.body.find(from); at != std::string::npos; at = r.body.find(from, at + to.size()))
            r.body.replace(at, from.size(), to);
    return r;
}

// The event attributes the pages write themselves. A payload's own handler
// is also caught by its alert(1), whatever the attribute.
inline bool own_event(const std::string& name) {
    static const std::vector<std::string> own = {"onclick",   "onsubmit",      "onmouseover", "onmouseout",
                                                 "onmousedown", "onchange",    "onkeydown",   "onkeypress",
                                                 "ondblclick", "oncontextmenu", "onfocus",     "onblur",
                                                 "onselectstart", "onload",    "onunload",    "onmouseup"};
    return std::find(own.begin(), own.end(), name) != own.end();
}

// Nothing of the answer runs a payload: no foreign tag or event attribute,
// no script URL in a link, no alert(1) outside a string literal of a script.
inline void expect_inert(const Reply& r, const std::string& where) {
    for (const auto& tag : tav::test::scan_tags(r.body)) {
        EXPECT_TRUE(tag.name != "svg" && tag.name != "iframe" && tag.name != "object" && tag.name != "embed")
            << where << ": <" << tag.name << ">";
        for (const auto& [name, value] : tag.attrs) {
            std::string v = tav::test::lower_ascii(value);
            v.erase(std::remove_if(v.begin(), v.end(), [](char c) { return static_cast<unsigned char>(c) <= 32; }),
                    v.end());
            if (name.rfind("on", 0) == 0) {
                EXPECT_TRUE(own_event(name)) << where << ": " << name << "=" << value;
                EXPECT_EQ(tav::test::js_code(value).find("alert(1)"), std::string::npos)
                    << where << ": " << name << "=" << value;
            }
            if (name == "href" || name == "src" || name == "action") {
                EXPECT_TRUE(v.rfind("javascript:", 0) && v.rfind("data:", 0) && v.rfind("vbscript:", 0))
                    << where << ": " << name << "=" << value;
            }
        }
    }
    EXPECT_EQ(tav::test::script_code(r.body).find("alert(1)"), std::string::npos) << where << "\n" << r.body;
}

}  // namespace tav::test
