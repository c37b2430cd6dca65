#include "server/error_answers.h"

#include "frame/encoding.h"

namespace tav {

HttpResponse bad_request() {
    HttpResponse r;
    r.status = 400;
    r.set_header("Content-Type", "text/plain");
    r.body = "Bad Request";
    return r;
}

HttpResponse not_found() {
    HttpResponse r;
    r.status = 404;
    r.set_header("Content-Type", "text/html; charset=utf-8");
    r.body = "<html><head><title>404 Not Found</title></head><body><h1>Not Found</h1></body></html>";
    return r;
}

HttpResponse session_busy() {
    HttpResponse r;
    r.status = 503;
    r.set_header("Content-Type", "text/plain");
    r.set_header("Retry-After", "1");
    r.body = "Service Unavailable";
    return r;
}

HttpResponse cross_site_refused() {
    HttpResponse r;
    r.status = 403;
    r.set_header("Content-Type", "text/html; charset=gb2312");
    r.set_header("Cache-Control", "no-store");
    r.body = utf8_to_gb(
        "<html>\r\n<head>\r\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
        "<title>请求被拒绝</title>\r\n</head>\r\n<body>\r\n<p align=\"center\"><br><br>"
        "此请求不是从本系统的页面发出的，已被拒绝。请从本系统的页面重新操作。</p>\r\n</body>\r\n</html>\r\n");
    return r;
}

}  // namespace tav
