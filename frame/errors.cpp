#include "frame/errors.h"

namespace tav {

namespace {
thread_local unsigned tl_line = 0;
}

unsigned current_line() { return tl_line; }
void set_current_line(unsigned line) { tl_line = line; }

void raise_error(long number, const std::string& text) { throw PageError(number, text, tl_line); }

std::string error_text(long number) {
    switch (number) {
    case err::type_mismatch: return "Type mismatch";
    case err::invalid_null: return "Invalid use of Null";
    case err::invalid_call: return "Invalid procedure call or argument";
    case err::file_not_found: return "File not found";
    case err::path_not_found: return "Path not found";
    case err::file_exists: return "File already exists";
    case err::permission_denied: return "Permission denied";
    case err::path_access: return "Path/File access error";
    case err::no_current_record:
        return "Either BOF or EOF is True, or the current record has been deleted. "
               "Requested operation requires a current record.";
    case err::item_not_found:
        return "Item cannot be found in the collection corresponding to the requested name or ordinal.";
    default: return "Unspecified error";
    }
}

void raise_error(long number) { raise_error(number, error_text(number)); }

}  // namespace tav
