// Statement text through the dialect translator and into the engine, the way
// page statements built from request values arrive. Text inside literals
// must come out of the translator untouched, and no statement may bring down
// the process, whatever the functions of the dialect are given.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "frame/errors.h"
#include "frame/store.h"

namespace {

// The closed '...' literals of a statement, in order. Quoted names and
// comments are skipped, since a quote inside them opens no literal.
std::vector<std::string> literals(std::string_view s) {
    std::vector<std::string> out;
    std::size_t i = 0, n = s.size();
    while (i < n) {
        char c = s[i];
        if (c == '\'') {
            std::size_t j = i + 1;
            bool closed = false;
            while (j < n) {
                if (s[j] == '\'') {
                    if (j + 1 < n && s[j + 1] == '\'') {
                        j += 2;
                        continue;
                    }
                    closed = true;
                    ++j;
                    break;
                }
                ++j;
            }
            if (closed) out.emplace_back(s.substr(i, j - i));
            i = j;
        } else if (c == '"' || c == '`' || c == '[') {
            std::size_t e = s.find(c == '[' ? ']' : c, i + 1);
            i = e == std::string_view::npos ? n : e + 1;
        } else if (c == '-' && i + 1 < n && s[i + 1] == '-') {
            std::size_t e = s.find('\n', i);
            i = e == std::string_view::npos ? n : e;
        } else if (c == '/' && i + 1 < n && s[i + 1] == '*') {
            std::size_t e = s.find("*/", i + 2);
            i = e == std::string_view::npos ? n : e + 2;
        } else {
            ++i;
        }
    }
    return out;
}

std::filesystem::path& scratch() {
    static std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("tav_fuzz_store_" + std::to_string(::getpid()));
    return dir;
}

tav::Connection& connection() {
    static tav::Connection* conn = [] {
        const auto& dir = scratch();
        std::filesystem::remove_all(dir);
        std::atexit([] {
            std::error_code ec;
            std::filesystem::remove_all(scratch(), ec);
        });
        std::filesystem::create_directories(dir);
        std::string db = (dir / "office.mdb").string();
        tav::build_database(db,
                            "create table user(id integer primary key autoincrement, username text collate nocase,"
                            " record integer default 30, work_date text);"
                            "insert into user(username,work_date) values ('Admin','2026-11-22 23:59:59');"
                            "insert into user(username,work_date) values ('|12|30|办公',null);");
        auto* c = new tav::Connection();
        c->Open("driver={Microsoft Access Driver (*.mdb)};UID=sa;PWD=;dbq=" + db);
        return c;
    }();
    return *conn;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string sql(reinterpret_cast<const char*>(data), size);
    if (sql.find('\0') != std::string::npos) return 0;
    std::string out = tav::translate_sql(sql);
    if (literals(sql) != literals(out)) __builtin_trap();

    // Reads only, so the database stays as it was for the next input.
    try {
        tav::Recordset rs = connection().execute(tav::Sql::trusted("select " + sql));
        while (!rs.eof()) rs.movenext();
    } catch (const tav::PageError&) {
    }
    return 0;
}
