// Moving in an old installation: the tables of its Access database, read
// through mdbtools' programs, and its upload folders, whose names are in a
// Chinese code page, become a new site instance that is renamed into place
// only when all of it is there.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tav::import {

struct Options {
    std::string old_site;
    std::string new_dir;
    std::string template_dir;
    // What mdb-export prints its text in (the tool is told to print that) and
    // what the old upload folders' names are in.
    std::string code_page = "GBK";
    std::string name_code_page = "GBK";
    bool progress = false;  // a progress line on stderr
};

struct Summary {
    std::map<std::string, long long> rows;  // table: rows stored
    long long files = 0;
    std::int64_t bytes = 0;
    std::vector<std::string> renamed;  // files copied under another name, rows changed to match
    std::vector<std::string> skipped;  // one line per thing left out, with the reason
    std::vector<std::string> notes;    // what the reader cannot tell apart or may have cut
};

// Builds NEW_DIR from OLD_SITE. Throws on any failure, leaving nothing behind;
// refuses a NEW_DIR that exists and is not empty.
Summary run(const Options& opt);
std::string format_summary(const Summary& s);

// One field of mdb-export's output: quoted fields are text-like (text, memo,
// date); an unquoted empty field is what the tool prints for NULL, and for
// an empty text too.
struct Field {
    std::string text;
    bool quoted = false;
};
// Parses the tool's comma-separated output with '"' quotes doubled inside
// values and newlines kept inside quotes. Throws on an unterminated quote
// (output cut short).
std::vector<std::vector<Field>> parse_export(std::string_view text);

// The arguments given to mdb-export for one table.
std::vector<std::string> export_arguments(const std::string& mdb, const std::string& table);

}  // namespace tav::import
