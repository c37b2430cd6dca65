// The loose value of the pages: empty, null, number or text. Values read
// from the request or from a field compute as a number or a text as the
// occasion asks; the null rules are those of the original platform.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tav {

class Value {
public:
    enum class Kind { Empty, Null, Number, Text };

    Value() = default;
    Value(int n) : kind_(Kind::Number), num_(n) {}
    Value(long n) : kind_(Kind::Number), num_(static_cast<double>(n)) {}
    Value(long long n) : kind_(Kind::Number), num_(static_cast<double>(n)) {}
    Value(unsigned n) : kind_(Kind::Number), num_(n) {}
    Value(double n) : kind_(Kind::Number), num_(n) {}
    Value(const char* s) : kind_(Kind::Text), text_(s) {}
    Value(std::string s) : kind_(Kind::Text), text_(std::move(s)) {}
    Value(std::string_view s) : kind_(Kind::Text), text_(s) {}
    static Value null() {
        Value v;
        v.kind_ = Kind::Null;
        return v;
    }

    Kind kind() const { return kind_; }
    bool is_empty() const { return kind_ == Kind::Empty; }
    bool is_null() const { return kind_ == Kind::Null; }
    bool is_number() const { return kind_ == Kind::Number; }
    bool is_text() const { return kind_ == Kind::Text; }

    // The value joined into a text: empty and null give "", numbers print
    // as the platform printed them (no decimals for whole numbers).
    std::string str() const;
    // The value where a text is required: null fails (Invalid use of Null).
    std::string text() const;
    // The value as a number: empty is 0, a numeric text converts, any other
    // text fails (Type mismatch), null fails (Invalid use of Null).
    double num() const;
    // Whole-number form of num(), rounded as CLng rounds.
    long long lng() const;
    // The value in a test: null and empty are false, numbers are true when
    // not 0, "True"/"False" texts and numeric texts convert, others fail.
    bool truth() const;

    // True when the value is empty, or a text of length 0 (the pages' `= ""`
    // test; null is not empty text).
    bool blank() const { return kind_ == Kind::Empty || (kind_ == Kind::Text && text_.empty()); }

    // Comparison as the pages write it: with a number, numeric; with a text,
    // as texts. A comparison that involves null is never true.
    friend bool operator==(const Value& a, const Value& b);
    friend bool operator!=(const Value& a, const Value& b);
    friend bool operator<(const Value& a, const Value& b);
    friend bool operator>(const Value& a, const Value& b);
    friend bool operator<=(const Value& a, const Value& b);
    friend bool operator>=(const Value& a, const Value& b);

private:
    Kind kind_ = Kind::Empty;
    double num_ = 0;
    std::string text_;
};

// Concatenation, the `&` of the pages: every operand joins as its str().
std::string operator+(const std::string& a, const Value& b);
std::string operator+(std::string&& a, const Value& b);  // a chain grows one string
std::string operator+(const Value& a, const std::string& b);
std::string operator+(const char* a, const Value& b);
std::string operator+(const Value& a, const char* b);

// Prints a number the way the platform printed one.
std::string format_number(double n);
// Parses a numeric text (blanks around it allowed); false when it is none.
bool parse_number(std::string_view s, double& out);

}  // namespace tav
