// The multipart upload group: parses a multipart/form-data body into plain
// fields and file records and writes chosen file parts to disk.
//
// The body is never loaded whole: searches slide a window over the request
// body, header blocks and fields are read as small byte ranges, and a file
// part is copied from the body to its file in bounded pieces. The search
// arithmetic keeps the one-based search results and zero-based body offsets
// mixed exactly as the pages have always relied on.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace tav {

class Page;

struct FileRecord {
    std::string form_name;   // field name, lower case
    std::string file_path;   // client path up to and including the last backslash
    std::string file_name;   // client name behind the last backslash
    std::int64_t file_start = 0;  // zero-based offset of the first content byte
    std::int64_t file_size = 0;   // content bytes
    std::string file_type;   // text behind "Content-Type: "; kept, never read
};

// How much one request may carry. The server sets request_bytes to its own
// body limit at start; a request over a limit gets the oversize answer
// (HTTP 413) and the page ends before it stores anything.
struct UploadLimits {
    std::int64_t file_bytes = std::int64_t{100} << 20;              // one file part
    std::int64_t request_bytes = (std::int64_t{1} << 30) + (64 << 20);  // the whole body
    std::size_t parts = 1000;                                       // fields and files together
};

// A cap on what one account may keep stored, checked before the first file
// of a request is stored: the account's use plus every named file part of
// the request must stay within the software row softname (megabytes),
// default_mb when the row is missing or holds no number.
struct UploadQuota {
    const char* softname = nullptr;
    int default_mb = 0;
    std::function<std::int64_t(Page&)> used;  // bytes the account keeps now
    std::string what;                         // what is counted, for the answer: "邮件附件"
};

// The oversize answer's page (UTF-8): the headline and one line on the limit.
std::string too_large_text(std::string_view headline, std::string_view limit_line);
std::string too_large_text(std::string_view limit_line);
// A byte count in megabytes as the answers write it: "100", "1.5".
std::string megabytes(std::uint64_t bytes);

class UploadGroup {
public:
    // UploadImg: upload_save hands its refusal back instead of writing it.
    enum class Variant { Standard, UploadImg };

    explicit UploadGroup(Page& page, Variant variant = Variant::Standard)
        : page_(page), variant_(variant) {}

    void upload_initialize();
    std::string upload_form(std::string& name);
    std::string upload_file(std::string& form_name, const std::string& folder, const std::string& prefix);
    std::string upload_save(const std::string& full_path, const FileRecord& record);
    void upload_terminate();
    std::string getfilepath(const std::string& s);
    std::string getfilename(const std::string& s);

    // The file records in the order they were added.
    const std::vector<FileRecord>& files() const { return files_; }
    // The plain fields in the order they were added (names lower case).
    const std::vector<std::pair<std::string, std::string>>& fields() const { return fields_; }

    // Bytes per piece when searching or copying the body. Tests shrink it to
    // make matches straddle piece edges; nothing changes it while serving.
    static inline std::size_t chunk = 1 << 20;

    static inline UploadLimits limits;
    void set_quota(UploadQuota quota) { quota_ = std::move(quota); }

private:
    enum class Over { None, Request, File, Parts };
    void parse();
    void add_field(const std::string& name, const std::string& value);
    [[noreturn]] void refuse_over(Over over);
    void check_quota();

    Page& page_;
    Variant variant_;
    std::vector<std::pair<std::string, std::string>> fields_;
    std::vector<FileRecord> files_;
    std::unordered_map<std::string, std::size_t> field_at_;  // name -> index in fields_
    std::unordered_set<std::string> file_names_;
    Over over_ = Over::None;
    UploadQuota quota_;
    bool quota_checked_ = false;
};

}  // namespace tav
