// Byte ranges of static files: which part of a file a GET asks for, given
// its Range and If-Range headers and what the file is now.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tav {

struct ByteRange {
    std::uint64_t first = 0;
    std::uint64_t last = 0;  // inclusive
    std::uint64_t length() const { return last - first + 1; }
};

enum class RangeAnswer {
    Whole,          // 200 with the whole file: no Range, one we ignore, or a stale If-Range
    Partial,        // 206 with `out`
    Unsatisfiable,  // 416: the range starts past the end
};

// Only a single "bytes=" range is answered in part; a list of ranges gets
// the whole file, which the protocol allows. If-Range must name the
// current strong ETag or the exact Last-Modified date, else the whole file.
RangeAnswer choose_range(std::string_view range, std::string_view if_range, std::string_view etag,
                         std::string_view last_modified, std::uint64_t size, ByteRange& out);

// "bytes first-last/size" for a 206, "bytes */size" for a 416.
std::string content_range(const ByteRange& r, std::uint64_t size);
std::string content_range_unsatisfied(std::uint64_t size);

}  // namespace tav
