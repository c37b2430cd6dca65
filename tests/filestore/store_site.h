// A logged-in site with the admin's file store at hand on the disk.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/test_site.h"

namespace tav::test {

struct StoreSite : TestSite {
    StoreSite() {
        if (!login()) throw std::runtime_error("login failed");
    }
    // The physical path of a folder or file below the site root ("user/admin/a").
    std::filesystem::path disk(const std::string& rel) const { return std::filesystem::path(root()) / rel; }
    std::filesystem::path store(const std::string& rel = "") const {
        return rel.empty() ? disk("user/admin") : disk("user/admin/" + rel);
    }
    void mkdir(const std::string& rel) const { std::filesystem::create_directories(store(rel)); }
    void touch(const std::string& rel, const std::string& content = "x") const {
        std::ofstream(store(rel), std::ios::binary) << content;
    }
    // A GET with one site-relative query value per parameter, encoded as a browser does.
    Reply open(const std::string& page, const std::vector<std::pair<std::string, std::string>>& params) {
        std::string url = page;
        char sep = '?';
        for (const auto& [k, v] : params) {
            url += sep + k + "=" + form_encode(v);
            sep = '&';
        }
        return get(url);
    }
};

}  // namespace tav::test
