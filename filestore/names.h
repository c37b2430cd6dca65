// Names and places of the file store: the name shown for a folder, the
// account's own root, and the rules that keep every request of the store
// inside that root.
#pragma once

#include <cstdint>
#include <string>

namespace tav {
class Connection;
}

namespace tav::filestore {

// The path below the account's root: \user\me\a\b gives \a\b. The root
// itself, with nothing below it, gives "\".
std::string shown_name(const std::string& folder);

// Why name cannot be one file or folder name of the store, in words for the
// user; "" when it can. Refused: empty, "." and "..", a slash or backslash,
// a control character, a name the Windows heritage of the paths reserves
// (CON, PRN, AUX, NUL, COM1-9, LPT1-9, with or without an extension), and
// a name longer than 200 bytes.
std::string name_problem(const std::string& name);

// The signed-in account's root, "\user\" and its user name; "" when the
// session has no account or the user name could not name a folder.
std::string account_root(Connection& conn);

// True when folder is root or lies below it, each part below a valid name
// (so no "..", no empty part, no second kind of separator).
bool inside(const std::string& folder, const std::string& root);

// The bytes of the files below the physical folder path, walked without
// following links; stops once it has seen `limit` entries and then reports
// the sum so far with `complete` false.
std::uintmax_t folder_bytes(const std::string& physical, std::size_t limit, bool& complete);

// The store's limit per account in bytes: the setting quota_store, in
// megabytes (200 when it is missing or no positive number).
std::uintmax_t quota_bytes(Connection& conn);

// Ends the page with the refusal of a name: the reason and a way back.
[[noreturn]] void refuse_name(const std::string& why);

}  // namespace tav::filestore
