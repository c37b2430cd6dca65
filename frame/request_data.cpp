#include "frame/request_data.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "frame/encoding.h"
#include "frame/paths.h"

namespace tav {

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

void ParamList::parse(std::string_view raw) {
    std::size_t i = 0;
    while (i <= raw.size()) {
        std::size_t j = raw.find('&', i);
        if (j == std::string_view::npos) j = raw.size();
        std::string_view pair = raw.substr(i, j - i);
        if (!pair.empty()) {
            std::size_t eq = pair.find('=');
            std::string_view name = pair.substr(0, eq);
            std::string_view value = eq == std::string_view::npos ? std::string_view{} : pair.substr(eq + 1);
            items_.emplace_back(gb_to_utf8(percent_decode(name, true)),
                                gb_to_utf8(percent_decode(value, true)));
            index_[lower(items_.back().first)].push_back(items_.size() - 1);
        }
        i = j + 1;
    }
}

Value ParamList::get(std::string_view name) const {
    auto it = index_.find(lower(name));
    if (it == index_.end()) return Value();
    std::string joined;
    for (std::size_t at : it->second) {
        if (at != it->second.front()) joined += ", ";
        joined += items_[at].second;
    }
    return Value(std::move(joined));
}

std::string RequestData::header(std::string_view name) const {
    for (const auto& [k, v] : headers)
        if (iequals(k, name)) return v;
    return {};
}

}  // namespace tav
