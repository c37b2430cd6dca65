#include "server/site.h"

#include <sys/stat.h>

#include <cctype>
#include <chrono>
#include <cstring>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "frame/encoding.h"
#include "frame/errors.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/paths.h"
#include "frame/request_scope.h"
#include "frame/store.h"
#include "server/page_table.h"
#include "server/ranges.h"

namespace fs = std::filesystem;

namespace tav {

namespace {

std::string cookie_value(const std::string& cookies, const std::string& name) {
    std::size_t i = 0;
    while (i < cookies.size()) {
        std::size_t j = cookies.find(';', i);
        if (j == std::string::npos) j = cookies.size();
        std::string part = cookies.substr(i, j - i);
        std::size_t b = part.find_first_not_of(' ');
        if (b != std::string::npos) part.erase(0, b);
        std::size_t eq = part.find('=');
        if (eq != std::string::npos && part.substr(0, eq) == name) return part.substr(eq + 1);
        i = j + 1;
    }
    return {};
}

HttpResponse bad_request() {
    HttpResponse r;
    r.status = 400;
    r.set_header("Content-Type", "text/plain");
    r.body = "Bad Request";
    return r;
}

// Which fetches may run a page. A page is opened as a document or in a
// frame, or read by the site's own scripts; another site's <img>, <script>
// or <object> pointing at one (an old way to send a GET that deletes) is
// never one of ours.
bool embedded_load(const std::string& dest) {
    static const char* const kinds[] = {"image",        "script",        "style",     "font",     "audio",
                                        "video",        "track",         "object",    "embed",    "worker",
                                        "sharedworker", "serviceworker", "manifest",  "xslt",     "audioworklet",
                                        "paintworklet", "report"};
    for (const char* k : kinds)
        if (iequals(dest, k)) return true;
    return false;
}

// The host[:port] of an Origin value, "" when it is not one (e.g. "null").
std::string origin_host(const std::string& origin) {
    std::size_t p = origin.find("://");
    if (p == std::string::npos) return {};
    std::string rest = origin.substr(p + 3);
    std::size_t slash = rest.find('/');
    if (slash != std::string::npos) rest.erase(slash);
    std::string scheme = lower(origin.substr(0, p));
    // The default port may be written or left out.
    if ((scheme == "http" && rest.ends_with(":80")) || (scheme == "https" && rest.ends_with(":443")))
        rest.erase(rest.rfind(':'));
    return lower(rest);
}

std::string host_of(const HttpRequest& req) {
    std::string h = lower(req.header("Host"));
    if (h.ends_with(":80")) h.erase(h.size() - 3);
    return h;
}

HttpResponse not_found() {
    HttpResponse r;
    r.status = 404;
    r.set_header("Content-Type", "text/html; charset=utf-8");
    r.body = "<html><head><title>404 Not Found</title></head><body><h1>Not Found</h1></body></html>";
    return r;
}

}  // namespace

std::string content_type_for(const std::string& name) {
    std::size_t dot = name.rfind('.');
    std::size_t slash = name.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "application/octet-stream";
    // TreeBar.html is, in spite of its name, the outbar's script: pages load it by <script src>,
    // which browsers refuse for an HTML type under nosniff.
    if (iequals(std::string_view(name).substr(slash == std::string::npos ? 0 : slash + 1), "TreeBar.html"))
        return "application/javascript; charset=utf-8";
    std::string ext = lower(std::string_view(name).substr(dot));
    static const std::pair<const char*, const char*> types[] = {
        {".html", "text/html; charset=utf-8"}, {".htm", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},   {".js", "application/javascript; charset=utf-8"},
        {".txt", "text/plain; charset=utf-8"}, {".gif", "image/gif"},
        {".jpg", "image/jpeg"},                {".jpeg", "image/jpeg"},
        {".png", "image/png"},                 {".bmp", "image/bmp"},
        {".ico", "image/x-icon"},              {".svg", "image/svg+xml"},
        {".mp3", "audio/mpeg"},                {".wav", "audio/wav"},
        {".mid", "audio/midi"},                {".midi", "audio/midi"},
        {".wma", "audio/x-ms-wma"},            {".wmv", "video/x-ms-wmv"},
        {".asf", "video/x-ms-asf"},            {".asx", "video/x-ms-asf"},
        {".m3u", "audio/x-mpegurl"},           {".ram", "audio/x-pn-realaudio"},
        {".rm", "application/vnd.rn-realmedia"}, {".mp4", "video/mp4"},
        {".webm", "video/webm"},               {".ogg", "audio/ogg"},
        {".avi", "video/x-msvideo"},           {".mpg", "video/mpeg"},
        {".mpeg", "video/mpeg"},               {".swf", "application/x-shockwave-flash"},
        {".pdf", "application/pdf"},           {".zip", "application/zip"},
        {".doc", "application/msword"},        {".xls", "application/vnd.ms-excel"},
    };
    for (const auto& [e, t] : types)
        if (ext == e) return t;
    return "application/octet-stream";
}

namespace {

// The folders of what accounts uploaded that only sessions may read.
bool is_guarded(std::string_view first) {
    return iequals(first, "user") || iequals(first, "email") || iequals(first, "datas") || iequals(first, "medium");
}

// The site's own folders of pictures and scripts. Everything else below the
// root came from a page that stores what a user sent (pages write into any
// folder but the root and the database's).
bool asset_folder(std::string_view first) {
    return iequals(first, "images") || iequals(first, "img") || iequals(first, "compat");
}

// Types a browser shows without running anything in them: these are shown
// in place; anything else (HTML, SVG, XML, PDF, unknown) is only saved.
bool shown_inline(const std::string& ctype) {
    static const char* const safe[] = {"image/gif", "image/jpeg", "image/png", "image/bmp", "image/x-icon",
                                       "text/plain"};
    for (const char* t : safe)
        if (ctype.starts_with(t)) return true;
    return ctype.starts_with("audio/") || ctype.starts_with("video/");
}

bool asset_type(const std::string& ctype) {
    return shown_inline(ctype) || ctype.starts_with("text/css") || ctype.starts_with("application/javascript");
}

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

std::string http_date(std::time_t t) {
    std::tm tm{};
    gmtime_r(&t, &tm);
    static const char* days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    char buf[40];
    std::snprintf(buf, sizeof buf, "%s, %02d %s %04d %02d:%02d:%02d GMT", days[tm.tm_wday], tm.tm_mday,
                  months[tm.tm_mon], tm.tm_year + 1900, tm.tm_hour, tm.tm_min, tm.tm_sec);
    return buf;
}

// True when the If-None-Match list names etag (or is "*"); weak tags
// compare by their opaque part, as the header's rules allow.
bool etag_matches(std::string_view list, std::string_view etag) {
    std::size_t i = 0;
    while (i < list.size()) {
        std::size_t j = list.find(',', i);
        if (j == std::string_view::npos) j = list.size();
        std::string_view t = list.substr(i, j - i);
        while (!t.empty() && (t.front() == ' ' || t.front() == '\t')) t.remove_prefix(1);
        while (!t.empty() && (t.back() == ' ' || t.back() == '\t')) t.remove_suffix(1);
        if (t.starts_with("W/")) t.remove_prefix(2);
        if (t == "*" || t == etag) return true;
        i = j + 1;
    }
    return false;
}

bool text_type(const std::string& ctype) {
    return ctype.starts_with("text/") || ctype.starts_with("application/javascript");
}

// The account name of a row of user, "" when there is none. Goes through
// the store like any page, so it shares its handles and knows no engine.
std::string account_name(const std::string& db_path, const Value& id) {
    double n = 0;
    if (!parse_number(id.str(), n)) return {};
    try {
        Connection conn;
        conn.Open("driver={Microsoft Access Driver (*.mdb)};dbq=" + db_path);
        Recordset rs = conn.execute("select username from user where id="_sql + Value(n));
        std::string name = rs.eof() ? std::string() : rs("username").str();
        conn.close();
        return name;
    } catch (const PageError&) {
        return {};
    }
}

// A stored name as one element of a mail's attachment list (names joined
// by '*').
bool names_file(const std::string& list, const std::string& name) {
    std::size_t i = 0;
    while (i <= list.size()) {
        std::size_t j = list.find('*', i);
        if (j == std::string::npos) j = list.size();
        if (iequals(std::string_view(list).substr(i, j - i), name)) return true;
        i = j + 1;
    }
    return false;
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
    : root_(fs::weakly_canonical(root).string()), log_(log_path) {}

std::string Site::account_of(const HttpRequest& req) {
    auto data = sessions_.peek(cookie_value(req.header("Cookie"), kSessionCookie));
    if (!data) return {};
    std::lock_guard lock(data->mu);
    auto it = data->values.find("user_id");
    return it == data->values.end() ? std::string() : it->second.str();
}

std::uint64_t Site::body_limit_for(const HttpRequest& req) {
    // No page takes an upload from an anonymous visitor: the login form and
    // the registration form are all such a visitor may send.
    return account_of(req).empty() ? kAnonymousBodyLimit : 0;
}

HttpResponse Site::refuse_cross_site(const HttpRequest& req, const std::string& path, const std::string& why) {
    std::string account = account_of(req);
    log_.write(2, "Tavelor.Refused cross-site " + path + " address " + req.remote_addr + " account " +
                      (account.empty() ? "-" : account) + " (" + why + ")");
    HttpResponse r;
    r.status = 403;
    r.set_header("Content-Type", "text/html; charset=gb2312");
    r.set_header("Cache-Control", "no-store");
    r.body = utf8_to_gb(
        "<html>\r\n<head>\r\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
        "<title>请求被拒绝</title>\r\n</head>\r\n<body>\r\n<p align=\"center\"><br><br>"
        "此请求不是从本系统的页面发出的，已被拒绝。请从本系统的页面重新操作。</p>\r\n</body>\r\n</html>\r\n");
    return r;
}

HttpResponse Site::page_request(const std::string& cls, const HttpRequest& req, std::string path) {
    const std::string dest = req.header("Sec-Fetch-Dest");
    const std::string site = lower(req.header("Sec-Fetch-Site"));
    if (embedded_load(dest)) return refuse_cross_site(req, path, "loaded as " + lower(dest));
    if (req.method != "GET" && req.method != "HEAD") {
        if (!site.empty() && site != "same-origin" && site != "none")
            return refuse_cross_site(req, path, req.method + " from " + site);
        std::string origin = req.header("Origin");
        if (!origin.empty() && origin_host(origin) != host_of(req))
            return refuse_cross_site(req, path, req.method + " from origin " + origin.substr(0, 200));
    }
    // A GET sent by another site's link or form: the browser leaves the
    // session cookie out (SameSite=Strict), and so do we for browsers that
    // would not, so it runs as for an anonymous visitor.
    bool anonymous = site == "cross-site" || site == "same-site";
    return run_page(cls, req, std::move(path), anonymous);
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
    return serve_static(norm, req);
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
    std::size_t slash = norm.find('/', 1);
    if (slash == std::string::npos) {
        std::string_view file = std::string_view(norm).substr(1);
        std::size_t dot = file.rfind('.');
        if (dot == std::string_view::npos || iequals(file.substr(dot), ".asp") || !page_class_for(file).empty())
            return false;
    } else {
        std::string_view first = std::string_view(norm).substr(1, slash - 1);
        if (is_guarded(first)) return false;  // needs the session (and for mail, the database)
    }
    out = serve_static(norm, req);
    return true;
}

HttpResponse Site::run_page(const std::string& cls, const HttpRequest& req) {
    return run_page(cls, req, decoded_path(req.target), false);
}

HttpResponse Site::run_page(const std::string& cls, const HttpRequest& req, std::string path, bool anonymous) {
    std::unique_ptr<Page> page = make_page(cls);
    if (!page) return not_found();

    // Held until the answer is made: requests of one session take turns.
    std::string sent_id = anonymous ? std::string() : cookie_value(req.header("Cookie"), kSessionCookie);
    SessionStore::Lease lease = sessions_.acquire(sent_id, kSessionRequestCap);
    if (lease.busy()) {
        std::string account = account_of(req);
        log_.write(2, "Tavelor.Refused busy " + decoded_path(req.target) + " address " + req.remote_addr +
                          " account " + (account.empty() ? "-" : account) + " (" +
                          std::to_string(kSessionRequestCap) + " requests of the session running or waiting)");
        HttpResponse busy;
        busy.status = 503;
        busy.set_header("Content-Type", "text/plain");
        busy.set_header("Retry-After", "1");
        busy.body = "Service Unavailable";
        return busy;
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
        const SessionObject& session = scope.session;
        // Strict: no other site's link, form or frame brings the session
        // along. Secure only where the browser reached us over TLS, or
        // a plain-HTTP office could never log in.
        const std::string attrs =
            std::string("; Path=/; HttpOnly; SameSite=Strict") + (req.secure ? "; Secure" : "");
        if (anonymous) {
            // Answered as for a stranger; the browser's own cookie stays.
        } else if (session.abandoned()) {
            if (lease) sessions_.remove(lease.id());
            if (!sent_id.empty()) cookie = std::string(kSessionCookie) + "=; Max-Age=0" + attrs;
        } else if (session.created()) {
            std::string id = sessions_.add(session.data(), req.remote_addr);
            if (!id.empty())
                cookie = std::string(kSessionCookie) + "=" + id + attrs;
            else
                log_.write(2, "Tavelor.Refused session " + decoded_path(req.target) + " address " + req.remote_addr +
                                  " account - (new sessions from this address over the cap, or the store is "
                                  "full of signed-in ones)");
        } else if (lease && session.renew_requested()) {
            cookie = std::string(kSessionCookie) + "=" + sessions_.renew(lease) + attrs;
        }
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
        std::string location = escape_non_ascii(utf8_to_gb(response.location()));
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

bool Site::mail_attachment_of(const std::string& name, const Value& id) {
    // Email/NAME only: the mail pages store attachments flat.
    if (name.empty() || name.find('/') != std::string::npos || name.find('*') != std::string::npos) return false;
    double n = 0;
    if (!parse_number(id.str(), n)) return false;
    try {
        Connection conn;
        conn.Open("driver={Microsoft Access Driver (*.mdb)};dbq=" + root_ + "/datebase/office.mdb");
        // Through the mailbox indexes of the account, and only mails whose
        // list holds the name somewhere; the list is split here, where the
        // name must be a whole element.
        bool found = false;
        for (Sql side : {"select top 64 email_doc from email where to_user_id="_sql,
                         "select top 64 email_doc from email where send_user_id="_sql}) {
            Recordset rs = conn.execute(side + Value(n) + " and instr(lower(email_doc),lower('" + name + "'))>0");
            for (; !rs.eof() && !found; rs.movenext()) found = names_file(rs("email_doc").str(), name);
            if (found) break;
        }
        conn.close();
        return found;
    } catch (const PageError&) {
        return false;
    }
}

bool Site::may_read(const std::string& norm, const HttpRequest& req) {
    std::size_t a = norm.find('/', 1);
    if (a == std::string::npos) return true;  // a file at the root
    std::string_view first = std::string_view(norm).substr(1, a - 1);
    bool own_folder = iequals(first, "user");
    if (!is_guarded(first)) return true;
    auto data = sessions_.peek(cookie_value(req.header("Cookie"), kSessionCookie));
    if (!data) return false;
    Value id, marker;
    {
        std::lock_guard lock(data->mu);
        auto it = data->values.find("user_id");
        if (it != data->values.end()) id = it->second;
        it = data->values.find("qwx3trh_k7");
        if (it != data->values.end()) marker = it->second;
    }
    if (marker.str() != "yes" || id.str().empty()) return false;
    if (iequals(first, "email")) return mail_attachment_of(norm.substr(a + 1), id);
    if (!own_folder) return true;
    // user/NAME/...: only NAME's own session.
    std::size_t b = norm.find('/', a + 1);
    if (b == std::string::npos) return false;
    std::string name = account_name(root_ + "/datebase/office.mdb", id);
    return !name.empty() && iequals(name, std::string_view(norm).substr(a + 1, b - a - 1));
}

namespace {

constexpr std::uint64_t kCacheFileLimit = 256 * 1024;
// Bounded in bytes and in entries: each spelling of a name (case) is an
// entry of its own.
constexpr std::uint64_t kCacheTotalLimit = 32ull << 20;
constexpr std::size_t kCacheEntryLimit = 4096;
constexpr std::int64_t kCacheRecheckMs = 1000;

std::int64_t steady_ms() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::string etag_for(const struct stat& st) {
    char tag[64];
    std::snprintf(tag, sizeof tag, "\"%llx-%llx\"", static_cast<unsigned long long>(st.st_size),
                  static_cast<unsigned long long>(st.st_mtim.tv_sec) * 1000000000ull +
                      static_cast<unsigned long long>(st.st_mtim.tv_nsec));
    return tag;
}

std::int64_t mtime_ns(const struct stat& st) {
    return static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
}

}  // namespace

std::shared_ptr<const Site::CachedFile> Site::cached_file(const std::string& norm) {
    std::shared_ptr<const CachedFile> hit;
    {
        std::lock_guard lock(cache_mu_);
        auto it = cache_.find(norm);
        if (it != cache_.end()) hit = it->second;
    }
    std::int64_t now = steady_ms();
    if (hit && now - hit->checked_ms.load(std::memory_order_relaxed) < kCacheRecheckMs) return hit;

    std::string full = resolve_without_case(root_ + norm);
    struct stat st;
    if (!path_inside(root_, full) || ::stat(full.c_str(), &st) != 0 || !S_ISREG(st.st_mode) ||
        static_cast<std::uint64_t>(st.st_size) > kCacheFileLimit) {
        if (hit) {
            std::lock_guard lock(cache_mu_);
            auto it = cache_.find(norm);
            if (it != cache_.end() && it->second == hit) {
                cache_bytes_ -= hit->size;
                cache_.erase(it);
            }
        }
        return nullptr;
    }
    if (hit && hit->size == static_cast<std::uint64_t>(st.st_size) && hit->mtime_ns == mtime_ns(st)) {
        hit->checked_ms.store(now, std::memory_order_relaxed);
        return hit;
    }
    auto fresh = std::make_shared<CachedFile>();
    {
        std::ifstream in(full, std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        fresh->bytes = ss.str();
    }
    if (fresh->bytes.size() != static_cast<std::uint64_t>(st.st_size)) return nullptr;  // changing under us
    fresh->size = fresh->bytes.size();
    fresh->mtime_ns = mtime_ns(st);
    fresh->etag = etag_for(st);
    fresh->last_modified = http_date(st.st_mtim.tv_sec);
    fresh->content_type = content_type_for(full);
    fresh->cache_control = text_type(fresh->content_type) ? "max-age=300" : "max-age=86400";
    fresh->checked_ms.store(now, std::memory_order_relaxed);
    std::lock_guard lock(cache_mu_);
    auto it = cache_.find(norm);
    if (it != cache_.end()) {
        cache_bytes_ -= it->second->size;
        cache_.erase(it);
    }
    if (cache_bytes_ + fresh->size <= kCacheTotalLimit && cache_.size() < kCacheEntryLimit) {
        cache_bytes_ += fresh->size;
        cache_.emplace(norm, fresh);
    }
    return fresh;
}

namespace {

// The part of a static file a request asks for; ranges apply to GET only.
RangeAnswer wanted_range(const HttpRequest& req, const std::string& etag, const std::string& last_modified,
                         std::uint64_t size, ByteRange& out) {
    if (req.method != "GET") return RangeAnswer::Whole;
    return choose_range(req.header("Range"), req.header("If-Range"), etag, last_modified, size, out);
}

void unsatisfiable(HttpResponse& out, std::uint64_t size) {
    out.status = 416;
    out.set_header("Content-Range", content_range_unsatisfied(size));
    out.set_header("Content-Type", "text/plain");
    out.body = "Range Not Satisfiable";
}

}  // namespace

namespace {

// A file name as one segment of a relative address.
std::string segment_escape(const std::string& name) {
    static const char hex[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : name) {
        if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~') {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
    return out;
}

// Content-Disposition for a stored file: its name in UTF-8 (RFC 6266
// filename*), and an ASCII stand-in for clients that know only filename=.
std::string disposition(const char* kind, std::string name) {
    if (!is_valid_utf8(name)) name = gb_to_utf8(name);
    static const char hex[] = "0123456789ABCDEF";
    std::string ascii, encoded;
    for (unsigned char c : name) {
        bool plain = std::isalnum(c) || std::strchr("!#$&+-.^_`|~", c);
        if (plain) {
            encoded += static_cast<char>(c);
        } else {
            encoded += '%';
            encoded += hex[c >> 4];
            encoded += hex[c & 15];
        }
        if (c >= 0x80) {
            if ((c & 0xC0) != 0x80) ascii += '_';  // one per character
        } else {
            ascii += (c < 0x20 || c == '"' || c == '\\' || c == 0x7f) ? '_' : static_cast<char>(c);
        }
    }
    return std::string(kind) + "; filename=\"" + ascii + "\"; filename*=UTF-8''" + encoded;
}

// The charset of a stored text file: UTF-8 when its start reads as such,
// else the office's own GB encoding.
std::string text_charset(const std::string& full) {
    std::ifstream in(full, std::ios::binary);
    std::string head(64 * 1024, '\0');
    in.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    // A read cut inside a character is not a reason to call it GB.
    for (int cut = 0; cut < 4 && !head.empty(); ++cut) {
        if (is_valid_utf8(head)) return "utf-8";
        if (head.size() < 64 * 1024) break;
        head.pop_back();
    }
    return "gb2312";
}

bool is_playlist(const std::string& low) {
    return low.ends_with(".asx") || low.ends_with(".m3u") || low.ends_with(".ram");
}

// Windows took a playlist opened in a window to its media player; a browser
// today would save it. Opened as a page, the list gets one that plays it
// (the dialog bundle turns the player object into an audio element that
// reads the list); the player's own request for the list gets the file.
HttpResponse playlist_page(const std::string& norm) {
    std::string name = norm.substr(norm.rfind('/') + 1);
    HttpResponse out;
    out.set_header("Content-Type", "text/html; charset=utf-8");
    out.set_header("Cache-Control", "no-cache");
    out.set_header("Vary", "Sec-Fetch-Dest");
    out.body =
        "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>" + html_text(name) +
        "</title>\n<link rel=\"stylesheet\" href=\"/style.css\">\n<script src=\"/tavdialog.js\"></script>\n</head>\n"
        "<body background=\"/images/login_bj.gif\" leftmargin=\"0\" topmargin=\"0\">\n<center>\n"
        "<object classid=\"clsid:22D6F312-B0F6-11D0-94AB-0080C74C7E95\" width=\"275\" height=\"45\">"
        "<param name=\"FileName\" value=\"" + segment_escape(name) + "\"></object>\n"
        "</center>\n</body>\n</html>\n";
    return out;
}

}  // namespace

HttpResponse Site::serve_static(const std::string& norm, const HttpRequest& req) {
    // The database folder, database files and hidden files are never served.
    std::size_t slash = norm.find('/', 1);
    std::string_view first = std::string_view(norm).substr(1, slash == std::string::npos ? std::string::npos : slash - 1);
    std::string low = lower(norm);
    if (iequals(first, "datebase") || low.find("/.") != std::string::npos ||
        low.ends_with(".mdb") || low.ends_with(".ldb") || low.ends_with(".sql") ||
        low.ends_with("-wal") || low.ends_with("-shm") || low.ends_with(".log") ||
        low.ends_with("-journal"))
        return not_found();
    const bool guarded = slash != std::string::npos && is_guarded(first);
    if (is_playlist(low) && iequals(req.header("Sec-Fetch-Dest"), "document")) {
        if (guarded && !may_read(norm, req)) return not_found();
        std::string full = resolve_without_case(root_ + norm);
        struct stat st;
        if (!path_inside(root_, full) || ::stat(full.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return not_found();
        return playlist_page(norm);
    }
    std::string inm = req.header("If-None-Match");

    const bool at_root = slash == std::string::npos;
    const bool own_folder = at_root || asset_folder(first);
    if (!guarded && own_folder) {
        if (auto f = cached_file(norm); f && (at_root || asset_type(f->content_type))) {
            HttpResponse out;
            out.headers.reserve(5);
            out.headers.emplace_back("ETag", f->etag);
            out.headers.emplace_back("Last-Modified", f->last_modified);
            out.headers.emplace_back("Cache-Control", f->cache_control);
            if (!inm.empty() && etag_matches(inm, f->etag)) {
                out.status = 304;
                return out;
            }
            out.headers.emplace_back("Content-Type", f->content_type);
            out.headers.emplace_back("Accept-Ranges", "bytes");
            ByteRange part;
            switch (wanted_range(req, f->etag, f->last_modified, f->size, part)) {
                case RangeAnswer::Whole: out.body = f->bytes; break;
                case RangeAnswer::Partial:
                    out.status = 206;
                    out.headers.emplace_back("Content-Range", content_range(part, f->size));
                    out.body = f->bytes.substr(part.first, part.length());
                    break;
                case RangeAnswer::Unsatisfiable: unsatisfiable(out, f->size); break;
            }
            return out;
        }
    } else if (!may_read(norm, req)) {
        // A file a session may not read looks the same as one that is not there.
        return not_found();
    }
    std::string full = resolve_without_case(root_ + norm);
    if (!path_inside(root_, full)) return not_found();
    struct stat st;
    if (::stat(full.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return not_found();

    HttpResponse out;
    std::string ctype = content_type_for(full);
    std::string tag = etag_for(st);
    out.set_header("ETag", tag);
    out.set_header("Last-Modified", http_date(st.st_mtim.tv_sec));
    // Files behind a login are checked again on every use; the site's own
    // files change only with a new version, so a short life is enough.
    out.set_header("Cache-Control", guarded ? "private, no-cache" : text_type(ctype) ? "max-age=300" : "max-age=86400");
    if (!inm.empty() && etag_matches(inm, tag)) {
        out.status = 304;
        return out;
    }
    if (!own_folder || !asset_type(ctype)) {
        // Stored by a page from what a user sent: shown in place only when
        // it cannot run script, and never as a page of this site.
        bool inline_ok = shown_inline(ctype);
        if (ctype.starts_with("text/plain")) ctype = "text/plain; charset=" + text_charset(full);
        if (!inline_ok) ctype = ctype.starts_with("image/svg") || ctype.starts_with("text/html")
                                    ? "application/octet-stream"
                                    : ctype;
        out.set_header("Content-Disposition",
                       disposition(inline_ok ? "inline" : "attachment", full.substr(full.rfind('/') + 1)));
        out.set_header("Content-Security-Policy", "sandbox; frame-ancestors 'self'");
    }
    out.set_header("Content-Type", ctype);
    out.set_header("Accept-Ranges", "bytes");
    std::uint64_t size = static_cast<std::uint64_t>(st.st_size);
    ByteRange part;
    switch (wanted_range(req, tag, out.header("Last-Modified"), size, part)) {
        case RangeAnswer::Whole:
            out.file = full;
            out.file_size = size;
            break;
        case RangeAnswer::Partial:
            // Streamed from the file in pieces like the whole would be.
            out.status = 206;
            out.set_header("Content-Range", content_range(part, size));
            out.file = full;
            out.file_range = true;
            out.file_offset = part.first;
            out.file_size = part.length();
            break;
        case RangeAnswer::Unsatisfiable: unsatisfiable(out, size); break;
    }
    return out;
}

std::string default_log_path(const std::string& dir) {
    std::string d = fs::weakly_canonical(dir).string();
    while (d.size() > 1 && d.back() == '/') d.pop_back();
    return d + ".log";
}

std::string join_client_script(const std::string& compat_dir) {
    fs::path dir(compat_dir);
    std::ifstream order(dir / "order.txt");
    if (!order) throw std::runtime_error("missing " + (dir / "order.txt").string());
    std::string out, name;
    while (std::getline(order, name)) {
        if (!name.empty() && name.back() == '\r') name.pop_back();
        if (name.empty() || name[0] == '#') continue;
        // A part is a plain name in this folder, nothing else.
        if (name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_") != std::string::npos)
            throw std::runtime_error("bad part name in " + (dir / "order.txt").string() + ": " + name);
        std::ifstream in(dir / (name + ".js"), std::ios::binary);
        if (!in) throw std::runtime_error("missing " + (dir / (name + ".js")).string());
        std::stringstream ss;
        ss << in.rdbuf();
        out += ss.str();
        if (!out.empty() && out.back() != '\n') out += '\n';
    }
    return out;
}

void init_site(const std::string& dir, const std::string& template_dir) {
    fs::create_directories(dir);
    fs::path tpl(template_dir), dst(dir);
    for (auto it = fs::recursive_directory_iterator(tpl); it != fs::recursive_directory_iterator(); ++it) {
        fs::path rel = fs::relative(it->path(), tpl);
        if (iequals(rel.begin()->string(), "datebase")) continue;
        if (it->is_directory())
            fs::create_directories(dst / rel);
        else if (it->is_regular_file())
            fs::copy_file(it->path(), dst / rel, fs::copy_options::overwrite_existing);
    }
    for (const char* sub : {"user", "Datas", "Email", "Medium/temp", "datebase"})
        fs::create_directories(dst / sub);
    {
        std::ofstream out(dst / "tavdialog.js", std::ios::binary | std::ios::trunc);
        out << join_client_script((tpl / "compat").string());
        if (!out) throw std::runtime_error("cannot write " + (dst / "tavdialog.js").string());
    }
    fs::path db = dst / "datebase" / "office.mdb";
    if (fs::exists(db)) return;
    std::string sql;
    for (const char* name : {"schema.sql", "seed.sql"}) {
        std::ifstream in(tpl / "datebase" / name, std::ios::binary);
        if (!in) throw std::runtime_error(std::string("missing ") + (tpl / "datebase" / name).string());
        std::stringstream ss;
        ss << in.rdbuf();
        sql += ss.str();
        sql += "\n";
    }
    build_database(db.string(), sql);
}

}  // namespace tav
