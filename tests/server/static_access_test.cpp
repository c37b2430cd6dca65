// Which static files a request may read, with and without a session, and
// how what accounts uploaded comes back.
#include <gtest/gtest.h>

#include <filesystem>

#include "frame/encoding.h"
#include "tests/support/files.h"
#include "tests/support/test_site.h"

using namespace tav;
using test::TestSite;

namespace fs = std::filesystem;

namespace {

void put(TestSite& site, const std::string& rel, const std::string& bytes = "data") {
    test::put_file(site.root() + "/" + rel, bytes);
}

}  // namespace

TEST(StaticAccess, PrivateFoldersOnlyForTheirSessions) {
    TestSite site;
    site.exec("insert into user(username,password,TrueName,DepartMentID,record) values ('bob','pw','Bob',1,30)");
    std::string admin = site.scalar("select id from user where username='admin'", "id");
    std::string bob = site.scalar("select id from user where username='bob'", "id");
    // Mail attachments: admin received one, sent one, and is party to
    // neither the third mail nor the stray file.
    site.exec("insert into Email(send_user_id,to_user_id,Email_doc) values (" + bob + "," + admin + ",'11in.txt')");
    site.exec("insert into Email(send_user_id,to_user_id,Email_doc) values (" + admin + "," + bob +
              ",'21a.txt*22out.txt')");
    site.exec("insert into Email(send_user_id,to_user_id,Email_doc) values (" + bob + "," + bob + ",'31bob.txt')");
    for (const char* f : {"user/admin/a.txt", "user/bob/b.txt", "Email/11in.txt", "Email/22out.txt",
                          "Email/31bob.txt", "Email/out.txt", "Email/stray.txt", "Datas/3/d.txt", "Medium/x.txt",
                          "user/top.txt"})
        put(site, f);
    struct Case {
        const char* path;
        int anonymous, admin;
    } cases[] = {
        {"/style.css", 200, 200},
        {"/Medium/x.txt", 404, 200},
        {"/user/admin/a.txt", 404, 200},
        {"/USER/Admin/a.txt", 404, 200},          // names without case
        {"/user/bob/b.txt", 404, 404},            // another account's folder
        {"/user/admin/../bob/b.txt", 404, 404},  // not by a detour either
        {"/user/top.txt", 404, 404},              // no account's folder
        {"/Email/11in.txt", 404, 200},            // received
        {"/email/22OUT.txt", 404, 200},           // sent, second of two
        {"/Email/31bob.txt", 404, 404},           // other people's mail
        {"/Email/out.txt", 404, 404},             // a part of a name is not the name
        {"/Email/stray.txt", 404, 404},           // no mail names it
        {"/Datas/3/d.txt", 404, 200},
        {"/datebase/office.mdb", 404, 404},
    };
    // Without a session; with one that is not logged in, no better; as admin.
    for (const char* who : {"anonymous", "form only", "admin"}) {
        if (who == std::string("form only")) site.get("/login.asp");
        if (who == std::string("admin")) {
            ASSERT_TRUE(site.login());
        }
        for (const auto& c : cases)
            EXPECT_EQ(site.get(c.path).status, who == std::string("admin") ? c.admin : c.anonymous) << who << ": " << c.path;
    }
    // Renamed: the folder of the new name is the account's from the next
    // request on, the old one no longer.
    site.exec("update user set username='ann' where id=" + admin);
    put(site, "user/ann/n.txt");
    EXPECT_EQ(site.get("/user/ann/n.txt").status, 200);
    EXPECT_EQ(site.get("/user/admin/a.txt").status, 404);
    site.get("/logout.asp");
    EXPECT_EQ(site.get("/user/admin/a.txt").status, 404);
}

TEST(StaticAccess, UploadsRunNoScriptAndSaveUnderTheirName) {
    TestSite site;
    put(site, "Datas/x.html", "<script>alert(1)</script>");
    put(site, "Datas/x.svg", "<svg xmlns='http://www.w3.org/2000/svg'><script>alert(1)</script></svg>");
    put(site, "Datas/p.gif", "GIF89a");
    put(site, "Datas/报告.txt", "你好");
    put(site, "Datas/gb.txt", utf8_to_gb("你好"));
    put(site, "Medium/a.mp3", "ID3");
    put(site, "Medium/list.xml", "<x/>");
    put(site, "anywhere/x.htm", "<b>");
    put(site, "images/x.svg", "<svg/>");
    ASSERT_TRUE(site.login());
    struct Case {
        const char* path;
        const char* type;         // Content-Type
        const char* disposition;  // start of Content-Disposition
    } cases[] = {
        {"/Datas/x.html", "application/octet-stream", "attachment; filename=\"x.html\"; filename*=UTF-8''x.html"},
        {"/Datas/x.svg", "application/octet-stream", "attachment;"},
        {"/Datas/p.gif", "image/gif", "inline;"},
        {"/Datas/报告.txt", "text/plain; charset=utf-8",
         "inline; filename=\"__.txt\"; filename*=UTF-8''%E6%8A%A5%E5%91%8A.txt"},
        {"/Datas/gb.txt", "text/plain; charset=gb2312", "inline;"},
        {"/Medium/a.mp3", "audio/mpeg", "inline;"},
        {"/Medium/list.xml", "application/octet-stream", "attachment;"},
        {"/anywhere/x.htm", "application/octet-stream", "attachment;"},
        {"/images/x.svg", "application/octet-stream", "attachment;"},
    };
    for (const auto& c : cases) {
        auto r = site.get(c.path);
        ASSERT_EQ(r.status, 200) << c.path;
        EXPECT_EQ(r.header("Content-Type"), c.type) << c.path;
        EXPECT_EQ(r.header("Content-Disposition").rfind(c.disposition, 0), 0u)
            << c.path << ": " << r.header("Content-Disposition");
        EXPECT_EQ(r.header("Content-Security-Policy"), "sandbox; frame-ancestors 'self'") << c.path;
    }
    // The site's own pictures stay plain.
    auto own = site.get("/images/arrow1.gif");
    EXPECT_EQ(own.header("Content-Disposition"), "");
    EXPECT_EQ(own.header("Content-Security-Policy"), "");
}
