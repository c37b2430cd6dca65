// The application log: one line per entry, in a file outside the site folder,
// or on stderr with syslog level prefixes when journald collects it.
#pragma once

#include <cstdio>
#include <mutex>
#include <string>

#include "frame/host.h"

namespace tav {

class FileLog final : public AppLog {
public:
    // path "-" or "stderr": write to stderr, each line led by <3>, <4> or <6>
    // (error, warning, information) so the journal keeps the level.
    explicit FileLog(std::string path);
    ~FileLog() override;
    FileLog(const FileLog&) = delete;
    FileLog& operator=(const FileLog&) = delete;

    void write(int event_type, const std::string& text) override;
    // Closes and opens the file again by its name: after logrotate renamed
    // it, entries go to a fresh file. Called on SIGHUP; harmless on stderr.
    void reopen();
    const std::string& path() const { return path_; }
    bool to_stderr() const { return stderr_; }

private:
    std::mutex mu_;
    std::string path_;
    bool stderr_;
    std::FILE* file_ = nullptr;
};

// The --log value to use when none was given: under systemd (JOURNAL_STREAM
// set) the journal, otherwise the file next to the instance.
std::string pick_log_path(const std::string& given, const std::string& file_default);

}  // namespace tav
