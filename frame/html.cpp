#include "frame/html.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "frame/encoding.h"
#include "frame/host.h"
#include "frame/paths.h"

namespace tav {

namespace {

const char kHex[] = "0123456789ABCDEF";

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }
bool is_alpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_hex(char c) { return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// A character reference's code point as UTF-8; what no character may be
// (NUL, surrogates, past U+10FFFF) becomes U+FFFD.
void put_utf8(std::string& out, std::uint32_t cp) {
    if (cp == 0 || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = 0xFFFD;
    append_utf8(out, cp);
}

// Length of a character reference at s[i] ('&'), 0 when there is none.
std::size_t reference_length(std::string_view s, std::size_t i) {
    std::size_t j = i + 1;
    if (j < s.size() && s[j] == '#') {
        ++j;
        bool hex = j < s.size() && (s[j] == 'x' || s[j] == 'X');
        if (hex) ++j;
        std::size_t start = j;
        while (j < s.size() && (hex ? is_hex(s[j]) : is_digit(s[j])) && j - start < 8) ++j;
        if (j == start || j >= s.size() || s[j] != ';') return 0;
        return j + 1 - i;
    }
    std::size_t start = j;
    while (j < s.size() && (is_alpha(s[j]) || (j > start && is_digit(s[j]))) && j - start < 32) ++j;
    if (j == start || j >= s.size() || s[j] != ';') return 0;
    return j + 1 - i;
}

// Decodes the references a browser would decode in an attribute value, as
// far as they matter to the checks: numeric ones (with or without ';') and
// the basic named ones. Any other '&' stays literal and is escaped again on
// output, so the browser sees it literally too.
std::string decode_references(std::string_view s) {
    static const std::map<std::string, std::string, std::less<>> named = {
        {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}, {"nbsp", "\xC2\xA0"},
        {"colon", ":"}, {"tab", "\t"}, {"newline", "\n"}, {"lpar", "("}, {"rpar", ")"}, {"sol", "/"},
        {"bsol", "\\"}, {"semi", ";"}};
    std::string out;
    for (std::size_t i = 0; i < s.size();) {
        if (s[i] != '&') {
            out += s[i++];
            continue;
        }
        std::size_t j = i + 1;
        if (j < s.size() && s[j] == '#') {
            ++j;
            bool hex = j < s.size() && (s[j] == 'x' || s[j] == 'X');
            if (hex) ++j;
            std::size_t start = j;
            std::uint64_t cp = 0;
            while (j < s.size() && (hex ? is_hex(s[j]) : is_digit(s[j]))) {
                int d = is_digit(s[j]) ? s[j] - '0' : (s[j] | 0x20) - 'a' + 10;
                cp = std::min<std::uint64_t>(cp * (hex ? 16 : 10) + static_cast<unsigned>(d), 0x110000);
                ++j;
            }
            if (j == start) {
                out += s[i++];
                continue;
            }
            if (j < s.size() && s[j] == ';') ++j;
            put_utf8(out, static_cast<std::uint32_t>(cp));
            i = j;
            continue;
        }
        std::size_t start = j;
        while (j < s.size() && is_alpha(s[j]) && j - start < 16) ++j;
        auto it = named.find(lower(s.substr(start, j - start)));
        if (j > start && it != named.end()) {
            out += it->second;
            if (j < s.size() && s[j] == ';') ++j;
            i = j;
        } else {
            out += s[i++];
        }
    }
    return out;
}

struct Attr {
    std::string name;
    std::string value;
    bool has_value = false;
};

struct Tag {
    std::string name;
    bool closing = false;
    std::vector<Attr> attrs;
};

// Where a tag's parts lie in the text; strings are made only for a tag that ends.
struct AttrSpan {
    std::size_t name_at, name_end, value_at = 0, value_end = 0;
    bool has_value = false;
};

// The tag parser's scanning states, one bit each.
enum : std::uint8_t {
    kInName = 1, kAtTop = 2, kInAttrName = 4, kBeforeEq = 8, kAfterEq = 16, kInUnquoted = 32,
    kInDouble = 64, kInSingle = 128
};

// Parses tags left to right. A '<' whose tag does not end is text, and the
// next '<' may lie inside what that parse read; without a memo each such '<'
// would read on to the end again. The outcome from a given position in a
// given state is always the same, and a tag that ends moves the text past
// everything its parse read, so a (position, state) met again can only lie
// on a path that already failed: the parse fails there at once. Each pair is
// thus read at most once and the whole text in linear time.
class TagParser {
public:
    explicit TagParser(std::string_view s) : s_(s) {}

    // Parses the tag starting at s[i] == '<'. False when it is no tag or does
    // not end: the '<' is then text.
    bool parse(std::size_t i, Tag& tag, std::size_t& end) {
        spans_.clear();
        bool closing = false;
        std::size_t name_at = 0, name_end = 0;
        if (!scan(i, closing, name_at, name_end, end)) {
            if (memo_.empty()) memo_.assign(s_.size(), 0);
            return false;
        }
        tag.closing = closing;
        tag.name = lower(s_.substr(name_at, name_end - name_at));
        tag.attrs.clear();
        tag.attrs.reserve(spans_.size());
        for (const AttrSpan& sp : spans_) {
            Attr a;
            a.name = lower(s_.substr(sp.name_at, sp.name_end - sp.name_at));
            a.has_value = sp.has_value;
            if (sp.has_value) a.value = decode_references(s_.substr(sp.value_at, sp.value_end - sp.value_at));
            tag.attrs.push_back(std::move(a));
        }
        return true;
    }

private:
    // Marks (j, state) as read; true when it was read before (the parse fails).
    bool seen(std::size_t j, std::uint8_t state) {
        if (memo_.empty()) return false;
        std::uint8_t& m = memo_[j];
        if (m & state) return true;
        m |= state;
        return false;
    }

    bool scan(std::size_t i, bool& closing, std::size_t& name_at, std::size_t& name_end, std::size_t& end) {
        const std::string_view s = s_;
        const std::size_t n = s.size();
        std::size_t j = i + 1;
        if (j < n && s[j] == '/') {
            closing = true;
            ++j;
        }
        if (j >= n || !is_alpha(s[j])) return false;
        name_at = j;
        for (; j < n && !is_space(s[j]) && s[j] != '/' && s[j] != '>'; ++j)
            if (seen(j, kInName)) return false;
        name_end = j;
        for (;;) {
            for (; j < n && (is_space(s[j]) || s[j] == '/'); ++j)
                if (seen(j, kAtTop)) return false;
            if (j >= n || seen(j, kAtTop)) return false;
            if (s[j] == '>') {
                end = j + 1;
                return true;
            }
            AttrSpan a{j, 0};
            for (++j; j < n && !is_space(s[j]) && s[j] != '/' && s[j] != '>' && s[j] != '='; ++j)
                if (seen(j, kInAttrName)) return false;
            a.name_end = j;
            std::size_t k = j;
            for (; k < n && is_space(s[k]); ++k)
                if (seen(k, kBeforeEq)) return false;
            if (k < n && s[k] == '=') {
                for (j = k + 1; j < n && is_space(s[j]); ++j)
                    if (seen(j, kAfterEq)) return false;
                if (j >= n) return false;
                a.has_value = true;
                if (s[j] == '"' || s[j] == '\'') {
                    const char quote = s[j];
                    const std::uint8_t state = quote == '"' ? kInDouble : kInSingle;
                    std::size_t close = j + 1;
                    for (; close < n && s[close] != quote; ++close)
                        if (seen(close, state)) return false;
                    if (close >= n) return false;
                    a.value_at = j + 1;
                    a.value_end = close;
                    j = close + 1;
                } else {
                    a.value_at = j;
                    for (; j < n && !is_space(s[j]) && s[j] != '>'; ++j)
                        if (seen(j, kInUnquoted)) return false;
                    a.value_end = j;
                }
            }
            spans_.push_back(a);
        }
    }

    std::string_view s_;
    std::vector<AttrSpan> spans_;
    std::vector<std::uint8_t> memo_;  // made at the first tag that does not end
};

// Elements whose content goes with them.
const std::set<std::string, std::less<>> kDropWithContent = {
    "script", "style", "iframe", "frame", "frameset", "textarea", "title", "xmp", "noscript", "noembed",
    "noframes", "template", "object", "applet", "plaintext", "svg", "math", "select", "head"};

const std::set<std::string, std::less<>> kVoid = {"br", "hr", "img", "embed"};

const std::map<std::string, std::set<std::string, std::less<>>, std::less<>> kAllowed = {
    {"br", {}}, {"p", {"align"}}, {"b", {}}, {"strong", {}}, {"i", {}}, {"em", {}}, {"u", {}},
    {"strike", {}}, {"sub", {}}, {"sup", {}}, {"center", {}}, {"blockquote", {}},
    {"font", {"size", "color", "face"}},
    {"a", {"href", "target", "title", "name"}},
    {"img", {"src", "alt", "align", "border", "width", "height", "hspace", "vspace", "title"}},
    {"table", {"border", "width", "height", "cellspacing", "cellpadding", "align", "bgcolor", "bordercolor"}},
    {"tbody", {}}, {"thead", {}},
    {"tr", {"align", "valign", "bgcolor", "height"}},
    {"td", {"align", "valign", "width", "height", "colspan", "rowspan", "bgcolor", "nowrap"}},
    {"th", {"align", "valign", "width", "height", "colspan", "rowspan", "bgcolor", "nowrap"}},
    {"div", {"align"}}, {"span", {"style"}},
    {"ul", {}}, {"ol", {}}, {"li", {}},
    {"hr", {"size", "width", "color", "noshade", "align"}},
    {"embed", {"src", "width", "height", "type", "quality", "pluginspage"}},
};

const std::set<std::string, std::less<>> kStyleProps = {
    "color", "background-color", "font-size", "font-family", "font-weight", "font-style",
    "text-decoration", "text-align", "line-height"};

// Keeps the declarations whose property is listed and whose value is plain
// words, numbers, colours and font names: no functions, escapes or comments.
std::string filter_style(const std::string& style) {
    std::string out;
    std::size_t pos = 0;
    while (pos <= style.size()) {
        std::size_t semi = style.find(';', pos);
        std::string decl = style.substr(pos, semi == std::string::npos ? std::string::npos : semi - pos);
        pos = semi == std::string::npos ? style.size() + 1 : semi + 1;
        std::size_t colon = decl.find(':');
        if (colon == std::string::npos) continue;
        auto trim = [](std::string t) {
            std::size_t a = 0, b = t.size();
            while (a < b && is_space(t[a])) ++a;
            while (b > a && is_space(t[b - 1])) --b;
            return t.substr(a, b - a);
        };
        std::string prop = lower(trim(decl.substr(0, colon)));
        std::string value = trim(decl.substr(colon + 1));
        if (!kStyleProps.count(prop) || value.empty()) continue;
        bool plain = std::all_of(value.begin(), value.end(), [](char c) {
            return static_cast<unsigned char>(c) >= 0x80 || is_alpha(c) || is_digit(c) ||
                   std::string_view(" #,.%'\"-").find(c) != std::string_view::npos;
        });
        if (!plain) continue;
        if (!out.empty()) out += " ";
        out += prop + ": " + value + ";";
    }
    return out;
}

bool flash_source(const std::string& src) {
    std::string path = lower(src.substr(0, src.find_first_of("?#")));
    return path.size() > 4 && path.compare(path.size() - 4, 4, ".swf") == 0;
}

// Attributes whose value the browser fetches or follows as a URL.
const std::set<std::string, std::less<>> kUrlAttrs = {
    "href", "src", "pluginspage", "background", "action", "formaction", "data", "lowsrc", "dynsrc"};

std::string host_name(std::string_view authority) {
    std::size_t at = authority.rfind('@');
    if (at != std::string_view::npos) authority.remove_prefix(at + 1);
    if (!authority.empty() && authority[0] == '[') {
        std::size_t close = authority.find(']');
        return lower(authority.substr(0, close == std::string_view::npos ? authority.size() : close + 1));
    }
    return lower(authority.substr(0, authority.find(':')));
}

bool ends_asp(std::string_view path) {
    while (!path.empty() && (path.back() == '.' || path.back() == ' ' || path.back() == '/')) path.remove_suffix(1);
    return path.size() >= 4 && iequals(path.substr(path.size() - 4), ".asp");
}

// True when the URL names one of this site's pages: a page of the site may
// change rows on a plain GET, so markup that makes the reader's browser load
// or follow one would act in the reader's name. Relative URLs and those to
// own_host (the request's Host) count, read as the browser reads them:
// blanks and controls skipped, backslashes as slashes, "http:x" relative.
bool own_page_url(std::string_view url, std::string_view own_host) {
    std::string t;
    for (char c : url)
        if (static_cast<unsigned char>(c) > 0x20 && c != 0x7F) t += c == '\\' ? '/' : c;
    std::string_view rest = t;
    std::size_t stop = rest.find_first_of(":/?#");
    if (stop != std::string_view::npos && rest[stop] == ':') {
        std::string scheme = lower(rest.substr(0, stop));
        if (scheme != "http" && scheme != "https") return false;
        rest.remove_prefix(stop + 1);
    }
    if (rest.substr(0, 2) == "//") {
        rest.remove_prefix(2);
        std::size_t path_at = std::min(rest.find_first_of("/?#"), rest.size());
        std::string host = host_name(percent_decode(rest.substr(0, path_at), false));
        if (own_host.empty() || host != host_name(own_host)) return false;
        rest.remove_prefix(path_at);
    }
    std::string path = percent_decode(rest.substr(0, rest.find_first_of("?#")), false);
    std::string_view p = path;
    return ends_asp(p) || ends_asp(p.substr(0, p.find_first_of("?#")));
}

// Writes a kept opening tag; false when the tag as a whole must go.
bool write_open(std::string& out, const Tag& tag, const std::set<std::string, std::less<>>& allowed,
                std::string_view own_host) {
    std::string attrs;
    std::set<std::string, std::less<>> seen;
    bool has_src = false;
    for (const Attr& a : tag.attrs) {
        if (!allowed.count(a.name) || !seen.insert(a.name).second) continue;
        std::string value = a.value;
        if (kUrlAttrs.count(a.name)) {
            if (!safe_url(value) || own_page_url(value, own_host)) continue;
            if (a.name == "src") has_src = true;
            if (tag.name == "embed" && a.name == "src" && !flash_source(value)) return false;
        } else if (a.name == "style") {
            value = filter_style(value);
            if (value.empty()) continue;
        } else if (tag.name == "embed" && a.name == "type" && lower(value) != "application/x-shockwave-flash") {
            return false;
        }
        attrs += ' ';
        attrs += a.name;
        if (a.has_value) {
            attrs += "=\"";
            attrs += html_text(value);
            attrs += '"';
        }
    }
    if (tag.name == "embed" && !has_src) return false;
    out += '<';
    out += tag.name;
    out += attrs;
    out += '>';
    return true;
}

}  // namespace

std::string html_text(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (char c : s) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&#39;"; break;
        default: out += c;
        }
    }
    return out;
}

std::string html_unquoted(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (char c : s) {
        unsigned char u = static_cast<unsigned char>(c);
        if (u <= 0x20 || u == 0x7F || c == '"' || c == '\'' || c == '<' || c == '>' || c == '`' || c == '&') {
            out += "&#" + std::to_string(u) + ";";
        } else {
            out += c;
        }
    }
    return out;
}

std::string js_string(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        unsigned char u = static_cast<unsigned char>(s[i]);
        // U+2028 and U+2029 end a line inside a script literal.
        if (u == 0xE2 && i + 2 < s.size() && static_cast<unsigned char>(s[i + 1]) == 0x80 &&
            (static_cast<unsigned char>(s[i + 2]) == 0xA8 || static_cast<unsigned char>(s[i + 2]) == 0xA9)) {
            out += static_cast<unsigned char>(s[i + 2]) == 0xA8 ? "\\u2028" : "\\u2029";
            i += 2;
            continue;
        }
        if (u == '\\') {
            out += "\\\\";
        } else if (u == '\n') {
            out += "\\n";
        } else if (u == '\r') {
            out += "\\r";
        } else if (u < 0x20 || u == 0x7F || u == '\'' || u == '"' || u == '<' || u == '>' || u == '&' || u == '`') {
            out += "\\x";
            out += kHex[u >> 4];
            out += kHex[u & 15];
        } else {
            out += s[i];
        }
    }
    return out;
}

bool safe_url(std::string_view url) {
    std::string t;
    for (char c : url)
        if (static_cast<unsigned char>(c) > 0x20 && c != 0x7F) t += c;
    std::size_t stop = t.find_first_of(":/?#\\");
    if (stop == std::string::npos || t[stop] != ':') return true;  // relative
    std::string scheme = lower(std::string_view(t).substr(0, stop));
    return scheme == "http" || scheme == "https" || scheme == "ftp" || scheme == "mailto";
}

std::string allow_markup(std::string_view s) {
    std::string host;
    if (const Context* ctx = current_context(); ctx && ctx->request) host = ctx->request->data().header("Host");
    return allow_markup(s, host);
}

std::string allow_markup(std::string_view s, std::string_view own_host) {
    std::string out;
    out.reserve(s.size());
    TagParser parser(s);
    Tag tag;
    // Open elements, innermost last, and how many of each name are open, so
    // an end tag of a name not open costs nothing and one that is open pops
    // what lies above it (each element is popped once).
    std::vector<const std::string*> open;
    std::map<std::string_view, std::size_t> open_count;
    const std::size_t n = s.size();
    std::size_t i = 0;
    while (i < n) {
        char c = s[i];
        if (c == '<' && i + 1 < n && (s[i + 1] == '!' || s[i + 1] == '?')) {
            // Comments, declarations and processing instructions go whole;
            // one without its end takes the rest of the text with it.
            const bool comment = s.compare(i, 4, "<!--") == 0;
            std::size_t end = comment ? s.find("-->", i + 4) : s.find('>', i);
            i = end == std::string_view::npos ? n : end + (comment ? 3 : 1);
            continue;
        }
        if (c == '<') {
            std::size_t end = 0;
            if (!parser.parse(i, tag, end)) {
                out += "&lt;";
                ++i;
                continue;
            }
            i = end;
            if (kDropWithContent.count(tag.name)) {
                if (tag.closing) continue;
                // Skip to the element's end tag; without one the rest goes.
                std::size_t at = i;
                for (;;) {
                    at = s.find("</", at);
                    if (at == std::string_view::npos) {
                        i = n;
                        break;
                    }
                    std::string_view name = s.substr(at + 2, tag.name.size());
                    std::size_t after = at + 2 + tag.name.size();
                    if (iequals(name, tag.name) && (after >= n || is_space(s[after]) || s[after] == '>' || s[after] == '/')) {
                        std::size_t gt = s.find('>', after);
                        i = gt == std::string_view::npos ? n : gt + 1;
                        break;
                    }
                    at += 2;
                }
                continue;
            }
            auto allowed = kAllowed.find(tag.name);
            if (allowed == kAllowed.end()) continue;
            const std::string& name = allowed->first;
            if (tag.closing) {
                auto count = open_count.find(name);
                if (count == open_count.end() || count->second == 0) continue;
                for (;;) {
                    const std::string* top = open.back();
                    open.pop_back();
                    --open_count[*top];
                    out += "</";
                    out += *top;
                    out += '>';
                    if (top == &name) break;
                }
                continue;
            }
            if (write_open(out, tag, allowed->second, own_host) && !kVoid.count(name)) {
                open.push_back(&name);
                ++open_count[name];
            }
            continue;
        }
        if (c == '>') {
            out += "&gt;";
        } else if (c == '&') {
            std::size_t len = reference_length(s, i);
            if (len) {
                out.append(s.substr(i, len));
                i += len;
                continue;
            }
            out += "&amp;";
        } else {
            out += c;
        }
        ++i;
    }
    while (!open.empty()) {
        out += "</";
        out += *open.back();
        out += '>';
        open.pop_back();
    }
    return out;
}

std::string table_row(std::string_view tr_attrs, std::initializer_list<Cell> cells) {
    std::string out = "<tr";
    out += tr_attrs;
    out += ">";
    for (const Cell& c : cells) out += "<td>" + c.html + "</td>";
    return out + "</tr>";
}

}  // namespace tav
