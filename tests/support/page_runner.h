// Runs a test's lambda as the body of a page, through the site's dispatcher,
// so that the host objects are bound as for any request. For shared pieces
// (the page bar, the common routines, the upload group) that have no URL of
// their own.
#pragma once

#include <functional>
#include <string>

#include "frame/page.h"
#include "server/http_types.h"
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
Reply run_body(TestSite& site, const std::string& cls, const std::string& target, BodyPage::Body fn,
               const std::string& host = "");
// The same for a request of the test's own, sent without the session cookie.
Reply run_body(TestSite& site, const std::string& cls, HttpRequest req, BodyPage::Body fn);

// A POST carrying body as multipart/form-data, optionally spooled to a file
// as the server does for large bodies.
HttpRequest multipart_request(std::string body, bool spool_to_file = false);

}  // namespace tav::test
