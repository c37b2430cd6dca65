#include "server/too_large.h"

#include <cstdio>

#include "frame/encoding.h"

namespace tav {

bool targets_page(std::string_view target) {
    std::string_view path = target.substr(0, target.find_first_of("?#"));
    if (path.empty() || path.back() == '/') return true;
    if (path.size() < 4) return false;
    std::string_view ext = path.substr(path.size() - 4);
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return lower(ext[0]) == '.' && lower(ext[1]) == 'a' && lower(ext[2]) == 's' && lower(ext[3]) == 'p';
}

std::string megabytes(std::uint64_t limit) {
    constexpr std::uint64_t mb = 1024 * 1024;
    if (limit % mb == 0) return std::to_string(limit / mb);
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", static_cast<double>(limit) / mb);
    return text;
}

std::string too_large_page(std::uint64_t limit) {
    // No script and no link: the browser's own Back leads to the form.
    std::string page =
        "<html>\r\n<head>\r\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
        "<title>文件太大</title>\r\n<link rel=\"stylesheet\" href=\"style.css\" type=\"text/css\">\r\n</head>\r\n"
        "<body>\r\n<br><br>\r\n"
        "<table width=\"400\" border=\"0\" cellspacing=\"0\" cellpadding=\"0\" align=\"center\">\r\n"
        "<tr bgcolor=\"#336699\" height=\"28\"><td><font color=\"#FFFFFF\">&nbsp;提示信息</font></td></tr>\r\n"
        "<tr><td align=\"center\" height=\"120\">\r\n"
        "<font color=\"red\">上传的文件太大，没有发送成功。</font><br><br>\r\n"
        "一次提交的内容（所有附件合计）不能超过 " + megabytes(limit) + " MB。<br><br>\r\n"
        "请点击浏览器的“后退”按钮返回表单，换一个较小的文件后重新提交。\r\n"
        "</td></tr>\r\n"
        "<tr><td height=\"4\" bgcolor=\"#6d8e4d\"></td></tr>\r\n"
        "</table>\r\n</body>\r\n</html>\r\n";
    return utf8_to_gb(page);
}

}  // namespace tav
