#include "frame/request_scope.h"

#include <utility>

#include "frame/errors.h"
#include "frame/page.h"

namespace tav {

RequestScope::RequestScope(RequestData req, std::shared_ptr<SessionData> session_data, std::string site_root,
                           AppLog& log, LoginThrottle* throttle)
    : request(std::move(req)),
      session(std::move(session_data)),
      server(std::move(site_root)),
      log_(log),
      ctx_{&request, &response, &session, &server, &log, throttle},
      bound_(ctx_) {}

void RequestScope::run(Page& page, const std::function<void()>& body) {
    try {
        page.routine("I_init", body);
    } catch (const ScriptTimeout&) {
        response.write("\r\n<br><b>The script timed out: it ran longer than its limit of " +
                       std::to_string(server.script_timeout()) + " seconds.</b>\r\n");
        log_.write(2, "Tavelor.ScriptTimeout " + page.class_name() + ".I_init stopped after " +
                          std::to_string(server.script_timeout()) + " seconds");
    }
}

void RequestScope::run(Page& page) { run(page, [&] { page.I_init(); }); }

}  // namespace tav
