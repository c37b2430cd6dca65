#include "frame/value.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <strings.h>

#include <utility>

#include "frame/errors.h"

namespace tav {

std::string format_number(double n) {
    if (std::isnan(n)) return "NaN";
    if (n == std::floor(n) && std::fabs(n) < 1e15) {
        // Exact as an integer (below 2^53); -0 prints as 0. Ids and counts
        // take this path, many times a page.
        char buf[24];
        auto end = std::to_chars(buf, buf + sizeof buf, static_cast<long long>(n)).ptr;
        return std::string(buf, end);
    }
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.15g", n);
    return buf;
}

bool parse_number(std::string_view s, double& out) {
    std::size_t b = 0, e = s.size();
    while (b < e && (s[b] == ' ' || s[b] == '\t')) ++b;
    while (e > b && (s[e - 1] == ' ' || s[e - 1] == '\t')) --e;
    if (b == e) return false;
    std::string t(s.substr(b, e - b));
    // Only plain decimal notation: no hex, inf or nan as strtod would allow.
    for (char c : t)
        if (!((c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E'))
            return false;
    char* end = nullptr;
    out = std::strtod(t.c_str(), &end);
    return end && *end == 0 && std::isfinite(out);
}

std::string Value::str() const {
    switch (kind_) {
    case Kind::Empty:
    case Kind::Null: return {};
    case Kind::Number: return format_number(num_);
    case Kind::Text: return text_;
    }
    return {};
}

std::string Value::text() const {
    if (kind_ == Kind::Null) raise_error(err::invalid_null);
    return str();
}

double Value::num() const {
    switch (kind_) {
    case Kind::Empty: return 0;
    case Kind::Null: raise_error(err::invalid_null);
    case Kind::Number: return num_;
    case Kind::Text: {
        double d;
        if (!parse_number(text_, d)) raise_error(err::type_mismatch);
        return d;
    }
    }
    return 0;
}

long long Value::lng() const {
    double d = num();
    if (std::fabs(d) > 9.2e18) raise_error(6, "Overflow");
    return static_cast<long long>(std::nearbyint(d));  // banker's rounding, as CLng
}

bool Value::truth() const {
    switch (kind_) {
    case Kind::Empty:
    case Kind::Null: return false;
    case Kind::Number: return num_ != 0;
    case Kind::Text: {
        if (strcasecmp(text_.c_str(), "true") == 0) return true;
        if (strcasecmp(text_.c_str(), "false") == 0) return false;
        return num() != 0;
    }
    }
    return false;
}

namespace {
// -1, 0, 1; or 2 when null takes part (no comparison holds).
int compare(const Value& a, const Value& b) {
    if (a.is_null() || b.is_null()) return 2;
    if (a.is_number() || b.is_number()) {
        double x = a.num(), y = b.num();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    std::string x = a.str(), y = b.str();
    int c = x.compare(y);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}
}  // namespace

bool operator==(const Value& a, const Value& b) { return compare(a, b) == 0; }
bool operator!=(const Value& a, const Value& b) {
    int c = compare(a, b);
    return c == -1 || c == 1;
}
bool operator<(const Value& a, const Value& b) { return compare(a, b) == -1; }
bool operator>(const Value& a, const Value& b) { return compare(a, b) == 1; }
bool operator<=(const Value& a, const Value& b) {
    int c = compare(a, b);
    return c == -1 || c == 0;
}
bool operator>=(const Value& a, const Value& b) {
    int c = compare(a, b);
    return c == 1 || c == 0;
}

std::string operator+(const std::string& a, const Value& b) { return a + b.str(); }
std::string operator+(std::string&& a, const Value& b) {
    a += b.str();
    return std::move(a);
}
std::string operator+(const Value& a, const std::string& b) { return a.str() + b; }
std::string operator+(const char* a, const Value& b) { return std::string(a) + b.str(); }
std::string operator+(const Value& a, const char* b) { return a.str() + b; }

}  // namespace tav
