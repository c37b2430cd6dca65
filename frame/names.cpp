#include "frame/names.h"

#include <cctype>

namespace tav {

std::string upload_leaf_name(const std::string& client_name) {
    std::size_t at = client_name.find_last_of("/\\");
    return at == std::string::npos ? client_name : client_name.substr(at + 1);
}

namespace {

// Windows opens the device whatever the extension, and ignores trailing
// blanks and dots: "con.txt" and "nul ." are the devices too.
bool device_name(const std::string& name) {
    std::string stem = name.substr(0, name.find('.'));
    while (!stem.empty() && (stem.back() == ' ' || stem.back() == '.')) stem.pop_back();
    for (char& c : stem) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (stem == "CON" || stem == "PRN" || stem == "AUX" || stem == "NUL") return true;
    return stem.size() == 4 && (stem.compare(0, 3, "COM") == 0 || stem.compare(0, 3, "LPT") == 0) && stem[3] >= '1' &&
           stem[3] <= '9';
}

}  // namespace

bool safe_leaf_name(const std::string& name) {
    if (name.empty() || name.find("..") != std::string::npos) return false;
    for (unsigned char c : name)
        if (c < 32 || c == 127 || c == '/' || c == '\\' || c == ':') return false;
    return !device_name(name);
}

}  // namespace tav
