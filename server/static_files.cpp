#include "server/static_files.h"

#include <sys/stat.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sstream>

#include "frame/encoding.h"
#include "frame/html.h"
#include "frame/paths.h"
#include "frame/site_layout.h"
#include "server/error_answers.h"
#include "server/ranges.h"

namespace tav {

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

std::shared_ptr<const StaticFiles::CachedFile> StaticFiles::cached_file(const std::string& norm) {
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

bool StaticFiles::never_served(std::string_view norm) {
    std::size_t slash = norm.find('/', 1);
    std::string_view first = norm.substr(1, slash == std::string_view::npos ? std::string_view::npos : slash - 1);
    std::string low = lower(norm);
    return layout::is_database_folder(first) || low.find("/.") != std::string::npos || low.ends_with(".mdb") ||
           low.ends_with(".ldb") || low.ends_with(".sql") || low.ends_with("-wal") || low.ends_with("-shm") ||
           low.ends_with(".log") || low.ends_with("-journal");
}

HttpResponse StaticFiles::from_memory(const CachedFile& f, const HttpRequest& req) {
    HttpResponse out;
    out.headers.reserve(5);
    out.headers.emplace_back("ETag", f.etag);
    out.headers.emplace_back("Last-Modified", f.last_modified);
    out.headers.emplace_back("Cache-Control", f.cache_control);
    if (std::string inm = req.header("If-None-Match"); !inm.empty() && etag_matches(inm, f.etag)) {
        out.status = 304;
        return out;
    }
    out.headers.emplace_back("Content-Type", f.content_type);
    out.headers.emplace_back("Accept-Ranges", "bytes");
    ByteRange part;
    switch (wanted_range(req, f.etag, f.last_modified, f.size, part)) {
        case RangeAnswer::Whole: out.body = f.bytes; break;
        case RangeAnswer::Partial:
            out.status = 206;
            out.headers.emplace_back("Content-Range", content_range(part, f.size));
            out.body = f.bytes.substr(part.first, part.length());
            break;
        case RangeAnswer::Unsatisfiable: unsatisfiable(out, f.size); break;
    }
    return out;
}

HttpResponse StaticFiles::serve(const std::string& norm, const HttpRequest& req, bool private_file) {
    if (never_served(norm)) return not_found();
    std::size_t slash = norm.find('/', 1);
    std::string_view first =
        std::string_view(norm).substr(1, slash == std::string::npos ? std::string::npos : slash - 1);
    if (is_playlist(lower(norm)) && iequals(req.header("Sec-Fetch-Dest"), "document")) {
        std::string full = resolve_without_case(root_ + norm);
        struct stat st;
        if (!path_inside(root_, full) || ::stat(full.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return not_found();
        return playlist_page(norm);
    }

    const bool at_root = slash == std::string::npos;
    const bool own_folder = at_root || asset_folder(first);
    if (!private_file && own_folder) {
        if (auto f = cached_file(norm); f && (at_root || asset_type(f->content_type))) return from_memory(*f, req);
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
    out.set_header("Cache-Control",
                   private_file ? "private, no-cache" : text_type(ctype) ? "max-age=300" : "max-age=86400");
    if (std::string inm = req.header("If-None-Match"); !inm.empty() && etag_matches(inm, tag)) {
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

}  // namespace tav
