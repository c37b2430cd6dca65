// Failures of the page frame. A PageError ends the routine it is raised in,
// whose handler writes the standard error report; EndPage ends it silently.
#pragma once

#include <source_location>
#include <stdexcept>
#include <string>

namespace tav {

// The sentinel number of END_PAGE.
constexpr long END_PAGE_NUMBER = -19691969;

// Thrown by END_PAGE: the routine's handler leaves without output or log.
struct EndPage {
    long number = END_PAGE_NUMBER;
};

// A failure with a number, a text and the line of the statement that failed.
class PageError : public std::runtime_error {
public:
    PageError(long number, const std::string& text, unsigned line)
        : std::runtime_error(text), number_(number), line_(line) {}
    long number() const { return number_; }
    unsigned line() const { return line_; }

private:
    long number_;
    unsigned line_;
};

// Thrown when a page runs past its script time limit. Routine handlers do not
// catch it: it goes up to the host, which ends the answer.
struct ScriptTimeout {};

// Error numbers the frame raises, with the texts that go with them.
namespace err {
constexpr long type_mismatch = 13;
constexpr long invalid_null = 94;
constexpr long invalid_call = 5;
constexpr long file_not_found = 53;
constexpr long path_not_found = 76;
constexpr long file_exists = 58;
constexpr long permission_denied = 70;
constexpr long path_access = 75;
constexpr long no_current_record = 3021;
constexpr long item_not_found = 3265;
constexpr long db_failure = -2147467259;    // generic driver failure
constexpr long sql_failure = -2147217900;   // statement rejected by the engine
}  // namespace err

// The line of the statement being run on this thread: every host primitive
// records its call site here, so a failure can tell where it happened.
unsigned current_line();
void set_current_line(unsigned line);

inline void mark(const std::source_location& loc) { set_current_line(loc.line()); }

// Raise a PageError at the current line.
[[noreturn]] void raise_error(long number, const std::string& text);

// Standard texts for the numbers above.
std::string error_text(long number);
[[noreturn]] void raise_error(long number);

}  // namespace tav
