// Runs a test's lambda as the body of a page, through the site's dispatcher,
// so that the host objects are bound as for any request. For shared pieces
// (the page bar, the common routines) that have no URL of their own.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "frame/encoding.h"
#include "frame/page.h"
#include "tests/support/test_site.h"

namespace tav::test {

class BodyPage : public Page {
public:
    using Body = std::function<void(BodyPage&)>;
    explicit BodyPage(const std::string& cls) : Page(cls) {}
    void I_init() override {
        if (body()) body()(*this);
    }
    // The page's members, which a real page reaches directly.
    Connection& db() { return conn; }
    Recordset& records() { return rs; }
    // The body the next run executes (one request at a time per thread).
    static Body& body() {
        static thread_local Body current;
        return current;
    }
};

// Runs fn as I_init of the registered BodyPage class cls. target is the
// path and query ("/x.asp?p=1"); host, when given, is the Host header, and
// the request then goes without the test site's session cookie.
inline Reply run_body(TestSite& site, const std::string& cls, const std::string& target,
                      BodyPage::Body fn, const std::string& host = "") {
    BodyPage::body() = std::move(fn);
    Reply out;
    if (host.empty()) {
        out = site.run(cls, target);
    } else {
        HttpRequest req;
        req.method = "GET";
        req.target = escape_non_ascii(utf8_to_gb(target));
        req.remote_addr = "127.0.0.1";
        req.headers.emplace_back("Host", host);
        HttpResponse r = site.site().run_page(cls, req);
        out.status = r.status;
        out.headers = r.headers;
        out.raw = r.body;
        out.body = gb_to_utf8(r.body);
    }
    BodyPage::body() = nullptr;
    return out;
}

}  // namespace tav::test
