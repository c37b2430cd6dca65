// The pages' statement dialect on top of the engine: a token-level rewrite
// for the constructs the engine spells differently, and the functions the
// pages call (date arithmetic, positions and slices counted in characters,
// text search without case).
#include "frame/store_dialect.h"

#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/paths.h"
#include "frame/sql_tokens.h"
#include "frame/store.h"

namespace tav {

namespace {

using sql_tokens::Tok;
using sql_tokens::Token;
using sql_tokens::tokenize;

bool significant(const Token& t) { return t.kind != Tok::Space && t.kind != Tok::Comment; }

// Access names of functions the engine lacks or means otherwise. Both
// engines get the tav_ functions from the store; only `now` differs, since
// PostgreSQL's own now() answers a timestamp with a zone, not Access's text.
const char* mapped_function(std::string_view name, bool postgresql) {
    static const std::pair<const char*, const char*> table[] = {
        {"left", "tav_left"},   {"right", "tav_right"}, {"mid", "tav_mid"},
        {"instr", "tav_instr"}, {"len", "tav_len"},     {"ucase", "upper"},
        {"lcase", "lower"},     {"datediff", "tav_datediff"},
    };
    if (iequals(name, "now")) return postgresql ? "tav_now" : "now";
    for (auto& [from, to] : table)
        if (iequals(name, from)) return to;
    return nullptr;
}

bool is_comparison(const Token& t) {
    if (t.kind == Tok::Punct)
        return t.text == "=" || t.text == "<>" || t.text == "!=" || t.text == "<" || t.text == ">" ||
               t.text == "<=" || t.text == ">=";
    return t.kind == Tok::Ident && iequals(t.text, "like");
}

}  // namespace

namespace store_detail {

bool allowed_verb(std::string_view sql) {
    std::size_t i = 0;
    while (i < sql.size() && (std::isspace(static_cast<unsigned char>(sql[i])) || sql[i] == '(')) ++i;
    std::size_t j = i;
    while (j < sql.size() && std::isalpha(static_cast<unsigned char>(sql[j]))) ++j;
    std::string_view verb = sql.substr(i, j - i);
    return iequals(verb, "select") || iequals(verb, "insert") || iequals(verb, "update") ||
           iequals(verb, "delete");
}

}  // namespace store_detail

std::string translate_sql(std::string_view sql) {
    std::vector<Token> toks = tokenize(sql);
    auto next_sig = [&](std::size_t i) -> const Token* {
        for (std::size_t k = i + 1; k < toks.size(); ++k)
            if (significant(toks[k])) return &toks[k];
        return nullptr;
    };
    auto next_sig_index = [&](std::size_t i) -> std::size_t {
        for (std::size_t k = i + 1; k < toks.size(); ++k)
            if (significant(toks[k])) return k;
        return toks.size();
    };

    std::string out;
    out.reserve(sql.size() + 32);
    std::string limit;
    const Token* prev = nullptr;
    bool first = true;
    bool in_set = false;  // between update's set and where: '=' assigns there
    for (std::size_t i = 0; i < toks.size(); ++i) {
        const Token& t = toks[i];
        if (!significant(t)) {
            out += t.text;
            continue;
        }
        const Token* next = next_sig(i);
        if (t.kind == Tok::Ident) {
            if (iequals(t.text, "set")) in_set = true;
            if (iequals(t.text, "where")) in_set = false;
            // select top N ... -> select ... limit N (only the outer select).
            if (first && iequals(t.text, "select")) {
                out += t.text;
                std::size_t k = next_sig_index(i);
                if (k < toks.size() && toks[k].kind == Tok::Ident && iequals(toks[k].text, "top")) {
                    std::size_t m = next_sig_index(k);
                    if (m < toks.size() && (toks[m].kind == Tok::Number || toks[m].kind == Tok::Param)) {
                        limit = std::string(toks[m].text);
                        i = m;  // the blank after N is copied by the next round
                    }
                }
                prev = &t;
                first = false;
                continue;
            }
            bool after_dot = prev && prev->kind == Tok::Punct && prev->text == ".";
            bool call = next && next->kind == Tok::Punct && next->text == "(";
            if (!after_dot && call) {
                if (const char* to = mapped_function(t.text, false)) {
                    out += to;
                    prev = &t;
                    first = false;
                    continue;
                }
            }
            if (!after_dot && !call && iequals(t.text, "now")) {
                out += "now()";
                prev = &t;
                first = false;
                continue;
            }
        }
        out += t.text;
        // A text literal on either side of a comparison compares without
        // case whatever the other side is (a column or a function's result).
        bool closed = (t.kind == Tok::String && t.closed) ||
                      (t.kind == Tok::Param && t.text.size() > 1 && t.text[1] == 't');
        if (closed && !in_set && ((prev && is_comparison(*prev)) || (next && is_comparison(*next))))
            out += " COLLATE NOCASE";
        prev = &t;
        first = false;
    }
    if (!limit.empty()) {
        // The limit goes before a closing ';' and the blanks around it.
        std::size_t end = out.size();
        while (end > 0 && (std::isspace(static_cast<unsigned char>(out[end - 1])) || out[end - 1] == ';')) --end;
        out.insert(end, " limit " + limit);
    }
    return out;
}

namespace {

std::string single_quoted(std::string_view body) {
    std::string out = "'";
    for (char c : body) out += c == '\'' ? std::string("''") : std::string(1, c);
    return out + "'";
}

// Where a like's pattern ends: one operand, terms joined by ||. Returns the
// index of its last token, or `from` - 1 when there is none.
std::size_t pattern_end(const std::vector<Token>& toks, std::size_t from) {
    std::size_t last = from - 1;
    std::size_t i = from;
    auto skip = [&] {
        while (i < toks.size() && !significant(toks[i])) ++i;
    };
    for (;;) {
        skip();
        if (i >= toks.size()) return last;
        const Token& t = toks[i];
        if (t.kind == Tok::Punct && t.text == "(") {
            int depth = 0;
            for (; i < toks.size(); ++i) {
                if (toks[i].kind != Tok::Punct) continue;
                if (toks[i].text == "(") ++depth;
                if (toks[i].text == ")" && --depth == 0) break;
            }
            if (i >= toks.size()) return last;
            last = i++;
        } else if (t.kind == Tok::Ident) {
            last = i++;
            skip();
            while (i + 1 < toks.size() && toks[i].kind == Tok::Punct && toks[i].text == ".") {
                ++i;
                skip();
                if (i < toks.size() && significant(toks[i])) last = i++;
                skip();
            }
            if (i < toks.size() && toks[i].kind == Tok::Punct && toks[i].text == "(") continue;  // a call's arguments
        } else if (t.kind == Tok::String || t.kind == Tok::Param || t.kind == Tok::Number || t.kind == Tok::Quoted ||
                   t.kind == Tok::Date) {
            last = i++;
        } else {
            return last;
        }
        skip();
        if (i < toks.size() && toks[i].kind == Tok::Punct && toks[i].text == "||") {
            ++i;
            continue;
        }
        return last;
    }
}

}  // namespace

// The same dialect for PostgreSQL. Names fold to lower case there as the
// pages expect of names without case; text columns are citext (the schema),
// so comparisons need no collation here. What differs besides:
//   :t1 / :n1          -> $1 (the store binds by number)
//   select top N       -> ... limit N;  limit -1 -> limit all
//   like               -> ilike ... escape '' (no escape character, as in
//                         the pages' dialect; case folded as on SQLite)
//   order by x [desc]  -> nulls first [last], as SQLite orders them
//   "text", #date#     -> 'text'; [name], `name` -> "name" in lower case
//   user               -> "user" (a reserved word there)
//   true / false       -> 1 / 0 (booleans are numbers in the columns)
//   now, left, mid...  -> the schema's tav_* functions
std::string translate_sql_postgresql(std::string_view sql) {
    std::vector<Token> toks = tokenize(sql);
    auto next_sig_index = [&](std::size_t i) -> std::size_t {
        for (std::size_t k = i + 1; k < toks.size(); ++k)
            if (significant(toks[k])) return k;
        return toks.size();
    };
    struct Order {
        int depth;
        bool desc = false, nulls = false;
    };
    std::vector<Order> orders;
    int depth = 0;
    auto end_item = [&](std::string& out) {
        Order& o = orders.back();
        // Right after the item, before the blanks that follow it.
        std::size_t end = out.size();
        while (end > 0 && std::isspace(static_cast<unsigned char>(out[end - 1]))) --end;
        if (!o.nulls) out.insert(end, o.desc ? " NULLS LAST" : " NULLS FIRST");
        o.desc = o.nulls = false;
    };
    std::string out;
    out.reserve(sql.size() + 48);
    std::string limit;
    std::vector<std::pair<std::size_t, std::string>> after;  // text to add after a token
    const Token* prev = nullptr;
    bool first = true;
    for (std::size_t i = 0; i < toks.size(); ++i) {
        const Token& t = toks[i];
        if (!significant(t)) {
            out += t.text;
            continue;
        }
        const bool in_order = !orders.empty() && orders.back().depth == depth;
        const std::size_t ni = next_sig_index(i);
        const Token* next = ni < toks.size() ? &toks[ni] : nullptr;
        std::string text(t.text);
        if (t.kind == Tok::Punct) {
            if (t.text == "(") ++depth;
            if (t.text == ")") {
                if (in_order) {
                    end_item(out);
                    orders.pop_back();
                }
                --depth;
            }
            if (t.text == "," && in_order) end_item(out);
            if (t.text == ";" && in_order) {
                end_item(out);
                orders.pop_back();
            }
        } else if (t.kind == Tok::Param) {
            text = "$" + std::string(t.text.substr(2));
        } else if (t.kind == Tok::Quoted) {
            std::string_view body = t.text.substr(1, t.text.size() - (t.closed ? 2 : 1));
            if (t.text[0] == '"') {
                text = single_quoted(body);
            } else {
                text = "\"";
                for (char c : lower(body)) text += c == '"' ? std::string("\"\"") : std::string(1, c);
                text += "\"";
            }
        } else if (t.kind == Tok::Date) {
            text = single_quoted(t.text.substr(1, t.text.size() - (t.closed ? 2 : 1)));
        } else if (t.kind == Tok::Ident) {
            const bool after_dot = prev && prev->kind == Tok::Punct && prev->text == ".";
            const bool call = next && next->kind == Tok::Punct && next->text == "(";
            if (in_order && (iequals(t.text, "limit") || iequals(t.text, "offset") || iequals(t.text, "union") ||
                             iequals(t.text, "except") || iequals(t.text, "intersect") || iequals(t.text, "for"))) {
                end_item(out);
                orders.pop_back();
            }
            if (first && iequals(t.text, "select")) {
                std::size_t k = ni;
                if (k < toks.size() && toks[k].kind == Tok::Ident && iequals(toks[k].text, "top")) {
                    std::size_t m = next_sig_index(k);
                    if (m < toks.size() && (toks[m].kind == Tok::Number || toks[m].kind == Tok::Param)) {
                        limit = toks[m].kind == Tok::Param ? "$" + std::string(toks[m].text.substr(2))
                                                           : std::string(toks[m].text);
                        out += text;
                        i = m;
                        prev = &toks[m];
                        first = false;
                        continue;
                    }
                }
            } else if (iequals(t.text, "order") && next && next->kind == Tok::Ident && iequals(next->text, "by")) {
                out += text;  // then the blanks and "by"; the items follow
                for (std::size_t k = i + 1; k <= ni; ++k) out += toks[k].text;
                orders.push_back({depth});
                i = ni;
                prev = &toks[ni];
                first = false;
                continue;
            } else if (in_order && (iequals(t.text, "desc") || iequals(t.text, "asc"))) {
                orders.back().desc = iequals(t.text, "desc");
            } else if (in_order && iequals(t.text, "nulls")) {
                orders.back().nulls = true;
            } else if (iequals(t.text, "limit") && next && next->kind == Tok::Punct && next->text == "-") {
                std::size_t m = next_sig_index(ni);
                if (m < toks.size() && toks[m].kind == Tok::Number && toks[m].text == "1") {
                    out += text + " ALL";
                    i = m;
                    prev = &toks[m];
                    first = false;
                    continue;
                }
            } else if (iequals(t.text, "like") && !after_dot) {
                text = "ILIKE";
                std::size_t end = pattern_end(toks, i + 1);
                if (end > i) after.emplace_back(end, " ESCAPE ''");
            } else if (!after_dot && iequals(t.text, "user")) {
                text = "\"user\"";  // also before "(": insert into user(...)
            } else if (!after_dot && call) {
                if (const char* to = mapped_function(t.text, true)) text = to;
                // instr(...) alone as a condition is true when not 0; the
                // server wants a boolean there.
                const bool condition_place =
                    prev && ((prev->kind == Tok::Ident &&
                              (iequals(prev->text, "where") || iequals(prev->text, "and") || iequals(prev->text, "or") ||
                               iequals(prev->text, "not") || iequals(prev->text, "on") || iequals(prev->text, "when") ||
                               iequals(prev->text, "having"))));
                if (condition_place && iequals(t.text, "instr")) {
                    std::size_t close = ni;
                    for (int d = 0; close < toks.size(); ++close) {
                        if (toks[close].kind != Tok::Punct) continue;
                        if (toks[close].text == "(") ++d;
                        if (toks[close].text == ")" && --d == 0) break;
                    }
                    const std::size_t k = close < toks.size() ? next_sig_index(close) : toks.size();
                    const Token* follow = k < toks.size() ? &toks[k] : nullptr;
                    const bool compared =
                        follow && ((follow->kind == Tok::Punct && follow->text != ")" && follow->text != "," &&
                                    follow->text != ";") ||
                                   (follow->kind == Tok::Ident &&
                                    (iequals(follow->text, "like") || iequals(follow->text, "is") ||
                                     iequals(follow->text, "in") || iequals(follow->text, "between"))));
                    if (close < toks.size() && !compared) {
                        text = "(" + text;
                        after.emplace_back(close, " <> 0)");
                    }
                }
            } else if (!after_dot && iequals(t.text, "now")) {
                text = "tav_now()";
            } else if (iequals(t.text, "true")) {
                text = "1";
            } else if (iequals(t.text, "false")) {
                text = "0";
            }
        }
        out += text;
        for (const auto& [at, add] : after)
            if (at == i) out += add;
        prev = &t;
        first = false;
    }
    while (!orders.empty()) {
        end_item(out);
        orders.pop_back();
    }
    if (!limit.empty()) {
        std::size_t end = out.size();
        while (end > 0 && (std::isspace(static_cast<unsigned char>(out[end - 1])) || out[end - 1] == ';')) --end;
        out.insert(end, " limit " + limit);
    }
    return out;
}

namespace store_detail {

namespace {

// --- characters of UTF-8 text -------------------------------------------

std::size_t char_count(std::string_view s) {
    std::size_t n = 0;
    for (unsigned char c : s)
        if ((c & 0xC0) != 0x80) ++n;
    return n;
}

// Byte offset of the character with 0-based index idx (or s.size()).
std::size_t byte_offset(std::string_view s, std::size_t idx) {
    std::size_t n = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) {
            if (n == idx) return i;
            ++n;
        }
    }
    return s.size();
}

std::string fold(std::string_view s) { return lower(s); }

bool any_null(int argc, sqlite3_value** argv) {
    for (int i = 0; i < argc; ++i)
        if (sqlite3_value_type(argv[i]) == SQLITE_NULL) return true;
    return false;
}

std::string_view text_arg(sqlite3_value* v) {
    const unsigned char* p = sqlite3_value_text(v);
    int n = sqlite3_value_bytes(v);
    return p ? std::string_view(reinterpret_cast<const char*>(p), static_cast<std::size_t>(n)) : std::string_view();
}

void invalid_call(sqlite3_context* ctx) { sqlite3_result_error(ctx, "Invalid procedure call or argument", -1); }

void result_text(sqlite3_context* ctx, std::string_view s) {
    sqlite3_result_text(ctx, s.data(), static_cast<int>(s.size()), SQLITE_TRANSIENT);
}

// --- functions ------------------------------------------------------------

void fn_now(sqlite3_context* ctx, int, sqlite3_value**) {
    std::time_t t = std::time(nullptr);
    std::tm tm{};
    localtime_r(&t, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &tm);
    result_text(ctx, buf);
}

// instr(text, part) or instr(start, text, part): 1-based character position,
// 0 when absent, without case.
void fn_instr(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (any_null(argc, argv)) return sqlite3_result_null(ctx);
    long long start = 1;
    int a = 0;
    if (argc == 3) {
        start = sqlite3_value_int64(argv[0]);
        if (start < 1) return invalid_call(ctx);
        a = 1;
    }
    std::string text = fold(text_arg(argv[a]));
    std::string part = fold(text_arg(argv[a + 1]));
    long long len = static_cast<long long>(char_count(text));
    if (start > len) return sqlite3_result_int64(ctx, 0);
    if (part.empty()) return sqlite3_result_int64(ctx, start);
    std::size_t from = byte_offset(text, static_cast<std::size_t>(start - 1));
    std::size_t at = text.find(part, from);
    if (at == std::string::npos) return sqlite3_result_int64(ctx, 0);
    sqlite3_result_int64(ctx, static_cast<long long>(char_count(std::string_view(text).substr(0, at))) + 1);
}

void fn_left(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) return sqlite3_result_null(ctx);
    if (sqlite3_value_type(argv[1]) == SQLITE_NULL) return invalid_call(ctx);
    long long n = sqlite3_value_int64(argv[1]);
    if (n < 0) return invalid_call(ctx);
    std::string_view s = text_arg(argv[0]);
    result_text(ctx, s.substr(0, byte_offset(s, static_cast<std::size_t>(n))));
}

void fn_right(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) return sqlite3_result_null(ctx);
    if (sqlite3_value_type(argv[1]) == SQLITE_NULL) return invalid_call(ctx);
    long long n = sqlite3_value_int64(argv[1]);
    if (n < 0) return invalid_call(ctx);
    std::string_view s = text_arg(argv[0]);
    long long len = static_cast<long long>(char_count(s));
    if (n >= len) return result_text(ctx, s);
    result_text(ctx, s.substr(byte_offset(s, static_cast<std::size_t>(len - n))));
}

void fn_mid(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) return sqlite3_result_null(ctx);
    for (int i = 1; i < argc; ++i)
        if (sqlite3_value_type(argv[i]) == SQLITE_NULL) return invalid_call(ctx);
    long long start = sqlite3_value_int64(argv[1]);
    if (start < 1) return invalid_call(ctx);
    std::string_view s = text_arg(argv[0]);
    std::size_t from = byte_offset(s, static_cast<std::size_t>(start - 1));
    if (argc == 2) return result_text(ctx, s.substr(from));
    long long n = sqlite3_value_int64(argv[2]);
    if (n < 0) return invalid_call(ctx);
    std::string_view rest = s.substr(from);
    result_text(ctx, rest.substr(0, byte_offset(rest, static_cast<std::size_t>(n))));
}

void fn_len(sqlite3_context* ctx, int, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) return sqlite3_result_null(ctx);
    sqlite3_result_int64(ctx, static_cast<long long>(char_count(text_arg(argv[0]))));
}

// --- dates ------------------------------------------------------------------

// Days since 1970-01-01 of a civil date.
long long days_from_civil(long long y, unsigned m, unsigned d) {
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<long long>(doe) - 719468;
}

struct Stamp {
    long long year = 0;
    unsigned month = 0, day = 0;
    long long days = 0;     // since 1970-01-01
    long long seconds = 0;  // of the day
};

// Reads "YYYY-MM-DD[ HH:MM[:SS]]" (also with '/'), a bare "HH:MM:SS" (day
// 1899-12-30, as the platform did), or a day number of the platform.
std::optional<Stamp> parse_stamp(sqlite3_value* v) {
    Stamp st;
    int type = sqlite3_value_type(v);
    if (type == SQLITE_INTEGER || type == SQLITE_FLOAT) {
        double serial = sqlite3_value_double(v);
        // The platform's dates run from the year 100 to 9999.
        if (!(serial >= -657434.0 && serial < 2958466.0)) return std::nullopt;
        double whole = std::floor(serial);
        st.days = static_cast<long long>(whole) + days_from_civil(1899, 12, 30);
        st.seconds = std::llround((serial - whole) * 86400.0);
    } else {
        std::string_view s = text_arg(v);
        while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
        long long nums[6] = {0, 0, 0, 0, 0, 0};
        int count = 0;
        std::size_t i = 0;
        bool has_date = false;
        auto read_num = [&](long long& out) {
            std::size_t b = i;
            out = 0;
            for (; i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])); ++i)
                if (i - b < 5) out = out * 10 + (s[i] - '0');
            return i > b && i - b <= 4;  // no part of a date has more digits
        };
        if (!read_num(nums[0])) return std::nullopt;
        count = 1;
        if (i < s.size() && (s[i] == '-' || s[i] == '/')) {
            has_date = true;
            char sep = s[i];
            ++i;
            if (!read_num(nums[1]) || i >= s.size() || s[i] != sep) return std::nullopt;
            ++i;
            if (!read_num(nums[2])) return std::nullopt;
            count = 3;
            while (i < s.size() && (s[i] == ' ' || s[i] == 'T')) ++i;
            if (i < s.size()) {
                if (!read_num(nums[3])) return std::nullopt;
                count = 4;
            }
        }
        if (!has_date) count = 4, nums[3] = nums[0];
        while (count >= 4 && count < 6 && i < s.size() && s[i] == ':') {
            ++i;
            if (!read_num(nums[count])) return std::nullopt;
            ++count;
        }
        while (i < s.size() && s[i] == ' ') ++i;
        if (i < s.size() && s[i] == '.') {  // fractions of a second
            ++i;
            while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) ++i;
        }
        while (i < s.size() && s[i] == ' ') ++i;
        if (i != s.size()) return std::nullopt;
        if (!has_date && count < 5) return std::nullopt;  // a bare number text is no time
        if (has_date) {
            if (nums[0] < 100 || nums[1] < 1 || nums[1] > 12 || nums[2] < 1 || nums[2] > 31) return std::nullopt;
            st.days = days_from_civil(nums[0], static_cast<unsigned>(nums[1]), static_cast<unsigned>(nums[2]));
        } else {
            st.days = days_from_civil(1899, 12, 30);
        }
        if (nums[3] > 23 || nums[4] > 59 || nums[5] > 59) return std::nullopt;
        st.seconds = nums[3] * 3600 + nums[4] * 60 + nums[5];
    }
    // Civil parts back from the day number, for month and year intervals.
    long long z = st.days + 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    st.day = doy - (153 * mp + 2) / 5 + 1;
    st.month = mp < 10 ? mp + 3 : mp - 9;
    st.year = static_cast<long long>(yoe) + era * 400 + (st.month <= 2);
    return st;
}

long long floor_div(long long a, long long b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// DateDiff(interval, a, b): how many interval boundaries lie between a and b.
void fn_datediff(sqlite3_context* ctx, int, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) return invalid_call(ctx);
    if (sqlite3_value_type(argv[1]) == SQLITE_NULL || sqlite3_value_type(argv[2]) == SQLITE_NULL)
        return sqlite3_result_null(ctx);
    std::string iv = lower(text_arg(argv[0]));
    auto a = parse_stamp(argv[1]);
    auto b = parse_stamp(argv[2]);
    if (!a || !b) return sqlite3_result_error(ctx, "Data type mismatch in criteria expression.", -1);
    long long ta = a->days * 86400 + a->seconds, tb = b->days * 86400 + b->seconds;
    long long r;
    if (iv == "d" || iv == "y")
        r = b->days - a->days;
    else if (iv == "h")
        r = floor_div(tb, 3600) - floor_div(ta, 3600);
    else if (iv == "n")
        r = floor_div(tb, 60) - floor_div(ta, 60);
    else if (iv == "s")
        r = tb - ta;
    else if (iv == "m")
        r = (b->year * 12 + b->month) - (a->year * 12 + a->month);
    else if (iv == "q")
        r = (b->year * 4 + (b->month - 1) / 3) - (a->year * 4 + (a->month - 1) / 3);
    else if (iv == "yyyy")
        r = b->year - a->year;
    else if (iv == "w")
        r = (b->days - a->days) / 7;
    else if (iv == "ww")  // Sundays crossed: 1970-01-04 was a Sunday
        r = floor_div(b->days + 4, 7) - floor_div(a->days + 4, 7);
    else
        return invalid_call(ctx);
    sqlite3_result_int64(ctx, r);
}

}  // namespace

int register_dialect_functions(sqlite3* db) {
    struct Def {
        const char* name;
        int args;
        void (*fn)(sqlite3_context*, int, sqlite3_value**);
        bool deterministic;
    };
    static const Def defs[] = {
        {"now", 0, fn_now, false},          {"tav_datediff", 3, fn_datediff, true},
        {"tav_instr", 2, fn_instr, true},   {"tav_instr", 3, fn_instr, true},
        {"tav_left", 2, fn_left, true},     {"tav_right", 2, fn_right, true},
        {"tav_mid", 2, fn_mid, true},       {"tav_mid", 3, fn_mid, true},
        {"tav_len", 1, fn_len, true},
    };
    for (const Def& d : defs) {
        int flags = SQLITE_UTF8 | (d.deterministic ? SQLITE_DETERMINISTIC : 0);
        int rc = sqlite3_create_function_v2(db, d.name, d.args, flags, nullptr, d.fn, nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK) return rc;
    }
    return SQLITE_OK;
}

}  // namespace store_detail

}  // namespace tav
