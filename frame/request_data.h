// The plain data of one request as the pages see it: filled by the server
// from whatever it received, read through the Request object. Nothing here
// knows about sockets or HTTP parsing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "frame/value.h"

namespace tav {

// A request body, held in memory or spooled to a temporary file. Readers take
// it piecewise so a large upload is never loaded whole.
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

// Name/value pairs decoded from a query string or a urlencoded body. Names
// compare without case; a name given twice yields the values joined by ", ".
class ParamList {
public:
    void parse(std::string_view raw);  // "a=1&b=%D6%D0" (GB18030 bytes)
    Value get(std::string_view name) const;  // empty Value when absent
    const std::vector<std::pair<std::string, std::string>>& items() const { return items_; }

private:
    std::vector<std::pair<std::string, std::string>> items_;  // in order, names as sent
    // Positions in items_ by lower-cased name: a page reading many names of
    // a long form does not scan the whole form for each.
    std::unordered_map<std::string, std::vector<std::size_t>> index_;
};

struct RequestData {
    std::string method;        // "GET", "POST", ...
    std::string path;          // decoded URL path, UTF-8
    std::string query_string;  // as sent, still encoded
    ParamList query;           // decoded query parameters
    ParamList form;            // decoded urlencoded form fields
    std::vector<std::pair<std::string, std::string>> headers;  // as received
    std::string remote_addr;
    std::shared_ptr<const RequestBody> body;  // null when there is none

    // First header of that name, compared without case; "" when absent.
    std::string header(std::string_view name) const;
};

}  // namespace tav
