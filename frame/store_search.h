// Substring search in text columns. A page asks for "these columns of this
// table hold the term" and gets a condition to join into its statement;
// whether the engine answers it from a text index or by reading the rows is
// the store's business, and the rows are the same either way.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include "frame/sql.h"

struct sqlite3;

namespace tav {

// The condition "(c1 like '%term%' or c2 like '%term%' ... or (or_also))"
// on `table`'s columns, with the dialect's like: substring, `%` and `_` in
// the term are wildcards, the term's case matters outside ASCII only. The
// term is bound as a value (an apostrophe in it fails the statement, as in
// any quoted literal). Table and column names are program text: plain names
// only. `or_also`, a condition on the same table's rows that an index of
// the table answers, widens the search without reading the whole part.
Sql text_contains(std::string_view table, std::initializer_list<std::string_view> columns,
                  const std::string& term, const Sql& or_also = {});

class Connection;
// The same rows, with the way to them chosen by asking the index first how
// many rows of the whole table hold the term: a few are read by their ids;
// many are found sooner by reading the searched part in the list's own
// order (its index holds the searched title), which stops at the page's
// rows where the index would hand over every one of them.
Sql text_contains(Connection& conn, std::string_view table, std::initializer_list<std::string_view> columns,
                  const std::string& term, const Sql& or_also = {});

// upgrade_database (frame/store.h) with word of the text indexes it builds:
// building one over many rows takes a while, and `progress` hears the
// table, its rows done and its rows in all.
using TextIndexProgress = std::function<void(std::string_view table, long long done, long long total)>;
void upgrade_database(const std::string& path, const std::string& schema_sql, const TextIndexProgress& progress);

namespace store_detail {

// Makes the text indexes a database lacks (for each indexed table present)
// and fills them from the rows, each in one transaction: the index table's
// presence says it is complete. `progress` hears the table, rows done and
// rows in all; it is not called when nothing is missing. Returns an engine
// result code; the error text is in the handle.
int create_text_indexes(sqlite3* db,
                        const std::function<void(std::string_view, long long, long long)>& progress = {});

}  // namespace store_detail

}  // namespace tav
