#include "server/ranges.h"

#include <cctype>
#include <limits>

namespace tav {

namespace {

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

// Digits only; a number too large for 64 bits saturates, which still
// compares right against any file size.
bool parse_digits(std::string_view s, std::uint64_t& out) {
    if (s.empty()) return false;
    std::uint64_t v = 0;
    for (char c : s) {
        if (c < '0' || c > '9') return false;
        unsigned d = static_cast<unsigned>(c - '0');
        if (v > (std::numeric_limits<std::uint64_t>::max() - d) / 10) v = std::numeric_limits<std::uint64_t>::max();
        else v = v * 10 + d;
    }
    out = v;
    return true;
}

bool if_range_holds(std::string_view if_range, std::string_view etag, std::string_view last_modified) {
    if_range = trim(if_range);
    if (if_range.empty()) return true;
    // An entity tag must match strongly: a weak one never does.
    if (if_range.front() == '"' || if_range.starts_with("W/"))
        return !etag.starts_with("W/") && if_range == etag;
    return if_range == last_modified;
}

}  // namespace

RangeAnswer choose_range(std::string_view range, std::string_view if_range, std::string_view etag,
                         std::string_view last_modified, std::uint64_t size, ByteRange& out) {
    range = trim(range);
    if (range.empty()) return RangeAnswer::Whole;
    if (range.size() < 6) return RangeAnswer::Whole;
    std::string unit;
    for (char c : range.substr(0, 6)) unit += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (unit != "bytes=") return RangeAnswer::Whole;
    std::string_view bounds = trim(range.substr(6));
    if (bounds.find(',') != std::string_view::npos) return RangeAnswer::Whole;
    std::size_t dash = bounds.find('-');
    if (dash == std::string_view::npos) return RangeAnswer::Whole;
    std::string_view a = trim(bounds.substr(0, dash));
    std::string_view b = trim(bounds.substr(dash + 1));
    std::uint64_t first = 0, last = 0;
    bool satisfiable;
    if (a.empty()) {
        // The last n bytes.
        std::uint64_t n = 0;
        if (!parse_digits(b, n)) return RangeAnswer::Whole;
        satisfiable = n > 0 && size > 0;
        if (satisfiable) {
            first = n >= size ? 0 : size - n;
            last = size - 1;
        }
    } else {
        if (!parse_digits(a, first)) return RangeAnswer::Whole;
        if (b.empty()) last = std::numeric_limits<std::uint64_t>::max();
        else if (!parse_digits(b, last)) return RangeAnswer::Whole;
        if (last < first) return RangeAnswer::Whole;  // not a valid range: ignored
        satisfiable = first < size;
        if (satisfiable && last >= size) last = size - 1;
    }
    // A stale validator asks for the whole new file, not for an error.
    if (!if_range_holds(if_range, etag, last_modified)) return RangeAnswer::Whole;
    if (!satisfiable) return RangeAnswer::Unsatisfiable;
    out = {first, last};
    return RangeAnswer::Partial;
}

std::string content_range(const ByteRange& r, std::uint64_t size) {
    return "bytes " + std::to_string(r.first) + "-" + std::to_string(r.last) + "/" + std::to_string(size);
}

std::string content_range_unsatisfied(std::uint64_t size) { return "bytes */" + std::to_string(size); }

}  // namespace tav
