// Set-up the mail tests share: accounts, a browser-style multipart post of
// the mail form, and reads of the mail rows.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "frame/encoding.h"
#include "tests/support/accounts.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

namespace tav::test::mail {

struct Part {
    std::string name;                     // UTF-8
    std::optional<std::string> filename;  // UTF-8; a file part when set
    std::string content;                  // UTF-8 for fields, bytes for files
};

inline const std::string kBoundary = "------WebKitFormBoundaryM41l";

// Headers and field values in GB18030, as the browser sends a gb2312 form.
inline std::string multipart(const std::vector<Part>& parts) {
    std::string b;
    for (const auto& p : parts) {
        b += kBoundary + "\r\n";
        b += "Content-Disposition: form-data; name=\"" + utf8_to_gb(p.name) + "\"";
        if (p.filename) {
            b += "; filename=\"" + utf8_to_gb(*p.filename) + "\"\r\nContent-Type: application/octet-stream\r\n";
            b += "\r\n" + p.content + "\r\n";
        } else {
            b += "\r\n\r\n" + utf8_to_gb(p.content) + "\r\n";
        }
    }
    return b + kBoundary + "--\r\n";
}

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
        std::vector<Part> parts = {{"EmailTo", std::nullopt, "x;"},
                                   {"to_user_idstr", std::nullopt, to_user_idstr},
                                   {"ImpDegree", std::nullopt, degree},
                                   {"Email_title", std::nullopt, title}};
        for (int slot = 1; slot <= 4; ++slot) {
            Part p{"File" + std::to_string(slot), std::string(), ""};
            for (const File& f : files)
                if (f.slot == slot) p = {"File" + std::to_string(slot), f.name, f.bytes};
            parts.push_back(p);
        }
        parts.push_back({"body", std::nullopt, body});
        return site.post_raw("/Email_sendDo.asp", "multipart/form-data; boundary=" + kBoundary.substr(2),
                             multipart(parts));
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
