// Titles in the catalogue and multipart posts for the media page tests.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/support/multipart.h"
#include "tests/support/test_site.h"

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

using Part = FormPart;
inline Part field(std::string name, std::string value) { return {std::move(name), std::move(value)}; }
inline Part file(std::string name, std::string client_name, std::string content) {
    return file_part(name, client_name, content);
}

inline Reply post_multipart(TestSite& site, const std::string& url, const std::vector<Part>& parts) {
    const std::string b = "----tavelorMediaTest7d9";
    return site.post_raw(url, multipart_type(b), multipart_body(b, parts));
}

}  // namespace tav::test
