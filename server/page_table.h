// The page table: every URL of the site and the page class that serves it,
// as the page files register them (TAVELOR_PAGE).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "frame/page.h"

namespace tav {

// Every registered URL with its class, ordered by URL without case.
std::vector<PageRegistration> page_table();

// The class for a site-root file name such as "Data_List.asp", compared
// without case; "" when no page answers there.
std::string page_class_for(std::string_view file_name);

// docs/access.md: every URL with its class and rule, as a Markdown table.
std::string access_table();

}  // namespace tav
