#include "frame/context.h"

#include <time.h>

#include "frame/errors.h"
#include "frame/host.h"
#include "frame/login_throttle.h"

namespace tav {

namespace {
thread_local Context* tl_context = nullptr;

// The limit is in seconds: the tick-grained clock is close enough, and a
// fine reading on every host call showed in the profile of short pages.
std::chrono::steady_clock::time_point coarse_now() {
    timespec ts{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &ts);
    return std::chrono::steady_clock::time_point(std::chrono::seconds(ts.tv_sec) +
                                                 std::chrono::nanoseconds(ts.tv_nsec));
}
}  // namespace

Context* current_context() { return tl_context; }

LoginThrottle* login_throttle() { return tl_context ? tl_context->throttle : nullptr; }

ContextScope::ContextScope(Context& ctx) : previous_(tl_context) { tl_context = &ctx; }
ContextScope::~ContextScope() { tl_context = previous_; }

void host_call(const std::source_location& loc) {
    mark(loc);
    Context* ctx = tl_context;
    if (ctx && ctx->server) {
        auto limit = std::chrono::seconds(ctx->server->script_timeout());
        if (coarse_now() - ctx->started > limit) throw ScriptTimeout{};
    }
}

}  // namespace tav
