// The server's session store: random ids, idle expiry, a cap on the number
// of sessions, and one request at a time per session around the page.
#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "frame/host.h"

namespace tav {

// New sessions one address may open per window. The login form makes
// one per visit and the login another: an office of a hundred behind one
// NAT, each logging in three times a morning hour, opens about 100 in
// ten minutes at its busiest. 600 is six times that, yet one address
// can hold at most 600 of the 10,000 places, and only anonymous ones
// ever make way for it.
struct SessionAddressCap {
    unsigned sessions = 600;
    std::chrono::seconds window = std::chrono::minutes(10);
};

// Where the sessions live when several servers serve one site: a table of
// the site's database. Rows are keyed by a hash of the session id, never
// the id; the values are the store's text (SessionStore::serialise). The
// store catches what these throw: a session the table cannot give is no
// session, a write it refuses leaves the row as it was.
class SessionBacking {
public:
    struct Row {
        std::string values;
        bool account = false;
        long long expires = 0;  // seconds since the epoch
    };
    virtual ~SessionBacking() = default;
    virtual std::optional<Row> load(const std::string& key) = 0;
    virtual void insert(const std::string& key, const Row& row) = 0;
    // Changes a row that is there; never makes one.
    virtual void save(const std::string& key, const Row& row) = 0;
    // Saves only while the row still holds the values `was`; false when it
    // holds others (another server wrote it) or is gone. A table does this
    // in one statement; this default suits a backing no other process uses.
    virtual bool save_if(const std::string& key, const Row& row, const std::string& was) {
        auto now = load(key);
        if (!now || now->values != was) return false;
        save(key, row);
        return true;
    }
    virtual void touch(const std::string& key, long long expires) = 0;
    virtual void rename(const std::string& from, const std::string& to) = 0;
    virtual void remove(const std::string& key) = 0;
    // Drops the rows expired by now, then anonymous ones idle longest while
    // more than cap remain.
    virtual void sweep(long long now, std::size_t cap) = 0;
    virtual std::size_t count(long long now) = 0;
    // What failed, for the log.
    virtual void failed(const std::string& what) = 0;
};

class SessionStore {
    struct Entry;

public:
    using Clock = std::chrono::steady_clock;


    explicit SessionStore(std::size_t cap = 10000, std::chrono::seconds idle = std::chrono::minutes(20),
                          SessionAddressCap per_addr = {});
    SessionStore(const SessionStore&) = delete;
    SessionStore& operator=(const SessionStore&) = delete;

    // A session held for one request: while a lease lives, other requests of
    // the same session wait in acquire. Empty (no data) when the request has
    // no live session.
    class Lease {
    public:
        Lease() = default;
        Lease(Lease&& o) noexcept;
        Lease& operator=(Lease&& o) noexcept;
        ~Lease();
        const std::string& id() const { return id_; }
        const std::shared_ptr<SessionData>& data() const { return data_; }
        explicit operator bool() const { return data_ != nullptr; }
        // The session already had its share of requests running or waiting:
        // this one was not let in (and holds nothing).
        bool busy() const { return busy_; }

    private:
        friend class SessionStore;
        void release();
        SessionStore* store_ = nullptr;
        std::shared_ptr<Entry> entry_;
        std::shared_ptr<SessionData> data_;
        std::string id_;
        bool busy_ = false;
        std::string stored_;        // shared: the values as read
        long long expires_ = 0;     // shared: the row's expiry as read
    };

    // Waits until no other request holds the session, then holds it. With
    // max_users, a session that has that many requests running or waiting
    // gets a busy lease at once: each waiter holds a worker thread, and one
    // session must not take them all.
    Lease acquire(const std::string& id, unsigned max_users = 0);
    // The values of a live session without holding it (for readers that do
    // not run a page); null when there is none.
    std::shared_ptr<SessionData> peek(const std::string& id);
    // Stores a session made by a request from addr; returns its new id, or
    // "" when it is not kept: addr opened its share of sessions in this
    // window, or the store is full and only a signed-in session could make
    // way for it. Room is made by dropping the anonymous session idle
    // longest; a signed-in one goes only for another signed-in one.
    std::string add(std::shared_ptr<SessionData> data, const std::string& addr = {});
    // Gives the leased session a new id; the old one no longer reaches it.
    // "" when the shared table refused: the session then ends with the request.
    std::string renew(Lease& lease);
    void remove(const std::string& id);
    std::size_t size();

    // From now on the sessions live in `backing`, shared with other servers
    // of the site; this store only lets one request of a session run at a
    // time here and counts the new sessions of each address. Call before
    // the first request.
    void share_through(std::unique_ptr<SessionBacking> backing);

    // 128 random bits from the kernel, as 32 hex digits.
    static std::string new_id();
    // Only an id of that form reaches the shared table.
    static bool plausible_id(const std::string& id);
    // The table's key of an id: its BLAKE2b hash, so that whoever reads the
    // table cannot take over a session.
    static std::string key_of(const std::string& id);
    // The values as one text without NULs, apostrophes or invalid UTF-8, and
    // back; nullopt for a text that is not one (read as no session).
    static std::string serialise(const SessionData& data);
    static std::optional<std::unordered_map<std::string, Value>> parse(const std::string& text);
    // The most a session's text may take in the table; a bigger one is not written.
    static constexpr std::size_t kMaxSharedBytes = 8u << 20;

private:
    using Lru = std::list<std::string>;
    struct Entry {
        std::shared_ptr<SessionData> data;
        std::mutex run;           // held while a page of the session runs
        unsigned users = 0;       // leases held or waited for (under mu_)
        Clock::time_point last_access;
        Lru::iterator lru;        // position in its list of lru_, front = most recent
        bool account = false;     // logged in: in lru_[1], else lru_[0]
        bool gone = false;        // removed while a request waited for it
        std::string held_as;      // shared: its key in held_
    };

    void erase_locked(std::unordered_map<std::string, std::shared_ptr<Entry>>::iterator it);
    void sweep_locked(Clock::time_point now);
    bool live_locked(const Entry& e, Clock::time_point now) const;
    std::string insert_locked(std::shared_ptr<Entry> e, Clock::time_point now);

    std::mutex mu_;
    std::unordered_map<std::string, std::shared_ptr<Entry>> sessions_;
    // Sessions by last use, anonymous ones and logged-in ones apart: a full
    // store drops anonymous sessions first, so a flood of visits to the
    // login form cannot push out the sessions of people at work.
    Lru lru_[2];
    Lru& list_of(const Entry& e) { return lru_[e.account ? 1 : 0]; }
    static bool has_account(const SessionData& d);
    void place_locked(Entry& e, bool account);
    std::size_t cap_;
    std::chrono::seconds idle_;
    SessionAddressCap per_addr_;
    struct Window {
        Clock::time_point start;
        unsigned count = 0;
    };
    std::unordered_map<std::string, Window> opened_;  // new sessions by address
    bool address_allows_locked(const std::string& addr, Clock::time_point now);
    unsigned counter_ = 0;

    // Shared sessions: the entries of requests running or waiting here.
    std::unique_ptr<SessionBacking> backing_;
    std::unordered_map<std::string, std::shared_ptr<Entry>> held_;
    unsigned added_ = 0;
    Lease acquire_shared(const std::string& id, unsigned max_users);
    std::shared_ptr<SessionData> load_shared(const std::string& id, std::string* stored, long long* expires);
    void write_back(Lease& lease);
    void save_merged(const std::string& key, const std::string& read, SessionBacking::Row row);
    void let_go_locked(Entry& e);
    // Shared expiry is wall-clock time: the servers' clocks must agree (NTP).
    static long long wall_seconds();
    template <class F>
    bool guarded(const char* what, F&& f);
};

}  // namespace tav
