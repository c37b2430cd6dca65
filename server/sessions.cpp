#include "server/sessions.h"

#include <sys/random.h>

#include <cerrno>
#include <stdexcept>

namespace tav {

SessionStore::SessionStore(std::size_t cap, std::chrono::seconds idle, SessionAddressCap per_addr)
    : cap_(cap ? cap : 1), idle_(idle), per_addr_(per_addr) {}

bool SessionStore::address_allows_locked(const std::string& addr, Clock::time_point now) {
    if (addr.empty()) return true;
    if (opened_.size() >= 4 * cap_) {
        // Windows that are over weigh nothing.
        for (auto it = opened_.begin(); it != opened_.end();)
            if (now - it->second.start >= per_addr_.window)
                it = opened_.erase(it);
            else
                ++it;
        if (opened_.size() >= 4 * cap_) return false;  // a flood of addresses: keep what we have
    }
    Window& w = opened_[addr];
    if (w.count == 0 || now - w.start >= per_addr_.window) {
        w.start = now;
        w.count = 0;
    }
    if (w.count >= per_addr_.sessions) return false;
    ++w.count;
    return true;
}

std::string SessionStore::new_id() {
    unsigned char bytes[16];
    std::size_t got = 0;
    while (got < sizeof bytes) {
        ssize_t n = ::getrandom(bytes + got, sizeof bytes - got, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) throw std::runtime_error("getrandom failed");
        got += static_cast<std::size_t>(n);
    }
    static const char hex[] = "0123456789abcdef";
    std::string id;
    id.reserve(32);
    for (unsigned char b : bytes) {
        id += hex[b >> 4];
        id += hex[b & 15];
    }
    return id;
}

bool SessionStore::live_locked(const Entry& e, Clock::time_point now) const {
    return e.users > 0 || now - e.last_access <= idle_;
}

bool SessionStore::has_account(const SessionData& d) {
    std::lock_guard lock(d.mu);
    auto it = d.values.find("user_id");
    return it != d.values.end() && !it->second.str().empty();
}

void SessionStore::place_locked(Entry& e, bool account) {
    if (e.account == account) {
        list_of(e).splice(list_of(e).begin(), list_of(e), e.lru);
        return;
    }
    Lru& from = list_of(e);
    e.account = account;
    list_of(e).splice(list_of(e).begin(), from, e.lru);
}

void SessionStore::erase_locked(std::unordered_map<std::string, std::shared_ptr<Entry>>::iterator it) {
    it->second->gone = true;
    list_of(*it->second).erase(it->second->lru);
    sessions_.erase(it);
}

void SessionStore::sweep_locked(Clock::time_point now) {
    // A tail is idle longest; stop at the first live one.
    for (Lru& list : lru_)
        while (!list.empty()) {
            auto it = sessions_.find(list.back());
            if (live_locked(*it->second, now)) break;
            erase_locked(it);
        }
}

std::string SessionStore::insert_locked(std::shared_ptr<Entry> e, Clock::time_point now) {
    sweep_locked(now);
    e->account = has_account(*e->data);
    if (sessions_.size() >= cap_) {
        // Drop the one idle longest, never one a request holds, and a
        // signed-in one only to make room for another.
        bool dropped = false;
        for (Lru& list : lru_) {
            if (&list == &lru_[1] && !e->account) break;
            for (auto r = list.rbegin(); r != list.rend() && !dropped; ++r) {
                auto it = sessions_.find(*r);
                if (it->second->users == 0) {
                    erase_locked(it);
                    dropped = true;
                }
            }
            if (dropped) break;
        }
        if (!dropped && !e->account) return {};
    }
    std::string id;
    do id = new_id();
    while (sessions_.count(id));
    list_of(*e).push_front(id);
    e->lru = list_of(*e).begin();
    e->last_access = now;
    sessions_.emplace(id, std::move(e));
    return id;
}

SessionStore::Lease SessionStore::acquire(const std::string& id, unsigned max_users) {
    Lease lease;
    if (id.empty()) return lease;
    std::shared_ptr<Entry> e;
    {
        auto now = Clock::now();
        std::lock_guard lock(mu_);
        if (++counter_ % 256 == 0) sweep_locked(now);
        auto it = sessions_.find(id);
        if (it == sessions_.end()) return lease;
        if (!live_locked(*it->second, now)) {
            erase_locked(it);
            return lease;
        }
        e = it->second;
        if (max_users && e->users >= max_users) {
            lease.busy_ = true;
            return lease;
        }
        ++e->users;
        e->last_access = now;
        place_locked(*e, e->account);
    }
    e->run.lock();  // outside the store's lock: other sessions go on
    lease.store_ = this;
    lease.entry_ = e;
    lease.id_ = id;
    std::lock_guard lock(mu_);
    if (!e->gone) lease.data_ = e->data;  // else the request before abandoned it
    return lease;
}

std::shared_ptr<SessionData> SessionStore::peek(const std::string& id) {
    if (id.empty()) return nullptr;
    std::lock_guard lock(mu_);
    auto it = sessions_.find(id);
    if (it == sessions_.end() || !live_locked(*it->second, Clock::now())) return nullptr;
    return it->second->data;
}

std::string SessionStore::add(std::shared_ptr<SessionData> data, const std::string& addr) {
    auto e = std::make_shared<Entry>();
    e->data = std::move(data);
    auto now = Clock::now();
    std::lock_guard lock(mu_);
    if (!address_allows_locked(addr, now)) return {};
    return insert_locked(std::move(e), now);
}

std::string SessionStore::renew(Lease& lease) {
    std::lock_guard lock(mu_);
    auto it = sessions_.find(lease.id_);
    if (it != sessions_.end() && it->second == lease.entry_) {
        list_of(*it->second).erase(it->second->lru);
        sessions_.erase(it);
    }
    // The entry keeps its lock and lease count; only its name changes.
    std::string id;
    do id = new_id();
    while (sessions_.count(id));
    auto& e = lease.entry_;
    e->gone = false;
    e->account = has_account(*e->data);
    list_of(*e).push_front(id);
    e->lru = list_of(*e).begin();
    e->last_access = Clock::now();
    sessions_.emplace(id, e);
    lease.id_ = id;
    return id;
}

void SessionStore::remove(const std::string& id) {
    std::lock_guard lock(mu_);
    auto it = sessions_.find(id);
    if (it != sessions_.end()) erase_locked(it);
}

std::size_t SessionStore::size() {
    std::lock_guard lock(mu_);
    return sessions_.size();
}

SessionStore::Lease::Lease(Lease&& o) noexcept
    : store_(o.store_), entry_(std::move(o.entry_)), data_(std::move(o.data_)), id_(std::move(o.id_)) {
    o.store_ = nullptr;
}

SessionStore::Lease& SessionStore::Lease::operator=(Lease&& o) noexcept {
    if (this != &o) {
        release();
        store_ = o.store_;
        entry_ = std::move(o.entry_);
        data_ = std::move(o.data_);
        id_ = std::move(o.id_);
        o.store_ = nullptr;
    }
    return *this;
}

SessionStore::Lease::~Lease() { release(); }

void SessionStore::Lease::release() {
    if (!store_ || !entry_) return;
    // The page may have logged the session in or out.
    bool account = has_account(*entry_->data);
    entry_->run.unlock();
    {
        std::lock_guard lock(store_->mu_);
        --entry_->users;
        entry_->last_access = Clock::now();
        if (!entry_->gone) store_->place_locked(*entry_, account);
    }
    store_ = nullptr;
    entry_.reset();
    data_.reset();
}

}  // namespace tav
