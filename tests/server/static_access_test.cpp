// Which static files a request may read, with and without a session.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/test_site.h"

using namespace tav;
using test::TestSite;

namespace fs = std::filesystem;

TEST(StaticAccess, PrivateFoldersOnlyForTheirSessions) {
    TestSite site;
    site.exec("insert into user(username,password,TrueName,DepartMentID,record) values ('bob','pw','Bob',1,30)");
    for (const char* f : {"user/admin/a.txt", "user/bob/b.txt", "Email/m.txt", "Datas/3/d.txt",
                          "Medium/x.txt", "user/top.txt"}) {
        fs::create_directories(fs::path(site.root() + "/" + f).parent_path());
        std::ofstream(site.root() + "/" + f) << "data";
    }
    struct Case {
        const char* path;
        int anonymous, admin;
    } cases[] = {
        {"/style.css", 200, 200},
        {"/Medium/x.txt", 200, 200},
        {"/user/admin/a.txt", 404, 200},
        {"/USER/Admin/a.txt", 404, 200},          // names without case
        {"/user/bob/b.txt", 404, 404},            // another account's folder
        {"/user/admin/../bob/b.txt", 404, 404},  // not by a detour either
        {"/user/top.txt", 404, 404},              // no account's folder
        {"/Email/m.txt", 404, 200},
        {"/email/m.txt", 404, 200},
        {"/Datas/3/d.txt", 404, 200},
        {"/datebase/office.mdb", 404, 404},
    };
    for (const auto& c : cases) EXPECT_EQ(site.get(c.path).status, c.anonymous) << c.path;
    // A session that is not logged in is no better than none.
    site.get("/login.asp");
    for (const auto& c : cases) EXPECT_EQ(site.get(c.path).status, c.anonymous) << "form only: " << c.path;
    ASSERT_TRUE(site.login());
    for (const auto& c : cases) EXPECT_EQ(site.get(c.path).status, c.admin) << "admin: " << c.path;
    site.get("/logout.asp");
    EXPECT_EQ(site.get("/user/admin/a.txt").status, 404);
}
