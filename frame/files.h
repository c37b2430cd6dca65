// The file objects the pages use. Paths are physical paths as the pages build
// them (backslashes, doubled separators, any capitals); they are resolved
// without case and must stay inside the site.
#pragma once

#include <cstdint>
#include <source_location>
#include <string>
#include <vector>

namespace tav {

struct FileItem {
    std::string Name;
    std::string Path;
    std::uint64_t Size = 0;
    std::string DateLastModified;  // "YYYY-MM-DD HH:MM:SS", local time
};

struct FolderItem {
    std::string Name;
    std::string Path;
    std::vector<FileItem> Files(std::source_location loc = std::source_location::current()) const;
    std::vector<FolderItem> SubFolders(std::source_location loc = std::source_location::current()) const;
};

class FileSystemObject {
public:
    using Loc = std::source_location;
    bool FileExists(const std::string& path, Loc loc = Loc::current()) const;
    bool FolderExists(const std::string& path, Loc loc = Loc::current()) const;
    // Makes the last level only; fails when it exists or its parent is missing.
    void CreateFolder(const std::string& path, Loc loc = Loc::current()) const;
    void DeleteFile(const std::string& path, Loc loc = Loc::current()) const;
    void DeleteFolder(const std::string& path, Loc loc = Loc::current()) const;
    void MoveFile(const std::string& from, const std::string& to, Loc loc = Loc::current()) const;
    void MoveFolder(const std::string& from, const std::string& to, Loc loc = Loc::current()) const;
    FolderItem GetFolder(const std::string& path, Loc loc = Loc::current()) const;
    FileItem GetFile(const std::string& path, Loc loc = Loc::current()) const;
    // Text files, written in the site's code page (GB18030).
    void AppendText(const std::string& path, const std::string& text, Loc loc = Loc::current()) const;
    void WriteText(const std::string& path, const std::string& text, Loc loc = Loc::current()) const;

    // The resolved physical path, checked against the site root; fails with
    // "Permission denied" outside it.
    static std::string resolve(const std::string& path);
};

}  // namespace tav
