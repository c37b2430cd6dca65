// The host objects of a request (Request, Response, Session, Server) and the
// globals through which every routine reaches them, as the pages expect.
#pragma once

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
#include "server/http_types.h"

namespace tav {

using SrcLoc = std::source_location;

// Name/value pairs decoded from a query string or a urlencoded body. Names
// compare without case; a name given twice yields the values joined by ", ".
class ParamList {
public:
    void parse(std::string_view raw);  // "a=1&b=%D6%D0" (GB18030 bytes)
    Value get(std::string_view name) const;  // empty Value when absent
    const std::vector<std::pair<std::string, std::string>>& items() const { return items_; }

private:
    std::vector<std::pair<std::string, std::string>> items_;  // in order, names as sent
};

class RequestObject {
public:
    explicit RequestObject(const HttpRequest& req);
    Value querystring(std::string_view name) const { return query_.get(name); }
    Value Form(std::string_view name) const { return form_.get(name); }
    std::string ServerVariables(std::string_view name) const;
    std::int64_t TotalBytes() const;
    // The whole body, for callers that want it in memory.
    std::string BinaryRead(std::int64_t n) const;
    // The body for piecewise reading (may lie in a spooled file); may be null.
    const RequestBody* body() const { return http_.body.get(); }
    const ParamList& form_fields() const { return form_; }
    const HttpRequest& http() const { return http_; }
    const std::string& path() const { return path_; }  // decoded URL path

private:
    const HttpRequest& http_;
    std::string path_;
    ParamList query_;
    ParamList form_;
};

class ResponseObject {
public:
    void write(std::string_view text);
    void redirect(const std::string& url);
    void set_buffer(bool on) { buffer_ = on; }
    void set_content_type(std::string type) { content_type_ = std::move(type); }
    void add_header(std::string name, std::string value) {
        headers_.emplace_back(std::move(name), std::move(value));
    }

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
    bool buffer_ = false;
};

// One browser session's values; keys without case.
struct SessionData {
    std::mutex mu;
    std::unordered_map<std::string, Value> values;  // key lower-cased
    std::chrono::steady_clock::time_point last_access;
    bool abandoned = false;
};

// Thread-safe server-side store, idle expiry.
class SessionStore {
public:
    explicit SessionStore(std::chrono::seconds idle = std::chrono::minutes(20)) : idle_(idle) {}
    // The live session of that id, or a new one (created is set) when the id
    // is unknown, expired or abandoned.
    std::pair<std::string, std::shared_ptr<SessionData>> acquire(const std::string& id, bool& created);
    void remove(const std::string& id);
    std::size_t size();

private:
    void sweep_locked(std::chrono::steady_clock::time_point now);
    std::mutex mu_;
    std::unordered_map<std::string, std::shared_ptr<SessionData>> sessions_;
    std::chrono::seconds idle_;
    unsigned counter_ = 0;
};

class SessionObject {
public:
    explicit SessionObject(std::shared_ptr<SessionData> data) : data_(std::move(data)) {}
    Value get(std::string_view key) const;
    void set(std::string_view key, Value v);
    void abandon();
    bool abandoned() const;

private:
    std::shared_ptr<SessionData> data_;
};

class ServerObject {
public:
    explicit ServerObject(std::string site_root) : root_(std::move(site_root)) {}
    // Physical path of a site-relative path; fails for anything that
    // resolves outside the site root.
    std::string MapPath(std::string_view path) const;
    const std::string& root() const { return root_; }
    void set_script_timeout(long seconds) { timeout_ = seconds; }
    long script_timeout() const { return timeout_; }

private:
    std::string root_;
    long timeout_ = 90;
};

class ApplicationObject {};

// The application log: one line per entry, outside the site folder.
class AppLog {
public:
    explicit AppLog(std::string path) : path_(std::move(path)) {}
    void write(int event_type, const std::string& text);
    const std::string& path() const { return path_; }

private:
    std::mutex mu_;
    std::string path_;
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
    // Block write: the text, CR LF and one blank.
    template <class T>
    void block(const T& text, SrcLoc loc = SrcLoc::current()) const { put(text_of(text), "\r\n ", loc); }
    void redirect(const std::string& url, SrcLoc loc = SrcLoc::current()) const;
    void buffer(bool on, SrcLoc loc = SrcLoc::current()) const;
    ResponseObject& object() const;

private:
    void put(std::string_view text, const char* tail, SrcLoc loc) const;
};

struct SessionGlobal {
    Value operator()(std::string_view key, SrcLoc loc = SrcLoc::current()) const;
    void set(std::string_view key, Value v, SrcLoc loc = SrcLoc::current()) const;
    void abandon(SrcLoc loc = SrcLoc::current()) const;
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
