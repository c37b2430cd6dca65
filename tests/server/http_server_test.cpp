// The HTTP server over real sockets on 127.0.0.1, with a small echo handler.
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "frame/encoding.h"
#include "server/http_server.h"
#include "tests/support/files.h"
#include "tests/support/http_client.h"

namespace tav {
namespace {

using test::Client;
using test::Response;

std::string get(const std::string& path, const std::string& extra = "") {
    return "GET " + path + " HTTP/1.1\r\nHost: h\r\n" + extra + "\r\n";
}

std::string read_all(const RequestBody& b) {
    std::string out(b.size(), '\0');
    std::size_t got = 0;
    while (got < out.size()) {
        std::size_t n = b.read_at(got, out.data() + got, 1000);  // small pieces on purpose
        if (n == 0) break;
        got += n;
    }
    out.resize(got);
    return out;
}

int count_files(const std::string& dir) {
    int n = 0;
    for ([[maybe_unused]] auto& e : std::filesystem::directory_iterator(dir)) ++n;
    return n;
}

class HttpServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        opts_.port = 0;
        opts_.workers = 2;
        opts_.spool_dir = dir_ + "/spool";
        std::filesystem::create_directory(opts_.spool_dir);
        opts_.spool_threshold = 1024;
        opts_.body_limit = 1 << 20;
        opts_.header_timeout = std::chrono::seconds(2);
        opts_.idle_timeout = std::chrono::seconds(2);
    }
    void TearDown() override { server_.reset(); }

    // Echoes what it was given; a few targets behave differently.
    HttpResponse handle(const HttpRequest& req) {
        HttpResponse res;
        if (req.target == "/throw") throw std::runtime_error("page failed");
        if (req.target == "/hold") res.delay = std::chrono::milliseconds(400);
        if (req.target == "/block") {
            std::unique_lock lk(mu_);
            entered_ = true;
            cv_.notify_all();
            cv_.wait(lk, [&] { return released_; });
        }
        std::string kind = "none";
        if (req.body) {
            kind = dynamic_cast<const FileBody*>(req.body.get()) ? "file" : "memory";
            std::lock_guard lk(mu_);
            last_body_ = read_all(*req.body);
            spool_files_seen_ = count_files(opts_.spool_dir);
        }
        res.set_header("Content-Type", "text/plain");
        res.set_header("X-Body", kind);
        res.headers.emplace_back("Set-Cookie", "a=1");
        res.headers.emplace_back("Set-Cookie", "b=2");
        res.body = req.method + " " + req.target + " " + req.header("x-test") + " " + req.remote_addr;
        return res;
    }

    void start() {
        server_ = std::make_unique<HttpServer>(opts_, [this](const HttpRequest& r) { return handle(r); });
        server_->start();
    }
    unsigned short port() const { return server_->port(); }
    // One request on a fresh connection; closed: whether the server then hung up.
    Response once(const std::string& request, bool* closed = nullptr) {
        Client c(port());
        c.send(request);
        Response r = c.read();
        if (closed) *closed = c.closed();
        return r;
    }

    test::TempDir tmp_{"tavelor-http-test"};
    std::string dir_ = tmp_.str();
    ServerOptions opts_;
    std::unique_ptr<HttpServer> server_;
    std::mutex mu_;
    std::condition_variable cv_;
    bool entered_ = false, released_ = false;
    std::string last_body_;
    int spool_files_seen_ = -1;
};

TEST_F(HttpServerTest, KeepAliveAnswersTwoRequestsOnOneConnectionWithTheHandlersHeaders) {
    start();
    Client c(port());
    c.send("GET /a.asp?x=1 HTTP/1.1\r\nHost: h\r\nX-TEST: first\r\n\r\n");
    Response r1 = c.read();
    EXPECT_EQ(r1.status, 200);
    EXPECT_EQ(r1.body, "GET /a.asp?x=1 first 127.0.0.1");
    EXPECT_EQ(r1.headers["content-length"], std::to_string(r1.body.size()));
    EXPECT_EQ(r1.headers["x-body"], "none");
    EXPECT_EQ(r1.headers["content-type"], "text/plain");
    // Two requests in one write: pipelined, answered in order.
    c.send("GET /b HTTP/1.1\r\nHost: h\r\n\r\nHEAD /c HTTP/1.1\r\nHost: h\r\n\r\n");
    Response r2 = c.read();
    EXPECT_EQ(r2.status, 200);
    EXPECT_EQ(r2.body, "GET /b  127.0.0.1");
    Response r3 = c.read(/*head=*/true);
    EXPECT_EQ(r3.status, 200);
    EXPECT_EQ(r3.headers["content-length"], std::to_string(std::string("HEAD /c  127.0.0.1").size()));
    // Nothing follows the HEAD answer's header: the next answer starts clean.
    c.send("GET /d HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n");
    Response r4 = c.read();
    EXPECT_EQ(r4.status, 200);
    EXPECT_EQ(r4.body, "GET /d  127.0.0.1");
    EXPECT_TRUE(c.closed());
}

TEST_F(HttpServerTest, SmallBodiesStayInMemoryLargeOnesAreSpooledAndRemovedContinueIsAnswered) {
    start();
    Client c(port());
    auto post = [](const std::string& framing, const std::string& body) {
        return "POST /p HTTP/1.1\r\nHost: h\r\n" + framing + "\r\n\r\n" + body;
    };
    std::string big;
    for (int i = 0; i < 5000; ++i) big.push_back(static_cast<char>(i * 7 % 256));  // every byte value, NULs too
    char size_line[32];
    std::snprintf(size_line, sizeof size_line, "%zx\r\n", big.size());
    struct Case {
        std::string request;
        const char* kind;
        std::string body;
    } cases[] = {
        {post("Content-Length: 15", "a=1&b=%E4%BD%A0"), "memory", "a=1&b=%E4%BD%A0"},
        {post("Content-Length: 5000", big), "file", big},
        // Chunked: small ones come back to memory, long ones stay in the spool.
        {post("Transfer-Encoding: chunked", "3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n"), "memory", "abcde"},
        {post("Transfer-Encoding: chunked", size_line + big + "\r\n0\r\n\r\n"), "file", big},
        {post("Content-Length: 0", ""), "memory", ""},  // a body of nothing, not none
    };
    for (const Case& k : cases) {
        c.send(k.request);
        Response r = c.read();
        EXPECT_EQ(r.status, 200) << k.request.substr(0, 60);
        EXPECT_EQ(r.headers["x-body"], k.kind) << k.request.substr(0, 60);
        EXPECT_TRUE(last_body_ == k.body) << k.request.substr(0, 60);
        EXPECT_EQ(spool_files_seen_, k.kind == std::string("file") ? 1 : 0);
        EXPECT_EQ(count_files(opts_.spool_dir), 0);  // gone with the request
    }
    // Expect: 100-continue is answered before the body is sent.
    c.send("POST /up HTTP/1.1\r\nHost: h\r\nContent-Length: 2000\r\nExpect: 100-continue\r\n\r\n");
    EXPECT_EQ(c.read().status, 100);
    c.send(std::string(2000, 'z'));
    EXPECT_EQ(c.read().status, 200);
    EXPECT_EQ(last_body_, std::string(2000, 'z'));
}

TEST_F(HttpServerTest, OversizedMalformedAndFailedRequestsAreAnswered) {
    start();
    // The body keeps coming after the answer: it must still arrive whole.
    bool closed = false;
    EXPECT_EQ(once("POST /up HTTP/1.1\r\nHost: h\r\nContent-Length: 2000000\r\n\r\n" + std::string(500000, 'x'),
                   &closed).status, 413);
    EXPECT_TRUE(closed);
    {
        // A chunked body that grows past the limit; sent to a page, it gets the page.
        Client c(port());
        c.send("POST /Email_sendDo.asp HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n");
        std::string chunk = "10000\r\n" + std::string(0x10000, 'q') + "\r\n";
        for (int i = 0; i < 17; ++i) c.send(chunk);
        Response r = c.read();
        EXPECT_EQ(r.status, 413);
        EXPECT_NE(gb_to_utf8(r.body).find("上传的文件太大"), std::string::npos);
        EXPECT_TRUE(c.closed());
        EXPECT_EQ(count_files(opts_.spool_dir), 0);
    }
    // At the limit exactly: the page gets it.
    EXPECT_EQ(once("POST /Email_sendDo.asp HTTP/1.1\r\nHost: h\r\nContent-Length: 1048576\r\n\r\n" +
                   std::string(1 << 20, 'x')).status, 200);
    // A throwing handler gives 500 and keeps the connection; serving goes on.
    Client c(port());
    for (int i = 0; i < 3; ++i) {
        c.send(get("/throw"));
        EXPECT_EQ(c.read().status, 500);
    }
    c.send(get("/ok"));
    EXPECT_EQ(c.read().body, "GET /ok  127.0.0.1");
}

// Over the limit a form sent to a page is answered with a page that names
// the limit; anything else keeps the bare status.
TEST_F(HttpServerTest, FormsSentToPagesOverTheLimitGetAPageNamingIt) {
    struct Case {
        std::uint64_t limit;
        const char* target;
        const char* says;  // nullptr: the bare status
    } cases[] = {
        {2 << 20, "/Email_sendDo.asp", "不能超过 2 MB"},  {2 << 20, "/email_senddo.ASP?x=1", "不能超过 2 MB"},
        {2 << 20, "/", "不能超过 2 MB"},                   {2 << 20, "/Data_InputDo.asp#top", "不能超过 2 MB"},
        {2 << 20, "/style.css", nullptr},                  {2 << 20, "/Email/a.asp.txt", nullptr},
        {2 << 20, "/up", nullptr},                         {1536 * 1024, "/Email_sendDo.asp", "不能超过 1.5 MB"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.target);
        opts_.body_limit = c.limit;
        start();
        Client cl(port());
        // The client is still sending when the answer comes.
        cl.send(std::string("POST ") + c.target + " HTTP/1.1\r\nHost: h\r\nContent-Type: multipart/form-data; "
                "boundary=b\r\nContent-Length: " + std::to_string(3 << 20) + "\r\n\r\n" + std::string(300000, 'x'));
        Response r = cl.read();
        EXPECT_TRUE(cl.closed());
        EXPECT_EQ(r.status, 413);
        if (!c.says) {
            EXPECT_EQ(r.body, "Payload Too Large");
            EXPECT_EQ(r.headers["content-type"], "text/plain");
            continue;
        }
        EXPECT_EQ(r.headers["content-type"], "text/html; charset=gb2312");
        std::string text = gb_to_utf8(r.body);
        for (const char* part : {"上传的文件太大", c.says, "“后退”", "<link rel=\"stylesheet\" href=\"style.css\""})
            EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
        EXPECT_EQ(text.find("<script"), std::string::npos) << text;
    }
}

// A stalled header holds up nobody and gets 408; an idle kept-alive
// connection is closed without an answer.
TEST_F(HttpServerTest, StalledHeaderGets408AndIdleConnectionsAreClosedQuietly) {
    opts_.workers = 1;
    start();
    Client slow(port()), idle(port());
    slow.send("GET /slow HTTP/1.1\r\nHo");
    idle.send(get("/a"));
    EXPECT_EQ(idle.read().status, 200);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(once(get("/other")).body, "GET /other  127.0.0.1");
    EXPECT_EQ(slow.read(false, 10000).status, 408);
    EXPECT_TRUE(slow.closed());
    EXPECT_EQ(idle.read(false, 10000).status, 0);
    EXPECT_TRUE(idle.closed());
}

TEST_F(HttpServerTest, RequestsPastTheBoundGet503) {
    opts_.max_in_flight = 1;
    start();
    Client blocked(port());
    blocked.send(get("/block"));
    {
        std::unique_lock lk(mu_);
        ASSERT_TRUE(cv_.wait_for(lk, std::chrono::seconds(10), [&] { return entered_; }));
    }
    Client other(port());
    other.send(get("/x"));
    EXPECT_EQ(other.read().status, 503);
    {
        std::lock_guard lk(mu_);
        released_ = true;
    }
    cv_.notify_all();
    EXPECT_EQ(blocked.read().status, 200);
    // The slot is free again, on the same connection that got the 503.
    other.send(get("/x"));
    EXPECT_EQ(other.read().status, 200);
}

TEST_F(HttpServerTest, StopClosesOpenConnectionsAndFreesThePort) {
    start();
    unsigned short p = port();
    Client c(p);
    c.send(get("/a"));
    EXPECT_EQ(c.read().status, 200);
    Client half(p);
    half.send("POST /p HTTP/1.1\r\nHost: h\r\nContent-Length: 100\r\n\r\nabc");
    server_->stop();
    EXPECT_TRUE(c.closed());
    EXPECT_TRUE(half.closed());
    server_->stop();  // twice is harmless
    opts_.port = p;
    start();  // the port is free again
    EXPECT_EQ(port(), p);
}

TEST_F(HttpServerTest, FramingHostAndMethodRulesAnswerAndClose) {
    start();
    struct Case {
        std::string request;
        int status;
    } cases[] = {
        {get("/a"), 200},
        {"\x16\x03\x01\x02\x00garbage\r\n\r\n", 400},  // TLS on the plain port
        {"GET / HTTP/1.1\r\nContent-Length: x\r\n\r\n", 400},
        {"GET / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n", 400},
        {"GET /a HTTP/1.0\r\n\r\n", 200},  // HTTP/1.0 may leave the host out
        {"POST /a HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: CHUNKED\r\n\r\n1\r\nx\r\n0\r\n\r\n", 200},
        {"GET /a HTTP/1.1\r\n\r\n", 400},
        {"GET /a HTTP/1.1\r\nHost: h\r\nHost: h\r\n\r\n", 400},
        {"GET /a HTTP/1.0\r\nHost: h\r\nHost: i\r\n\r\n", 400},
        {"POST /a HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: gzip\r\n\r\n", 400},
        {"POST /a HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: gzip, chunked\r\n\r\n1\r\nx\r\n0\r\n\r\n", 400},
        {"POST /a HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n", 400},
        {"POST /a HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: identity\r\nContent-Length: 1\r\n\r\nx", 400},
        {"PUT /a HTTP/1.1\r\nHost: h\r\nContent-Length: 1\r\n\r\nx", 405},
        {"DELETE /a HTTP/1.1\r\nHost: h\r\n\r\n", 405},
        {"OPTIONS * HTTP/1.1\r\nHost: h\r\n\r\n", 405},
        {"BREW /a HTTP/1.1\r\nHost: h\r\n\r\n", 405},
    };
    for (const auto& c : cases) {
        bool closed = false;
        Response r = once(c.request, &closed);
        EXPECT_EQ(r.status, c.status) << c.request;
        EXPECT_EQ(r.headers["x-content-type-options"], "nosniff") << c.request;
        if (c.status == 405) {
            EXPECT_EQ(r.headers["allow"], "GET, HEAD, POST") << c.request;
        }
        if (c.status != 200) {
            EXPECT_TRUE(closed) << c.request;
        }
    }
}

TEST_F(HttpServerTest, ConnectionsPastTheCapAreClosedAtOnce) {
    opts_.max_connections = 3;
    start();
    std::vector<std::unique_ptr<Client>> open;
    for (int i = 0; i < 3; ++i) {
        open.push_back(std::make_unique<Client>(port()));
        open.back()->send(get("/a"));
        ASSERT_EQ(open.back()->read().status, 200);
    }
    bool closed = false;
    EXPECT_EQ(once(get("/a"), &closed).status, 0);
    EXPECT_TRUE(closed);
    open.pop_back();  // one goes: room for the next
    int status = 0;
    for (int tries = 0; tries < 50 && status == 0; ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        status = once(get("/a")).status;
    }
    EXPECT_EQ(status, 200);
}

TEST_F(HttpServerTest, ABodyTricklingInsideTheIdleTimeoutStillMeetsItsDeadline) {
    opts_.body_time_floor = std::chrono::seconds(1);
    opts_.body_min_rate = 1000;  // 20 bytes: 20 ms on top of the floor
    start();
    Client c(port());
    auto t0 = std::chrono::steady_clock::now();
    c.send("POST /p HTTP/1.1\r\nHost: h\r\nContent-Length: 20\r\n\r\n");
    Response r;
    for (int i = 0; i < 20 && r.status == 0; ++i) {
        c.send("x");  // one byte every 300 ms, well inside the 2 s idle timeout
        if (c.silent(300)) continue;
        r = c.read(false, 100);
    }
    auto took = std::chrono::steady_clock::now() - t0;
    EXPECT_EQ(r.status, 408);
    EXPECT_LT(took, std::chrono::milliseconds(2500));
    EXPECT_TRUE(c.closed());
    EXPECT_EQ(count_files(opts_.spool_dir), 0);
}

TEST_F(HttpServerTest, AHeldBackAnswerTiesUpNoWorker) {
    opts_.workers = 1;
    start();
    Client held(port());
    auto t0 = std::chrono::steady_clock::now();
    held.send(get("/hold"));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(once(get("/a")).status, 200);
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(350));
    EXPECT_EQ(held.read().status, 200);
    EXPECT_GE(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(400));
}

TEST(HttpServerBindTest, BusyPortThrows) {
    ServerOptions o;
    o.port = 0;
    HttpServer a(o, [](const HttpRequest&) { return HttpResponse{}; });
    a.start();
    o.port = a.port();
    HttpServer b(o, [](const HttpRequest&) { return HttpResponse{}; });
    EXPECT_ANY_THROW(b.start());
}

// Spooled bodies are read piecewise by the echo handler above; a read past
// the end gives nothing rather than bytes beyond it.
TEST(HttpTypesTest, ReadsPastTheEndGiveNothingAndHeaderNamesIgnoreCase) {
    MemoryBody m("hello");
    char buf[8] = {};
    EXPECT_EQ(m.read_at(3, buf, 8), 2u);
    EXPECT_EQ(std::string(buf, 2), "lo");
    EXPECT_EQ(m.read_at(99, buf, 8), 0u);

    HttpRequest q;
    q.headers = {{"Content-Type", "a"}, {"content-type", "b"}};
    EXPECT_EQ(q.header("CONTENT-TYPE"), "a");
    EXPECT_EQ(q.header("Content-Typ"), "");

    HttpResponse r;
    r.set_header("Location", "/a");
    r.headers.emplace_back("location", "/b");
    r.set_header("LOCATION", "/c");
    ASSERT_EQ(r.headers.size(), 1u);
    EXPECT_EQ(r.header("location"), "/c");
    EXPECT_EQ(r.headers[0].first, "Location");
}

}  // namespace
}  // namespace tav
