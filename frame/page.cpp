#include "frame/page.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

#include "frame/html.h"
#include "frame/paths.h"
#include "frame/vb.h"

namespace tav {

// The leading piece of every log entry.
static const char kComponent[] = "Tavelor.PageError ";

Page::Page() = default;
Page::Page(std::string class_name) : class_name_(lower(class_name)) {}
Page::~Page() = default;

void Page::report(const std::string& routine, long number, const std::string& text, unsigned line) {
    Context* ctx = current_context();
    std::string where = " Routine : " + class_name_ + "." + routine;
    // The page copy is escaped: the error text may quote request values.
    if (ctx && ctx->log)
        ctx->log->write(1, kComponent + std::to_string(number) + " " + text + " LINE #" +
                               std::to_string(line) + where);
    if (ctx && ctx->response)
        ctx->response->write(" Error " + html_text(text) + " LINE" + std::to_string(line) + where);
}

void Page::dbI_init() {
    routine("dbI_init", [&] {
        conn = Connection();
        db_path = Server.object().database_path();
        conn.Open("driver={Microsoft Access Driver (*.mdb)};UID=sa;PWD=;dbq=" + db_path);
        conn.hold_reads(true);
    });
}

void Page::write_head(const Head& head) {
    Response.line("<html>");
    Response.line("<head>");
    Response.line("<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">");
    if (head.no_cache_days) {
        Response.line("<meta http-equiv=\"pragma\" content=\"no-cache\">");
        Response.line("<meta http-equiv=\"expires\" content=\"" + NowText(-head.no_cache_days) + "\">");
    }
    if (head.title) Response.line("<title>" + html_text(*head.title) + "</title>");
    if (head.style) Response.line("<link rel=\"stylesheet\" href=\"style.css\" type=\"text/css\">");
}

Recordset Page::user_rights() {
    if (!rights_memo_) rights_memo_ = conn.execute("select menu_idstr from user where id="_sql + Session("user_id"));
    return *rights_memo_;
}

Recordset Page::setting(const char* softname) {
    auto it = settings_memo_.find(softname);
    if (it == settings_memo_.end())
        it = settings_memo_.emplace(softname, conn.execute("select * from software where softname='"_sql +
                                                           std::string(softname) + "'")).first;
    return it->second;
}

namespace {

struct Entry {
    std::string cls;
    std::string url;
    Access access;
    PageFactory factory;
};

// Keyed by lower-case class name; a second index by lower-case URL.
std::map<std::string, Entry>& registry() {
    static std::map<std::string, Entry> r;
    return r;
}
std::map<std::string, std::string>& url_index() {
    static std::map<std::string, std::string> r;
    return r;
}

std::string report_name(const char* class_name) {
    std::string name = lower(class_name);
    if (!name.empty() && name.back() == '_') name.pop_back();
    return name;
}

}  // namespace

bool register_page(const char* class_name, const char* url, Access access, PageFactory factory) {
    std::string name = report_name(class_name);
    if (url && *url) {
        auto [it, fresh] = url_index().emplace(lower(url), name);
        if (!fresh && it->second != name) {
            std::fprintf(stderr, "page URL %s registered twice (%s, %s)\n", url, it->second.c_str(), name.c_str());
            std::abort();
        }
    }
    registry()[name] = Entry{name, url ? url : "", std::move(access), std::move(factory)};
    return true;
}

bool register_page(const char* class_name, PageFactory factory) {
    return register_page(class_name, nullptr, access::open(), std::move(factory));
}

std::unique_ptr<Page> make_page(const std::string& class_name) {
    auto& r = registry();
    auto it = r.find(lower(class_name));
    if (it == r.end()) return nullptr;
    std::unique_ptr<Page> page = it->second.factory();
    if (page && page->class_name_.empty()) page->class_name_ = it->second.cls;
    return page;
}

std::string registered_class(std::string_view url) {
    auto it = url_index().find(lower(url));
    return it == url_index().end() ? std::string() : it->second;
}

std::vector<PageRegistration> registered_pages() {
    std::vector<PageRegistration> out;
    for (const auto& [url, cls] : url_index()) out.push_back({registry()[cls].url, cls, registry()[cls].access});
    return out;
}

Access registered_access(const std::string& class_name) {
    auto it = registry().find(lower(class_name));
    return it == registry().end() ? Access{} : it->second.access;
}

}  // namespace tav
