// One served site instance: page dispatch, static files and sessions.
#pragma once

#include <string>

#include "frame/host.h"
#include "server/http_types.h"

namespace tav {

class Site {
public:
    // root: the instance folder; log_path: the application log (outside it).
    Site(const std::string& root, const std::string& log_path);
    HttpResponse handle(const HttpRequest& req);

    const std::string& root() const { return root_; }
    SessionStore& sessions() { return sessions_; }
    AppLog& log() { return log_; }

    static constexpr const char* kSessionCookie = "TAVSESSION";

    // Runs the page class cls for the request (also classes no URL names,
    // which tests use).
    HttpResponse run_page(const std::string& cls, const HttpRequest& req);

private:
    HttpResponse serve_static(const std::string& path);

    std::string root_;
    SessionStore sessions_;
    AppLog log_;
};

// Content type for a file name, by its extension.
std::string content_type_for(const std::string& name);

// Makes a site instance in dir from the template: the static files, the
// empty folders the pages write into, and the database (an existing one is
// left alone).
void init_site(const std::string& dir, const std::string& template_dir);

// The default application log of an instance: beside its folder.
std::string default_log_path(const std::string& dir);

}  // namespace tav
