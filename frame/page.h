// The page base: what every page class has in common with the host, the
// handler under which each routine runs, and the routine groups that pages
// share (held once here, run on the calling page's connection and reported
// under the calling page's class).
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "frame/access.h"
#include "frame/errors.h"
#include "frame/host.h"
#include "frame/store.h"
#include "frame/value.h"

namespace tav {

class Page {
public:
    // Pages registered with TAVELOR_PAGE get their class name from the
    // registration; the named form is for pages made by hand (tests).
    Page();
    explicit Page(std::string class_name);
    virtual ~Page();

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

    // ---- What many pages repeat

    // The head most pages open with: <html>, <head>, the gb2312 meta line,
    // then as asked the two no-cache lines (expires today minus
    // no_cache_days), the title (escaped) and the style sheet link. The
    // page writes its own further head lines and </head>.
    struct Head {
        std::optional<std::string> title = std::nullopt;  // escaped as a whole
        bool style = true;
        int no_cache_days = 0;        // 0: no no-cache lines
    };
    void write_head(const Head& head);


    // Per-request memos of what pages read again and again. Each is read by
    // its statement once per page object (one request) and handed out as a
    // fresh recordset, so a missing row fails at the field read as before.
    // The rights row of the session's account: "select menu_idstr from user
    // where id=" and the session's user_id.
    Recordset user_rights();
    // The settings row of softname: "select * from software where softname=".
    Recordset setting(const char* softname);

    Connection& connection() { return conn; }

    // ---- Common routines
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
    friend std::unique_ptr<Page> make_page(const std::string& class_name);
    std::string class_name_;
    std::optional<Recordset> rights_memo_;
    std::map<std::string, Recordset> settings_memo_;
};

// ---- Registration. Each page file ends with TAVELOR_PAGE(cls, "Url.asp", rule):
// the class is made for that URL (looked up without case) and reports under
// the class name, lower case, a trailing underscore dropped (`default_`
// stands for the class `default`).
using PageFactory = std::function<std::unique_ptr<Page>()>;

struct PageRegistration {
    std::string url;  // as the page file names it; "" for a class without URL
    std::string cls;  // class name as reports write it
    Access access;    // who may run it
};

// Registers a class under a URL. A second class for the same URL (in any
// case) is a programming error and stops the program at start.
bool register_page(const char* class_name, const char* url, Access access, PageFactory factory);
// A class without URL, run by name (tests, shared pieces).
bool register_page(const char* class_name, PageFactory factory);
// A new object of the class, named; null for an unknown class.
std::unique_ptr<Page> make_page(const std::string& class_name);
// The class registered for a URL ("Data_List.asp"), "" when none.
std::string registered_class(std::string_view url);
// The rule a registered class declared; Unset for a class without one.
Access registered_access(const std::string& class_name);
// Every registration with a URL, ordered by URL without case.
std::vector<PageRegistration> registered_pages();

// rule is who may run it: access::open(), access::signed_in() or
// access::right("1904"); the dispatcher checks it before the page starts.
#define TAVELOR_PAGE(cls, url, rule)                                                     \
    namespace {                                                                          \
    [[maybe_unused]] const bool tavelor_registered_##cls = ::tav::register_page(         \
        #cls, url, ::tav::rule, [] { return std::unique_ptr<::tav::Page>(new cls()); }); \
    }

}  // namespace tav
