// A body over the server's limit, over real sockets: a form sent to a page
// is answered with a page that names the limit; anything else keeps the
// bare status.
#include <chrono>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "frame/encoding.h"
#include "server/http_server.h"
#include "tests/support/files.h"
#include "tests/support/http_client.h"
#include "tests/support/text.h"

namespace tav {
namespace {

using test::Client;
using test::has;

class TooLargeTest : public ::testing::Test {
protected:
    void start(std::uint64_t limit) {
        ServerOptions o;
        o.port = 0;
        o.workers = 1;
        o.spool_dir = dir_;
        o.spool_threshold = 64 * 1024;
        o.body_limit = limit;
        o.header_timeout = std::chrono::seconds(2);
        o.idle_timeout = std::chrono::seconds(2);
        server_ = std::make_unique<HttpServer>(o, [](const HttpRequest&) {
            HttpResponse r;
            r.body = "handled";
            return r;
        });
        server_->start();
    }
    void TearDown() override { server_.reset(); }
    test::Response post(const std::string& target, std::size_t length, std::size_t sent) {
        Client c(server_->port());
        c.send("POST " + target + " HTTP/1.1\r\nHost: h\r\nContent-Type: multipart/form-data; boundary=b\r\n"
               "Content-Length: " + std::to_string(length) + "\r\n\r\n" + std::string(sent, 'x'));
        test::Response r = c.read();
        EXPECT_TRUE(c.closed()) << target;
        return r;
    }

    test::TempDir tmp_{"tavelor-too-large"};
    std::string dir_ = tmp_.str();
    std::unique_ptr<HttpServer> server_;
};

TEST_F(TooLargeTest, FormsSentToPagesGetAPageNamingTheLimit) {
    start(2 << 20);
    struct Case {
        const char* target;
        bool page;
    } cases[] = {
        {"/Email_sendDo.asp", true},
        {"/email_senddo.ASP?x=1", true},
        {"/", true},
        {"/Data_InputDo.asp#top", true},
        {"/style.css", false},
        {"/Email/a.asp.txt", false},
        {"/up", false},
    };
    for (const Case& c : cases) {
        // The client is still sending when the answer comes.
        test::Response r = post(c.target, 3 << 20, 300000);
        EXPECT_EQ(r.status, 413) << c.target;
        if (!c.page) {
            EXPECT_EQ(r.body, "Payload Too Large") << c.target;
            EXPECT_EQ(r.headers["content-type"], "text/plain") << c.target;
            continue;
        }
        EXPECT_EQ(r.headers["content-type"], "text/html; charset=gb2312") << c.target;
        std::string text = gb_to_utf8(r.body);
        EXPECT_TRUE(has(text, "上传的文件太大")) << text;
        EXPECT_TRUE(has(text, "不能超过 2 MB")) << text;
        EXPECT_TRUE(has(text, "“后退”")) << text;
        EXPECT_TRUE(has(text, "<link rel=\"stylesheet\" href=\"style.css\"")) << text;
        EXPECT_FALSE(has(text, "<script")) << text;
    }
}

TEST_F(TooLargeTest, ALimitOfPartMegabytesIsWrittenWithOneDecimal) {
    start(1536 * 1024);
    test::Response r = post("/Email_sendDo.asp", 2 << 20, 1000);
    EXPECT_EQ(r.status, 413);
    EXPECT_TRUE(has(gb_to_utf8(r.body), "不能超过 1.5 MB")) << gb_to_utf8(r.body);
}

TEST_F(TooLargeTest, AChunkedBodyGrowingPastTheLimitGetsThePageToo) {
    start(256 * 1024);
    Client c(server_->port());
    c.send("POST /Email_sendDo.asp HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n");
    std::string chunk = "10000\r\n" + std::string(0x10000, 'q') + "\r\n";
    for (int i = 0; i < 6; ++i) c.send(chunk);
    test::Response r = c.read();
    EXPECT_EQ(r.status, 413);
    EXPECT_TRUE(has(gb_to_utf8(r.body), "上传的文件太大"));
    EXPECT_TRUE(c.closed());
}

TEST_F(TooLargeTest, BodiesWithinTheLimitReachThePage) {
    start(1 << 20);
    Client c(server_->port());
    c.send("POST /Email_sendDo.asp HTTP/1.1\r\nHost: h\r\nContent-Length: 1048576\r\n\r\n" +
           std::string(1 << 20, 'x'));
    test::Response r = c.read();
    EXPECT_EQ(r.status, 200);
    EXPECT_EQ(r.body, "handled");
}

}  // namespace
}  // namespace tav
