// The per-request context: the host objects of the running request,
// reached from every routine without a parameter.
#pragma once

#include <chrono>
#include <source_location>

namespace tav {

class RequestObject;
class ResponseObject;
class SessionObject;
class ServerObject;
class AppLog;
class LoginThrottle;

struct Context {
    RequestObject* request = nullptr;
    ResponseObject* response = nullptr;
    SessionObject* session = nullptr;
    ServerObject* server = nullptr;
    AppLog* log = nullptr;
    LoginThrottle* throttle = nullptr;
    std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
};

// The context bound to this thread, or null outside a request.
Context* current_context();

// Binds a context to this thread for its lifetime.
class ContextScope {
public:
    explicit ContextScope(Context& ctx);
    ~ContextScope();
    ContextScope(const ContextScope&) = delete;
    ContextScope& operator=(const ContextScope&) = delete;

private:
    Context* previous_;
};

// Called by every host primitive: records the line of the call site and
// enforces the script time limit (throws ScriptTimeout once it has passed).
void host_call(const std::source_location& loc);

}  // namespace tav
