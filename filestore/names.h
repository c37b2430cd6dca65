// The name of a folder as the delete and rename forms show it.
#pragma once

#include <string>

namespace tav::filestore {

// The path below the account's root: \user\me\a\b gives \a\b. The root
// itself, with nothing below it, gives "\".
std::string shown_name(const std::string& folder);

}  // namespace tav::filestore
