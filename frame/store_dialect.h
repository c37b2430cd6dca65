// Private to the store: the functions that statements of the pages' dialect
// call once translated, registered on every engine handle.
#pragma once

#include <string_view>

struct sqlite3;

namespace tav::store_detail {

// Registers now(), tav_datediff, tav_instr, tav_left, tav_right, tav_mid and
// tav_len on the handle. Returns an engine result code.
int register_dialect_functions(sqlite3* db);

// Whether a statement begins with one of the dialect's four verbs (select,
// insert, update, delete), after blanks and opening brackets. Every engine
// runs only those.
bool allowed_verb(std::string_view sql);

}  // namespace tav::store_detail
