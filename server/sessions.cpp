#include "server/sessions.h"

#include <sodium.h>
#include <sys/random.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>

#include "frame/encoding.h"

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

bool SessionStore::plausible_id(const std::string& id) {
    if (id.size() != 32) return false;
    for (char c : id)
        if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
    return true;
}

std::string SessionStore::key_of(const std::string& id) {
    unsigned char out[32];
    crypto_generichash(out, sizeof out, reinterpret_cast<const unsigned char*>(id.data()), id.size(), nullptr, 0);
    static const char hex[] = "0123456789abcdef";
    std::string key;
    for (unsigned char b : out) {
        key += hex[b >> 4];
        key += hex[b & 15];
    }
    return key;
}

namespace {

// One field of the session text: bytes that could end a field or a line,
// stop the store (NUL, apostrophe) or break the server's UTF-8 go as %XX.
void put_field(std::string& out, const std::string& text) {
    const bool utf8 = is_valid_utf8(text);
    static const char hex[] = "0123456789ABCDEF";
    for (unsigned char c : text) {
        if (c < 0x20 || c == 0x7f || c == '%' || c == '\'' || (c >= 0x80 && !utf8)) {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
        } else {
            out += static_cast<char>(c);
        }
    }
}

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool get_field(std::string_view in, std::string& out) {
    out.clear();
    for (std::size_t i = 0; i < in.size(); ++i) {
        if (in[i] != '%') {
            out += in[i];
            continue;
        }
        if (i + 2 >= in.size()) return false;
        int hi = hex_digit(in[i + 1]), lo = hex_digit(in[i + 2]);
        if (hi < 0 || lo < 0) return false;
        out += static_cast<char>(hi * 16 + lo);
        i += 2;
    }
    return true;
}

}  // namespace

// A line a value: the key, a tab, its kind (e empty, n null, d number,
// t text) and what it holds.
std::string SessionStore::serialise(const SessionData& data) {
    std::lock_guard lock(data.mu);
    std::vector<const std::pair<const std::string, Value>*> sorted;
    for (const auto& kv : data.values) sorted.push_back(&kv);
    // The same values give the same text: an unchanged session is not written.
    std::sort(sorted.begin(), sorted.end(), [](auto* a, auto* b) { return a->first < b->first; });
    std::string out;
    for (const auto* kv : sorted) {
        put_field(out, kv->first);
        out += '\t';
        const Value& v = kv->second;
        switch (v.kind()) {
        case Value::Kind::Empty: out += 'e'; break;
        case Value::Kind::Null: out += 'n'; break;
        case Value::Kind::Number: {
            char buf[40];
            std::snprintf(buf, sizeof buf, "d%.17g", v.num());
            out += buf;
            break;
        }
        case Value::Kind::Text:
            out += 't';
            put_field(out, v.str());
            break;
        }
        out += '\n';
    }
    return out;
}

std::optional<std::unordered_map<std::string, Value>> SessionStore::parse(const std::string& text) {
    std::unordered_map<std::string, Value> values;
    std::string_view rest = text;
    std::string key, field;
    while (!rest.empty()) {
        std::size_t nl = rest.find('\n');
        if (nl == std::string_view::npos) return std::nullopt;
        std::string_view line = rest.substr(0, nl);
        rest.remove_prefix(nl + 1);
        std::size_t tab = line.find('\t');
        if (tab == std::string_view::npos || tab + 1 >= line.size() || !get_field(line.substr(0, tab), key))
            return std::nullopt;
        std::string_view body = line.substr(tab + 2);
        switch (line[tab + 1]) {
        case 'e':
            if (!body.empty()) return std::nullopt;
            values[key] = Value();
            break;
        case 'n':
            if (!body.empty()) return std::nullopt;
            values[key] = Value::null();
            break;
        case 'd': {
            std::string number(body);
            char* end = nullptr;
            double d = std::strtod(number.c_str(), &end);
            if (number.empty() || end != number.c_str() + number.size()) return std::nullopt;
            values[key] = Value(d);
            break;
        }
        case 't':
            if (!get_field(body, field)) return std::nullopt;
            values[key] = Value(field);
            break;
        default: return std::nullopt;
        }
    }
    return values;
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
    if (backing_) return acquire_shared(id, max_users);
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
    if (backing_) return load_shared(id, nullptr, nullptr);
    std::lock_guard lock(mu_);
    auto it = sessions_.find(id);
    if (it == sessions_.end() || !live_locked(*it->second, Clock::now())) return nullptr;
    return it->second->data;
}

std::string SessionStore::add(std::shared_ptr<SessionData> data, const std::string& addr) {
    auto e = std::make_shared<Entry>();
    e->data = std::move(data);
    auto now = Clock::now();
    std::unique_lock lock(mu_);
    if (!address_allows_locked(addr, now)) return {};
    if (!backing_) return insert_locked(std::move(e), now);
    const bool sweep = added_++ % 256 == 0;
    lock.unlock();
    const long long wall = wall_seconds();
    if (sweep) guarded("sweep", [&] { backing_->sweep(wall, cap_); });
    SessionBacking::Row row{serialise(*e->data), has_account(*e->data), wall + idle_.count()};
    if (row.values.size() > kMaxSharedBytes) return {};
    std::string id = new_id();
    if (!guarded("insert", [&] { backing_->insert(key_of(id), row); })) return {};
    return id;
}

std::string SessionStore::renew(Lease& lease) {
    if (backing_) {
        std::string id = new_id();
        // Every server reads the row by its key: under the new one it is
        // this request's, under the old one nobody's.
        const bool renamed = guarded("renew", [&] { backing_->rename(key_of(lease.id_), key_of(id)); });
        std::lock_guard lock(mu_);
        if (!renamed) {
            // Never the new values under the old id: the request ends without a session.
            lease.entry_->gone = true;
            return {};
        }
        auto& e = lease.entry_;
        if (auto it = held_.find(e->held_as); it != held_.end() && it->second == e) held_.erase(it);
        // Requests still waiting under the old id find no row; later ones
        // under the new id wait for this one here.
        e->held_as = id;
        held_[id] = e;
        lease.id_ = id;
        return id;
    }
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
    if (backing_) {
        if (!plausible_id(id)) return;
        guarded("remove", [&] { backing_->remove(key_of(id)); });
        std::lock_guard lock(mu_);
        if (auto it = held_.find(id); it != held_.end()) it->second->gone = true;
        return;
    }
    std::lock_guard lock(mu_);
    auto it = sessions_.find(id);
    if (it != sessions_.end()) erase_locked(it);
}

std::size_t SessionStore::size() {
    if (backing_) {
        std::size_t n = 0;
        guarded("count", [&] { n = backing_->count(wall_seconds()); });
        return n;
    }
    std::lock_guard lock(mu_);
    return sessions_.size();
}

SessionStore::Lease::Lease(Lease&& o) noexcept
    : store_(o.store_), entry_(std::move(o.entry_)), data_(std::move(o.data_)), id_(std::move(o.id_)),
      busy_(o.busy_), stored_(std::move(o.stored_)), expires_(o.expires_) {
    o.store_ = nullptr;
}

SessionStore::Lease& SessionStore::Lease::operator=(Lease&& o) noexcept {
    if (this != &o) {
        release();
        store_ = o.store_;
        entry_ = std::move(o.entry_);
        data_ = std::move(o.data_);
        id_ = std::move(o.id_);
        busy_ = o.busy_;
        stored_ = std::move(o.stored_);
        expires_ = o.expires_;
        o.store_ = nullptr;
    }
    return *this;
}

SessionStore::Lease::~Lease() { release(); }

void SessionStore::Lease::release() {
    if (!store_ || !entry_) return;
    if (store_->backing_) {
        // Written before the next request of the session runs here and
        // before the answer leaves, so the next one finds it on any server.
        if (data_ && !entry_->gone) store_->write_back(*this);
        entry_->run.unlock();
        {
            std::lock_guard lock(store_->mu_);
            store_->let_go_locked(*entry_);
        }
        store_ = nullptr;
        entry_.reset();
        data_.reset();
        return;
    }
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

// ---- Shared sessions

void SessionStore::share_through(std::unique_ptr<SessionBacking> backing) { backing_ = std::move(backing); }

template <class F>
bool SessionStore::guarded(const char* what, F&& f) {
    try {
        f();
        return true;
    } catch (const std::exception& e) {
        backing_->failed(std::string("session ") + what + ": " + e.what());
    } catch (...) {
        // The request's time ran out in the store: the session stays as it was.
        backing_->failed(std::string("session ") + what + ": interrupted");
    }
    return false;
}

std::shared_ptr<SessionData> SessionStore::load_shared(const std::string& id, std::string* stored, long long* expires) {
    if (!plausible_id(id)) return nullptr;
    std::optional<SessionBacking::Row> row;
    if (!guarded("read", [&] { row = backing_->load(key_of(id)); }) || !row) return nullptr;
    if (row->expires < wall_seconds()) return nullptr;  // the sweep removes it
    auto values = parse(row->values);
    if (!values) {
        backing_->failed("session read: a row that is no session's text, taken for none");
        return nullptr;
    }
    auto data = std::make_shared<SessionData>();
    data->values = std::move(*values);
    if (stored) *stored = std::move(row->values);
    if (expires) *expires = row->expires;
    return data;
}

SessionStore::Lease SessionStore::acquire_shared(const std::string& id, unsigned max_users) {
    Lease lease;
    if (!plausible_id(id)) return lease;
    std::shared_ptr<Entry> e;
    {
        std::lock_guard lock(mu_);
        auto& slot = held_[id];
        if (!slot) {
            slot = std::make_shared<Entry>();
            slot->held_as = id;
        }
        e = slot;
        if (max_users && e->users >= max_users) {
            lease.busy_ = true;
            return lease;
        }
        ++e->users;
    }
    e->run.lock();
    lease.store_ = this;
    lease.entry_ = e;
    lease.id_ = id;
    // Read only now: the request before, here, has written its values.
    lease.data_ = load_shared(id, &lease.stored_, &lease.expires_);
    return lease;
}

void SessionStore::write_back(Lease& lease) {
    const long long now = wall_seconds();
    SessionBacking::Row row{serialise(*lease.data_), has_account(*lease.data_), now + idle_.count()};
    const std::string key = key_of(lease.id_);
    if (row.values != lease.stored_) {
        if (row.values.size() > kMaxSharedBytes) {
            backing_->failed("session write: " + std::to_string(row.values.size()) +
                             " bytes of values, over the limit; the session keeps its values before the request");
            return;
        }
        guarded("write", [&] { save_merged(key, lease.stored_, row); });
        return;
    }
    // Unchanged values: the expiry moves on at most once a minute (or a
    // quarter of the idle time), not once a page.
    const long long step = std::min<long long>(60, idle_.count() / 4);
    if (lease.expires_ < row.expires - step) guarded("touch", [&] { backing_->touch(key, row.expires); });
}

namespace {

// A session's text as its lines by key (each line starts with the key and
// a tab; see SessionStore::serialise).
std::map<std::string_view, std::string_view> lines_by_key(std::string_view text) {
    std::map<std::string_view, std::string_view> out;
    while (!text.empty()) {
        std::size_t nl = text.find('\n');
        std::string_view line = text.substr(0, nl == std::string_view::npos ? text.size() : nl + 1);
        text.remove_prefix(line.size());
        out[line.substr(0, line.find('\t'))] = line;
    }
    return out;
}

}  // namespace

// Another server may run a request of the same session at the same time
// (one request at a time holds only within a server): the row is written
// only while it holds what this request read; else this request's own
// changes, key by key, are laid onto the row as it is now, and tried again.
void SessionStore::save_merged(const std::string& key, const std::string& read, SessionBacking::Row row) {
    const std::string mine = row.values;
    std::string was = read;
    for (int attempt = 0; attempt < 8; ++attempt) {
        if (backing_->save_if(key, row, was)) return;
        auto now = backing_->load(key);
        if (!now) return;  // ended elsewhere (logout): nothing to keep
        auto merged = lines_by_key(now->values);
        const auto before = lines_by_key(read), after = lines_by_key(mine);
        for (const auto& [k, line] : after)
            if (auto b = before.find(k); b == before.end() || b->second != line) merged[k] = line;
        for (const auto& [k, line] : before)
            if (!after.count(k)) merged.erase(k);
        std::string text;
        for (const auto& [k, line] : merged) text += line;
        auto values = parse(text);
        if (!values) return;
        SessionData data;
        data.values = std::move(*values);
        row.values = serialise(data);
        row.account = has_account(data);
        was = std::move(now->values);
    }
    backing_->failed("session write: the row kept changing under this request; its changes are not kept");
}

void SessionStore::let_go_locked(Entry& e) {
    if (--e.users > 0) return;
    if (auto it = held_.find(e.held_as); it != held_.end() && it->second.get() == &e) held_.erase(it);
}

long long SessionStore::wall_seconds() {
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace tav
