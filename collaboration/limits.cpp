#include "collaboration/limits.h"

#include "frame/host.h"
#include "frame/html.h"

namespace tav::collaboration {

std::size_t chars(const std::string& utf8) {
    std::size_t n = 0;
    for (unsigned char c : utf8)
        if ((c & 0xC0) != 0x80) ++n;
    return n;
}

void refuse_too_long(const std::string& what, std::size_t cap, const std::string& back_href) {
    ResponseObject& out = Response.object();
    out.body().clear();
    out.set_status(413);
    std::string back = back_href.empty() ? "<a href=\"#\" onclick=\"history.back();return false;\">返回</a>"
                                         : "<a href=\"" + html_text(back_href) + "\">返回</a>";
    out.write("<html>\r\n<head>\r\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
              "<title>内容太长</title>\r\n<link rel=\"stylesheet\" href=\"style.css\" type=\"text/css\">\r\n"
              "</head>\r\n<body>\r\n<p align=\"center\"><br><br>" +
              html_text(what) + "太长：最多" + std::to_string(cap) + "个字符，没有保存。</p>\r\n<p align=\"center\">" +
              back + "</p>\r\n</body>\r\n</html>\r\n");
    END_PAGE();
}

}  // namespace tav::collaboration
