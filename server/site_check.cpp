// Which upload files the database names, and the check that rows and files
// agree. The names follow the pages that store the files: a mail's
// Email_doc lists names under Email/ joined by '*'; a data item's D_afile
// the same under Datas/<Sub_menu>/; a media title its Path and filename;
// the login music a name under Medium/; the editor's pictures (under
// Datas/<kind>/) are named only by the texts that show them.
#include <sqlite3.h>

#include <filesystem>
#include <functional>
#include <stdexcept>

#include "frame/site_layout.h"
#include "frame/store.h"
#include "server/backup.h"

namespace fs = std::filesystem;

namespace tav {

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// A stored path as the pages resolve it: without case, either slash,
// doubled and "./" steps dropped.
std::string normal(const std::string& path) {
    std::string out, part;
    std::string s = lower(path);
    for (char& c : s)
        if (c == '\\') c = '/';
    std::size_t at = 0;
    while (at <= s.size()) {
        std::size_t slash = s.find('/', at);
        if (slash == std::string::npos) slash = s.size();
        part = s.substr(at, slash - at);
        if (!part.empty() && part != ".") out += (out.empty() ? "" : "/") + part;
        at = slash + 1;
    }
    return out;
}

std::vector<std::string> split_names(const std::string& list) {
    std::vector<std::string> out;
    std::size_t at = 0;
    while (at <= list.size()) {
        std::size_t star = list.find('*', at);
        if (star == std::string::npos) star = list.size();
        std::string name = list.substr(at, star - at);
        while (!name.empty() && name.back() == ' ') name.pop_back();
        while (!name.empty() && name.front() == ' ') name.erase(0, 1);
        if (!name.empty() && name != "0") out.push_back(name);
        at = star + 1;
    }
    return out;
}

// Every "Datas/..." path a stored text shows, up to the end of the
// attribute value.
void pictures_in(const std::string& text, std::set<std::string>& out) {
    std::string l = lower(text);
    for (std::size_t at = l.find("datas/"); at != std::string::npos; at = l.find("datas/", at + 6)) {
        std::size_t end = l.find_first_of(" \"'<>?#\t\r\n", at);
        out.insert(normal(l.substr(at, end == std::string::npos ? std::string::npos : end - at)));
    }
}

// The rows file_names_of reads: a table's columns, with a condition.
class Rows {
public:
    using Each = std::function<void(const std::vector<std::string>&)>;
    virtual ~Rows() = default;
    virtual void each(const std::string& table, const std::string& columns, const std::string& where,
                      const Each& f) = 0;
};

struct Reader : Rows {
    sqlite3* db = nullptr;
    explicit Reader(const std::string& path) {
        if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
            std::string msg = db ? sqlite3_errmsg(db) : "cannot open";
            sqlite3_close_v2(db);
            throw std::runtime_error("opening " + path + ": " + msg);
        }
        sqlite3_busy_timeout(db, 10000);
    }
    ~Reader() override { sqlite3_close_v2(db); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    void each(const std::string& table, const std::string& columns, const std::string& where,
              const Each& f) override {
        each(("select " + columns + " from " + table + (where.empty() ? "" : " where " + where)).c_str(), f);
    }

    // Calls f with each row's columns as texts; a table or column the
    // database lacks (an older schema) reads as no rows.
    template <class F>
    void each(const char* sql, F f) {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db, sql, -1, &st, nullptr) != SQLITE_OK) {
            sqlite3_finalize(st);
            return;
        }
        std::vector<std::string> row;
        int rc;
        while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
            row.clear();
            for (int i = 0; i < sqlite3_column_count(st); ++i) {
                const unsigned char* t = sqlite3_column_text(st, i);
                row.emplace_back(t ? reinterpret_cast<const char*>(t) : "");
            }
            f(row);
        }
        std::string msg = sqlite3_errmsg(db);
        sqlite3_finalize(st);
        if (rc != SQLITE_DONE) throw std::runtime_error("reading the database: " + msg);
    }
};

// A site whose rows live on PostgreSQL: read through the store, which
// finds the server from the path, a window of rows at a time in id order
// (the store refuses results over 200,000 rows or 64 MB).
struct StoreRows : Rows {
    Connection c;
    explicit StoreRows(const std::string& database) {
        c.Open("driver={Microsoft Access Driver (*.mdb)};dbq=" + database);
    }
    void each(const std::string& table, const std::string& columns, const std::string& where,
              const Each& f) override {
        constexpr int window = 2000;
        std::vector<std::string> row;
        std::vector<std::string> names;
        for (std::size_t at = 0; at <= columns.size();) {
            std::size_t comma = columns.find(',', at);
            if (comma == std::string::npos) comma = columns.size();
            std::string n = columns.substr(at, comma - at);
            while (!n.empty() && n.front() == ' ') n.erase(0, 1);
            names.push_back(n);
            at = comma + 1;
        }
        for (long long last = -1;;) {
            Recordset rs = c.execute(Sql::trusted("select top " + std::to_string(window) + " id as tav_key, " +
                                                  columns + " from " + table + " where id > " +
                                                  std::to_string(last) + (where.empty() ? "" : " and " + where) +
                                                  " order by id"));
            int n = 0;
            for (; !rs.eof(); rs.movenext(), ++n) {
                row.clear();
                for (const std::string& name : names) {
                    Value v = rs(name);
                    row.push_back(v.is_null() ? std::string() : v.str());
                }
                last = std::stoll(rs("tav_key").str());
                f(row);
            }
            if (n < window) return;
        }
    }
};

FileNames file_names_from(Rows& r) {
    FileNames out;
    auto name = [&](const std::string& path, const std::string& row) {
        out.named.emplace(normal(path), row + " names " + path);
    };
    r.each("Email", "id, Email_doc, Email_text", "", [&](const std::vector<std::string>& row) {
        for (const std::string& n : split_names(row[1])) name("Email/" + n, "Email " + row[0]);
        pictures_in(row[2], out.shown);
    });
    r.each("Datas", "id, Sub_menu, D_afile, D_text", "", [&](const std::vector<std::string>& row) {
        for (const std::string& n : split_names(row[2])) name("Datas/" + row[1] + "/" + n, "Datas " + row[0]);
        pictures_in(row[3], out.shown);
    });
    r.each("Book", "Book_text", "", [&](const std::vector<std::string>& row) { pictures_in(row[0], out.shown); });
    r.each("Medium", "id, Path, filename", "", [&](const std::vector<std::string>& row) {
        std::string folder = row[1].empty() || row[1].back() == '/' ? row[1] : row[1] + "/";
        if (!row[2].empty()) name(folder + row[2], "Medium " + row[0]);
    });
    r.each("software", "Hardserial", "softname='music'", [&](const std::vector<std::string>& row) {
        if (!row[0].empty()) name("Medium/" + row[0], "software music");
    });
    return out;
}

}  // namespace

FileNames file_names_of(const std::string& database) {
    Reader r(database);
    return file_names_from(r);
}

bool on_postgresql(const std::string& dir) {
    const std::string db = layout::database_path(dir);
    return !fs::exists(db) && fs::exists(postgresql_url_file(db));
}

CheckReport check_site(const std::string& dir) {
    fs::path root = fs::canonical(dir);
    fs::path db = root / "datebase" / "office.mdb";
    CheckReport report;
    FileNames names;
    if (on_postgresql(root.string())) {
        // The server keeps its own pages consistent; here only rows and files.
        report.on_postgresql = true;
        StoreRows r(db.string());
        names = file_names_from(r);
    } else {
        if (!fs::is_regular_file(db)) throw std::runtime_error(dir + " holds no datebase/office.mdb");
        {
            Reader r(db.string());
            r.each("PRAGMA integrity_check", [&](const std::vector<std::string>& row) {
                if (row[0] != "ok") report.integrity.push_back(row[0]);
            });
        }
        names = file_names_of(db.string());
    }

    // The files of the three folders, by the name the pages would find them under.
    std::map<std::string, std::string> files;
    for (const fs::directory_entry& top : fs::directory_iterator(root)) {
        std::string area = lower(top.path().filename().string());
        if (!top.is_directory() || top.is_symlink() || (area != "email" && area != "datas" && area != "medium"))
            continue;
        for (auto it = fs::recursive_directory_iterator(top.path()); it != fs::recursive_directory_iterator(); ++it) {
            std::string rel = fs::relative(it->path(), root).generic_string();
            std::string key = normal(rel);
            if (key == "medium/temp") {
                it.disable_recursion_pending();  // the players' playlists, made and left by each play
                continue;
            }
            if (it->is_regular_file()) files.emplace(key, rel);
        }
    }
    for (const auto& [path, row] : names.named) {
        if (files.count(path)) continue;
        // A media path may lie outside the three folders; never outside the site.
        std::string area = path.substr(0, path.find('/'));
        if (area != "email" && area != "datas" && area != "medium" &&
            ("/" + path + "/").find("/../") == std::string::npos && fs::is_regular_file(root / path))
            continue;
        report.missing.push_back(row + ", which is missing");
    }
    for (const auto& [key, rel] : files)
        if (!names.covers(key)) report.stray.push_back(rel + " is named by no row");
    return report;
}

}  // namespace tav
