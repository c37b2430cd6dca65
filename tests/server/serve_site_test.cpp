// The site behind the real HTTP server: what a browser gets on the wire.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>
#include <thread>

#include "frame/encoding.h"
#include "frame/page.h"
#include "tests/support/served_site.h"

using namespace tav;
using test::Client;
using test::TestSite;

namespace {

// A page that takes its time, as the slowest would, inside its session's turn.
class SlowPage : public Page {
public:
    SlowPage() : Page("slowtest") {}
    void I_init() override { std::this_thread::sleep_for(std::chrono::milliseconds(300)); }
};
[[maybe_unused]] const bool registered = register_page("slowtest", [] { return std::make_unique<SlowPage>(); });

// The site as `tavelor serve` runs it; /slow.asp runs the slow page.
struct Served : test::ServedSite {
    explicit Served(unsigned workers = 2)
        : ServedSite(workers, [](Site& site, const HttpRequest& r) {
              return r.target == "/slow.asp" ? site.run_page("slowtest", r) : site.handle(r);
          }) {}
};

std::string get(const std::string& path, const std::string& extra = "") { return test::get_request(path, extra); }
using test::cookie_of;

}  // namespace

TEST(ServeSite, GbFormPostLogsInAndRedirectsCarryTheSessionAndEscapedText) {
    Served s;
    s.site.exec("insert into user(username,password,TrueName,DepartMentID,record) values ('张三','密码','张三',1,30)");
    Client c(s.port());
    c.send(get("/login.asp"));
    auto page = c.read();
    ASSERT_EQ(page.status, 200);
    EXPECT_EQ(page.headers["content-type"], "text/html; charset=gb2312");
    EXPECT_NE(gb_to_utf8(page.body).find("示范单位网络办公系统登录"), std::string::npos);
    std::string cookie = cookie_of(page);
    ASSERT_FALSE(cookie.empty());

    // The browser posts the form fields as percent-escaped GB18030 bytes.
    c.send(test::form_request("/loginverify.asp",
                              "username=" + test::form_encode("张三") + "&password=" + test::form_encode("密码"),
                              "Cookie: " + cookie + "\r\n"));
    auto done = c.read();
    EXPECT_EQ(done.status, 302);
    EXPECT_EQ(done.headers["location"], "./");
    // The login gives the session a new id, which the desktop takes.
    std::string renewed = cookie_of(done);
    ASSERT_FALSE(renewed.empty());
    c.send(get("/", "Cookie: " + renewed + "\r\n"));
    auto desk = c.read();
    EXPECT_EQ(desk.status, 200);
    EXPECT_NE(desk.body.find("<frameset rows=\"46,*,25,0,0,0,0\""), std::string::npos);

    // A redirect carrying Chinese text (an unknown account on the
    // lost-password form): only the non-ASCII bytes are escaped.
    c.send(test::form_request("/losepassword.asp", "username=nobody&truename=x"));
    auto r = c.read();
    EXPECT_EQ(r.status, 302);
    const std::string loc = r.headers["location"];
    EXPECT_TRUE(std::all_of(loc.begin(), loc.end(), [](unsigned char ch) { return ch < 0x80; })) << loc;
    EXPECT_EQ(gb_to_utf8(percent_decode(loc, false)),
              "Pop_OK.asp?message=您输入的帐号或姓名在系统中不存在！<br>请重新输入……&next_href=losepassword.asp");
}

TEST(ServeSite, StaticFilesRevalidateByETagPagesAreNeverStored) {
    Served s;
    Client c(s.port());
    c.send(get("/style.css"));
    auto css = c.read();
    ASSERT_EQ(css.status, 200);
    std::string etag = css.headers["etag"];
    ASSERT_GE(etag.size(), 3u);
    EXPECT_EQ(etag.front(), '"');  // strong
    EXPECT_NE(css.headers["last-modified"].find(" GMT"), std::string::npos);
    EXPECT_EQ(css.headers["cache-control"], "max-age=300");

    struct Case {
        std::string if_none_match;
        int status;
    } cases[] = {
        {etag, 304},
        {"W/" + etag, 304},
        {"\"other\", " + etag, 304},
        {"*", 304},
        {"\"other\"", 200},
        {etag.substr(0, etag.size() - 2) + "\"", 200},
    };
    for (const auto& k : cases) {
        c.send(get("/style.css", "If-None-Match: " + k.if_none_match + "\r\n"));
        auto r = c.read();
        EXPECT_EQ(r.status, k.status) << k.if_none_match;
        EXPECT_EQ(r.headers["etag"], etag) << k.if_none_match;
        if (k.status == 304) {
            EXPECT_TRUE(r.body.empty());
        }
    }
    // Names without case; pictures are kept longer; pages are never stored.
    c.send(get("/Images/ARROW1.GIF"));
    auto img = c.read();
    EXPECT_EQ(img.headers["content-type"], "image/gif");
    EXPECT_EQ(img.headers["cache-control"], "max-age=86400");
    EXPECT_EQ(img.body.rfind("GIF8", 0), 0u);
    c.send(get("/login.asp"));
    auto page = c.read();
    EXPECT_EQ(page.headers["cache-control"], "no-store");
    EXPECT_EQ(page.headers.count("etag"), 0u);
}

// Uploads get a sandbox as well: StaticAccess.UploadsRunNoScriptAndSaveUnderTheirName.
TEST(ServeSite, EveryAnswerRefusesForeignFramesAndControlBytesInThePathAre400) {
    Served s;
    for (auto [path, status] : {std::pair{"/login.asp", 200}, {"/style.css", 200}, {"/style%2Ecss", 200},
                                {"/nosuch.asp", 404}, {"/style.css%00.gif", 400}, {"/a%0D%0ASet-Cookie:%20x=1", 400},
                                {"/images/%01arrow1.gif", 400}, {"/login.asp%7F", 400}, {"/%09style.css", 400}}) {
        Client cl(s.port());
        cl.send(get(path));
        auto r = cl.read();
        EXPECT_EQ(r.status, status) << path;
        EXPECT_EQ(r.headers["x-frame-options"], "SAMEORIGIN") << path;
        EXPECT_EQ(r.headers["content-security-policy"], "frame-ancestors 'self'") << path;
        EXPECT_EQ(r.headers["x-content-type-options"], "nosniff") << path;
    }
}

TEST(ServeSite, ALargeBodyWithoutAnAccountIsRefusedBeforeItIsRead) {
    Served s;
    Client c(s.port(), "127.0.0.3");
    c.send("POST /loginverify.asp HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/x-www-form-urlencoded\r\n"
           "Content-Length: 100000\r\n\r\n");  // and no body at all
    auto r = c.read(false, 2000);
    EXPECT_EQ(r.status, 413);
    EXPECT_EQ(r.headers["content-type"], "text/html; charset=gb2312");
    EXPECT_NE(gb_to_utf8(r.body).find("0.1"), std::string::npos);  // the limit, in megabytes
    EXPECT_NE(s.site.log_text().find("413 Payload Too Large from 127.0.0.3 account -"), std::string::npos);
}

TEST(ServeSite, ALoginAnswersWithinASecondWhileOneSessionFloodsASlowPage) {
    Served s(0);  // the workers `tavelor serve` starts
    auto login = [&](Client& c) {
        c.send(test::form_request("/loginverify.asp", "username=admin&password=admin"));
        return c.read(false, 10000);
    };
    Client first(s.port());
    std::string cookie = cookie_of(login(first));
    ASSERT_FALSE(cookie.empty());
    // More requests of one session than there are workers: each waits for
    // its turn, and without a share per session they would hold them all.
    std::vector<std::unique_ptr<Client>> flood;
    for (int i = 0; i < 40; ++i) {
        flood.push_back(std::make_unique<Client>(s.port()));
        flood.back()->send(get("/slow.asp", "Cookie: " + cookie + "\r\n"));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    Client c(s.port());
    auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(login(c).headers["location"], "./");
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(1));
    int served = 0, busy = 0;
    for (auto& f : flood) {
        int st = f->read(false, 20000).status;
        served += st == 200;
        busy += st == 503;
    }
    EXPECT_EQ(served + busy, 40);
    EXPECT_LE(served, static_cast<int>(Site::kSessionRequestCap) + 2);
}

TEST(ServeSite, AThousandConnectionsFromOneAddressLeaveAnotherServed) {
    Served s;
    std::vector<std::unique_ptr<Client>> flood;
    for (int i = 0; i < 1000; ++i) flood.push_back(std::make_unique<Client>(s.port(), "127.0.0.2"));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    Client other(s.port(), "127.0.0.3");
    other.send(get("/style.css"));
    EXPECT_EQ(other.read(false, 2000).status, 200);
    // The first ones in are served; the rest were closed at once.
    flood.front()->send(get("/style.css"));
    EXPECT_EQ(flood.front()->read(false, 2000).status, 200);
    EXPECT_TRUE(flood.back()->closed(2000));
    EXPECT_NE(s.site.log_text().find("too many open connections from this address"), std::string::npos);
}
