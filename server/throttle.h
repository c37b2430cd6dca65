// The login throttle: after a few free failures under a key, each further
// failure doubles the wait before the next attempt counts, up to a cap.
// Success clears the key. Nothing ever locks an account for good.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <unordered_map>

#include "frame/login_throttle.h"

namespace tav {

struct ThrottleSchedule {
    unsigned free_failures = 3;
    std::chrono::milliseconds first_delay{1000};
    std::chrono::milliseconds max_delay{30000};
};

class LoginThrottleTable final : public LoginThrottle {
public:
    using Clock = std::chrono::steady_clock;

    explicit LoginThrottleTable(ThrottleSchedule s = {}, std::size_t max_keys = 100000)
        : schedule_(s), max_keys_(max_keys) {}
    void set_schedule(ThrottleSchedule s);

    std::chrono::milliseconds pending(const std::string& key) override;
    void failed(const std::string& key) override;
    void succeeded(const std::string& key) override;
    std::size_t size();

    // The wait after the n-th failure in a row.
    std::chrono::milliseconds delay_after(unsigned failures) const;

private:
    struct Entry {
        unsigned failures = 0;
        Clock::time_point until;  // attempts before this are refused
    };
    void trim_locked(Clock::time_point now);

    std::mutex mu_;
    ThrottleSchedule schedule_;
    std::size_t max_keys_;
    std::unordered_map<std::string, Entry> keys_;
};

}  // namespace tav
