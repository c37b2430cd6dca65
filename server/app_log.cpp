#include "server/app_log.h"

#include <ctime>
#include <fstream>

namespace tav {

void FileLog::write(int event_type, const std::string& text) {
    std::time_t t = std::time(nullptr);
    std::tm tm{};
    localtime_r(&t, &tm);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &tm);
    std::string line = std::string(stamp) + "\t" + std::to_string(event_type) + "\t" + text;
    for (char& c : line)
        if (c == '\r' || c == '\n') c = ' ';
    std::lock_guard lock(mu_);
    std::ofstream out(path_, std::ios::app | std::ios::binary);
    out << line << '\n';
}

}  // namespace tav
