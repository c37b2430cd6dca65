// The page table: every URL of the site and the page class that serves it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tav {

struct PageRoute {
    const char* url;   // as callers write it; looked up without case
    const char* cls;   // page class name
};

const std::vector<PageRoute>& page_table();

// The class for a site-root file name such as "Data_List.asp", compared
// without case; "" when no page answers there.
std::string page_class_for(std::string_view file_name);

}  // namespace tav
