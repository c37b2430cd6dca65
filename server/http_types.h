// Plain request and response types shared by the HTTP layer and the dispatcher.
// Nothing here knows about Beast: pages and dispatch only ever see these.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tav {

// A request body, held in memory or spooled to a temporary file by the HTTP
// layer. Readers take it piecewise so a large upload is never loaded whole.
class RequestBody {
public:
    virtual ~RequestBody() = default;
    virtual std::uint64_t size() const = 0;
    // Copies up to n bytes from offset into dst; returns the count copied
    // (0 at or past the end).
    virtual std::size_t read_at(std::uint64_t offset, char* dst, std::size_t n) const = 0;
};

class MemoryBody final : public RequestBody {
public:
    explicit MemoryBody(std::string data) : data_(std::move(data)) {}
    std::uint64_t size() const override { return data_.size(); }
    std::size_t read_at(std::uint64_t offset, char* dst, std::size_t n) const override;
    const std::string& data() const { return data_; }

private:
    std::string data_;
};

// Owns an open descriptor of a spooled body; the file is unlinked when the
// body goes.
class FileBody final : public RequestBody {
public:
    FileBody(int fd, std::string path, std::uint64_t size);
    ~FileBody() override;
    FileBody(const FileBody&) = delete;
    FileBody& operator=(const FileBody&) = delete;
    std::uint64_t size() const override { return size_; }
    std::size_t read_at(std::uint64_t offset, char* dst, std::size_t n) const override;

private:
    int fd_;
    std::string path_;
    std::uint64_t size_;
};

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

    void set_header(const std::string& name, const std::string& value);
    std::string header(const std::string& name) const;
};

using Handler = std::function<HttpResponse(const HttpRequest&)>;

struct ServerOptions {
    std::string bind = "127.0.0.1";
    unsigned short port = 8080;       // 0 picks a free port
    unsigned workers = 0;             // 0: hardware concurrency, at least 2
    std::uint64_t body_limit = 1ull << 30;        // bytes; larger bodies get 413
    std::uint64_t spool_threshold = 4ull << 20;   // bodies above go to a temp file
    std::string spool_dir = "/tmp";
    std::chrono::seconds header_timeout{30};      // whole header must arrive within
    std::chrono::seconds idle_timeout{60};        // between body reads, and keep-alive
    unsigned max_in_flight = 256;                 // requests queued or running; past it 503
};

}  // namespace tav
