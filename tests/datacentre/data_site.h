// Set-up the data centre's page tests share: items put straight into the
// store, and the entry form's multipart post as a browser sends it.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/pages.h"

namespace tav::test {

// Adds an item and returns its id.
inline std::string add_item(TestSite& site, const std::string& sub_menu, const std::string& title,
                            const std::string& user_id = "1", const std::string& afile = "0",
                            const std::string& date = "2026-01-01 10:00:00", const std::string& lock = "0") {
    site.exec("insert into Datas(User_id,D_title,D_text,D_afile,Sub_menu,Main_menu,D_date,lock) values (" + user_id +
              ",'" + title + "','正文','" + afile + "','" + sub_menu + "','menu" + sub_menu.substr(0, 2) + "','" +
              date + "','" + lock + "')");
    return site.scalar("select max(id) as id from Datas", "id");
}

// The entry form's post: a new item when id is "0".
inline Reply post_item(TestSite& site, const std::string& id, const std::string& sub_menu, const std::string& title,
                       const std::string& body, const std::string& filename = "", const std::string& content = "") {
    return post_multipart(site, "Data_InputDo.asp",
                          {{"ID", id},
                           {"Main_menu", "menu" + sub_menu.substr(0, 2)},
                           {"D_title", title},
                           {"Sub_menu", sub_menu},
                           file("Afile", filename, content),
                           {"body", body}});
}

inline bool exists(const TestSite& site, const std::string& rel) {
    return std::filesystem::exists(site.root() + "/" + rel);
}

}  // namespace tav::test
