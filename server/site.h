// One served site instance: page dispatch, static files, sessions and the
// login throttle.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

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
    // The answers that need no page, no session and no database (the
    // site's own static files and malformed paths), for the connection's
    // thread; false leaves the request to handle().
    bool handle_quick(const HttpRequest& req, HttpResponse& out);

    const std::string& root() const { return root_; }
    SessionStore& sessions() { return sessions_; }
    LoginThrottleTable& throttle() { return throttle_; }
    AppLog& log() { return log_; }
    void reopen_log() { log_.reopen(); }

    static constexpr const char* kSessionCookie = "TAVSESSION";
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
    HttpResponse refuse_cross_site(const HttpRequest& req, const std::string& path, const std::string& why);
    // anonymous: run without the request's session and set no cookie.
    HttpResponse run_page(const std::string& cls, const HttpRequest& req, std::string path, bool anonymous);
    // True when account id sent or received a mail that has Email/name attached.
    bool mail_attachment_of(const std::string& name, const Value& id);
    HttpResponse serve_static(const std::string& norm, const HttpRequest& req);
    bool may_read(const std::string& norm, const HttpRequest& req);

    // The site's small static files in memory, each checked against the
    // disk at most once a second: no open, read and close per request.
    struct CachedFile {
        std::string bytes, etag, last_modified, content_type, cache_control;
        std::uint64_t size = 0;
        std::int64_t mtime_ns = 0;
        mutable std::atomic<std::int64_t> checked_ms{0};  // steady clock
    };
    std::shared_ptr<const CachedFile> cached_file(const std::string& norm);
    std::mutex cache_mu_;
    std::unordered_map<std::string, std::shared_ptr<const CachedFile>> cache_;
    std::uint64_t cache_bytes_ = 0;

    std::string root_;
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

// The client script that pages asking for kCompatDialogs load as
// tavdialog.js: the parts in compat_dir joined in the order its order.txt
// lists them (they share one closure, so the browser gets one file). Written
// by init_site, so serving needs no build step of its own.
std::string join_client_script(const std::string& compat_dir);

// The default application log of an instance: beside its folder.
std::string default_log_path(const std::string& dir);

}  // namespace tav
