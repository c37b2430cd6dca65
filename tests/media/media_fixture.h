// Titles in the catalogue and multipart posts for the media page tests.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "frame/encoding.h"
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

// A multipart body as a browser sends it, names and text in GB18030.
struct Part {
    std::string name;
    std::string value;
    std::string file;  // client file name; empty for a plain field
    bool is_file = false;
};

inline Part field(std::string name, std::string value) { return {std::move(name), std::move(value), "", false}; }
inline Part file(std::string name, std::string client_name, std::string content) {
    return {std::move(name), std::move(content), std::move(client_name), true};
}

inline Reply post_multipart(TestSite& site, const std::string& url, const std::vector<Part>& parts) {
    const std::string b = "----tavelorMediaTest7d9";
    std::string body;
    for (const Part& p : parts) {
        body += "--" + b + "\r\nContent-Disposition: form-data; name=\"" + p.name + "\"";
        if (p.is_file)
            body += "; filename=\"" + utf8_to_gb(p.file) + "\"\r\nContent-Type: audio/mpeg\r\n\r\n" + p.value;
        else
            body += "\r\n\r\n" + utf8_to_gb(p.value);
        body += "\r\n";
    }
    body += "--" + b + "--\r\n";
    return site.post_raw(url, "multipart/form-data; boundary=" + b, body);
}

}  // namespace tav::test
