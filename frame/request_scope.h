// One request's host objects, bound to the thread for the scope's lifetime:
// the dispatcher, the fuzz targets and the test helper all run page code
// through this, so the binding is written once.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "frame/context.h"
#include "frame/host.h"
#include "frame/request_data.h"

namespace tav {

class Page;

class RequestScope {
public:
    // session: the session's values, or null when the request comes without
    // one; throttle may be null.
    RequestScope(RequestData req, std::shared_ptr<SessionData> session, std::string site_root, AppLog& log,
                 LoginThrottle* throttle = nullptr);
    RequestScope(const RequestScope&) = delete;
    RequestScope& operator=(const RequestScope&) = delete;

    // Runs body as the page's I_init under the page's handler. A script
    // timeout ends the page with the timeout notice.
    void run(Page& page, const std::function<void()>& body);
    void run(Page& page);

    RequestObject request;
    ResponseObject response;
    SessionObject session;
    ServerObject server;

private:
    AppLog& log_;
    Context ctx_;
    ContextScope bound_;
};

}  // namespace tav
