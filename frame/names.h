// The name a client gives an uploaded file, reduced to what may be stored:
// its last component only, and never a name the file system treats
// specially. Every place that builds a target path from a client's name
// goes through these two.
#pragma once

#include <string>

namespace tav {

// The part behind the last '/' or '\': browsers send a bare name, older ones
// the whole client path, a hand-made request anything.
std::string upload_leaf_name(const std::string& client_name);

// True when name can stand as one file name inside a folder of ours: not
// empty, no separator, no "..", no control character, and not a device name
// (CON, PRN, AUX, NUL, COM1-9, LPT1-9, with or without an extension).
bool safe_leaf_name(const std::string& name);

}  // namespace tav
