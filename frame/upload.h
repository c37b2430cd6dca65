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
#include <string>
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

class UploadGroup {
public:
    // UploadImg: upload_save hands its refusal back instead of writing it.
    enum class Variant { Standard, UploadImg };

    explicit UploadGroup(Page& page, Variant variant = Variant::Standard)
        : page_(page), variant_(variant) {}

    void upI_init();
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

private:
    void parse();
    void add_field(const std::string& name, const std::string& value);
    bool has_file(const std::string& name) const;

    Page& page_;
    Variant variant_;
    std::vector<std::pair<std::string, std::string>> fields_;
    std::vector<FileRecord> files_;
};

}  // namespace tav
