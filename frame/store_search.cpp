// Substring search on SQLite: FTS5 tables with the trigram tokenizer beside
// the searched tables, kept in step by triggers. The index finds runs of
// three characters or more; a term without one (one or two characters, or
// short pieces between wildcards) reads the table as before, since the
// index would have to read every row too. The index's `match` gives a
// superset (case folded beyond ASCII, runs in any order) that the plain like
// then narrows: at 1M rows, `match` with the like on the rows it gives
// answered a common term in half the time of the index's own `like`, which
// checks every candidate of the whole table, not only of the searched part.
// A term in many rows is not worth the index at all: the lists' indexes hold
// the searched title, and reading them in the list's order finds a page of
// such a term at once (see text_contains with a connection).
#include "frame/store_search.h"

#include <sqlite3.h>

#include <cctype>
#include <stdexcept>
#include <vector>

#include "frame/paths.h"
#include "frame/store.h"

namespace tav {

namespace {

struct TextIndex {
    const char* table;
    const char* key;  // the integer primary key, which is the index's rowid
    std::vector<const char*> columns;
};

// The searched columns. A page asking for another column gets the plain
// condition: right, only not indexed.
const std::vector<TextIndex>& text_indexes() {
    static const std::vector<TextIndex> all = {
        {"Datas", "id", {"D_title"}},
        {"Email", "id", {"Email_title", "Email_text"}},
    };
    return all;
}

bool same_name(std::string_view a, std::string_view b) { return iequals(a, b); }

const TextIndex* index_of(std::string_view table) {
    for (const TextIndex& t : text_indexes())
        if (same_name(t.table, table)) return &t;
    return nullptr;
}

bool covers(const TextIndex& t, std::string_view column) {
    for (const char* c : t.columns)
        if (same_name(c, column)) return true;
    return false;
}

std::string index_name(const TextIndex& t) { return std::string(t.table) + "_fts"; }

// Names reach the program text: a page passes literals, and nothing else
// may pass.
void check_name(std::string_view name) {
    bool ok = !name.empty() && !std::isdigit(static_cast<unsigned char>(name[0]));
    for (char c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') ok = false;
    if (!ok) throw std::logic_error("text_contains: not a plain name: " + std::string(name));
}

// The runs of the term between like wildcards that are three characters
// (not bytes) or longer: what the trigram index can look up. A run is cut
// to its first 32 characters and only the first 8 runs are kept: the index
// only narrows (the like decides), and a huge term would otherwise cost the
// index's query parser far more than the search.
std::vector<std::string> long_runs(std::string_view term) {
    constexpr std::size_t max_chars = 32, max_runs = 8;
    std::vector<std::string> out;
    std::string run;
    std::size_t chars = 0;
    auto close = [&] {
        if (chars >= 3 && out.size() < max_runs) out.push_back(run);
        run.clear();
        chars = 0;
    };
    for (char c : term) {
        if (c == '%' || c == '_') {
            close();
            continue;
        }
        const bool starts_char = (static_cast<unsigned char>(c) & 0xC0) != 0x80;  // not a UTF-8 continuation byte
        if (starts_char) ++chars;
        if (chars <= max_chars) run += c;
    }
    close();
    return out;
}

// The index query: every long run as a phrase in the given columns. The
// index folds case beyond ASCII and takes the runs in any order, so its
// rows are a superset; the like beside it keeps exactly the like's rows.
std::string match_query(std::initializer_list<std::string_view> columns, const std::vector<std::string>& runs) {
    std::string cols = "{";
    for (std::string_view c : columns) cols += std::string(cols.size() > 1 ? " " : "") + std::string(c);
    cols += "}: ";
    std::string q;
    for (const std::string& r : runs) {
        q += q.empty() ? "" : " AND ";
        q += cols + "\"";
        for (char c : r) q += c == '"' ? std::string("\"\"") : std::string(1, c);
        q += "\"";
    }
    return q;
}

}  // namespace

namespace {

// Above this many rows in the whole table, a term is read in the list's
// order instead: that read costs at most the searched part's index (about
// 40 ms for 200,000 titles here), the ids' read grows with the rows.
constexpr long long few_rows = 2000;

// The engine's comma-joined rowids as program text: digits and commas only,
// whatever the engine handed back; "" (no row) becomes an id no row has.
std::string id_list(const std::string& ids) {
    std::string out;
    for (char c : ids)
        if (std::isdigit(static_cast<unsigned char>(c)) || c == ',' || c == '-') out += c;
    return out.empty() ? "null" : out;
}

Sql contains(std::string_view table, std::initializer_list<std::string_view> columns, const std::string& term,
             const Sql& or_also, Connection* conn) {
    check_name(table);
    for (std::string_view c : columns) check_name(c);

    const TextIndex* ix = index_of(table);
    std::vector<std::string> runs = long_runs(term);
    bool indexed = ix && !runs.empty() && columns.size() > 0;
    for (std::string_view c : columns)
        if (indexed && !covers(*ix, c)) indexed = false;
    // The condition as the page wrote it. On PostgreSQL, with a run of
    // three characters, each column is taken as plain text (tav_text), the
    // form its trigram index serves (see the schema); shorter terms read
    // the rows, as a trigram index would read all of itself for them.
    const bool server = conn && !conn->has_text_index();
    auto plain = [&](bool as_text) {
        Sql cond = "("_sql;
        bool first = true;
        for (std::string_view c : columns) {
            if (!first) cond += " or ";
            first = false;
            cond += (as_text ? "tav_text("_sql + Sql::trusted(c) + ")" : Sql::trusted(c)) + " like '%" + term + "%'";
        }
        if (!or_also.empty()) cond += (first ? "("_sql : " or ("_sql) + or_also + ")";
        else if (first) cond += "1=0";
        return cond + ")";
    };
    Sql exact = plain(server && indexed);
    if (server || !indexed) return exact;
    const Sql query = Sql::trusted(index_name(*ix)) + " match '" + match_query(columns, runs) + "'";
    Sql few;
    if (conn) {
        // The ids the index gives for the term, remembered with the version:
        // a search is asked again page after page and by many users, and the
        // index's look-up of a few common runs costs more than the rows it
        // narrows to.
        Recordset n = conn->execute_remembered("select count(*) as n, group_concat(rowid) as ids from (select rowid from "_sql +
                                    Sql::trusted(index_name(*ix)) + " where " + query + " limit " +
                                    (few_rows + 1) + ")");
        if (n("n").num() > static_cast<double>(few_rows)) return exact;
        few = "("_sql + Sql::trusted(ix->key) + " in (" + Sql::trusted(id_list(n("ids").str())) + ")";
        if (!or_also.empty())
            few += " or "_sql + Sql::trusted(ix->key) + " in (select " + Sql::trusted(ix->key) + " from " +
                   Sql::trusted(table) + " where " + or_also + ")";
        few += ")";
    } else {
        // The index narrows the rows to a few (with those of the other
        // condition, found by its own index, not by reading the part searched);
        // the exact condition then reads only those.
        few = Sql::trusted(ix->key) + " in (select rowid from " + Sql::trusted(index_name(*ix)) + " where " + query;
        if (!or_also.empty())
            few += " union all select "_sql + Sql::trusted(ix->key) + " from " + Sql::trusted(table) + " where " +
                   or_also;
        few += ")";
    }
    return "("_sql + few + " and " + exact + ")";
}

}  // namespace

Sql text_contains(std::string_view table, std::initializer_list<std::string_view> columns,
                  const std::string& term, const Sql& or_also) {
    return contains(table, columns, term, or_also, nullptr);
}

Sql text_contains(Connection& conn, std::string_view table, std::initializer_list<std::string_view> columns,
                  const std::string& term, const Sql& or_also) {
    return contains(table, columns, term, or_also, &conn);
}

namespace store_detail {

namespace {

int exec(sqlite3* db, const std::string& sql) { return sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr); }

bool table_exists(sqlite3* db, const std::string& name) {
    sqlite3_stmt* st = nullptr;
    bool found = false;
    if (sqlite3_prepare_v2(db, "select 1 from sqlite_schema where type='table' and name=?1 collate nocase", -1, &st,
                           nullptr) == SQLITE_OK) {
        sqlite3_bind_text(st, 1, name.c_str(), -1, SQLITE_TRANSIENT);
        found = sqlite3_step(st) == SQLITE_ROW;
    }
    sqlite3_finalize(st);
    return found;
}

long long scalar(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* st = nullptr;
    long long v = 0;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) == SQLITE_OK && sqlite3_step(st) == SQLITE_ROW)
        v = sqlite3_column_int64(st, 0);
    sqlite3_finalize(st);
    return v;
}

// Table, triggers and the rows already there, in the open transaction.
int build_one(sqlite3* db, const TextIndex& t,
              const std::function<void(std::string_view, long long, long long)>& progress) {
    const std::string fts = index_name(t);
    std::string cols, news, olds;
    for (const char* c : t.columns) {
        cols += std::string(cols.empty() ? "" : ", ") + c;
        news += std::string(", NEW.") + c;
        olds += std::string(", OLD.") + c;
    }
    // The index reads the rows' texts from the table itself (external
    // content), so it holds no second copy of them. The delete command must
    // be given the values as they were indexed: the old row's.
    const std::string add = "INSERT INTO " + fts + "(rowid, " + cols + ") VALUES (NEW." + t.key + news + ");";
    const std::string drop =
        "INSERT INTO " + fts + "(" + fts + ", rowid, " + cols + ") VALUES ('delete', OLD." + t.key + olds + ");";
    std::string ddl = "CREATE VIRTUAL TABLE " + fts + " USING fts5(" + cols + ", content='" + t.table +
                      "', content_rowid='" + t.key + "', tokenize='trigram');\n";
    ddl += "CREATE TRIGGER " + fts + "_insert AFTER INSERT ON " + t.table + " BEGIN " + add + " END;\n";
    ddl += "CREATE TRIGGER " + fts + "_delete AFTER DELETE ON " + t.table + " BEGIN " + drop + " END;\n";
    ddl += "CREATE TRIGGER " + fts + "_update AFTER UPDATE OF " + t.key + ", " + cols + " ON " + t.table +
           " BEGIN " + drop + " " + add + " END;\n";
    if (int rc = exec(db, ddl); rc != SQLITE_OK) return rc;

    const long long total = scalar(db, std::string("select count(*) from ") + t.table);
    if (total == 0) return SQLITE_OK;
    const long long lo = scalar(db, std::string("select min(") + t.key + ") from " + t.table);
    const long long hi = scalar(db, std::string("select max(") + t.key + ") from " + t.table);
    sqlite3_stmt* st = nullptr;
    const std::string fill = "INSERT INTO " + fts + "(rowid, " + cols + ") SELECT " + t.key + ", " + cols +
                             " FROM " + t.table + " WHERE " + t.key + " >= ?1 AND " + t.key + " < ?2";
    int rc = sqlite3_prepare_v2(db, fill.c_str(), -1, &st, nullptr);
    constexpr long long step = 50000;
    long long done = 0;
    for (long long from = lo; rc == SQLITE_OK && from <= hi; from += step) {
        sqlite3_bind_int64(st, 1, from);
        sqlite3_bind_int64(st, 2, from + step);
        rc = sqlite3_step(st) == SQLITE_DONE ? SQLITE_OK : sqlite3_errcode(db);
        sqlite3_reset(st);
        done += sqlite3_changes64(db);
        if (progress && rc == SQLITE_OK) progress(t.table, done, total);
    }
    sqlite3_finalize(st);
    return rc;
}

}  // namespace

// A database without the searched columns has no texts for the index.
static bool has_columns(sqlite3* db, const TextIndex& t) {
    for (const char* c : t.columns)
        if (sqlite3_table_column_metadata(db, "main", t.table, c, nullptr, nullptr, nullptr, nullptr, nullptr) !=
            SQLITE_OK)
            return false;
    return true;
}

// What the planner is to assume of the searched lists, as fixed figures for
// these indexes only (every other plan stays that of an engine without
// statistics): a category holds many items, so a search whose text index
// gives a few ids reads those rows, not the whole category in date order.
static int planner_hints(sqlite3* db) {
    static const char* const hints[][3] = {
        {"Datas", "datas_list", "1000000 25000 2 1 1"},
        {"Datas", "datas_sub_menu", "1000000 25000"},
    };
    for (const auto& [table, index, stat] : hints) {
        sqlite3_stmt* st = nullptr;
        bool present = false;
        if (sqlite3_prepare_v2(db, "select 1 from sqlite_schema where type='index' and name=?1", -1, &st, nullptr) ==
            SQLITE_OK) {
            sqlite3_bind_text(st, 1, index, -1, SQLITE_STATIC);
            present = sqlite3_step(st) == SQLITE_ROW;
        }
        sqlite3_finalize(st);
        if (!present) continue;
        // Makes the engine's statistics table, empty, without reading a row.
        if (!table_exists(db, "sqlite_stat1"))
            if (int rc = exec(db, "ANALYZE sqlite_schema"); rc != SQLITE_OK) return rc;
        const std::string add = std::string("INSERT INTO sqlite_stat1(tbl, idx, stat) SELECT '") + table + "', '" +
                                index + "', '" + stat + "' WHERE NOT EXISTS (SELECT 1 FROM sqlite_stat1 WHERE idx='" +
                                index + "')";
        if (int rc = exec(db, add); rc != SQLITE_OK) return rc;
    }
    return SQLITE_OK;
}

int create_text_indexes(sqlite3* db, const std::function<void(std::string_view, long long, long long)>& progress) {
    if (int rc = planner_hints(db); rc != SQLITE_OK) return rc;
    for (const TextIndex& t : text_indexes()) {
        if (!table_exists(db, t.table) || table_exists(db, index_name(t)) || !has_columns(db, t)) continue;
        if (int rc = exec(db, "SAVEPOINT text_index"); rc != SQLITE_OK) return rc;
        int rc = build_one(db, t, progress);
        if (rc != SQLITE_OK) {
            exec(db, "ROLLBACK TO text_index; RELEASE text_index");
            return rc;
        }
        if ((rc = exec(db, "RELEASE text_index")) != SQLITE_OK) return rc;
    }
    return SQLITE_OK;
}

}  // namespace store_detail

}  // namespace tav
