// The dispatcher: from a request's path to the page that answers it, a
// static file, or a private file, and from the page's host objects back to
// an HTTP answer.
#include "server/site.h"

#include <sys/stat.h>

#include <filesystem>

#include "frame/encoding.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/paths.h"
#include "frame/request_scope.h"
#include "frame/site_layout.h"
#include "frame/store.h"
#include "server/cross_site.h"
#include "server/error_answers.h"
#include "server/page_table.h"
#include "server/session_table.h"

namespace tav {

namespace {

bool has_control_bytes(std::string_view s) {
    for (unsigned char c : s)
        if (c < 0x20 || c == 0x7f) return true;
    return false;
}

// Its decoded URL path, as the pages see it.
std::string decoded_path(std::string_view target) {
    std::string bytes = percent_decode(target.substr(0, target.find('?')), false);
    return is_valid_utf8(bytes) ? bytes : gb_to_utf8(bytes);
}

}  // namespace

RequestData request_data(const HttpRequest& req, std::string path) {
    RequestData d;
    d.method = req.method;
    d.path = std::move(path);
    std::size_t q = req.target.find('?');
    if (q != std::string::npos) {
        d.query_string = req.target.substr(q + 1);
        d.query.parse(d.query_string);
    }
    d.headers = req.headers;
    d.remote_addr = req.remote_addr;
    d.body = req.body;
    if (d.body && d.body->size() <= (64u << 20) &&
        lower(d.header("Content-Type")).starts_with("application/x-www-form-urlencoded")) {
        std::string data(d.body->size(), '\0');
        data.resize(d.body->read_at(0, data.data(), data.size()));
        d.form.parse(data);
    }
    return d;
}

Site::Site(const std::string& root, const std::string& log_path)
    : root_(std::filesystem::weakly_canonical(root).string()),
      log_(log_path),
      static_files_(root_),
      private_files_(root_) {
    // A site on a database server may have other servers beside this one:
    // its sessions live in the database, so any of them can take a request.
    const std::string db = layout::database_path(root_);
    if (database_on_postgresql(db)) sessions_.share_through(session_table(db, log_));
}

std::string Site::account_of(const HttpRequest& req) {
    auto data = session_of(sessions_, req);
    return data ? session_value(*data, "user_id").str() : std::string();
}

std::uint64_t Site::body_limit_for(const HttpRequest& req) {
    // No page takes an upload from an anonymous visitor: the login form and
    // the registration form are all such a visitor may send.
    return account_of(req).empty() ? kAnonymousBodyLimit : 0;
}

void Site::log_refusal(const char* what, const HttpRequest& req, const std::string& path, const std::string& why) {
    std::string account = account_of(req);
    log_.write(2, std::string("Tavelor.Refused ") + what + " " + path + " address " + req.remote_addr + " account " +
                      (account.empty() ? "-" : account) + " (" + why + ")");
}

HttpResponse Site::page_request(const std::string& cls, const HttpRequest& req, std::string path) {
    if (std::string why = cross_site_refusal(req); !why.empty()) {
        log_refusal("cross-site", req, path, why);
        return cross_site_refused();
    }
    return run_page(cls, req, std::move(path), runs_as_stranger(req));
}

HttpResponse Site::file_request(const std::string& norm, const HttpRequest& req) {
    // Never-served names answer before anything reads the session.
    if (StaticFiles::never_served(norm)) return not_found();
    const bool private_file = PrivateFiles::holds(norm);
    // A file a session may not read looks the same as one that is not there.
    if (private_file && !private_files_.may_read(norm, session_of(sessions_, req).get())) return not_found();
    return static_files_.serve(norm, req, private_file);
}

HttpResponse Site::handle(const HttpRequest& req) {
    std::string path = decoded_path(req.target);
    if (has_control_bytes(path)) return bad_request();
    std::string norm;
    if (!normalize_path(path, norm)) return not_found();
    if (norm == "/" || norm.empty()) return page_request("default", req, std::move(path));
    std::string_view file = std::string_view(norm).substr(1);
    if (file.find('/') == std::string_view::npos) {
        std::string cls = page_class_for(file);
        if (!cls.empty()) return page_request(cls, req, std::move(path));
        std::size_t dot = file.rfind('.');
        if (dot != std::string_view::npos && iequals(file.substr(dot), ".asp")) return not_found();
    }
    return file_request(norm, req);
}

bool Site::handle_quick(const HttpRequest& req, HttpResponse& out) {
    std::string path = decoded_path(req.target);
    if (has_control_bytes(path)) {
        out = bad_request();
        return true;
    }
    std::string norm;
    if (!normalize_path(path, norm)) return false;
    if (norm == "/" || norm.empty()) return false;
    if (norm.find('/', 1) == std::string::npos) {
        std::string_view file = std::string_view(norm).substr(1);
        std::size_t dot = file.rfind('.');
        if (dot == std::string_view::npos || iequals(file.substr(dot), ".asp") || !page_class_for(file).empty())
            return false;
    } else if (PrivateFiles::holds(norm)) {
        return false;  // needs the session (and for mail, the database)
    }
    out = static_files_.serve(norm, req, false);
    return true;
}

HttpResponse Site::run_page(const std::string& cls, const HttpRequest& req) {
    return run_page(cls, req, decoded_path(req.target), false);
}

HttpResponse Site::run_page(const std::string& cls, const HttpRequest& req, std::string path, bool stranger) {
    std::unique_ptr<Page> page = make_page(cls);
    if (!page) return not_found();

    // Held until the answer is made: requests of one session take turns.
    SessionStore::Lease lease = sessions_.acquire(stranger ? std::string() : sent_session_id(req), kSessionRequestCap);
    if (lease.busy()) {
        log_refusal("busy", req, decoded_path(req.target),
                    std::to_string(kSessionRequestCap) + " requests of the session running or waiting");
        return session_busy();
    }
    ResponseObject response;
    std::string cookie;
    {
        RequestScope scope(request_data(req, std::move(path)), lease.data(), root_, log_, &throttle_);
        // The page's declared rule first: a request it refuses never reaches the page.
        const Access rule = registered_access(cls);
        scope.run(*page, [&] {
            if (admit(rule)) page->I_init();
        });
        page.reset();  // the page's connection and objects end with the request
        cookie = settle_session(sessions_, lease, scope.session, req, stranger, log_, decoded_path(req.target));
        response = std::move(scope.response);
    }

    HttpResponse out;
    out.status = response.status();
    if (out.status >= 500)
        log_.write(2, "Tavelor.HttpError " + std::to_string(out.status) + " from page " + cls + " for " +
                          req.remote_addr + " (the page's own error line, if any, is above)");
    if (!cookie.empty()) out.set_header("Set-Cookie", cookie);
    // Never kept: Back after logout must ask again and get the login page.
    out.set_header("Cache-Control", "no-store");
    for (const auto& [n, v] : response.headers()) out.headers.emplace_back(n, v);
    out.delay = response.held_back();
    if (response.redirected()) {
        std::string location = percent_escape(utf8_to_gb(response.location()), "", true);
        out.status = 302;
        out.set_header("Location", location);
        out.set_header("Content-Type", "text/html; charset=gb2312");
        out.body = "<head><title>Object moved</title></head>\r\n<body><h1>Object Moved</h1>"
                   "This object may be found <a HREF=\"" + html_text(location) + "\">here</a>.</body>\r\n";
        return out;
    }
    std::string& body = response.body();
    if (response.client_compat() & kCompatDialogs) body.insert(0, "<script src=\"tavdialog.js\"></script>\r\n");
    out.set_header("Content-Type", response.content_type());
    out.body = utf8_to_gb(body);
    return out;
}

}  // namespace tav
