// The server's session store: random ids, idle expiry, a cap on the number
// of sessions, and one request at a time per session around the page.
#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "frame/host.h"

namespace tav {

class SessionStore {
    struct Entry;

public:
    using Clock = std::chrono::steady_clock;

    explicit SessionStore(std::size_t cap = 10000, std::chrono::seconds idle = std::chrono::minutes(20));
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

    private:
        friend class SessionStore;
        void release();
        SessionStore* store_ = nullptr;
        std::shared_ptr<Entry> entry_;
        std::shared_ptr<SessionData> data_;
        std::string id_;
    };

    // Waits until no other request holds the session, then holds it.
    Lease acquire(const std::string& id);
    // The values of a live session without holding it (for readers that do
    // not run a page); null when there is none.
    std::shared_ptr<SessionData> peek(const std::string& id);
    // Stores a session made by a request; returns its new id. Makes room by
    // dropping the session idle longest when the store is full.
    std::string add(std::shared_ptr<SessionData> data);
    // Gives the leased session a new id; the old one no longer reaches it.
    std::string renew(Lease& lease);
    void remove(const std::string& id);
    std::size_t size();

    // 128 random bits from the kernel, as 32 hex digits.
    static std::string new_id();

private:
    using Lru = std::list<std::string>;
    struct Entry {
        std::shared_ptr<SessionData> data;
        std::mutex run;           // held while a page of the session runs
        unsigned users = 0;       // leases held or waited for (under mu_)
        Clock::time_point last_access;
        Lru::iterator lru;        // position in lru_, front = most recent
        bool gone = false;        // removed while a request waited for it
    };

    void erase_locked(std::unordered_map<std::string, std::shared_ptr<Entry>>::iterator it);
    void sweep_locked(Clock::time_point now);
    bool live_locked(const Entry& e, Clock::time_point now) const;
    std::string insert_locked(std::shared_ptr<Entry> e, Clock::time_point now);

    std::mutex mu_;
    std::unordered_map<std::string, std::shared_ptr<Entry>> sessions_;
    Lru lru_;
    std::size_t cap_;
    std::chrono::seconds idle_;
    unsigned counter_ = 0;
};

}  // namespace tav
