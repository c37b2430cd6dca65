#include "frame/sql.h"

#include <cctype>
#include <cmath>
#include <cstdlib>

#include "frame/sql_tokens.h"

namespace tav {

SqlName sql_name(const Value& v) { return SqlName{v.str()}; }

void Sql::add(Kind kind, std::string_view text) {
    // Adjacent program pieces merge, so the binder sees a quote's two ends
    // in one piece whenever the page wrote them in one literal.
    if (kind == Kind::Program && !parts_.empty() && parts_.back().kind == Kind::Program) {
        parts_.back().text += text;
        return;
    }
    if (kind == Kind::Program && text.empty()) return;
    parts_.push_back({kind, std::string(text)});
}

Sql& Sql::operator+=(const char* program) {
    if (program) add(Kind::Program, program);
    return *this;
}
Sql& Sql::operator+=(const Value& value) {
    add(Kind::Value, value.str());
    return *this;
}
Sql& Sql::operator+=(const std::string& value) {
    add(Kind::Value, value);
    return *this;
}
Sql& Sql::operator+=(const SqlName& name) {
    add(Kind::Name, name.name);
    return *this;
}
Sql& Sql::operator+=(const Sql& other) {
    for (const Part& p : other.parts_) add(p.kind, p.text);
    return *this;
}

std::string Sql::joined() const {
    std::string out;
    for (const Part& p : parts_) out += p.text;
    return out;
}

namespace sql_detail {

bool parse_number(const std::string& text, BoundSql::Param& out) {
    std::size_t b = 0, e = text.size();
    while (b < e && (text[b] == ' ' || text[b] == '\t')) ++b;
    while (e > b && (text[e - 1] == ' ' || text[e - 1] == '\t')) --e;
    if (b == e) return false;
    std::size_t i = b;
    if (text[i] == '+' || text[i] == '-') ++i;
    std::size_t digits = 0;
    bool fraction = false;
    while (i < e && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, ++digits;
    if (i < e && text[i] == '.') {
        fraction = true;
        ++i;
        while (i < e && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, ++digits;
    }
    if (digits == 0) return false;
    if (i < e && (text[i] == 'e' || text[i] == 'E')) {
        fraction = true;
        ++i;
        if (i < e && (text[i] == '+' || text[i] == '-')) ++i;
        std::size_t exp_digits = 0;
        while (i < e && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, ++exp_digits;
        if (exp_digits == 0) return false;
    }
    if (i != e) return false;
    std::string n = text.substr(b, e - b);
    out.is_text = false;
    out.number = std::strtod(n.c_str(), nullptr);
    if (!std::isfinite(out.number)) return false;
    out.integral = !fraction && digits <= 18;
    out.integer = out.integral ? std::strtoll(n.c_str(), nullptr, 10) : 0;
    return true;
}

namespace {

using sql_tokens::Tok;

bool ident_char(char c) { return sql_tokens::ident_char(static_cast<unsigned char>(c)); }

const char* const quote_in_value = "unrecognized token: \"'\"";
const char* const not_a_number = "near \"?\": syntax error (a value in this place must be a number)";
const char* const bad_name = "no such table or column";
const char* const value_in_comment = "near \"?\": syntax error (a value inside a comment or a quoted name)";

}  // namespace

// One pass over the program text's tokens, the state of the last piece
// telling what kind of place each value falls into. A quoted literal that
// holds values becomes one text parameter (its literal pieces and the
// values' texts); a literal without values stays in the program text as
// written.
std::string bind(const Sql& sql, BoundSql& out, bool (*is_name)(void*, const std::string&), void* ctx) {
    out.text.clear();
    out.params.clear();
    sql_tokens::State st;
    std::size_t lit_start = 0;  // where the open literal begins in out.text
    bool lit_values = false;    // the open literal holds a value
    std::string lit;            // the open literal's content, quotes undone

    auto placeholder = [&](char kind, const std::string* next_text, std::size_t next_pos) {
        std::string ph = ":";
        ph += kind;
        ph += std::to_string(out.params.size());
        // Keep the placeholder one token whatever the program text around it.
        if (!out.text.empty() && (ident_char(out.text.back()) || out.text.back() == ':')) out.text += ' ';
        out.text += ph;
        if (next_text && next_pos < next_text->size() && ident_char((*next_text)[next_pos])) out.text += ' ';
    };

    const auto& parts = sql.parts();
    for (std::size_t pi = 0; pi < parts.size(); ++pi) {
        const Sql::Part& part = parts[pi];
        const std::string* next_program =
            pi + 1 < parts.size() && parts[pi + 1].kind == Sql::Kind::Program ? &parts[pi + 1].text : nullptr;
        if (part.kind == Sql::Kind::Name) {
            if (st.is_open()) return bad_name;
            const std::string& n = part.text;
            bool plain = !n.empty() && !std::isdigit(static_cast<unsigned char>(n[0]));
            for (char c : n)
                if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_')) plain = false;
            if (!plain || !is_name(ctx, n)) return bad_name;
            if (!out.text.empty() && ident_char(out.text.back())) out.text += ' ';
            out.text += n;
            if (next_program && !next_program->empty() && ident_char((*next_program)[0])) out.text += ' ';
            continue;
        }
        if (part.kind == Sql::Kind::Value) {
            switch (st.open) {
            case Tok::String:
                if (part.text.find('\'') != std::string::npos) return quote_in_value;
                lit += part.text;
                lit_values = true;
                break;
            case Tok::Date:
                if (part.text.find('#') != std::string::npos || part.text.find('\'') != std::string::npos)
                    return quote_in_value;
                lit += part.text;
                lit_values = true;
                break;
            case Tok::Space: {
                BoundSql::Param p{};
                if (!parse_number(part.text, p)) return not_a_number;
                out.params.push_back(std::move(p));
                placeholder('n', next_program, 0);
                break;
            }
            default:
                return value_in_comment;
            }
            continue;
        }
        const std::string& s = part.text;
        const bool continues = st.is_open();
        for (const sql_tokens::Token& t : sql_tokens::tokenize(s, st)) {
            const bool literal = t.kind == Tok::String || t.kind == Tok::Date;
            const bool first = t.text.data() == s.data();
            if (!literal) {
                out.text += t.text;
                continue;
            }
            std::string_view body = t.text;
            if (!(first && continues)) {  // a literal opens here
                lit_start = out.text.size();
                lit_values = false;
                lit.clear();
                body.remove_prefix(1);
            }
            if (t.closed) body.remove_suffix(1);
            out.text += t.text;
            for (std::size_t k = 0; k < body.size(); ++k) {
                lit += body[k];
                if (t.kind == Tok::String && body[k] == '\'') ++k;  // '' is one quote
            }
            if (!t.closed || !lit_values) continue;
            out.text.resize(lit_start);
            BoundSql::Param p{};
            p.is_text = true;
            p.text = std::move(lit);
            lit.clear();
            out.params.push_back(std::move(p));
            placeholder('t', &s, static_cast<std::size_t>(t.text.data() - s.data()) + t.text.size());
        }
    }
    // A literal left open with a value in it would run to the end of the
    // statement with the value inside; the engine would refuse the text.
    if ((st.open == Tok::String || st.open == Tok::Date) && lit_values) return quote_in_value;
    return {};
}

}  // namespace sql_detail

}  // namespace tav
