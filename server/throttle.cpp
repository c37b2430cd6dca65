#include "server/throttle.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace tav {

void LoginThrottleTable::set_schedule(ThrottleSchedule s) {
    std::lock_guard lock(mu_);
    schedule_ = s;
}

std::chrono::milliseconds LoginThrottleTable::delay_after(unsigned failures) const {
    if (failures <= schedule_.free_failures) return std::chrono::milliseconds(0);
    unsigned doublings = std::min(failures - schedule_.free_failures - 1, 30u);
    auto d = schedule_.first_delay * (std::int64_t{1} << doublings);
    return std::min(d, schedule_.max_delay);
}

std::chrono::milliseconds LoginThrottleTable::pending(const std::string& key) {
    auto now = Clock::now();
    std::lock_guard lock(mu_);
    auto it = keys_.find(key);
    if (it == keys_.end() || it->second.until <= now) return std::chrono::milliseconds(0);
    // Round up, so a caller that sleeps this long is then free.
    return std::chrono::ceil<std::chrono::milliseconds>(it->second.until - now);
}

void LoginThrottleTable::failed(const std::string& key) {
    auto now = Clock::now();
    std::lock_guard lock(mu_);
    if (keys_.size() >= max_keys_ && !keys_.count(key)) trim_locked(now);
    Entry& e = keys_[key];
    ++e.failures;
    e.until = now + delay_after(e.failures);
}

void LoginThrottleTable::succeeded(const std::string& key) {
    std::lock_guard lock(mu_);
    keys_.erase(key);
}

std::size_t LoginThrottleTable::size() {
    std::lock_guard lock(mu_);
    return keys_.size();
}

void LoginThrottleTable::trim_locked(Clock::time_point now) {
    // Keys whose wait is over and that have rested as long again as the cap
    // carry no weight worth the memory; a table still full keeps the newest
    // half of the rest.
    for (auto it = keys_.begin(); it != keys_.end();)
        if (it->second.until + schedule_.max_delay <= now)
            it = keys_.erase(it);
        else
            ++it;
    if (keys_.size() < max_keys_) return;
    std::vector<Clock::time_point> untils;
    untils.reserve(keys_.size());
    for (auto& [k, e] : keys_) untils.push_back(e.until);
    auto mid = untils.begin() + static_cast<std::ptrdiff_t>(untils.size() / 2);
    std::nth_element(untils.begin(), mid, untils.end());
    Clock::time_point cut = *mid;
    for (auto it = keys_.begin(); it != keys_.end();)
        if (it->second.until < cut)
            it = keys_.erase(it);
        else
            ++it;
}

}  // namespace tav
