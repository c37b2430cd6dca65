// What the mail pages share: the names of the folders and of the degrees,
// both read from one blank-separated string by number.
#pragma once

#include <string>
#include <vector>

#include "frame/vb.h"

namespace tav::mail {

inline const std::vector<std::string>& folder_names() {
    static const std::vector<std::string> names = Split("收件箱 已阅读过的邮件 已经删除了邮件 已经发送的邮件", " ");
    return names;
}

inline const std::vector<std::string>& degree_names() {
    static const std::vector<std::string> names = Split("非常紧急 紧急 一般", " ");
    return names;
}

// The degree name of a stored Email_id; a value outside 0 to 2 (a row
// written by hand) has none and shows empty.
inline std::string degree_name(const Value& degree) {
    if (!IsNumeric(degree)) return "";
    double d = degree.num();
    if (d < 0 || d > 2 || d != static_cast<long>(d)) return "";
    return degree_names()[static_cast<std::size_t>(d)];
}

}  // namespace tav::mail
