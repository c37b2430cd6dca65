#include "server/page_table.h"

namespace tav {

std::vector<PageRegistration> page_table() { return registered_pages(); }

std::string page_class_for(std::string_view file_name) { return registered_class(file_name); }

}  // namespace tav
