#include "frame/vb.h"

#include <cmath>
#include <ctime>

#include "frame/errors.h"

namespace tav {

namespace {

// Byte offsets of the characters of a UTF-8 text, with the end appended.
std::vector<std::size_t> char_offsets(const std::string& s) {
    std::vector<std::size_t> off;
    off.reserve(s.size() + 1);
    for (std::size_t i = 0; i < s.size(); ++i)
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) off.push_back(i);
    off.push_back(s.size());
    return off;
}

bool is_blank(char c) { return c == ' '; }

}  // namespace

Value Trim(const Value& v) {
    if (v.is_null()) return v;
    std::string s = v.str();
    std::size_t b = 0, e = s.size();
    while (b < e && is_blank(s[b])) ++b;
    while (e > b && is_blank(s[e - 1])) --e;
    return Value(s.substr(b, e - b));
}

long Len(const Value& v) {
    std::string s = v.str();
    return static_cast<long>(char_offsets(s).size() - 1);
}

std::string Left(const Value& v, long n) {
    if (n < 0) raise_error(err::invalid_call);
    std::string s = v.str();
    auto off = char_offsets(s);
    std::size_t count = off.size() - 1;
    if (static_cast<std::size_t>(n) >= count) return s;
    return s.substr(0, off[n]);
}

std::string Right(const Value& v, long n) {
    if (n < 0) raise_error(err::invalid_call);
    std::string s = v.str();
    auto off = char_offsets(s);
    std::size_t count = off.size() - 1;
    if (static_cast<std::size_t>(n) >= count) return s;
    return s.substr(off[count - n]);
}

std::string Mid(const Value& v, long start, long len) {
    if (start < 1) raise_error(err::invalid_call);
    std::string s = v.str();
    auto off = char_offsets(s);
    std::size_t count = off.size() - 1;
    if (static_cast<std::size_t>(start) > count) return {};
    std::size_t from = off[start - 1];
    if (len < 0 || static_cast<std::size_t>(start - 1 + len) >= count) return s.substr(from);
    return s.substr(from, off[start - 1 + len] - from);
}

long InStr(long start, const Value& s, const Value& part) {
    if (start < 1) raise_error(err::invalid_call);
    if (s.is_null() || part.is_null()) return 0;
    std::string hay = s.str(), needle = part.str();
    auto off = char_offsets(hay);
    std::size_t count = off.size() - 1;
    if (static_cast<std::size_t>(start) > count) return needle.empty() && start == 1 ? 1 : 0;
    if (needle.empty()) return start;
    std::size_t at = hay.find(needle, off[start - 1]);
    if (at == std::string::npos) return 0;
    for (std::size_t k = 0; k < off.size(); ++k)
        if (off[k] == at) return static_cast<long>(k + 1);
    return 0;
}

long InStr(const Value& s, const Value& part) { return InStr(1, s, part); }

long InStrRev(const Value& s, const Value& part) {
    if (s.is_null() || part.is_null()) return 0;
    std::string hay = s.str(), needle = part.str();
    std::size_t at = hay.rfind(needle);
    if (at == std::string::npos) return 0;
    auto off = char_offsets(hay);
    for (std::size_t k = 0; k < off.size(); ++k)
        if (off[k] == at) return static_cast<long>(k + 1);
    return 0;
}

std::string Replace(const Value& s, std::string_view find, std::string_view with) {
    std::string text = s.text();
    if (find.empty()) return text;
    std::string out;
    std::size_t pos = 0;
    while (true) {
        std::size_t at = text.find(find, pos);
        if (at == std::string::npos) break;
        out.append(text, pos, at - pos);
        out.append(with);
        pos = at + find.size();
    }
    out.append(text, pos, std::string::npos);
    return out;
}

std::vector<std::string> Split(const Value& s, std::string_view sep) {
    std::string text = s.text();
    std::vector<std::string> out;
    if (text.empty()) return out;
    if (sep.empty()) {
        out.push_back(text);
        return out;
    }
    std::size_t pos = 0;
    while (true) {
        std::size_t at = text.find(sep, pos);
        if (at == std::string::npos) {
            out.push_back(text.substr(pos));
            break;
        }
        out.push_back(text.substr(pos, at - pos));
        pos = at + sep.size();
    }
    return out;
}

std::string LCase(const Value& v) {
    std::string s = v.str();
    for (char& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

std::string UCase(const Value& v) {
    std::string s = v.str();
    for (char& c : s)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return s;
}

bool IsNumeric(const Value& v) {
    if (v.is_number() || v.is_empty()) return true;
    if (v.is_null()) return false;
    double d;
    return parse_number(v.str(), d);
}

long long CLng(const Value& v) { return v.lng(); }

long long CInt(const Value& v) {
    long long n = v.lng();
    if (n < -32768 || n > 32767) raise_error(6, "Overflow");
    return n;
}

double Int(const Value& v) { return std::floor(v.num()); }

std::string NowText(int day_offset) {
    std::time_t t = std::time(nullptr) + static_cast<std::time_t>(day_offset) * 86400;
    std::tm tm{};
    localtime_r(&t, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &tm);
    return buf;
}

}  // namespace tav
