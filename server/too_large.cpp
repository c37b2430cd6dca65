#include "server/too_large.h"

#include "frame/encoding.h"
#include "frame/upload.h"

namespace tav {

bool targets_page(std::string_view target) {
    std::string_view path = target.substr(0, target.find_first_of("?#"));
    if (path.empty() || path.back() == '/') return true;
    if (path.size() < 4) return false;
    std::string_view ext = path.substr(path.size() - 4);
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return lower(ext[0]) == '.' && lower(ext[1]) == 'a' && lower(ext[2]) == 's' && lower(ext[3]) == 'p';
}

std::string too_large_page(std::uint64_t limit) {
    // The upload group answers its own limits with the same page.
    return utf8_to_gb(too_large_text("一次提交的内容（所有附件合计）不能超过 " + megabytes(limit) + " MB。"));
}

}  // namespace tav
