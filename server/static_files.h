// The files of the instance as the browser gets them: the site's own
// pictures, scripts and style sheets (small ones kept in memory), and what
// pages stored from users, which is never served as a page of this site.
// Who may read a private file is not decided here (server/private_files.h).
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "server/http_types.h"

namespace tav {

// Content type for a file name, by its extension.
std::string content_type_for(const std::string& name);

class StaticFiles {
public:
    explicit StaticFiles(std::string site_root) : root_(std::move(site_root)) {}

    // True for what is never served: the database folder, the database's
    // files and hidden files.
    static bool never_served(std::string_view norm);

    // Answers a normalized path ("/images/a.gif"). private_file: in a private
    // folder and already allowed to this request; kept out of caches.
    HttpResponse serve(const std::string& norm, const HttpRequest& req, bool private_file);

private:
    // The site's small static files in memory, each checked against the
    // disk at most once a second: no open, read and close per request.
    struct CachedFile {
        std::string bytes, etag, last_modified, content_type, cache_control;
        std::uint64_t size = 0;
        std::int64_t mtime_ns = 0;
        mutable std::atomic<std::int64_t> checked_ms{0};  // steady clock
    };
    std::shared_ptr<const CachedFile> cached_file(const std::string& norm);
    HttpResponse from_memory(const CachedFile& f, const HttpRequest& req);

    std::string root_;
    std::mutex cache_mu_;
    std::unordered_map<std::string, std::shared_ptr<const CachedFile>> cache_;
    std::uint64_t cache_bytes_ = 0;
};

}  // namespace tav
