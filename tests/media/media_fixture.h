// Titles in the catalogue and multipart posts for the media page tests.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/support/pages.h"

namespace tav::test {

struct Title {
    std::string title;
    std::string kind = "audio_mp3";
    std::string py = "A";
    std::string text = "";
    std::string path = "/Medium/";
    std::string filename = "a.mp3";
};

inline std::string add_title(TestSite& site, const Title& t) {
    site.exec("insert into Medium(Title,Medium_text,Path,filename,file_type,Author,PY) values('" + t.title + "','" +
              t.text + "','" + t.path + "','" + t.filename + "','" + t.kind + "','someone','" + t.py + "')");
    return site.scalar("select max(id) as id from Medium", "id");
}

inline std::string clicks(TestSite& site, const std::string& id) {
    return site.scalar("select click_num from Medium where id=" + id, "click_num");
}

}  // namespace tav::test
