// The HTTP layer's plain request and response types, shared with the
// dispatcher. Nothing here knows about Beast; pages never see these but the
// frame's RequestData the dispatcher fills from them.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "frame/request_data.h"

namespace tav {

struct HttpRequest {
    std::string method;       // "GET", "POST", ...
    std::string target;       // raw request-target, e.g. "/login.asp?login=error"
    std::vector<std::pair<std::string, std::string>> headers;  // as received
    std::string remote_addr;  // "127.0.0.1"; a trusted proxy's client when it names one
    bool secure = false;      // came over TLS (as a trusted proxy says)
    std::shared_ptr<const RequestBody> body;  // null when there is none

    // First header of that name, compared without case; "" when absent.
    std::string header(const std::string& name) const;
};

struct HttpResponse {
    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;   // bytes to send, already in their final encoding
    std::string file;   // when not empty: send this file's bytes instead of body
    std::uint64_t file_size = 0;
    // A part of the file (206): file_size bytes from file_offset.
    bool file_range = false;
    std::uint64_t file_offset = 0;
    std::chrono::milliseconds delay{0};  // send only after this long (without a worker)

    void set_header(const std::string& name, const std::string& value);
    std::string header(const std::string& name) const;
};

using Handler = std::function<HttpResponse(const HttpRequest&)>;
// Answers what it can at once, without blocking, on the connection's own
// thread (static files); returns false to leave the request to the workers.
using QuickHandler = std::function<bool(const HttpRequest&, HttpResponse&)>;

struct ServerOptions {
    std::string bind = "127.0.0.1";
    unsigned short port = 8080;       // 0 picks a free port
    unsigned workers = 0;             // 0: eight per core, at least 36
    // A 1 GiB media file with its form fields and part headers fits.
    std::uint64_t body_limit = (1ull << 30) + (64ull << 20);  // bytes; larger bodies get 413
    std::uint64_t spool_threshold = 4ull << 20;   // bodies above go to a temp file
    std::string spool_dir = "/tmp";
    std::chrono::seconds header_timeout{30};      // whole header must arrive within
    std::chrono::seconds idle_timeout{60};        // between body reads, and keep-alive
    unsigned max_in_flight = 256;                 // requests queued or running; past it 503
    unsigned max_connections = 1000;              // open connections; past it new ones are closed
    // A body must arrive within body_time_floor plus its size at
    // body_min_rate, on top of the idle timeout between reads.
    std::chrono::seconds body_time_floor{60};
    std::uint64_t body_min_rate = 16 * 1024;      // bytes per second
    // Open connections one address may hold. An office behind one NAT
    // address opens about six per browser tab in use; 256 leaves room for
    // forty busy people there, and still keeps three quarters of the
    // global cap for everyone else. Trusted proxies are not counted.
    unsigned max_connections_per_addr = 256;
    // Peers whose X-Forwarded-For (last hop) and X-Forwarded-Proto are
    // believed; from anyone else those headers mean nothing.
    std::vector<std::string> trusted_proxies;
    // The body limit for a request, asked once its header is in (0: the
    // server's own); smaller for requests no upload page would accept.
    std::function<std::uint64_t(const HttpRequest&)> body_limit_for;
    // The account a request's session belongs to ("" for none), for the
    // lines below.
    std::function<std::string(const HttpRequest&)> account_of;
    // Where the layer reports what it refused or what failed (one line).
    std::function<void(const std::string&)> log;
};

}  // namespace tav
