// Reads an answer the way a browser would, far enough to tell whether a
// payload became markup or script: tags with their attributes (quoted and
// unquoted values as HTML reads them, no reference decoding), and the text
// of JavaScript blocks with what stands outside string literals.
#pragma once

#include <cctype>
#include <string>
#include <vector>

namespace tav::test {

struct ScannedTag {
    std::string name;  // lower case
    std::vector<std::pair<std::string, std::string>> attrs;  // lower-case names
};

inline std::string lower_ascii(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

inline std::vector<ScannedTag> scan_tags(const std::string& html) {
    std::vector<ScannedTag> out;
    auto space = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; };
    const std::size_t n = html.size();
    for (std::size_t i = html.find('<'); i != std::string::npos && i < n; i = html.find('<', i + 1)) {
        if (i + 1 >= n || !std::isalpha(static_cast<unsigned char>(html[i + 1]))) continue;
        ScannedTag t;
        std::size_t j = i + 1;
        while (j < n && !space(html[j]) && html[j] != '/' && html[j] != '>') t.name += html[j++];
        t.name = lower_ascii(t.name);
        while (j < n && html[j] != '>') {
            while (j < n && (space(html[j]) || html[j] == '/')) ++j;
            if (j >= n || html[j] == '>') break;
            std::string name, value;
            name += html[j++];
            while (j < n && !space(html[j]) && html[j] != '/' && html[j] != '>' && html[j] != '=') name += html[j++];
            while (j < n && space(html[j])) ++j;
            if (j < n && html[j] == '=') {
                ++j;
                while (j < n && space(html[j])) ++j;
                if (j < n && (html[j] == '"' || html[j] == '\'')) {
                    char q = html[j++];
                    while (j < n && html[j] != q) value += html[j++];
                    ++j;
                } else {
                    while (j < n && !space(html[j]) && html[j] != '>') value += html[j++];
                }
            }
            t.attrs.emplace_back(lower_ascii(name), value);
        }
        out.push_back(std::move(t));
        i = j;
        if (i >= n) break;
    }
    return out;
}

// JavaScript with its string literals and comments taken out: what is left
// is what would run as program text.
inline std::string js_code(const std::string& js) {
    std::string code;
    char quote = 0;
    for (std::size_t k = 0; k < js.size(); ++k) {
        char c = js[k];
        if (quote) {
            if (c == '\\') ++k;
            else if (c == quote || c == '\n' || c == '\r') quote = 0;
            continue;
        }
        if (c == '\'' || c == '"') {
            quote = c;
            continue;
        }
        if (c == '/' && k + 1 < js.size() && js[k + 1] == '/') {
            while (k < js.size() && js[k] != '\n') ++k;
            continue;
        }
        code += c;
    }
    return code;
}

// The program text of the JavaScript blocks (not VBScript) of a page.
inline std::string script_code(const std::string& html) {
    std::string code;
    std::string low = lower_ascii(html);
    for (std::size_t at = low.find("<script"); at != std::string::npos; at = low.find("<script", at + 1)) {
        std::size_t open_end = low.find('>', at);
        if (open_end == std::string::npos) break;
        if (low.substr(at, open_end - at).find("vbscript") != std::string::npos) continue;
        std::size_t close = low.find("</script", open_end);
        code += js_code(html.substr(open_end + 1, (close == std::string::npos ? low.size() : close) - open_end - 1));
        code += "\n";
    }
    return code;
}

}  // namespace tav::test
