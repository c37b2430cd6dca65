// The login throttle: its schedule, and a guessing loop against the login.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "server/throttle.h"
#include "tests/support/test_site.h"

using namespace tav;
using namespace std::chrono_literals;
using test::Reply;
using test::TestSite;

TEST(LoginThrottle, DelayDoublesAfterTheFreeFailuresUpToTheCap) {
    LoginThrottleTable t;  // 3 free, then 1 s doubling, at most 30 s
    const std::chrono::milliseconds expected[] = {0ms, 0ms, 0ms, 0ms, 1000ms, 2000ms, 4000ms,
                                                  8000ms, 16000ms, 30000ms, 30000ms};
    for (unsigned n = 0; n < std::size(expected); ++n) EXPECT_EQ(t.delay_after(n), expected[n]) << n;
    EXPECT_EQ(t.delay_after(1000), 30000ms);
}

TEST(LoginThrottle, TableStaysBounded) {
    LoginThrottleTable t({0, 1ms, 1ms}, 100);
    for (int i = 0; i < 1000; ++i) t.failed("a:" + std::to_string(i));
    EXPECT_LE(t.size(), 100u);
}

TEST(LoginThrottle, GuessingIsSlowedFromItsAddressOnlyAndTheOwnerGetsIn) {
    TestSite site;
    site.site().throttle().set_schedule({3, 300ms, 1000ms});
    auto attempt = [&](const char* password, const char* from) {
        HttpRequest req;
        req.method = "POST";
        req.target = "/loginverify.asp";
        req.remote_addr = from;
        std::string body = std::string("username=Admin&password=") + password;
        req.headers = {{"Content-Type", "application/x-www-form-urlencoded"},
                       {"Content-Length", std::to_string(body.size())}};
        req.body = std::make_shared<MemoryBody>(body);
        return site.send(std::move(req));
    };
    const char* guesser = "10.6.6.6";
    int free = 0, held = 0;
    for (int i = 0; i < 1000; ++i) {
        Reply r = attempt("wrong", guesser);
        ASSERT_EQ(r.location(), "./login.asp?login=error") << i;
        if (i < 3) free += r.delay == 0ms;
        held += r.delay > 0ms;
    }
    EXPECT_EQ(free, 3);    // the first failures cost nothing
    EXPECT_EQ(held, 997);  // every later answer waits
    // During the wait even the right password is refused there: it is not checked.
    Reply early = attempt("admin", guesser);
    EXPECT_EQ(early.location(), "./login.asp?login=error");
    EXPECT_GT(early.delay, 0ms);
    EXPECT_NE(site.log_text().find("Tavelor.Refused throttle /loginverify.asp address 10.6.6.6 account Admin"),
              std::string::npos);
    // The owner at their own desk: in at once.
    site.forget_session();
    Reply owner = attempt("admin", "127.0.0.1");
    EXPECT_EQ(owner.location(), "./");
    EXPECT_EQ(owner.delay, 0ms);

    std::this_thread::sleep_for(site.site().throttle().pending("u:admin@10.6.6.6"));
    EXPECT_EQ(attempt("admin", guesser).location(), "./");
    EXPECT_EQ(attempt("wrong", guesser).delay, 0ms);  // success cleared the key
}
