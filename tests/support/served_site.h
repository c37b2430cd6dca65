// A fresh site instance behind the real HTTP server on 127.0.0.1, wired as
// `tavelor serve` wires it, for tests of what a browser gets on the wire;
// and the built program and Debian's nginx run as processes.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "server/http_server.h"
#include "tests/support/files.h"
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

// True once something accepts connections on the port (within 5 s).
inline bool listening(unsigned short port) {
    for (int i = 0; i < 100; ++i) {
        try {
            Client probe(port);
            return true;
        } catch (const std::exception&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    return false;
}

// s with its first `from` replaced; a shipped file that lost the text fails loudly.
inline std::string replace(std::string s, const std::string& from, const std::string& to) {
    auto at = s.find(from);
    if (at == std::string::npos) throw std::runtime_error("deploy/nginx.conf lacks: " + from);
    return s.replace(at, from.size(), to);
}

inline void stop_process(pid_t pid) {
    if (pid <= 0) return;
    ::kill(pid, SIGTERM);
    ::waitpid(pid, nullptr, 0);
}

// The status GET /login.asp gets from `tavelor serve root`, 0 if it never answered.
inline int served_login_status(const std::string& root, const std::string& log) {
    unsigned short port = free_port();
    pid_t pid = spawn({TAVELOR_BINARY, "serve", root, "--port", std::to_string(port), "--log", log});
    int status = 0;
    for (int i = 0; i < 100 && status == 0; ++i) {
        try {
            Client c(port);
            c.send(get_request("/login.asp"));
            status = c.read().status;
        } catch (const std::exception&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    stop_process(pid);
    return status;
}

// Debian's nginx in the foreground, from its own folder, serving the shipped
// server block on 127.0.0.1:port with the given changes; http: lines for the
// http block beside it (logs, an upstream).
struct Nginx {
    static constexpr const char* kProgram = "/usr/sbin/nginx";
    std::string dir;
    pid_t pid = -1;
    Nginx(const std::filesystem::path& folder, unsigned short port,
          const std::vector<std::pair<std::string, std::string>>& changes, const std::string& http)
        : dir(folder.string()) {
        std::filesystem::create_directories(folder / "logs");
        std::string block = slurp(std::filesystem::path(TAVELOR_TEMPLATE_DIR).parent_path() / "deploy" / "nginx.conf");
        block = replace(block, "listen 80;", "listen 127.0.0.1:" + std::to_string(port) + ";");
        block = replace(block, "listen [::]:80;", "");
        for (const auto& [from, to] : changes) block = replace(block, from, to);
        std::ofstream(folder / "nginx.conf")
            << (::geteuid() == 0 ? "user root root;\n" : "") << "daemon off;\nworker_processes 1;\npid " << dir
            << "/nginx.pid;\nerror_log " << dir << "/logs/error.log;\nevents {}\nhttp {\n" << http
            << "client_body_temp_path " << dir << "/body;\nproxy_temp_path " << dir << "/proxy;\n"
            << "fastcgi_temp_path " << dir << "/fcgi;\nuwsgi_temp_path " << dir << "/uwsgi;\nscgi_temp_path " << dir
            << "/scgi;\n" << block << "\n}\n";
        pid = spawn({kProgram, "-p", dir + "/", "-c", dir + "/nginx.conf", "-e", dir + "/logs/error.log"});
    }
    ~Nginx() { stop_process(pid); }
    Nginx(const Nginx&) = delete;
    Nginx& operator=(const Nginx&) = delete;
    std::string error_log() const { return slurp(dir + "/logs/error.log"); }
};

}  // namespace tav::test
