// The folders of a site instance and its database file, spelled once. The
// frame, the server and the instance maker all ask here, so a folder cannot
// be private to one of them and public to another.
#pragma once

#include <string>
#include <string_view>

#include "frame/paths.h"

namespace tav::layout {

inline constexpr std::string_view kDatabaseFolder = "datebase";
inline constexpr std::string_view kDatabaseFile = "office.mdb";  // in kDatabaseFolder
inline constexpr std::string_view kUserFolder = "user";          // user/NAME/: one account's own files
inline constexpr std::string_view kMailFolder = "Email";         // mail attachments, flat
inline constexpr std::string_view kDataFolder = "Datas";         // data centre attachments
inline constexpr std::string_view kMediaFolder = "Medium";       // the media library
inline constexpr std::string_view kMediaTempFolder = "Medium/temp";  // play lists made for a player

// What accounts uploaded: only signed-in sessions may read these back.
inline constexpr std::string_view kPrivateFolders[] = {kUserFolder, kMailFolder, kDataFolder, kMediaFolder};

// The empty folders a new instance gets: the pages write into them.
inline constexpr std::string_view kInstanceFolders[] = {kUserFolder, kDataFolder, kMailFolder, kMediaTempFolder,
                                                        kDatabaseFolder};

// A folder as the start of a path: "Datas/", "./Datas/", "/Datas/".
inline std::string dir(std::string_view folder, std::string_view before = {}) {
    std::string out(before);
    out.append(folder);
    out += '/';
    return out;
}
inline std::string dir_here(std::string_view folder) { return dir(folder, "./"); }
inline std::string dir_at_root(std::string_view folder) { return dir(folder, "/"); }

// The database file of the instance at root.
inline std::string database_path(std::string_view root) {
    std::string path(root);
    if (path.empty() || path.back() != '/') path += '/';
    path += kDatabaseFolder;
    path += '/';
    path += kDatabaseFile;
    return path;
}

// The database folder of the instance at root (no trailing '/').
inline std::string database_folder(std::string_view root) {
    std::string path(root);
    if (path.empty() || path.back() != '/') path += '/';
    return path += kDatabaseFolder;
}

// Whether a first path component below the root names a private folder or
// the database's, in any case (the disk is read without case).
inline bool is_private_folder(std::string_view first) {
    for (std::string_view f : kPrivateFolders)
        if (iequals(first, f)) return true;
    return false;
}
inline bool is_database_folder(std::string_view first) { return iequals(first, kDatabaseFolder); }

}  // namespace tav::layout
