// Backup, restore and check of a site instance, for the administrator's
// command line; the server may keep running while they work.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace tav {

// A POSIX tar stream (ustar headers, pax records for names that are not
// short ASCII and for sizes over the ustar field) written to a file
// descriptor.
class TarWriter {
public:
    explicit TarWriter(int fd) : fd_(fd) {}
    // A header; for a regular file ('0') exactly size bytes follow through data().
    void entry(const std::string& name, char type, std::uint64_t size, std::int64_t mtime, unsigned mode,
               const std::string& link = "");
    void data(const char* p, std::size_t n);
    // The two zero blocks that end an archive.
    void finish();
    std::uint64_t bytes() const { return written_; }

private:
    void raw(const char* p, std::size_t n);
    void pad();
    int fd_;
    std::uint64_t written_ = 0;
    std::uint64_t left_ = 0;  // data still owed to the current entry
};

// Reads what TarWriter writes (and plain ustar); refuses what it cannot
// read rather than guessing.
class TarReader {
public:
    struct Entry {
        std::string name, link;
        char type = '0';
        std::uint64_t size = 0;
        std::int64_t mtime = 0;
    };
    explicit TarReader(int fd) : fd_(fd) {}
    // The next entry; false at the end of the archive.
    bool next(Entry& e);
    // Data of the current entry; 0 at its end.
    std::size_t read(char* p, std::size_t n);

private:
    void exact(char* p, std::size_t n);
    void skip(std::uint64_t n);
    int fd_;
    std::uint64_t left_ = 0, padding_ = 0;
};

struct BackupSummary {
    std::uint64_t files = 0, bytes = 0, rows = 0;
    std::vector<std::pair<std::string, std::uint64_t>> tables;  // largest first
    std::uint64_t in_flight = 0;  // upload files left out: their rows were not committed yet
    std::uint64_t skipped = 0;    // links and special files, never archived
    std::string line() const;     // the one-line report
};

BackupSummary backup_site(const std::string& dir, const std::string& out_tar);
// Throws with the reason; on failure nothing is left at or beside dir.
void restore_site(const std::string& tar, const std::string& dir);

// The upload files the database names, as lower-case paths relative to the
// instance with '/' (pages find files without case).
struct FileNames {
    std::map<std::string, std::string> named;  // path -> the first row naming it ("Email 12 names Email/a.txt")
    std::set<std::string> shown;               // pictures a stored text shows (the editor's uploads)
    bool covers(const std::string& path) const { return named.count(path) || shown.count(path); }
};
FileNames file_names_of(const std::string& database);

struct CheckReport {
    std::vector<std::string> integrity, missing, stray;
    bool on_postgresql = false;  // rows read from the server; its storage is not checked here
    bool clean() const { return integrity.empty() && missing.empty() && stray.empty(); }
};
CheckReport check_site(const std::string& dir);

// Whether the site's rows live on PostgreSQL: no SQLite file, and
// datebase/postgresql.url naming the server (what serve DIR follows).
bool on_postgresql(const std::string& dir);

}  // namespace tav
