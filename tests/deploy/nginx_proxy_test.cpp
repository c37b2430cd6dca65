// The built server behind Debian's nginx, configured by deploy/nginx.conf:
// login, a page, an upload, a ranged download, an oversize upload and the
// client address in the log, all through the proxy over loopback.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

#include "frame/encoding.h"
#include "tests/support/files.h"
#include "tests/support/multipart.h"
#include "tests/support/served_site.h"

using namespace tav;
using test::Client;
namespace fs = std::filesystem;

namespace {

using test::cookie_of;
using test::free_port;
using test::slurp;

const std::uint64_t kBodyLimit = 300000;  // the program's; nginx gets 400k

struct Deployment {
    test::TempDir tmp{"tavelor_nginx"};
    fs::path dir = tmp.path();
    unsigned short app_port = free_port(), web_port = free_port();
    pid_t app = -1;
    std::unique_ptr<test::Nginx> web;

    Deployment() {
        while (web_port == app_port) web_port = free_port();
        if (test::run_command(std::string(TAVELOR_BINARY) + " init " + (dir / "site").string()).status != 0)
            throw std::runtime_error("init failed");
        app = test::spawn({TAVELOR_BINARY, "serve", (dir / "site").string(), "--port", std::to_string(app_port),
                           "--trusted-proxy", "127.0.0.1", "--body-limit", std::to_string(kBodyLimit), "--log",
                           (dir / "app.log").string()});
        web = std::make_unique<test::Nginx>(dir / "nginx", web_port,
                                            std::vector<std::pair<std::string, std::string>>{
                                                {"client_max_body_size 1089m;", "client_max_body_size 400k;"},
                                                {"http://127.0.0.1:8080", "http://127.0.0.1:" + std::to_string(app_port)}},
                                            "access_log off;\n");
    }
    ~Deployment() {
        web.reset();
        test::stop_process(app);
    }
};

std::string multipart(const std::string& name, const std::string& content) {
    return test::multipart_body("----TavelorBoundary", {test::file_part("File1", name, content), {"Folder", "\\user\\admin"}});
}

std::string post(const std::string& path, const std::string& cookie, const std::string& type,
                 const std::string& body, const std::string& extra = "") {
    return "POST " + path + " HTTP/1.1\r\nHost: office.example\r\nCookie: " + cookie + "\r\nContent-Type: " + type +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + extra + "\r\n" + body;
}

}  // namespace

TEST(BehindNginx, SignInUploadRangeOversizeAndClientAddress) {
    if (!fs::exists(test::Nginx::kProgram)) GTEST_SKIP() << "nginx is not installed (tools/install-deps.sh test installs it)";
    Deployment d;
    ASSERT_TRUE(test::listening(d.app_port)) << "tavelor serve did not start";
    ASSERT_TRUE(test::listening(d.web_port)) << d.web->error_log();

    Client c(d.web_port);
    c.send("GET /login.asp HTTP/1.1\r\nHost: office.example\r\n\r\n");
    auto form = c.read();
    ASSERT_EQ(form.status, 200);
    std::string cookie = cookie_of(form);
    c.send(post("/loginverify.asp", cookie, "application/x-www-form-urlencoded", "username=admin&password=admin"));
    auto in = c.read();
    ASSERT_EQ(in.status, 302) << in.body;
    cookie = cookie_of(in);
    ASSERT_FALSE(cookie.empty());

    c.send("GET /default.asp HTTP/1.1\r\nHost: office.example\r\nCookie: " + cookie + "\r\n\r\n");
    auto desk = c.read();
    EXPECT_EQ(desk.status, 200);
    EXPECT_NE(desk.body.find("<frameset"), std::string::npos);

    std::string content;
    for (int i = 0; i < 5000; ++i) content += static_cast<char>('a' + i % 26 + (i / 26) % 3);
    c.send(post("/file_upload.asp", cookie, "multipart/form-data; boundary=----TavelorBoundary",
                multipart("proxied.bin", content)));
    auto up = c.read();
    EXPECT_EQ(up.status, 302);
    EXPECT_NE(gb_to_utf8(up.headers["location"]).find("Pop_OK.asp"), std::string::npos);

    c.send("GET /user/admin/proxied.bin HTTP/1.1\r\nHost: office.example\r\nCookie: " + cookie +
           "\r\nRange: bytes=1000-1099\r\n\r\n");
    auto part = c.read();
    EXPECT_EQ(part.status, 206);
    EXPECT_EQ(part.headers["content-range"], "bytes 1000-1099/5000");
    EXPECT_EQ(part.body, content.substr(1000, 100));

    // Over the program's bound but under nginx's: the program answers, with
    // its page, and logs the client nginx saw (each row connects from its own
    // loopback address), not nginx's 127.0.0.1 nor the X-Forwarded-For the
    // client made up. Over nginx's bound too: nginx's bare page, which the
    // first must not be.
    struct Row {
        std::size_t bytes;
        const char* client;
        bool programs_page;
    } rows[] = {{kBodyLimit + 1000, "127.0.0.3", true}, {kBodyLimit + 4000, "127.0.0.4", true},
                {500 * 1024, "127.0.0.5", false}};
    for (const Row& r : rows) {
        Client o(d.web_port, r.client);
        o.send(post("/file_upload.asp", cookie, "multipart/form-data; boundary=----TavelorBoundary",
                    multipart("big.bin", std::string(r.bytes, 'x')), "X-Forwarded-For: 10.1.2.3\r\n"));
        auto big = o.read();
        EXPECT_EQ(big.status, 413) << r.bytes;
        EXPECT_EQ(gb_to_utf8(big.body).find("上传的文件太大，没有发送成功。") != std::string::npos, r.programs_page)
            << r.bytes << "\n" << big.body;
        std::string log = slurp(d.dir / "app.log");
        EXPECT_EQ(log.find(std::string("Refused 413 Payload Too Large from ") + r.client + " account 1") !=
                      std::string::npos,
                  r.programs_page)
            << log;
    }
    std::string log = slurp(d.dir / "app.log");
    EXPECT_EQ(log.find("from 127.0.0.1 "), std::string::npos) << log;
    EXPECT_EQ(log.find("10.1.2.3"), std::string::npos) << log;
    EXPECT_FALSE(fs::exists(d.dir / "site" / "user" / "admin" / "big.bin"));

    // logrotate's turn: the file is renamed, SIGHUP reopens it by name and
    // the server keeps serving.
    fs::rename(d.dir / "app.log", d.dir / "app.log.1");
    ASSERT_EQ(::kill(d.app, SIGHUP), 0);
    bool fresh = false;
    for (int i = 0; i < 40 && !fresh; ++i) {
        Client o(d.web_port, "127.0.0.9");
        o.send(post("/file_upload.asp", cookie, "multipart/form-data; boundary=----TavelorBoundary",
                    multipart("big.bin", std::string(kBodyLimit + 10, 'x'))));
        EXPECT_EQ(o.read().status, 413);
        fresh = slurp(d.dir / "app.log").find("from 127.0.0.9") != std::string::npos;
        if (!fresh) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    EXPECT_TRUE(fresh) << "no entry in the reopened log";
    EXPECT_EQ(::waitpid(d.app, nullptr, WNOHANG), 0) << "SIGHUP ended the server";
}
