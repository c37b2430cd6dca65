// The multipart/form-data body a browser sends for a gb2312 form: field
// names, file names and text values in GB18030, file contents as bytes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "frame/encoding.h"

namespace tav::test {

struct FormPart {
    std::string name;
    std::string value;                    // UTF-8 text, or the bytes of a file
    std::optional<std::string> filename = std::nullopt;  // a file part when set ("" is an empty file box)
    std::string type = "application/octet-stream";       // of a file part
};

inline FormPart file_part(const std::string& name, const std::string& filename, const std::string& bytes) {
    return {name, bytes, filename};
}

// boundary as in the Content-Type header, without the leading "--".
inline std::string multipart_body(const std::string& boundary, const std::vector<FormPart>& parts) {
    std::string body;
    for (const FormPart& p : parts) {
        body += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + utf8_to_gb(p.name) + "\"";
        if (p.filename)
            body += "; filename=\"" + utf8_to_gb(*p.filename) + "\"\r\nContent-Type: " + p.type + "\r\n\r\n" +
                    p.value + "\r\n";
        else
            body += "\r\n\r\n" + utf8_to_gb(p.value) + "\r\n";
    }
    return body + "--" + boundary + "--\r\n";
}

inline std::string multipart_type(const std::string& boundary) { return "multipart/form-data; boundary=" + boundary; }

}  // namespace tav::test
