#include "server/site.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

#include "frame/encoding.h"
#include "frame/page.h"
#include "frame/paths.h"
#include "frame/request_scope.h"
#include "server/page_table.h"

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

bool contains_nocase(const std::string& hay, const char* needle) {
    return lower(hay).find(needle) != std::string::npos;
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
    std::string ext = lower(fs::path(name).extension().string());
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

Site::Site(const std::string& root, const std::string& log_path)
    : root_(fs::weakly_canonical(root).string()), log_(log_path) {}

HttpResponse Site::handle(const HttpRequest& req) {
    std::string_view target = req.target;
    std::string_view raw = target.substr(0, target.find('?'));
    std::string bytes = percent_decode(raw, false);
    std::string path = is_valid_utf8(bytes) ? bytes : gb_to_utf8(bytes);
    std::string norm;
    if (!normalize_path(path, norm)) return not_found();
    if (norm == "/" || norm.empty()) return run_page("default", req);
    std::string file = norm.substr(1);
    if (file.find('/') == std::string::npos) {
        std::string cls = page_class_for(file);
        if (!cls.empty()) return run_page(cls, req);
        if (lower(fs::path(file).extension().string()) == ".asp") return not_found();
    }
    return serve_static(norm);
}

HttpResponse Site::run_page(const std::string& cls, const HttpRequest& req) {
    std::unique_ptr<Page> page = make_page(cls);
    if (!page) return not_found();

    bool created = false;
    auto [sid, data] = sessions_.acquire(cookie_value(req.header("Cookie"), kSessionCookie), created);
    ResponseObject response;
    bool abandoned = false;
    {
        RequestScope scope(req, data, root_, log_);
        scope.run(*page);
        page.reset();  // the page's connection and objects end with the request
        abandoned = scope.session.abandoned();
        response = std::move(scope.response);
    }
    if (abandoned) sessions_.remove(sid);

    HttpResponse out;
    if (created && !abandoned)
        out.set_header("Set-Cookie", std::string(kSessionCookie) + "=" + sid + "; Path=/; HttpOnly; SameSite=Lax");
    out.set_header("Cache-Control", "private");
    for (const auto& [n, v] : response.headers()) out.headers.emplace_back(n, v);
    if (response.redirected()) {
        std::string location = escape_non_ascii(utf8_to_gb(response.location()));
        out.status = 302;
        out.set_header("Location", location);
        out.set_header("Content-Type", "text/html; charset=gb2312");
        out.body = "<head><title>Object moved</title></head>\r\n<body><h1>Object Moved</h1>"
                   "This object may be found <a HREF=\"" + location + "\">here</a>.</body>\r\n";
        return out;
    }
    std::string& body = response.body();
    if (response.content_type().rfind("text/html", 0) == 0 &&
        (contains_nocase(body, "vbscript") || contains_nocase(body, "showmodaldialog")))
        body.insert(0, "<script src=\"tavcompat.js\"></script>\r\n");
    out.set_header("Content-Type", response.content_type());
    out.body = utf8_to_gb(body);
    return out;
}

HttpResponse Site::serve_static(const std::string& norm) {
    // The database folder, database files and hidden files are never served.
    std::string first = norm.substr(1, norm.find('/', 1) == std::string::npos ? std::string::npos
                                                                              : norm.find('/', 1) - 1);
    std::string low = lower(norm);
    if (iequals(first, "datebase") || low.find("/.") != std::string::npos ||
        low.ends_with(".mdb") || low.ends_with(".ldb") || low.ends_with(".sql") ||
        low.ends_with("-wal") || low.ends_with("-shm") || low.ends_with(".log"))
        return not_found();
    std::string full = resolve_without_case(root_ + norm);
    if (!path_inside(root_, full)) return not_found();
    struct stat st;
    if (::stat(full.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return not_found();
    HttpResponse out;
    out.set_header("Content-Type", content_type_for(full));
    out.file = full;
    out.file_size = static_cast<std::uint64_t>(st.st_size);
    return out;
}

std::string default_log_path(const std::string& dir) {
    std::string d = fs::weakly_canonical(dir).string();
    while (d.size() > 1 && d.back() == '/') d.pop_back();
    return d + ".log";
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
