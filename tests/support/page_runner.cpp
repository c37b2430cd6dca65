#include "tests/support/page_runner.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <unistd.h>
#include <utility>

#include "frame/encoding.h"

namespace tav::test {

Reply run_body(TestSite& site, const std::string& cls, const std::string& target, BodyPage::Body fn,
               const std::string& host) {
    if (host.empty()) {
        BodyPage::body() = std::move(fn);
        Reply out = site.run(cls, target);
        BodyPage::body() = nullptr;
        return out;
    }
    HttpRequest req;
    req.method = "GET";
    req.target = percent_escape(utf8_to_gb(target), "", true);
    req.headers.emplace_back("Host", host);
    return run_body(site, cls, std::move(req), std::move(fn));
}

Reply run_body(TestSite& site, const std::string& cls, HttpRequest req, BodyPage::Body fn) {
    if (req.remote_addr.empty()) req.remote_addr = "127.0.0.1";
    BodyPage::body() = std::move(fn);
    HttpResponse r = site.site().run_page(cls, req);
    BodyPage::body() = nullptr;
    Reply out;
    out.status = r.status;
    out.delay = r.delay;
    out.headers = r.headers;
    out.raw = r.body;
    out.body = gb_to_utf8(r.body);
    return out;
}

HttpRequest multipart_request(std::string body, bool spool_to_file) {
    HttpRequest req;
    req.method = "POST";
    req.target = "/x.asp";
    req.headers.emplace_back("Content-Type", "multipart/form-data; boundary=ignored");
    if (spool_to_file) {
        char tmpl[] = "/tmp/tavelor-body-XXXXXX";
        int fd = ::mkstemp(tmpl);
        if (fd < 0) throw std::runtime_error("mkstemp failed");
        for (std::size_t done = 0; done < body.size();) {
            ssize_t w = ::write(fd, body.data() + done, body.size() - done);
            if (w <= 0) throw std::runtime_error("write failed");
            done += static_cast<std::size_t>(w);
        }
        std::uint64_t size = body.size();
        req.body = std::make_shared<FileBody>(fd, tmpl, size);
    } else {
        req.body = std::make_shared<MemoryBody>(std::move(body));
    }
    return req;
}

}  // namespace tav::test
