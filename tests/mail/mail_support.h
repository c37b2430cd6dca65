// Set-up the mail tests share: accounts, a browser-style multipart post of
// the mail form, and reads of the mail rows.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/accounts.h"
#include "tests/support/multipart.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

namespace tav::test::mail {

inline const std::string kBoundary = "----WebKitFormBoundaryM41l";

struct MailSite {
    TestSite site;

    std::string user(const std::string& name, const std::string& truename = "") {
        return add_user(site, name, "", "pw", truename);
    }
    void as(const std::string& name, const std::string& password = "pw") {
        site.forget_session();
        EXPECT_TRUE(site.login(name, password)) << name;
    }

    // The form of Email_send.asp as editinfo() posts it; files are
    // {slot, client name, bytes}.
    struct File {
        int slot;
        std::string name;
        std::string bytes;
    };
    Reply send(const std::string& to_user_idstr, const std::string& title, const std::string& body = "<p>正文</p>",
               const std::vector<File>& files = {}, const std::string& degree = "2") {
        std::vector<FormPart> parts = {
            {"EmailTo", "x;"}, {"to_user_idstr", to_user_idstr}, {"ImpDegree", degree}, {"Email_title", title}};
        for (int slot = 1; slot <= 4; ++slot) {
            FormPart p = file_part("File" + std::to_string(slot), "", "");
            for (const File& f : files)
                if (f.slot == slot) p = file_part(p.name, f.name, f.bytes);
            parts.push_back(p);
        }
        parts.push_back({"body", body});
        return site.post_raw("/Email_sendDo.asp", multipart_type(kBoundary), multipart_body(kBoundary, parts));
    }

    std::string scalar(const std::string& sql) { return site.scalar(sql, "v"); }
    std::string last_id() { return scalar("select max(id) as v from Email"); }
    int rows(const std::string& where = "1=1") {
        return std::stoi(scalar("select count(*) as v from Email where " + where));
    }
    std::string email_file(const std::string& name) { return site.root() + "/Email/" + name; }
    bool on_disk(const std::string& name) { return std::filesystem::exists(email_file(name)); }
    std::string del(const std::string& dellist, const std::string& type) {
        return site.get("/Email_Del.asp?dellist=" + dellist + "&Type=" + type).location();
    }
    std::string list(const std::string& query) { return site.get("/Email_list.asp?" + query).body; }
};

}  // namespace tav::test::mail
