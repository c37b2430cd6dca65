#include "frame/page.h"

#include <map>
#include <mutex>

#include "frame/paths.h"

namespace tav {

// The leading piece of every log entry.
static const char kComponent[] = "Tavelor.PageError ";

Page::Page(std::string class_name) : class_name_(lower(class_name)) {}
Page::~Page() = default;

void Page::report(const std::string& routine, long number, const std::string& text, unsigned line) {
    Context* ctx = current_context();
    std::string where = " Routine : " + class_name_ + "." + routine;
    if (ctx && ctx->log)
        ctx->log->write(1, kComponent + std::to_string(number) + " " + text + " LINE #" +
                               std::to_string(line) + where);
    if (ctx && ctx->response)
        ctx->response->write(" Error " + text + " LINE" + std::to_string(line) + where);
}

void Page::dbI_init() {
    routine("dbI_init", [&] {
        conn = Connection();
        db_path = Server.MapPath(".") + "\\datebase\\office.mdb";
        conn.Open("driver={Microsoft Access Driver (*.mdb)};UID=sa;PWD=;dbq=" + db_path);
    });
}

namespace {
std::map<std::string, PageFactory>& registry() {
    static std::map<std::string, PageFactory> r;
    return r;
}
}  // namespace

bool register_page(const char* class_name, PageFactory factory) {
    registry()[lower(class_name)] = std::move(factory);
    return true;
}

std::unique_ptr<Page> make_page(const std::string& class_name) {
    auto& r = registry();
    auto it = r.find(lower(class_name));
    return it == r.end() ? nullptr : it->second();
}

}  // namespace tav
