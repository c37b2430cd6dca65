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
    std::string remote_addr;  // "127.0.0.1"
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
    unsigned workers = 0;             // 0: hardware concurrency, at least 2
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
};

}  // namespace tav
