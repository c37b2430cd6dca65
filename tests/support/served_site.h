// A fresh site instance behind the real HTTP server on 127.0.0.1, wired as
// `tavelor serve` wires it, for tests of what a browser gets on the wire.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "server/http_server.h"
#include "tests/support/http_client.h"
#include "tests/support/test_site.h"

namespace tav::test {

struct ServedSite {
    TestSite site;
    HttpServer server;
    // route: when set, answers instead of the site (e.g. for a test page).
    explicit ServedSite(unsigned workers = 2, std::function<HttpResponse(Site&, const HttpRequest&)> route = {})
        : server(
              [this, workers] {
                  ServerOptions o;
                  o.port = 0;
                  o.workers = workers;
                  o.header_timeout = std::chrono::seconds(3);
                  o.idle_timeout = std::chrono::seconds(3);
                  o.body_limit_for = [this](const HttpRequest& r) { return site.site().body_limit_for(r); };
                  o.account_of = [this](const HttpRequest& r) { return site.site().account_of(r); };
                  o.log = [this](const std::string& line) { site.site().log().write(2, line); };
                  return o;
              }(),
              [this, route](const HttpRequest& r) { return route ? route(site.site(), r) : site.site().handle(r); },
              [this](const HttpRequest& r, HttpResponse& out) { return site.site().handle_quick(r, out); }) {
        server.start();
    }
    ~ServedSite() { server.stop(); }
    unsigned short port() const { return server.port(); }
};

// A GET as a browser sends it; extra: more header lines, each ending in CR LF.
inline std::string get_request(const std::string& path, const std::string& extra = "", const std::string& method = "GET") {
    return method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + extra + "\r\n";
}

// A form POST with the body given as it goes on the wire.
inline std::string form_request(const std::string& path, const std::string& body, const std::string& extra = "") {
    return "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + extra +
           "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

// The session cookie (name=value) an answer sets, "" when none.
inline std::string cookie_of(const Response& r) {
    auto it = r.headers.find("set-cookie");
    if (it == r.headers.end()) return {};
    return it->second.substr(0, it->second.find(';'));
}

}  // namespace tav::test
