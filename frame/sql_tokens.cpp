#include "frame/sql_tokens.h"

#include <cctype>

namespace tav::sql_tokens {

namespace {

bool ident_start(unsigned char c) { return std::isalpha(c) || c == '_' || c >= 0x80; }

// The end of a token of kind open that runs from i (past its opening);
// closed tells whether it ended in s.
std::size_t scan_open(std::string_view s, std::size_t i, Tok open, char close, bool& closed) {
    const std::size_t n = s.size();
    closed = true;
    switch (open) {
    case Tok::String:
        // '' inside a literal is a quote.
        for (; i < n; ++i) {
            if (s[i] != '\'') continue;
            if (i + 1 < n && s[i + 1] == '\'') {
                ++i;
                continue;
            }
            return i + 1;
        }
        break;
    case Tok::Date:
    case Tok::Quoted:
        for (; i < n; ++i)
            if (s[i] == close) return i + 1;
        break;
    case Tok::Comment:
        if (close == '\n') {
            for (; i < n; ++i)
                if (s[i] == '\n') return i;  // the line end is a blank of its own
        } else if (std::size_t e = s.find("*/", i); e != std::string_view::npos) {
            return e + 2;
        }
        break;
    default: return i;
    }
    closed = false;
    return n;
}

}  // namespace

// Whether text between two # can be a date: one that holds anything opening
// a literal, a quoted name or a comment is not, or those would hide in it.
static bool date_span(std::string_view span) {
    return span.find_first_of("'\"`[") == std::string_view::npos && span.find("--") == std::string_view::npos &&
           span.find("/*") == std::string_view::npos;
}

bool ident_char(unsigned char c) { return std::isalnum(c) || c == '_' || c == '$' || c >= 0x80; }

std::vector<Token> tokenize(std::string_view s, State& state) {
    std::vector<Token> out;
    const std::size_t n = s.size();
    std::size_t i = 0;
    if (state.is_open()) {
        bool closed;
        std::size_t j = scan_open(s, 0, state.open, state.close, closed);
        if (j > 0) out.push_back({state.open, s.substr(0, j), closed});
        if (closed) state = State{};
        i = j;
    }
    while (i < n) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        std::size_t j = i + 1;
        Tok kind = Tok::Punct;
        bool closed = true;
        char close = 0;
        if (std::isspace(c)) {
            while (j < n && std::isspace(static_cast<unsigned char>(s[j]))) ++j;
            kind = Tok::Space;
        } else if (c == '#' && !date_span(s.substr(j, s.find('#', j) - j))) {
            // No date holds a quote, a quoted name or a comment: this # is a
            // plain character, and what follows opens as usual.
        } else if (c == '\'' || c == '#') {
            kind = c == '\'' ? Tok::String : Tok::Date;
            close = static_cast<char>(c);
            j = scan_open(s, j, kind, close, closed);
        } else if (c == '"' || c == '`' || c == '[') {
            kind = Tok::Quoted;
            close = c == '[' ? ']' : static_cast<char>(c);
            j = scan_open(s, j, kind, close, closed);
        } else if ((c == '-' || c == '/') && j < n && s[j] == (c == '-' ? '-' : '*')) {
            kind = Tok::Comment;
            close = c == '-' ? '\n' : '*';
            j = scan_open(s, j + 1, kind, close, closed);
        } else if (c == ':' && j < n && std::isalpha(static_cast<unsigned char>(s[j]))) {
            // A bound value: ":t1" text, ":n1" number.
            kind = Tok::Param;
            while (j < n && ident_char(static_cast<unsigned char>(s[j]))) ++j;
        } else if (ident_start(c)) {
            kind = Tok::Ident;
            while (j < n && ident_char(static_cast<unsigned char>(s[j]))) ++j;
        } else if (std::isdigit(c) || (c == '.' && j < n && std::isdigit(static_cast<unsigned char>(s[j])))) {
            kind = Tok::Number;
            while (j < n && (std::isalnum(static_cast<unsigned char>(s[j])) || s[j] == '.')) ++j;
        } else if (j < n && ((c == '<' && (s[j] == '>' || s[j] == '=')) || (c == '>' && s[j] == '=') ||
                             (c == '!' && s[j] == '=') || (c == '|' && s[j] == '|'))) {
            ++j;
        }
        out.push_back({kind, s.substr(i, j - i), closed});
        if (!closed) state = State{kind, close};
        i = j;
    }
    return out;
}

}  // namespace tav::sql_tokens
