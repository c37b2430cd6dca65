// Static media over the wire: byte ranges for seeking, their validators, and
// the types players go by.
#include <gtest/gtest.h>

#include "tests/support/files.h"
#include "tests/support/served_site.h"

using namespace tav;
using test::Client;
using test::TestSite;

namespace {

std::string g_cookie;  // a signed-in session's: media folders are for accounts

struct Served : test::ServedSite {
    Served() {
        auto d = std::make_shared<SessionData>();
        d->values["user_id"] = Value(1);
        d->values["qwx3trh_k7"] = Value(std::string("yes"));
        g_cookie = "Cookie: " + std::string(Site::kSessionCookie) + "=" + site.site().sessions().add(d) + "\r\n";
    }
    // A file whose every offset holds a byte that tells where it is.
    std::string put(const std::string& rel, std::size_t size) {
        std::string bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7 + i / 251) & 0xff);
        test::put_file(site.root() + "/" + rel, bytes);
        return bytes;
    }
};

std::string get(const std::string& path, const std::string& extra = "", const char* method = "GET") {
    return std::string(method) + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + g_cookie + extra + "\r\n";
}

}  // namespace

// One small file (kept in the server's cache) and one large one (streamed
// from disk) must answer every Range alike.
TEST(StaticRanges, SingleRangesOnCachedAndStreamedFiles) {
    Served s;
    struct File {
        std::string path;
        std::string bytes;
    } files[] = {{"/images/small.mp3", s.put("images/small.mp3", 1000)},  // the site's own, cached
                 {"/Medium/large.mp3", s.put("Medium/large.mp3", 3 * 1024 * 1024 + 17)}};
    for (const auto& f : files) {
        const std::uint64_t n = f.bytes.size();
        struct Case {
            std::string range;
            int status;
            std::uint64_t first, last;  // expected bytes for a 206
        } cases[] = {
            {"bytes=0-9", 206, 0, 9},
            {"bytes=0-0", 206, 0, 0},
            {"BYTES=5-5", 206, 5, 5},
            {"bytes=100-", 206, 100, n - 1},
            {"bytes=-5", 206, n - 5, n - 1},
            {"bytes=-999999999", 206, 0, n - 1},                 // longer suffix than the file: all of it
            {"bytes=10-99999999999999999999999", 206, 10, n - 1},  // past the end: cut there
            {"bytes = 3-4", 200, 0, 0},   // blanks around "=" are no range syntax
            {"bytes=" + std::to_string(n - 1) + "-", 206, n - 1, n - 1},
            {"bytes=" + std::to_string(n) + "-", 416, 0, 0},
            {"bytes=" + std::to_string(n + 100) + "-" + std::to_string(n + 200), 416, 0, 0},
            {"bytes=-0", 416, 0, 0},
            {"bytes=9-3", 200, 0, 0},       // not a range at all: ignored
            {"bytes=0-1,5-6", 200, 0, 0},   // lists get the whole file
            {"items=0-5", 200, 0, 0},
            {"bytes=x-5", 200, 0, 0},
        };
        Client c(s.port());
        for (const auto& k : cases) {
            std::string where = f.path + " " + k.range;
            c.send(get(f.path, "Range: " + k.range + "\r\n"));
            auto r = c.read();
            ASSERT_EQ(r.status, k.status) << where;
            if (k.status != 416) {
                EXPECT_EQ(r.headers["content-type"], "audio/mpeg") << where;
            }
            if (k.status == 206) {
                EXPECT_EQ(r.headers["content-range"], "bytes " + std::to_string(k.first) + "-" +
                                                          std::to_string(k.last) + "/" + std::to_string(n))
                    << where;
                EXPECT_TRUE(r.body == f.bytes.substr(k.first, k.last - k.first + 1)) << where;
            } else if (k.status == 416) {
                EXPECT_EQ(r.headers["content-range"], "bytes */" + std::to_string(n)) << where;
            } else {
                EXPECT_EQ(r.headers["accept-ranges"], "bytes") << where;
                EXPECT_EQ(r.body.size(), n) << where;
                EXPECT_TRUE(r.body == f.bytes) << where;
            }
        }
        // Only a validator of this very file lets a range through; a stale
        // one gets the whole file, even with a range past its end.
        c.send(get(f.path));
        auto whole = c.read();
        struct IfRange {
            std::string validator, range;
            int status;
        } validators[] = {
            {whole.headers["etag"], "10-19", 206},
            {whole.headers["last-modified"], "10-19", 206},
            {"\"0-0\"", "10-19", 200},
            {"W/" + whole.headers["etag"], "10-19", 200},  // weak tags never match here
            {"Mon, 01 Jan 2001 00:00:00 GMT", "10-19", 200},
            {"\"0-0\"", "999999999-", 200},
        };
        for (const auto& k : validators) {
            c.send(get(f.path, "Range: bytes=" + k.range + "\r\nIf-Range: " + k.validator + "\r\n"));
            auto r = c.read();
            EXPECT_EQ(r.status, k.status) << f.path << " " << k.validator;
            EXPECT_TRUE(r.body == (k.status == 206 ? f.bytes.substr(10, 10) : f.bytes)) << f.path << " " << k.validator;
        }
        // HEAD ignores the range, and sends no body.
        c.send(get(f.path, "Range: bytes=0-9\r\n", "HEAD"));
        auto head = c.read(true);
        EXPECT_EQ(head.status, 200);
        EXPECT_EQ(head.headers["content-length"], std::to_string(n));
        // The connection lived through every answer: their framing was right.
        c.send(get(f.path, "Range: bytes=1-2\r\n"));
        EXPECT_EQ(c.read().body, f.bytes.substr(1, 2)) << f.path;
    }
}

TEST(StaticRanges, PlayersAndPlaylistsGetTheirTypes) {
    Served s;
    struct Case {
        const char* file;
        const char* type;
    } cases[] = {
        {"a.mp3", "audio/mpeg"},        {"a.wav", "audio/wav"},          {"a.ogg", "audio/ogg"},
        {"a.MP4", "video/mp4"},         {"a.webm", "video/webm"},        {"a.asf", "video/x-ms-asf"},
        {"a.wmv", "video/x-ms-wmv"},    {"a.wma", "audio/x-ms-wma"},     {"a.rm", "application/vnd.rn-realmedia"},
        {"a.ram", "audio/x-pn-realaudio"}, {"a.m3u", "audio/x-mpegurl"}, {"a.asx", "video/x-ms-asf"},
    };
    Client c(s.port());
    for (const auto& k : cases) {
        s.put(std::string("Medium/temp/") + k.file, 64);
        c.send(get(std::string("/Medium/temp/") + k.file, "Range: bytes=0-3\r\n"));
        auto r = c.read();
        EXPECT_EQ(r.status, 206) << k.file;
        EXPECT_EQ(r.headers["content-type"], k.type) << k.file;
    }
}

// A list opened as a page gets a page that plays it; the player's own
// request for the list, and a list that is not there, do not.
TEST(StaticRanges, APlaylistOpenedAsAPageGetsAPlayer) {
    Served s;
    s.put("Medium/temp/Audio1712.asx", 40);
    Client c(s.port());
    c.send(get("/medium/temp/audio1712.ASX", "Sec-Fetch-Dest: document\r\n"));
    auto page = c.read();
    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.headers["content-type"], "text/html; charset=utf-8");
    EXPECT_NE(page.body.find("<param name=\"FileName\" value=\"audio1712.ASX\">"), std::string::npos) << page.body;
    EXPECT_NE(page.body.find("22D6F312-B0F6-11D0-94AB-0080C74C7E95"), std::string::npos);
    EXPECT_NE(page.body.find("<script src=\"/tavdialog.js\">"), std::string::npos);

    c.send(get("/Medium/temp/Audio1712.asx", "Sec-Fetch-Dest: empty\r\n"));
    auto list = c.read();
    EXPECT_EQ(list.status, 200);
    EXPECT_EQ(list.headers["content-type"], "video/x-ms-asf");
    EXPECT_EQ(list.body.size(), 40u);

    c.send(get("/Medium/temp/Audio9.asx", "Sec-Fetch-Dest: document\r\n"));
    EXPECT_EQ(c.read().status, 404);
    s.put("Email/1/secret.asx", 10);
    c.send(get("/Email/1/secret.asx", "Sec-Fetch-Dest: document\r\n"));
    EXPECT_EQ(c.read().status, 404);
}
