// What another site can make a browser send: refused or run as for a
// stranger, and the limits a visitor without an account meets.
#include <gtest/gtest.h>

#include <vector>

#include "tests/support/test_site.h"

using namespace tav;
using test::TestSite;

namespace {

using Headers = std::vector<std::pair<std::string, std::string>>;

test::Reply del_record(TestSite& site, const std::string& method, const std::string& id, const Headers& headers) {
    HttpRequest req;
    req.method = method;
    req.target = "/Del_Record.asp?Table=DepartMent&ID=" + id + "&next=type_modify.asp";
    req.headers = headers;
    if (method == "POST") {
        req.headers.emplace_back("Content-Length", "0");
        req.body = std::make_shared<MemoryBody>(std::string());
    }
    return site.send(std::move(req));
}

}  // namespace

TEST(CrossSite, ForeignRequestsToAPageChangeNothing) {
    TestSite site;
    ASSERT_TRUE(site.login());
    struct Case {
        const char* method;
        Headers headers;
        int status;
        bool deleted;
    } cases[] = {
        {"POST", {{"Sec-Fetch-Site", "cross-site"}, {"Sec-Fetch-Dest", "document"}}, 403, false},
        {"POST", {{"Sec-Fetch-Site", "same-site"}}, 403, false},
        {"POST", {{"Origin", "http://evil.example"}}, 403, false},
        {"POST", {{"Origin", "null"}}, 403, false},
        {"POST", {{"Origin", "http://localhost:8080.evil.example"}}, 403, false},
        {"GET", {{"Sec-Fetch-Site", "same-origin"}, {"Sec-Fetch-Dest", "image"}}, 403, false},
        {"GET", {{"Sec-Fetch-Site", "cross-site"}, {"Sec-Fetch-Dest", "script"}}, 403, false},
        {"GET", {{"Sec-Fetch-Dest", "EMBED"}}, 403, false},
        // A link on another site: as for a visitor without a session.
        {"GET", {{"Sec-Fetch-Site", "cross-site"}, {"Sec-Fetch-Dest", "document"}}, 302, false},
        // The site's own delete links and forms, and browsers that say nothing.
        {"GET", {{"Sec-Fetch-Site", "same-origin"}, {"Sec-Fetch-Dest", "iframe"}}, 302, true},
        {"GET", {{"Sec-Fetch-Site", "none"}, {"Sec-Fetch-Dest", "document"}}, 302, true},
        {"GET", {}, 302, true},
        {"POST", {{"Origin", "http://localhost:8080"}, {"Sec-Fetch-Site", "same-origin"}}, 302, true},
    };
    const std::string uid = site.scalar("select id from user where username='admin'", "id");
    for (const auto& c : cases) {
        site.exec("insert into DepartMent(name) values ('x')");
        std::string id = site.scalar("select max(id) as m from DepartMent", "m");
        auto r = del_record(site, c.method, id, c.headers);
        std::string what = std::string(c.method) + " " + (c.headers.empty() ? "" : c.headers[0].second);
        EXPECT_EQ(r.status, c.status) << what;
        EXPECT_EQ(site.scalar("select count(id) as n from DepartMent where id=" + id, "n"), c.deleted ? "0" : "1")
            << what;
        EXPECT_EQ(r.header("Set-Cookie"), "") << what;  // the browser's session stays as it was
        if (c.status == 302 && !c.deleted) {
            EXPECT_EQ(r.header("Location"), "login.asp") << what;
        }
        if (c.status == 403) {
            EXPECT_NE(r.body.find("已被拒绝"), std::string::npos) << what;
        }
    }
    EXPECT_NE(site.log_text().find("Tavelor.Refused cross-site /Del_Record.asp address 127.0.0.1 account " + uid),
              std::string::npos);
}

TEST(CrossSite, CookieIsStrictAndSecureOnlyOverTls) {
    for (bool tls : {false, true}) {
        TestSite site;
        HttpRequest req;
        req.method = "GET";
        req.target = "/login.asp";
        req.secure = tls;
        std::string set = site.send(req).header("Set-Cookie");
        ASSERT_NE(set, "");
        EXPECT_NE(set.find("; HttpOnly"), std::string::npos);
        EXPECT_NE(set.find("; SameSite=Strict"), std::string::npos);
        EXPECT_EQ(set.find("; Secure") != std::string::npos, tls) << set;
    }
}
