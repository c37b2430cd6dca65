// Who may run a page. Every page declares its rule where it is registered
// (TAVELOR_PAGE), and the dispatcher checks it before the page starts; a
// page whose rule depends on a row or a parameter checks the rest itself
// with the same helpers, so every refusal looks the same.
#pragma once

#include <string>
#include <string_view>

namespace tav {

class Connection;

struct Access {
    enum class Kind { Unset, Public, SignedIn, Right };
    Kind kind = Kind::Unset;
    // For Right: codes of the rights string, '|' between alternatives; any
    // one of them admits (tested as the pages test: a substring of menu_idstr).
    std::string codes;
    // What the page checks beyond the rule (the owner of a row, a right that
    // depends on a parameter); shown in docs/access.md.
    std::string note;

    Access with(const char* what) const {
        Access a = *this;
        a.note = what;
        return a;
    }
    // How docs/access.md writes the rule.
    std::string text() const;
};

namespace access {
inline Access open() { return {Access::Kind::Public, "", ""}; }
inline Access signed_in() { return {Access::Kind::SignedIn, "", ""}; }
inline Access right(const char* codes) { return {Access::Kind::Right, codes, ""}; }
}  // namespace access

// True when the request's session is logged in (marker and account id).
bool signed_in();
// The session's account id, as text ("" when not signed in).
std::string session_account();
// True when the signed-in account's rights string holds one of codes
// ('|' between alternatives). Reads the row afresh: rights act at once.
bool holds_right(Connection& conn, std::string_view codes);
bool holds_right(std::string_view codes);

// The answers to a request the rule refuses. Anonymous: the login page, as
// the login tests always sent it. Signed in: a short refusal page (403).
// Each writes one line to the application log and ends the page.
[[noreturn]] void send_to_login();
[[noreturn]] void refuse(std::string_view why);
// Ends the page as refuse() does unless the account holds one of codes.
void require_right(Connection& conn, std::string_view codes);

// Checks a page's declared rule against the running request; false when the
// page must not run (the answer is then already made).
bool admit(const Access& rule);

}  // namespace tav
