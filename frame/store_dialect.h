// Private to the store: the functions that statements of the pages' dialect
// call once translated, registered on every engine handle.
#pragma once

#include <optional>
#include <string>
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

// A list statement an engine can read by its order rather than by counting
// rows off: one table, all its columns, an optional condition and at most
// one order column ("rowid" when the statement names none: the rows then
// come in the order of their row ids). Equal values of the order column
// come in row id order, the direction of the order, as an index walk gives
// them.
struct ListShape {
    std::string table;
    std::string where;
    std::string column;
    bool desc = false;
};
// The shape of a statement, or none when it has another form or a condition
// that may change which rows come or their order.
std::optional<ListShape> list_shape(const std::string& text);

}  // namespace tav::store_detail
