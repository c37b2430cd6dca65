// Physical paths without case: the site's files are found whatever capitals
// a page or a browser uses, as on the platform the pages were written for.
#pragma once

#include <string>
#include <string_view>

namespace tav {

// Splits at '/' and '\\', drops empty and "." parts, folds "..". Returns false
// when ".." would climb above the start. The result starts with '/' when the
// input did, has '/' separators and no trailing one.
bool normalize_path(std::string_view path, std::string& out);

// Resolves each component of an absolute, normalized path against the disk
// without case (an exact match wins); components that do not exist are kept
// as given.
std::string resolve_without_case(const std::string& normalized);

// Normalizes and resolves a physical path as pages build it (backslashes,
// doubled separators, other capitals). Fails (false) on a ".." above root.
bool physical_path(std::string_view path, std::string& out);

// True when path equals root or lies below it (both normalized).
bool path_inside(const std::string& root, const std::string& path);

// ASCII lower case.
std::string lower(std::string_view s);
bool iequals(std::string_view a, std::string_view b);

}  // namespace tav
