// The answer to a request whose body is over the server's limit. A form
// sent to a page gets a page the user can read, in the site's style, that
// names the limit; the browser's Back then returns to the form as it was.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tav {

// True when target (path and query) is a request to a page: a name ending
// in .asp, or a folder (the site's default page).
bool targets_page(std::string_view target);

// The page for a body over limit bytes, gb2312-encoded.
std::string too_large_page(std::uint64_t limit);

// The limit as the page writes it: whole megabytes where it is a whole
// number of them, else one decimal ("1024", "0.5").
std::string megabytes(std::uint64_t limit);

}  // namespace tav
