#include "filestore/names.h"

#include "frame/vb.h"

namespace tav::filestore {

std::string shown_name(const std::string& folder) {
    std::string rest = Replace(folder, "\\user\\", "");
    long n = InStr(rest, "\\");
    std::string shown = Right(rest, Len(rest) - n + 1);
    if (Left(shown, 1) != "\\") shown.assign(1, '\\');
    return shown;
}

}  // namespace tav::filestore
