#include "filestore/walk.h"

#include <utility>

namespace tav::filestore {

std::string shrink(const std::string& walk) {
    std::size_t slash = walk.rfind('\\');
    if (slash == std::string::npos) return walk;
    return walk.substr(0, slash);
}

std::string collect_folders(const std::string& current, const std::string& root,
                            const std::function<void(const std::string&, std::string&)>& getfolder) {
    std::string list;
    std::string walk = current;
    while (walk != root) {
        getfolder(walk, list);
        std::string next = shrink(walk);
        if (next == walk) break;
        walk = std::move(next);
    }
    getfolder(root, list);
    return list;
}

void sort_dir(std::vector<std::string>& list) {
    if (list.empty()) return;
    const std::size_t ub = list.size() - 1;
    for (std::size_t i = 0; i < ub; ++i)
        for (std::size_t j = i; j <= ub; ++j)
            // binary compare: std::string compares bytes as unsigned, which
            // for UTF-8 is the order of the character codes
            if (list[i].compare(list[j]) > 0) std::swap(list[i], list[j]);
}

}  // namespace tav::filestore
