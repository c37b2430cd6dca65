#include "frame/vb.h"

#include <cmath>
#include <ctime>

#include "frame/errors.h"

namespace tav {

namespace {

// Byte offsets of the characters of a UTF-8 text, with the end appended.
bool lead_byte(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

// Characters in s[0, end).
std::size_t chars_before(const std::string& s, std::size_t end) {
    std::size_t n = 0;
    for (std::size_t i = 0; i < end; ++i) n += lead_byte(s[i]);
    return n;
}

// Byte offset of character n (0-based); s.size() when there are n or fewer.
std::size_t byte_of_char(const std::string& s, std::size_t n) {
    for (std::size_t i = 0; i < s.size(); ++i)
        if (lead_byte(s[i]) && n-- == 0) return i;
    return s.size();
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
    return static_cast<long>(chars_before(s, s.size()));
}

std::string Left(const Value& v, long n) {
    if (n < 0) raise_error(err::invalid_call);
    std::string s = v.str();
    return s.substr(0, byte_of_char(s, static_cast<std::size_t>(n)));
}

std::string Right(const Value& v, long n) {
    if (n < 0) raise_error(err::invalid_call);
    std::string s = v.str();
    std::size_t count = chars_before(s, s.size());
    if (static_cast<std::size_t>(n) >= count) return s;
    return s.substr(byte_of_char(s, count - static_cast<std::size_t>(n)));
}

std::string Mid(const Value& v, long start, long len) {
    if (start < 1) raise_error(err::invalid_call);
    std::string s = v.str();
    std::size_t from = byte_of_char(s, static_cast<std::size_t>(start - 1));
    if (from >= s.size()) return {};
    if (len < 0) return s.substr(from);
    std::size_t to = from;
    for (long k = 0; to < s.size() && k <= len; ++to)
        if (lead_byte(s[to]) && k++ == len) break;
    return s.substr(from, to - from);
}

long InStr(long start, const Value& s, const Value& part) {
    if (start < 1) raise_error(err::invalid_call);
    if (s.is_null() || part.is_null()) return 0;
    std::string hay = s.str(), needle = part.str();
    std::size_t from = byte_of_char(hay, static_cast<std::size_t>(start - 1));
    if (from >= hay.size()) return needle.empty() && start == 1 ? 1 : 0;
    if (needle.empty()) return start;
    // A match must begin on a character, not inside one.
    for (std::size_t at = hay.find(needle, from); at != std::string::npos; at = hay.find(needle, at + 1))
        if (lead_byte(hay[at])) return static_cast<long>(chars_before(hay, at) + 1);
    return 0;
}

long InStr(const Value& s, const Value& part) { return InStr(1, s, part); }

long InStrRev(const Value& s, const Value& part) {
    if (s.is_null() || part.is_null()) return 0;
    std::string hay = s.str(), needle = part.str();
    for (std::size_t at = hay.rfind(needle); at != std::string::npos; at = at ? hay.rfind(needle, at - 1) : std::string::npos)
        if (lead_byte(hay[at])) return static_cast<long>(chars_before(hay, at) + 1);
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
