#include "server/sessions.h"

#include <sys/random.h>

#include <cerrno>
#include <stdexcept>

namespace tav {

SessionStore::SessionStore(std::size_t cap, std::chrono::seconds idle) : cap_(cap ? cap : 1), idle_(idle) {}

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

void SessionStore::erase_locked(std::unordered_map<std::string, std::shared_ptr<Entry>>::iterator it) {
    it->second->gone = true;
    lru_.erase(it->second->lru);
    sessions_.erase(it);
}

void SessionStore::sweep_locked(Clock::time_point now) {
    // The tail is idle longest; stop at the first live one.
    while (!lru_.empty()) {
        auto it = sessions_.find(lru_.back());
        if (live_locked(*it->second, now)) break;
        erase_locked(it);
    }
}

std::string SessionStore::insert_locked(std::shared_ptr<Entry> e, Clock::time_point now) {
    sweep_locked(now);
    if (sessions_.size() >= cap_) {
        // Drop the one idle longest, never one a request holds.
        for (auto r = lru_.rbegin(); r != lru_.rend(); ++r) {
            auto it = sessions_.find(*r);
            if (it->second->users == 0) {
                erase_locked(it);
                break;
            }
        }
    }
    std::string id;
    do id = new_id();
    while (sessions_.count(id));
    lru_.push_front(id);
    e->lru = lru_.begin();
    e->last_access = now;
    sessions_.emplace(id, std::move(e));
    return id;
}

SessionStore::Lease SessionStore::acquire(const std::string& id) {
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
        ++e->users;
        e->last_access = now;
        lru_.splice(lru_.begin(), lru_, e->lru);
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

std::string SessionStore::add(std::shared_ptr<SessionData> data) {
    auto e = std::make_shared<Entry>();
    e->data = std::move(data);
    std::lock_guard lock(mu_);
    return insert_locked(std::move(e), Clock::now());
}

std::string SessionStore::renew(Lease& lease) {
    std::lock_guard lock(mu_);
    auto it = sessions_.find(lease.id_);
    if (it != sessions_.end() && it->second == lease.entry_) {
        lru_.erase(it->second->lru);
        sessions_.erase(it);
    }
    // The entry keeps its lock and lease count; only its name changes.
    std::string id;
    do id = new_id();
    while (sessions_.count(id));
    auto& e = lease.entry_;
    e->gone = false;
    lru_.push_front(id);
    e->lru = lru_.begin();
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
    entry_->run.unlock();
    {
        std::lock_guard lock(store_->mu_);
        --entry_->users;
        entry_->last_access = Clock::now();
    }
    store_ = nullptr;
    entry_.reset();
    data_.reset();
}

}  // namespace tav
