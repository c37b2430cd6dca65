// The one reader of statement text: the binder (frame/sql.cpp) uses it to
// tell where each joined value lands, the dialect rewrite
// (frame/store_dialect.cpp) to find what the engine spells differently.
// Both must agree on where a literal, a quoted name or a comment begins and
// ends, or a value could be bound as text where the engine reads program.
#pragma once

#include <string_view>
#include <vector>

namespace tav::sql_tokens {

enum class Tok { Space, String, Date, Ident, Number, Quoted, Comment, Punct, Param };

struct Token {
    Tok kind;
    std::string_view text;
    // For String, Date, Quoted and Comment: the token ends in this text
    // (its closing quote, or the line's end). Else always true.
    bool closed = true;
};

// What a piece of text leaves open at its end, for the next piece (the
// pieces of a statement between its joined values) to continue.
struct State {
    Tok open = Tok::Space;  // Space: nothing open; else String, Date, Quoted or Comment
    char close = 0;         // Quoted: its closing character; Comment: '\n' or '*' (for */)
    bool is_open() const { return open != Tok::Space; }
};

// Splits s into tokens. A token left open by the previous piece (state)
// continues first, without its opening; state is left as the end of s
// leaves it. An unclosed literal, name or comment runs to the end of s.
//   '...' String ('' inside is a quote)    #...# Date
//   "..." `...` [...] Quoted               -- to the line's end, /* */ Comment
//   :t1 Param (a bound value's place)      other: Space, Ident, Number, Punct
std::vector<Token> tokenize(std::string_view s, State& state);
inline std::vector<Token> tokenize(std::string_view s) {
    State st;
    return tokenize(s, st);
}

bool ident_char(unsigned char c);

}  // namespace tav::sql_tokens
