// Growing delays after failed logins, per account from one address. The
// server keeps the table; the login page asks it through the context.
#pragma once

#include <chrono>
#include <string>

namespace tav {

class LoginThrottle {
public:
    virtual ~LoginThrottle() = default;
    // How long attempts under this key must still wait; zero when free.
    virtual std::chrono::milliseconds pending(const std::string& key) = 0;
    virtual void failed(const std::string& key) = 0;
    virtual void succeeded(const std::string& key) = 0;
};

// The running request's throttle, or null outside a request or when the
// host keeps none.
LoginThrottle* login_throttle();

}  // namespace tav
