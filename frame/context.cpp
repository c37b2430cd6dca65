#include "frame/context.h"

#include "frame/errors.h"
#include "frame/host.h"
#include "frame/login_throttle.h"

namespace tav {

namespace {
thread_local Context* tl_context = nullptr;
}

Context* current_context() { return tl_context; }

LoginThrottle* login_throttle() { return tl_context ? tl_context->throttle : nullptr; }

ContextScope::ContextScope(Context& ctx) : previous_(tl_context) { tl_context = &ctx; }
ContextScope::~ContextScope() { tl_context = previous_; }

void host_call(const std::source_location& loc) {
    mark(loc);
    Context* ctx = tl_context;
    if (ctx && ctx->server) {
        auto limit = std::chrono::seconds(ctx->server->script_timeout());
        if (std::chrono::steady_clock::now() - ctx->started > limit) throw ScriptTimeout{};
    }
}

}  // namespace tav
