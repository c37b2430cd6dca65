#include "server/http_types.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <strings.h>
#include <unistd.h>

namespace tav {

namespace {

bool same_name(const std::string& a, const std::string& b) {
    return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

std::size_t MemoryBody::read_at(std::uint64_t offset, char* dst, std::size_t n) const {
    if (offset >= data_.size()) return 0;
    std::size_t count = std::min<std::uint64_t>(n, data_.size() - offset);
    std::memcpy(dst, data_.data() + offset, count);
    return count;
}

FileBody::FileBody(int fd, std::string path, std::uint64_t size)
    : fd_(fd), path_(std::move(path)), size_(size) {}

FileBody::~FileBody() {
    if (fd_ >= 0) ::close(fd_);
    if (!path_.empty()) ::unlink(path_.c_str());
}

std::size_t FileBody::read_at(std::uint64_t offset, char* dst, std::size_t n) const {
    if (offset >= size_) return 0;
    if (n > size_ - offset) n = static_cast<std::size_t>(size_ - offset);
    std::size_t done = 0;
    while (done < n) {
        ssize_t got = ::pread(fd_, dst + done, n - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;  // the spool file never shrinks; treat errors as its end
        done += static_cast<std::size_t>(got);
    }
    return done;
}

std::string HttpRequest::header(const std::string& name) const {
    for (const auto& [k, v] : headers)
        if (same_name(k, name)) return v;
    return {};
}

void HttpResponse::set_header(const std::string& name, const std::string& value) {
    bool found = false;
    for (auto it = headers.begin(); it != headers.end();) {
        if (!same_name(it->first, name)) {
            ++it;
        } else if (!found) {
            it->second = value;
            found = true;
            ++it;
        } else {
            it = headers.erase(it);
        }
    }
    if (!found) headers.emplace_back(name, value);
}

std::string HttpResponse::header(const std::string& name) const {
    for (const auto& [k, v] : headers)
        if (same_name(k, name)) return v;
    return {};
}

}  // namespace tav
