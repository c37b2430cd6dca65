// The host objects of a request (Request, Response, Session, Server) and the
// globals through which every routine reaches them, as the pages expect.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <source_location>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "frame/context.h"
#include "frame/errors.h"
#include "frame/value.h"
#include "frame/request_data.h"
#include "frame/site_layout.h"

namespace tav {

using SrcLoc = std::source_location;

class RequestObject {
public:
    explicit RequestObject(RequestData data) : data_(std::move(data)) {}
    Value querystring(std::string_view name) const { return data_.query.get(name); }
    Value Form(std::string_view name) const { return data_.form.get(name); }
    std::string ServerVariables(std::string_view name) const;
    std::int64_t TotalBytes() const;
    // The whole body, for callers that want it in memory.
    std::string BinaryRead(std::int64_t n) const;
    // The body for piecewise reading (may lie in a spooled file); may be null.
    const RequestBody* body() const { return data_.body.get(); }
    const ParamList& form_fields() const { return data_.form; }
    const RequestData& data() const { return data_; }
    const std::string& path() const { return data_.path; }  // decoded URL path

private:
    RequestData data_;
};

// Bits of ResponseObject::need_client_compat: which client script the
// answer needs to run in today's browsers.
constexpr unsigned kCompatDialogs = 1;  // modal dialogs, their binding, players, upload progress

class ResponseObject {
public:
    void write(std::string_view text);
    void redirect(const std::string& url);
    void set_content_type(std::string type) { content_type_ = std::move(type); }
    void add_header(std::string name, std::string value) {
        headers_.emplace_back(std::move(name), std::move(value));
    }
    void need_client_compat(unsigned bits) { compat_ |= bits; }
    void set_status(int status) { status_ = status; }
    int status() const { return status_; }
    unsigned client_compat() const { return compat_; }
    // Asks the host to send the answer only after this delay; the host waits
    // without holding a worker.
    void hold_back(std::chrono::milliseconds delay) { hold_back_ = std::max(hold_back_, delay); }
    std::chrono::milliseconds held_back() const { return hold_back_; }

    bool redirected() const { return !location_.empty(); }
    const std::string& location() const { return location_; }
    const std::string& body() const { return body_; }  // UTF-8
    std::string& body() { return body_; }
    const std::string& content_type() const { return content_type_; }
    const std::vector<std::pair<std::string, std::string>>& headers() const { return headers_; }

private:
    std::string body_;
    std::string location_;
    std::string content_type_ = "text/html; charset=gb2312";
    std::vector<std::pair<std::string, std::string>> headers_;
    std::chrono::milliseconds hold_back_{0};
    unsigned compat_ = 0;
    int status_ = 200;
};

// One browser session's values; keys lower-cased. The host keeps these
// between requests; its lock guards readers outside the page (static files).
struct SessionData {
    mutable std::mutex mu;
    std::unordered_map<std::string, Value> values;
};

// The Session object of one request. A request that comes without a session
// gets one only when its page writes a value.
class SessionObject {
public:
    explicit SessionObject(std::shared_ptr<SessionData> data) : data_(std::move(data)) {}
    Value get(std::string_view key) const;
    void set(std::string_view key, Value v);
    void abandon() { abandoned_ = true; }
    // A new id at the end of the request, the values kept.
    void renew() { renew_ = true; }

    bool abandoned() const { return abandoned_; }
    bool renew_requested() const { return renew_; }
    // True when this request made the session (no session came with it).
    bool created() const { return created_; }
    const std::shared_ptr<SessionData>& data() const { return data_; }

private:
    std::shared_ptr<SessionData> data_;
    bool created_ = false;
    bool abandoned_ = false;
    bool renew_ = false;
};

class ServerObject {
public:
    explicit ServerObject(std::string site_root) : root_(std::move(site_root)) {}
    // Physical path of a site-relative path; fails for anything that
    // resolves outside the site root.
    std::string MapPath(std::string_view path) const;
    const std::string& root() const { return root_; }
    // The site's database file (frame/site_layout.h spells its path).
    std::string database_path() const { return layout::database_path(root_); }
    // Pages may ask for more time (uploads ask for 5000 s), but no request
    // holds a worker for longer than kMaxScriptTimeout.
    static constexpr long kMaxScriptTimeout = 90;
    void set_script_timeout(long seconds) { timeout_ = seconds < 1 ? 1 : seconds > kMaxScriptTimeout ? kMaxScriptTimeout : seconds; }
    long script_timeout() const { return timeout_; }

private:
    std::string root_;
    long timeout_ = 90;
};

// The application log; where entries go is the host's affair.
class AppLog {
public:
    virtual ~AppLog() = default;
    virtual void write(int event_type, const std::string& text) = 0;
};

// ---- The globals the pages use: Request.querystring("id"), Session("USER_ID"), ...

struct RequestGlobal {
    Value querystring(std::string_view name, SrcLoc loc = SrcLoc::current()) const;
    Value Form(std::string_view name, SrcLoc loc = SrcLoc::current()) const;
    std::string ServerVariables(std::string_view name, SrcLoc loc = SrcLoc::current()) const;
    std::int64_t TotalBytes(SrcLoc loc = SrcLoc::current()) const;
    std::string BinaryRead(std::int64_t n, SrcLoc loc = SrcLoc::current()) const;
    RequestObject& object() const;
};

inline std::string_view text_of(const char* s) { return s; }
inline std::string_view text_of(const std::string& s) { return s; }
inline std::string_view text_of(std::string_view s) { return s; }
inline std::string text_of(const Value& v) { return v.str(); }

struct ResponseGlobal {
    // Fragment write: the text alone.
    template <class T>
    void write(const T& text, SrcLoc loc = SrcLoc::current()) const { put(text_of(text), "", loc); }
    // Line write: the text and CR LF.
    template <class T>
    void line(const T& text, SrcLoc loc = SrcLoc::current()) const { put(text_of(text), "\r\n", loc); }
    // Lines write, for markup kept as a raw string: the newline right after
    // R"( is dropped so that the block starts on its own source line, and
    // every other "\n" goes out as CR LF, as line() ends its text.
    void lines(std::string_view text, SrcLoc loc = SrcLoc::current()) const {
        if (!text.empty() && text.front() == '\n') text.remove_prefix(1);
        std::string out;
        out.reserve(text.size() + text.size() / 16);
        for (char c : text) {
            if (c == '\n') out += '\r';
            out += c;
        }
        put(out, "", loc);
    }
    // Block write: the text, CR LF and one blank.
    template <class T>
    void block(const T& text, SrcLoc loc = SrcLoc::current()) const { put(text_of(text), "\r\n ", loc); }
    void redirect(const std::string& url, SrcLoc loc = SrcLoc::current()) const;
    // The page needs the client compatibility script (kCompatDialogs).
    void client_compat(unsigned bits, SrcLoc loc = SrcLoc::current()) const;
    ResponseObject& object() const;

private:
    void put(std::string_view text, const char* tail, SrcLoc loc) const;
};

struct SessionGlobal {
    Value operator()(std::string_view key, SrcLoc loc = SrcLoc::current()) const;
    void set(std::string_view key, Value v, SrcLoc loc = SrcLoc::current()) const;
    void abandon(SrcLoc loc = SrcLoc::current()) const;
    void renew(SrcLoc loc = SrcLoc::current()) const;
};

struct ServerGlobal {
    std::string MapPath(std::string_view path, SrcLoc loc = SrcLoc::current()) const;
    void ScriptTimeOut(long seconds, SrcLoc loc = SrcLoc::current()) const;
    ServerObject& object() const;
};

inline constexpr RequestGlobal Request{};
inline constexpr ResponseGlobal Response{};
inline constexpr SessionGlobal Session{};
inline constexpr ServerGlobal Server{};

// Ends the running routine without a report.
[[noreturn]] inline void END_PAGE() { throw EndPage{}; }

}  // namespace tav
