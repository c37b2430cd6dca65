// Checks of page answers that the page tests share: the texts an answer
// must and must not hold, the ids a list links to, multipart posts.
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/multipart.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

namespace tav::test {

// A fresh site with the administrator, who holds every right, signed in.
struct AdminSite : TestSite {
    AdminSite() { EXPECT_TRUE(login()); }
};

// Every text of `in` is in the answer and none of `out`; a failure names the text.
inline void expect_texts(const std::string& body, std::initializer_list<std::string> in,
                         std::initializer_list<std::string> out = {}, const std::string& where = "") {
    for (const auto& t : in) EXPECT_TRUE(has(body, t)) << where << " lacks " << t;
    for (const auto& t : out) EXPECT_FALSE(has(body, t)) << where << " holds " << t;
}

// The numbers that follow each `link` ("Data_read.asp?id="), in page order, each with a comma.
inline std::string linked_ids(const std::string& body, const std::string& link) {
    std::string out;
    for (std::size_t at = body.find(link); at != std::string::npos; at = body.find(link, at + 1)) {
        std::size_t end = at + link.size();
        while (end < body.size() && std::isdigit(static_cast<unsigned char>(body[end]))) ++end;
        if (end > at + link.size()) out += body.substr(at + link.size(), end - at - link.size()) + ",";
    }
    return out;
}

using Part = FormPart;
inline Part field(std::string name, std::string value) { return {std::move(name), std::move(value)}; }
inline Part file(const std::string& name, const std::string& client_name, const std::string& bytes) {
    return file_part(name, client_name, bytes);
}

// Posts the parts as multipart/form-data.
inline Reply post_multipart(TestSite& site, const std::string& url, const std::vector<Part>& parts) {
    const std::string b = "---------------------------7d2a1f3c";
    return site.post_raw(url, multipart_type(b), multipart_body(b, parts));
}

// The newest line of the activity log.
inline std::string last_activity(TestSite& site) {
    return site.scalar("select work_text from monitor order by id desc", "work_text");
}

}  // namespace tav::test
