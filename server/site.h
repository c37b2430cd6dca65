// One served site instance: page dispatch, static files, sessions and the
// login throttle.
#pragma once

#include <string>

#include "frame/request_data.h"
#include "server/app_log.h"
#include "server/http_types.h"
#include "server/sessions.h"
#include "server/throttle.h"

namespace tav {

class Site {
public:
    // root: the instance folder; log_path: the application log (outside it).
    Site(const std::string& root, const std::string& log_path);
    HttpResponse handle(const HttpRequest& req);

    const std::string& root() const { return root_; }
    SessionStore& sessions() { return sessions_; }
    LoginThrottleTable& throttle() { return throttle_; }
    AppLog& log() { return log_; }

    static constexpr const char* kSessionCookie = "TAVSESSION";

    // Runs the page class cls for the request (also classes no URL names,
    // which tests use).
    HttpResponse run_page(const std::string& cls, const HttpRequest& req);

private:
    HttpResponse run_page(const std::string& cls, const HttpRequest& req, std::string path);
    HttpResponse serve_static(const std::string& norm, const HttpRequest& req);
    bool may_read(const std::string& norm, const HttpRequest& req);

    std::string root_;
    std::string dialog_script_;  // the bundle for pages that only need dialogs
    SessionStore sessions_;
    LoginThrottleTable throttle_;
    FileLog log_;
};

// The frame's request data for an HTTP request whose URL path decodes to path.
RequestData request_data(const HttpRequest& req, std::string path);

// Content type for a file name, by its extension.
std::string content_type_for(const std::string& name);

// Makes a site instance in dir from the template: the static files, the
// empty folders the pages write into, and the database (an existing one is
// left alone).
void init_site(const std::string& dir, const std::string& template_dir);

// The default application log of an instance: beside its folder.
std::string default_log_path(const std::string& dir);

}  // namespace tav
