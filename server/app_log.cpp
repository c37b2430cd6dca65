#include "server/app_log.h"

#include <cstdlib>
#include <ctime>

namespace tav {

namespace {

// Event types as the pages pass them: 1 error, 2 warning, 4 information.
const char* syslog_prefix(int event_type) {
    switch (event_type) {
        case 1: return "<3>";
        case 2: return "<4>";
        default: return "<6>";
    }
}

}  // namespace

FileLog::FileLog(std::string path) : path_(std::move(path)), stderr_(path_ == "-" || path_ == "stderr") {
    if (!stderr_) file_ = std::fopen(path_.c_str(), "ab");
}

FileLog::~FileLog() {
    if (file_) std::fclose(file_);
}

void FileLog::reopen() {
    if (stderr_) return;
    std::lock_guard lock(mu_);
    if (file_) std::fclose(file_);
    file_ = std::fopen(path_.c_str(), "ab");
}

void FileLog::write(int event_type, const std::string& text) {
    std::string line;
    if (stderr_) {
        // journald stamps the time itself.
        line = std::string(syslog_prefix(event_type)) + std::to_string(event_type) + "\t" + text;
    } else {
        std::time_t t = std::time(nullptr);
        std::tm tm{};
        localtime_r(&t, &tm);
        char stamp[32];
        std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &tm);
        line = std::string(stamp) + "\t" + std::to_string(event_type) + "\t" + text;
    }
    for (char& c : line)
        if (c == '\r' || c == '\n') c = ' ';
    line += '\n';
    std::lock_guard lock(mu_);
    // A file that could not be opened (folder missing at start) is tried
    // again on each entry rather than losing the log for good.
    if (!stderr_ && !file_) file_ = std::fopen(path_.c_str(), "ab");
    std::FILE* out = stderr_ ? stderr : file_;
    if (!out) return;
    std::fwrite(line.data(), 1, line.size(), out);
    std::fflush(out);
}

std::string pick_log_path(const std::string& given, const std::string& file_default) {
    if (!given.empty()) return given;
    const char* js = std::getenv("JOURNAL_STREAM");
    return js && *js ? "-" : file_default;
}

}  // namespace tav
