// Conversion between character sets through the system's iconv, for the
// edge's GB18030 and for other code pages a tool reads.
#pragma once

#include <string>
#include <string_view>

namespace tav {

// An iconv descriptor for one direction, kept open across calls.
class Converter {
public:
    // Throws std::runtime_error when the system cannot convert between them.
    Converter(const char* to, const char* from);
    ~Converter();
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    // Converts; a byte that cannot be read becomes `bad`, is skipped, and
    // clears *clean when given.
    std::string run(std::string_view in, std::string_view bad, bool* clean = nullptr);

private:
    void* cd_;
};

}  // namespace tav
