// Statements straight on an SQLite database file, outside the store: what
// the pages cannot write, and what a test must read as the file holds it.
#pragma once

#include <sqlite3.h>

#include <stdexcept>
#include <string>

namespace tav::test {

// Every row of a statement, fields joined by '|' ("NULL" for NULL), one
// line a row; the engine's message when it fails.
inline std::string sqlite_rows(const std::string& file, const std::string& sql) {
    sqlite3* h = nullptr;
    sqlite3_open_v2(file.c_str(), &h, SQLITE_OPEN_READONLY, nullptr);
    std::string out;
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(h, sql.c_str(), -1, &st, nullptr) != SQLITE_OK) out = sqlite3_errmsg(h);
    while (st && sqlite3_step(st) == SQLITE_ROW) {
        for (int i = 0, n = sqlite3_column_count(st); i < n; ++i) {
            const char* v = reinterpret_cast<const char*>(sqlite3_column_text(st, i));
            out += (v ? std::string(v, static_cast<std::size_t>(sqlite3_column_bytes(st, i))) : "NULL") +
                   (i + 1 < n ? "|" : "\n");
        }
    }
    sqlite3_finalize(st);
    sqlite3_close_v2(h);
    return out;
}

// The single value of a statement, without its line end.
inline std::string sqlite_value(const std::string& file, const std::string& sql) {
    std::string out = sqlite_rows(file, sql);
    if (!out.empty() && out.back() == '\n') out.pop_back();
    return out;
}

// Runs statements on the file; throws with the engine's message.
inline void sqlite_exec(const std::string& file, const std::string& sql) {
    sqlite3* h = nullptr;
    sqlite3_open(file.c_str(), &h);
    char* err = nullptr;
    const int rc = sqlite3_exec(h, sql.c_str(), nullptr, nullptr, &err);
    const std::string message = err ? err : "";
    sqlite3_free(err);
    sqlite3_close(h);
    if (rc != SQLITE_OK) throw std::runtime_error(message + " in " + sql);
}

}  // namespace tav::test
