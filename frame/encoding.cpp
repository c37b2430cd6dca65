#include "frame/encoding.h"
#include "frame/converter.h"

#include <cerrno>
#include <functional>
#include <iconv.h>
#include <stdexcept>
#include <string>
#include <unordered_map>

namespace tav {

namespace {

// One conversion descriptor per thread and direction: iconv_open is costly.
Converter& to_gb() {
    thread_local Converter c("GB18030", "UTF-8");
    return c;
}
Converter& from_gb() {
    thread_local Converter c("UTF-8", "GB18030");
    return c;
}

bool all_ascii(std::string_view s) {
    for (unsigned char c : s)
        if (c >= 0x80) return false;
    return true;
}

int hex(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

Converter::Converter(const char* to, const char* from) : cd_(iconv_open(to, from)) {
    if (cd_ == reinterpret_cast<iconv_t>(-1)) throw std::runtime_error(std::string("cannot convert from ") + from);
}

Converter::~Converter() { iconv_close(cd_); }

std::string Converter::run(std::string_view in, std::string_view bad, bool* clean) {
    std::string out;
    out.reserve(in.size() + in.size() / 2 + 16);
    iconv(cd_, nullptr, nullptr, nullptr, nullptr);
    char* src = const_cast<char*>(in.data());
    std::size_t left = in.size();
    char buf[4096];
    while (left > 0) {
        char* dst = buf;
        std::size_t room = sizeof buf;
        std::size_t r = iconv(cd_, &src, &left, &dst, &room);
        out.append(buf, static_cast<std::size_t>(dst - buf));
        if (r == static_cast<std::size_t>(-1)) {
            if (errno == E2BIG) continue;
            // EILSEQ or EINVAL (truncated sequence at the end)
            out.append(bad);
            if (clean) *clean = false;
            ++src;
            --left;
            iconv(cd_, nullptr, nullptr, nullptr, nullptr);
        }
    }
    char* dst = buf;
    std::size_t room = sizeof buf;
    iconv(cd_, nullptr, nullptr, &dst, &room);
    out.append(buf, static_cast<std::size_t>(dst - buf));
    return out;
}

namespace {

struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
};

// One run of non-ASCII text converted. The same short runs (labels, the
// words around numbers in a list) recur many times a page and on every
// page, so each thread keeps those it converted: iconv costs more a call
// than a lookup. Bounded, and exact: a run converts alike every time.
const std::string& gb_run(std::string_view run) {
    thread_local std::unordered_map<std::string, std::string, TextHash, std::equal_to<>> known;
    thread_local std::string scratch;
    if (run.size() > 48) return scratch = to_gb().run(run, "");
    if (auto it = known.find(run); it != known.end()) return it->second;
    if (known.size() >= 4096) known.clear();
    return known.emplace(std::string(run), to_gb().run(run, "")).first->second;
}

}  // namespace

std::string utf8_to_gb(std::string_view utf8) {
    if (all_ascii(utf8)) return std::string(utf8);
    // Pages are mostly ASCII markup around short runs of Chinese: copy the
    // ASCII and give only the other runs to iconv, which is slow per byte.
    std::string out;
    out.reserve(utf8.size());
    std::size_t i = 0, n = utf8.size();
    while (i < n) {
        std::size_t j = i;
        while (j < n && static_cast<unsigned char>(utf8[j]) < 0x80) ++j;
        out.append(utf8.data() + i, j - i);
        if (j == n) break;
        std::size_t k = j;
        while (k < n && static_cast<unsigned char>(utf8[k]) >= 0x80) ++k;
        out += gb_run(utf8.substr(j, k - j));
        i = k;
    }
    return out;
}

std::string gb_to_utf8(std::string_view gb) {
    if (all_ascii(gb)) return std::string(gb);
    return from_gb().run(gb, "\xEF\xBF\xBD");
}

bool is_valid_utf8(std::string_view s) {
    std::size_t i = 0, n = s.size();
    while (i < n) {
        unsigned char c = s[i];
        int len = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
        if (len == 0 || i + len > n) return false;
        unsigned cp = len == 1 ? c : len == 2 ? (c & 0x1F) : len == 3 ? (c & 0x0F) : (c & 0x07);
        for (int k = 1; k < len; ++k) {
            unsigned char d = s[i + k];
            if ((d & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (d & 0x3F);
        }
        if ((len == 2 && cp < 0x80) || (len == 3 && cp < 0x800) || (len == 4 && cp < 0x10000) ||
            cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        i += len;
    }
    return true;
}

std::string percent_decode(std::string_view s, bool plus_is_blank) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        char c = s[i];
        if (c == '+' && plus_is_blank) {
            out += ' ';
        } else if (c == '%' && i + 5 < s.size() + 0 && (s[i + 1] == 'u' || s[i + 1] == 'U') &&
                   hex(s[i + 2]) >= 0 && hex(s[i + 3]) >= 0 && hex(s[i + 4]) >= 0 &&
                   hex(s[i + 5]) >= 0) {
            unsigned cp = (hex(s[i + 2]) << 12) | (hex(s[i + 3]) << 8) | (hex(s[i + 4]) << 4) |
                          hex(s[i + 5]);
            std::string u;
            if (cp >= 0xD800 && cp <= 0xDFFF) cp = 0xFFFD;
            append_utf8(u, cp);
            out += utf8_to_gb(u);
            i += 5;
        } else if (c == '%' && i + 2 < s.size() && hex(s[i + 1]) >= 0 && hex(s[i + 2]) >= 0) {
            out += static_cast<char>((hex(s[i + 1]) << 4) | hex(s[i + 2]));
            i += 2;
        } else {
            out += c;
        }
    }
    return out;
}

std::string percent_escape(std::string_view bytes, std::string_view also, bool non_ascii) {
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : bytes) {
        if (c <= 0x20 || c == 0x7F || (non_ascii && c > 0x7F) || also.find(static_cast<char>(c)) != also.npos) {
            out += '%';
            out += digits[c >> 4];
            out += digits[c & 15];
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

void append_utf8(std::string& out, unsigned cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

}  // namespace tav
