// The tree's walk from the current folder up to the account's root, and the
// order in which the tree lists folders.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tav::filestore {

// walk without its last component and the backslash before it; a text
// without backslash stays as it is.
std::string shrink(const std::string& walk);

// The folder list of the tree: getfolder(path, list) appends the subfolders
// of each folder from current up to root, then of root. The page hands in
// only a current folder at or below root; one that is not still ends, when
// it has no part left to drop.
std::string collect_folders(const std::string& current, const std::string& root,
                            const std::function<void(const std::string&, std::string&)>& getfolder);

// Ascending exchange sort by character code of the whole path: a sibling
// named like its parent with a digit or capital behind sorts between the
// parent and the parent's children, since the backslash is 92.
void sort_dir(std::vector<std::string>& list);

}  // namespace tav::filestore
