// The page base: what every page class has in common with the host, the
// handler under which each routine runs, and the routine groups that pages
// share (held once here, run on the calling page's connection and reported
// under the calling page's class).
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <type_traits>

#include "frame/errors.h"
#include "frame/host.h"
#include "frame/store.h"
#include "frame/value.h"

namespace tav {

class Page {
public:
    explicit Page(std::string class_name);
    virtual ~Page();

    // The host's end-of-page hook; no page does anything in it.
    void OnEndPage() {}
    // The page body; the only entry point the host calls (under its handler).
    virtual void I_init() = 0;

    // The class as error reports name it: lower case.
    const std::string& class_name() const { return class_name_; }

    // Runs a routine under the standard handler: END_PAGE leaves silently, a
    // failure writes the standard error report; either way the routine's
    // empty default comes back and the caller goes on.
    template <class F>
    auto routine(const char* name, F&& body) -> decltype(body()) {
        using R = decltype(body());
        try {
            return body();
        } catch (const EndPage&) {
        } catch (const PageError& e) {
            report(name, e.number(), e.what(), e.line());
        } catch (const ScriptTimeout&) {
            throw;
        } catch (const std::exception& e) {
            report(name, err::db_failure, e.what(), current_line());
        }
        if constexpr (!std::is_void_v<R>) return R{};
    }

    // Writes the standard error report (log entry and page text).
    void report(const std::string& routine, long number, const std::string& text, unsigned line);

    // Opens the site's database into conn.
    void dbI_init();

    // ---- Common routines
    void funI_init();
    Value get_user_menu(const Value& id);
    Value get_user_truename(const Value& id);
    void monitor(const std::string& text);
    std::string del_url_root(const std::string& text);
    std::string do_body(std::string& text);
    void send_email(const Value& sender, const Value& recipient, const std::string& title,
                    const std::string& text, const Value& degree);

protected:
    friend class PageBar;  // the shared page bar counts and skips on the page's connection
    Connection conn;
    std::string db_path;
    Recordset rs;

private:
    std::string class_name_;
};

// ---- Registration: each page file registers its class by name; the page
// table maps URLs to these names.
using PageFactory = std::function<std::unique_ptr<Page>()>;
bool register_page(const char* class_name, PageFactory factory);
std::unique_ptr<Page> make_page(const std::string& class_name);

#define TAVELOR_PAGE(cls)                                                                    \
    namespace {                                                                              \
    [[maybe_unused]] const bool tavelor_registered_##cls =                                   \
        ::tav::register_page(#cls, [] { return std::unique_ptr<::tav::Page>(new cls()); }); \
    }

}  // namespace tav
