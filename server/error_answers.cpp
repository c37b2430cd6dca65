#include "server/error_answers.h"

#include "frame/encoding.h"

namespace tav {

namespace {

HttpResponse answer(int status, const char* type, std::string body) {
    HttpResponse r;
    r.status = status;
    r.set_header("Content-Type", type);
    r.body = std::move(body);
    return r;
}

}  // namespace

HttpResponse bad_request() { return answer(400, "text/plain", "Bad Request"); }

HttpResponse not_found() {
    return answer(404, "text/html; charset=utf-8",
                  "<html><head><title>404 Not Found</title></head><body><h1>Not Found</h1></body></html>");
}

HttpResponse session_busy() {
    HttpResponse r = answer(503, "text/plain", "Service Unavailable");
    r.set_header("Retry-After", "1");
    return r;
}

HttpResponse cross_site_refused() {
    HttpResponse r = answer(403, "text/html; charset=gb2312", utf8_to_gb(
        "<html>\r\n<head>\r\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
        "<title>请求被拒绝</title>\r\n</head>\r\n<body>\r\n<p align=\"center\"><br><br>"
        "此请求不是从本系统的页面发出的，已被拒绝。请从本系统的页面重新操作。</p>\r\n</body>\r\n</html>\r\n"));
    r.set_header("Cache-Control", "no-store");
    return r;
}

}  // namespace tav
