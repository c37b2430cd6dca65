// Searches in answer texts that many tests share.
#pragma once

#include <string>

namespace tav::test {

inline bool has(const std::string& hay, const std::string& needle) { return hay.find(needle) != std::string::npos; }

// Occurrences of needle, overlapping ones included.
inline int count(const std::string& hay, const std::string& needle) {
    int n = 0;
    for (std::size_t at = hay.find(needle); at != std::string::npos; at = hay.find(needle, at + 1)) ++n;
    return n;
}

}  // namespace tav::test
