// Statements as the pages write them: program text joined with values, but
// the joins stay marked, so a value can never become program text.
//
//     rs = conn.execute("select id,record from user where username='"_sql + username +
//                       "' and password='" + password + "'");
//
// A string literal joined to an Sql is program text; a Value or std::string
// is a value; sql_name(v) is a table or column name taken from a request.
// The store binds values as parameters: a value inside a quoted literal
// ('...' or #...#) is text and may not hold an apostrophe; a value anywhere
// else must be a number; a name must be one of the schema's. Anything else
// fails as a broken statement would, before the statement runs.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "frame/value.h"

namespace tav {

struct SqlName {
    std::string name;
};
SqlName sql_name(const Value& v);

class Sql {
public:
    enum class Kind : unsigned char { Program, Value, Name };
    struct Part {
        Kind kind;
        std::string text;
    };

    Sql() = default;
    // A literal-only statement: conn.execute("select * from word_type").
    Sql(const char* program) { *this += program; }

    Sql& operator+=(const char* program);
    Sql& operator+=(const Value& value);
    Sql& operator+=(const std::string& value);
    Sql& operator+=(const SqlName& name);
    Sql& operator+=(const Sql& other);
    // Numbers join as values (and 0 must not pass for a null program text).
    template <class T>
        requires std::is_arithmetic_v<T>
    Sql& operator+=(T number) {
        return *this += Value(number);
    }

    // Program text taken whole, for text the program wrote itself (test
    // set-up, tools). Never for text that holds anything from a request.
    static Sql trusted(std::string_view program) {
        Sql out;
        out.add(Kind::Program, program);
        return out;
    }

    const std::vector<Part>& parts() const { return parts_; }
    bool empty() const { return parts_.empty(); }
    // The statement as plain concatenation would have built it; for logs
    // and tests only, never for running.
    std::string joined() const;

    // Found only through an Sql operand, so "text" + value stays a string.
    // `a` is returned by name so that a chain of + moves its parts along.
    friend Sql operator+(Sql a, const char* program) {
        a += program;
        return a;
    }
    friend Sql operator+(Sql a, const Value& value) {
        a += value;
        return a;
    }
    friend Sql operator+(Sql a, const std::string& value) {
        a += value;
        return a;
    }
    friend Sql operator+(Sql a, const SqlName& name) {
        a += name;
        return a;
    }
    friend Sql operator+(Sql a, const Sql& b) {
        a += b;
        return a;
    }
    template <class T>
        requires std::is_arithmetic_v<T>
    friend Sql operator+(Sql a, T number) {
        a += number;
        return a;
    }
    friend Sql operator""_sql(const char* s, std::size_t n);

private:
    void add(Kind kind, std::string_view text);
    std::vector<Part> parts_;
};

inline Sql operator""_sql(const char* s, std::size_t n) {
    Sql out;
    out.add(Sql::Kind::Program, std::string_view(s, n));
    return out;
}

// What the store runs: program text with a placeholder for each value
// (":tN" text, ":nN" number) and the values to bind. The placeholder text
// depends only on the program text of the call site, not on the values.
struct BoundSql {
    struct Param {
        bool is_text;
        std::string text;   // is_text
        double number = 0;  // !is_text
        bool integral = false;
        long long integer = 0;
    };
    std::string text;
    std::vector<Param> params;
};

// Splits a statement into program text and parameters. Returns an empty
// string on success, else the error text for the standard report.
// is_name answers whether a name belongs to the schema.
template <class IsName>
std::string bind_sql(const Sql& sql, BoundSql& out, IsName&& is_name);

namespace sql_detail {
std::string bind(const Sql& sql, BoundSql& out, bool (*is_name)(void*, const std::string&), void* ctx);
// True when the text is a number in a numeric place (blanks around allowed).
bool parse_number(const std::string& text, BoundSql::Param& out);
}  // namespace sql_detail

template <class IsName>
std::string bind_sql(const Sql& sql, BoundSql& out, IsName&& is_name) {
    using F = std::remove_reference_t<IsName>;
    return sql_detail::bind(
        sql, out, [](void* ctx, const std::string& n) -> bool { return (*static_cast<F*>(ctx))(n); },
        const_cast<void*>(static_cast<const void*>(&is_name)));
}

}  // namespace tav
