// Sessions: ids, the cap, lazy creation, renewal, logout, and one request
// at a time per session.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <set>
#include <thread>
#include <vector>

#include "server/sessions.h"
#include "tests/support/page_runner.h"
#include "tests/support/test_site.h"

using namespace tav;
using test::BodyPage;
using test::Reply;
using test::TestSite;

namespace {

[[maybe_unused]] const bool registered = register_page("sessiontest", [] { return std::make_unique<BodyPage>("sessiontest"); });

std::string cookie_id(const Reply& r) {
    std::string set = r.header("Set-Cookie");
    std::string prefix = std::string(Site::kSessionCookie) + "=";
    if (set.rfind(prefix, 0) != 0) return {};
    return set.substr(prefix.size(), set.find(';') - prefix.size());
}

HttpRequest with_cookie(const std::string& id) {
    HttpRequest req;
    req.method = "GET";
    req.target = "/x.asp";
    req.headers.emplace_back("Host", "localhost");
    if (!id.empty()) req.headers.emplace_back("Cookie", "other=1; " + std::string(Site::kSessionCookie) + "=" + id);
    return req;
}

}  // namespace

TEST(SessionStore, IdsAreRandom128BitHex) {
    std::set<std::string> seen;
    for (int i = 0; i < 2000; ++i) {
        std::string id = SessionStore::new_id();
        ASSERT_EQ(id.size(), 32u);
        EXPECT_EQ(id.find_first_not_of("0123456789abcdef"), std::string::npos);
        seen.insert(id);
    }
    EXPECT_EQ(seen.size(), 2000u);
}

// A full store drops the anonymous session idle longest, never a held one
// nor, while an anonymous one is left, a signed-in one; full of signed-in
// sessions it keeps no new anonymous one. New sessions per address are capped.
TEST(SessionStore, TheCapDropsTheLongestIdleAnonymousSessionFirstAndNeverAHeldOne) {
    auto session = [](int account) {
        auto d = std::make_shared<SessionData>();
        if (account) d->values["user_id"] = Value(account);
        return d;
    };
    SessionStore store(3);
    std::vector<std::string> ids;
    for (int i = 0; i < 3; ++i) {
        ids.push_back(store.add(session(0)));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    SessionStore::Lease held = store.acquire(ids[0]);  // the oldest, but a request holds it
    ASSERT_TRUE(held);
    std::string fourth = store.add(session(0));
    EXPECT_EQ(store.size(), 3u);
    for (auto [id, kept] : {std::pair{ids[0], true}, {ids[1], false}, {ids[2], true}, {fourth, true}})
        EXPECT_EQ(static_cast<bool>(store.peek(id)), kept) << id;
    // Unknown and removed ids lease nothing.
    EXPECT_FALSE(store.acquire("nosuch"));
    store.remove(ids[2]);
    EXPECT_FALSE(store.acquire(ids[2]));

    SessionStore four(4);
    std::string oldest = four.add(session(1)), other = four.add(session(2)), later = four.add(session(0));
    four.acquire(later).data()->values["user_id"] = Value(3);  // logs in during a request
    for (int i = 0; i < 50; ++i) four.add(session(0));
    EXPECT_EQ(four.size(), 4u);
    for (const auto& id : {oldest, other, later}) EXPECT_TRUE(four.peek(id)) << id;
    four.add(session(4));  // the last anonymous one goes
    EXPECT_TRUE(four.peek(oldest));
    four.add(session(5));  // only signed-in ones left: the one idle longest
    EXPECT_FALSE(four.peek(oldest));
    EXPECT_TRUE(four.peek(other) && four.peek(later));
    EXPECT_EQ(four.add(session(0)), "");
    EXPECT_TRUE(four.peek(other));

    SessionStore capped(100, std::chrono::minutes(20), {3, std::chrono::minutes(10)});
    for (int i = 0; i < 3; ++i) EXPECT_NE(capped.add(session(0), "10.0.0.1"), "");
    EXPECT_EQ(capped.add(session(0), "10.0.0.1"), "");
    EXPECT_NE(capped.add(session(0), "10.0.0.2"), "");
    EXPECT_EQ(capped.size(), 4u);
}

TEST(SessionStore, IdleSessionsExpireAndRenewMovesTheValues) {
    SessionStore store(10, std::chrono::seconds(0));
    auto data = std::make_shared<SessionData>();
    data->values["user_id"] = Value(7);
    std::string id = store.add(data);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    EXPECT_FALSE(store.acquire(id));

    SessionStore live;
    id = live.add(data);
    std::string renewed;
    {
        SessionStore::Lease lease = live.acquire(id);
        renewed = live.renew(lease);
        EXPECT_EQ(lease.id(), renewed);
    }
    EXPECT_NE(renewed, id);
    EXPECT_FALSE(live.peek(id));
    ASSERT_TRUE(live.peek(renewed));
    EXPECT_EQ(live.peek(renewed)->values["user_id"].str(), "7");
}

TEST(Sessions, MadeOnlyWhenAPageWritesAValue) {
    TestSite site;
    struct Case {
        const char* what;
        std::function<void(BodyPage&)> body;
        bool cookie;
    } cases[] = {
        {"no session use", [](BodyPage&) { Response.write("x"); }, false},
        {"only reads", [](BodyPage&) { Response.write(Session("user_id")); }, false},
        {"abandons", [](BodyPage&) { Session.abandon(); }, false},
        {"writes", [](BodyPage&) { Session.set("dw_name", "x"); }, true},
    };
    std::size_t expected = 0;
    for (const auto& c : cases) {
        Reply r = test::run_body(site, "sessiontest", with_cookie(""), c.body);
        EXPECT_EQ(!cookie_id(r).empty(), c.cookie) << c.what;
        expected += c.cookie;
        EXPECT_EQ(site.site().sessions().size(), expected) << c.what;
        EXPECT_EQ(r.header("Cache-Control"), "no-store") << c.what;
    }
    // A static file never makes one.
    EXPECT_TRUE(site.get("/style.css").header("Set-Cookie").empty());
}

TEST(Sessions, LoginRenewsTheIdAndLogoutDropsTheSession) {
    TestSite site;
    Reply form = site.get("/login.asp");
    std::string before = cookie_id(form);
    ASSERT_FALSE(before.empty());
    Reply in = site.post_form("/loginverify.asp", {{"username", "admin"}, {"password", "admin"}});
    std::string after = cookie_id(in);
    ASSERT_FALSE(after.empty());
    EXPECT_NE(after, before);
    auto& store = site.site().sessions();
    EXPECT_FALSE(store.peek(before));
    ASSERT_TRUE(store.peek(after));
    // The values written before the login came along.
    EXPECT_FALSE(store.peek(after)->values["dw_name"].str().empty());
    EXPECT_EQ(store.peek(after)->values["qwx3trh_k7"].str(), "yes");

    Reply out = site.get("/logout.asp");
    EXPECT_FALSE(store.peek(after));
    EXPECT_NE(out.header("Set-Cookie").find("Max-Age=0"), std::string::npos);
    EXPECT_EQ(site.get("/").location(), "login.asp");
    std::string next = cookie_id(site.get("/login.asp"));
    EXPECT_FALSE(next.empty());
    EXPECT_NE(next, after);
}

TEST(Sessions, RequestsOfOneSessionTakeTurns) {
    TestSite site;
    Reply first = test::run_body(site, "sessiontest", with_cookie(""), [](BodyPage&) { Session.set("n", 0); });
    std::string id = cookie_id(first);
    ASSERT_FALSE(id.empty());
    // Read, pause, write back: without turns two runs read the same value
    // and one increment is lost.
    std::atomic<int> inside{0}, overlaps{0};
    auto bump = [&](BodyPage&) {
        if (inside.fetch_add(1) > 0) ++overlaps;
        int n = static_cast<int>(Session("n").num());
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        Session.set("n", n + 1);
        inside.fetch_sub(1);
    };
    constexpr int kThreads = 4, kEach = 25;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < kEach; ++i) test::run_body(site, "sessiontest", with_cookie(id), bump);
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(overlaps.load(), 0);
    EXPECT_EQ(site.site().sessions().peek(id)->values["n"].str(), std::to_string(kThreads * kEach));

    // Other sessions are not held up by it: a page of a second session
    // runs while the first one's page waits.
    const std::string second = cookie_id(
        test::run_body(site, "sessiontest", with_cookie(""), [](BodyPage&) { Session.set("n", 0); }));
    std::atomic<bool> release{false};
    std::thread slow([&] {
        test::run_body(site, "sessiontest", with_cookie(id), [&](BodyPage&) {
            while (!release) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        });
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    auto other = std::async(std::launch::async, [&] {
        return test::run_body(site, "sessiontest", with_cookie(second), [](BodyPage&) { Response.write("free"); });
    });
    EXPECT_EQ(other.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    release = true;
    EXPECT_EQ(other.get().body, "free");
    slow.join();
}
