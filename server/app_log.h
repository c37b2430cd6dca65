// The application log as a file: one line per entry, outside the site folder.
#pragma once

#include <mutex>
#include <string>

#include "frame/host.h"

namespace tav {

class FileLog final : public AppLog {
public:
    explicit FileLog(std::string path) : path_(std::move(path)) {}
    void write(int event_type, const std::string& text) override;
    const std::string& path() const { return path_; }

private:
    std::mutex mu_;
    std::string path_;
};

}  // namespace tav
