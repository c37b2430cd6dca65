// One served site instance: the dispatcher that sends each request to a
// page, a static file or a private file, with the session store and the
// login throttle the pages share. docs/architecture.md follows a request
// through the files that do each step.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "frame/request_data.h"
#include "server/app_log.h"
#include "server/http_types.h"
#include "server/private_files.h"
#include "server/session_glue.h"
#include "server/sessions.h"
#include "server/static_files.h"
#include "server/throttle.h"

namespace tav {

class Site {
public:
    // root: the instance folder; log_path: the application log (outside it).
    Site(const std::string& root, const std::string& log_path);
    HttpResponse handle(const HttpRequest& req);
    // The answers that need no page, no session and no database (the
    // site's own static files and malformed paths), for the connection's
    // thread; false leaves the request to handle().
    bool handle_quick(const HttpRequest& req, HttpResponse& out);

    const std::string& root() const { return root_; }
    SessionStore& sessions() { return sessions_; }
    LoginThrottleTable& throttle() { return throttle_; }
    AppLog& log() { return log_; }
    void reopen_log() { log_.reopen(); }

    static constexpr const char* kSessionCookie = tav::kSessionCookie;
    // A body a visitor without an account may send: the login and the
    // registration forms are a few hundred bytes.
    static constexpr std::uint64_t kAnonymousBodyLimit = 64 * 1024;
    // Requests of one session running or waiting for their turn at once. The
    // desktop loads seven frames together; a dozen leaves room, and keeps
    // one session (each waiter holds a worker) to a third of the workers.
    static constexpr unsigned kSessionRequestCap = 12;

    // The account id of the request's session, "" when none.
    std::string account_of(const HttpRequest& req);
    // The body limit the HTTP layer applies to the request (0: its own).
    std::uint64_t body_limit_for(const HttpRequest& req);

    // Runs the page class cls for the request (also classes no URL names,
    // which tests use).
    HttpResponse run_page(const std::string& cls, const HttpRequest& req);

private:
    // Refuses what another site made the browser send, then runs the page.
    HttpResponse page_request(const std::string& cls, const HttpRequest& req, std::string path);
    // stranger: run without the request's session and set no cookie.
    HttpResponse run_page(const std::string& cls, const HttpRequest& req, std::string path, bool stranger);
    // A file below the root: private ones only for a session that may read them.
    HttpResponse file_request(const std::string& norm, const HttpRequest& req);
    void log_refusal(const char* what, const HttpRequest& req, const std::string& path, const std::string& why);

    std::string root_;
    SessionStore sessions_;
    LoginThrottleTable throttle_;
    FileLog log_;
    StaticFiles static_files_;
    PrivateFiles private_files_;
};

// The frame's request data for an HTTP request whose URL path decodes to path.
RequestData request_data(const HttpRequest& req, std::string path);

}  // namespace tav
