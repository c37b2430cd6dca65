// Sessions kept in a table several servers share: two stores on one table
// stand for two servers. The table here is a map; the PostgreSQL one runs
// in the two-server test (tests/deploy/two_servers_test.cpp).
#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <thread>
#include <vector>

#include "frame/encoding.h"
#include "server/sessions.h"

using namespace tav;

namespace {

struct Table {
    std::mutex mu;
    std::map<std::string, SessionBacking::Row> rows;
    int loads = 0, writes = 0;
    bool broken = false;
    std::vector<std::string> failures;
};

class MapBacking final : public SessionBacking {
public:
    explicit MapBacking(Table& t) : t_(t) {}
    std::optional<Row> load(const std::string& key) override {
        auto lock = use();
        ++t_.loads;
        auto it = t_.rows.find(key);
        return it == t_.rows.end() ? std::nullopt : std::optional<Row>(it->second);
    }
    void insert(const std::string& key, const Row& row) override { write()->rows[key] = row; }
    void save(const std::string& key, const Row& row) override {
        auto lock = write();
        if (auto it = t_.rows.find(key); it != t_.rows.end()) it->second = row;
    }
    void touch(const std::string& key, long long expires) override {
        auto lock = write();
        if (auto it = t_.rows.find(key); it != t_.rows.end()) it->second.expires = expires;
    }
    void rename(const std::string& from, const std::string& to) override {
        auto lock = write();
        if (auto it = t_.rows.find(from); it != t_.rows.end()) {
            t_.rows[to] = it->second;
            t_.rows.erase(from);
        }
    }
    void remove(const std::string& key) override { write()->rows.erase(key); }
    void sweep(long long, std::size_t) override {}
    std::size_t count(long long) override { return use(), t_.rows.size(); }
    void failed(const std::string& what) override {
        std::lock_guard lock(t_.mu);
        t_.failures.push_back(what);
    }

private:
    std::unique_lock<std::mutex> use() {
        std::unique_lock lock(t_.mu);
        if (t_.broken) throw std::runtime_error("the database is away");
        return lock;
    }
    struct Held {
        std::unique_lock<std::mutex> lock;
        Table* t;
        Table* operator->() { return t; }
    };
    Held write() {
        auto lock = use();
        ++t_.writes;
        return {std::move(lock), &t_};
    }
    Table& t_;
};

struct Servers {
    Table table;
    SessionStore a, b;
    Servers() {
        a.share_through(std::make_unique<MapBacking>(table));
        b.share_through(std::make_unique<MapBacking>(table));
    }
    std::string start(std::unordered_map<std::string, Value> values) {
        auto d = std::make_shared<SessionData>();
        d->values = std::move(values);
        return a.add(d, "10.0.0.1");
    }
};

Value value_of(SessionStore& s, const std::string& id, const std::string& key) {
    auto d = s.peek(id);
    if (!d) return Value::null();
    auto it = d->values.find(key);
    return it == d->values.end() ? Value() : it->second;
}

}  // namespace

TEST(SharedSessions, HostileValuesComeBackAsTheyWentAndTouchNoOtherKey) {
    std::string invalid_utf8 = "\xC4\xE3\xBA\xC3\xff";  // GB bytes taken for UTF-8
    std::string mega(1 << 20, '\'');
    const std::vector<std::pair<std::string, Value>> cases = {
        {"quote", Value("it's '' \" \\")},
        {"nul", Value(std::string("a\0b\0", 4))},
        {"script", Value("</script><script>alert(1)</script>")},
        {"lines", Value("a\tb\nuser_id\tt1\n%41%")},
        {"key\twith\nbreaks%", Value("x")},
        {"utf8", Value("中文 名字")},
        {"gb", Value(invalid_utf8)},
        {"mega", Value(mega)},
        {"empty text", Value("")},
        {"empty", Value()},
        {"null", Value::null()},
        {"whole", Value(42)},
        {"fraction", Value(-0.1)},
        {"huge", Value(1e300)},
        {"user_id", Value(7)},
    };
    SessionData d;
    for (const auto& [k, v] : cases) d.values[k] = v;
    const std::string text = SessionStore::serialise(d);
    EXPECT_EQ(text.find('\0'), std::string::npos);
    EXPECT_EQ(text.find('\''), std::string::npos);
    EXPECT_TRUE(is_valid_utf8(text));
    auto back = SessionStore::parse(text);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->size(), cases.size());
    for (const auto& [k, v] : cases) {
        ASSERT_TRUE(back->count(k)) << k;
        const Value& got = back->at(k);
        EXPECT_EQ(got.kind(), v.kind()) << k;
        EXPECT_EQ(got.str(), v.str()) << k;
    }

    // A text that is not the store's is no session at all, never half of one.
    for (const char* bad : {"k\tx\n", "k\tt%4\n", "k\tt%zz\n", "k\tt1", "k\td1.5x\n", "k\td\n", "kt1\n", "k\tn1\n"})
        EXPECT_FALSE(SessionStore::parse(bad)) << bad;
}

TEST(SharedSessions, EveryServerSeesTheSessionItsRenewalAndItsEnd) {
    Servers s;
    std::string id = s.start({{"user_id", Value(7)}});
    ASSERT_TRUE(SessionStore::plausible_id(id));
    // The table holds a hash of the id, never the id.
    ASSERT_EQ(s.table.rows.size(), 1u);
    EXPECT_EQ(s.table.rows.begin()->first, SessionStore::key_of(id));
    EXPECT_NE(s.table.rows.begin()->first.find_first_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(s.table.rows.begin()->first.find(id), std::string::npos);
    EXPECT_TRUE(s.table.rows.begin()->second.account);

    // A request on b changes a value; a's next request reads it.
    {
        auto lease = s.b.acquire(id);
        ASSERT_TRUE(lease);
        EXPECT_EQ(lease.data()->values["user_id"].str(), "7");
        lease.data()->values["dw_name"] = Value("x'y");
    }
    EXPECT_EQ(value_of(s.a, id, "dw_name").str(), "x'y");

    // A page view that changes nothing writes nothing, but for the expiry
    // once it is a few minutes behind; a row past it is no session.
    const int writes = s.table.writes;
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(s.a.acquire(id));
    EXPECT_EQ(s.table.writes, writes);
    auto& row = s.table.rows[SessionStore::key_of(id)];
    const long long fresh = row.expires;
    row.expires -= 180;
    EXPECT_TRUE(s.b.acquire(id));
    EXPECT_EQ(s.table.writes, writes + 1);
    EXPECT_GE(row.expires, fresh);
    row.expires -= 20 * 60 + 1;
    EXPECT_FALSE(s.b.acquire(id));
    EXPECT_FALSE(s.a.peek(id));
    row.expires = fresh;

    // Renewed on a: the old id reaches nothing on b, the new one the values.
    std::string renewed;
    {
        auto lease = s.a.acquire(id);
        renewed = s.a.renew(lease);
    }
    ASSERT_FALSE(renewed.empty());
    EXPECT_FALSE(s.b.acquire(id));
    EXPECT_FALSE(s.b.peek(id));
    EXPECT_EQ(value_of(s.b, renewed, "dw_name").str(), "x'y");

    // Removed on b (logout): a refuses it too, and a request that was
    // running on a when it went does not bring it back.
    {
        auto running = s.a.acquire(renewed);
        ASSERT_TRUE(running);
        s.b.remove(renewed);
        running.data()->values["late"] = Value(1);
    }
    EXPECT_FALSE(s.a.acquire(renewed));
    EXPECT_TRUE(s.table.rows.empty());
}

TEST(SharedSessions, HostileCookiesReachNoSessionAndNeverTheTable) {
    Servers s;
    std::string id = s.start({{"user_id", Value(1)}});
    std::string upper = id;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::string nul = id, quote = id, dots = id, blank = id;
    nul[0] = '\0';
    quote[31] = '\'';
    dots.replace(0, 3, "../");
    blank[0] = ' ';
    const std::string cookies[] = {"'", "' or '1'='1", dots, std::string(10240, 'a'), std::string(10240, '0'),
                                   nul, quote, SessionStore::key_of(id), id + "0", upper, blank};
    const int loads = s.table.loads;
    for (const std::string& c : cookies) {
        EXPECT_FALSE(s.b.acquire(c)) << c.substr(0, 40);
        EXPECT_FALSE(s.b.peek(c)) << c.substr(0, 40);
        s.b.remove(c);
    }
    EXPECT_EQ(s.table.loads, loads) << "a cookie that is no id of ours reached the table";
    EXPECT_EQ(s.table.rows.size(), 1u);
    EXPECT_EQ(value_of(s.a, id, "user_id").str(), "1");
}

TEST(SharedSessions, ATableThatFailsOrAnOversizeSessionKeepsWhatWasStored) {
    Servers s;
    std::string id = s.start({{"k", Value("before")}});
    {
        auto lease = s.a.acquire(id);
        lease.data()->values["k"] = Value(std::string(SessionStore::kMaxSharedBytes, 'x'));
    }
    EXPECT_EQ(value_of(s.b, id, "k").str(), "before");

    s.table.broken = true;
    EXPECT_FALSE(s.a.acquire(id));
    EXPECT_EQ(s.a.add(std::make_shared<SessionData>()), "");
    s.table.broken = false;
    // A renewal the table refuses ends the session rather than leave the
    // request's values under the old id.
    {
        auto lease = s.a.acquire(id);
        ASSERT_TRUE(lease);
        lease.data()->values["k"] = Value("after");
        s.table.broken = true;
        EXPECT_EQ(s.a.renew(lease), "");
        s.table.broken = false;
    }
    EXPECT_EQ(value_of(s.b, id, "k").str(), "before");
    EXPECT_GE(s.table.failures.size(), 4u);
}

TEST(SharedSessions, RequestsOfOneSessionTakeTurnsOnOneServer) {
    Servers s;
    std::string id = s.start({{"n", Value(0)}});
    constexpr int kThreads = 4, kEach = 25;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < kEach; ++i) {
                auto lease = s.a.acquire(id);
                ASSERT_TRUE(lease);
                const long long n = lease.data()->values["n"].lng();
                std::this_thread::yield();
                lease.data()->values["n"] = Value(n + 1);
            }
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(value_of(s.b, id, "n").str(), std::to_string(kThreads * kEach));
}

// Two servers run requests of one session at once: each keeps what it
// changed, key by key, whichever ends last; a key both change holds the
// last writer's value; the account flag follows the merged values.
TEST(SharedSessions, RequestsOnTwoServersAtOnceKeepEachOthersChanges) {
    Servers s;
    std::string id = s.start({{"keep", Value("k")}, {"gone", Value(1)}, {"both", Value(0)}});
    {
        auto on_a = s.a.acquire(id);
        auto on_b = s.b.acquire(id);
        ASSERT_TRUE(on_a && on_b);
        on_a.data()->values["user_id"] = Value(7);  // a login on a
        on_a.data()->values["both"] = Value(1);
        on_b.data()->values["menu"] = Value("x'y");  // a page on b at the same time
        on_b.data()->values.erase("gone");
        on_b.data()->values["both"] = Value(2);
        { auto ends = std::move(on_a); }  // a writes first, b second
    }
    EXPECT_EQ(value_of(s.a, id, "user_id").str(), "7");
    EXPECT_EQ(value_of(s.a, id, "menu").str(), "x'y");
    EXPECT_EQ(value_of(s.a, id, "keep").str(), "k");
    EXPECT_TRUE(value_of(s.a, id, "gone").is_empty());
    EXPECT_EQ(value_of(s.a, id, "both").str(), "2");
    EXPECT_TRUE(s.table.rows[SessionStore::key_of(id)].account);
    EXPECT_TRUE(s.table.failures.empty());
}
