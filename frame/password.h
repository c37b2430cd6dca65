// Stored passwords: Argon2id hashes (libsodium's string form, which carries
// its own salt and cost), checked in C++ rather than compared in a statement.
// Rows written before hashing still hold the clear text; such a row matches
// the typed text exactly and is to be rehashed by the caller at once.
#pragma once

#include <string>
#include <string_view>

namespace tav::password {

// The text to store for a new password.
std::string hash(std::string_view clear);
// From now on, new hashes take libsodium's least cost. Only the in-process
// tests call it: they store thousands of passwords, and at the working cost
// hashing was most of their time. Checking reads the cost from the hash.
void use_least_cost();
// True when the stored text is a hash of ours (not an old clear-text value).
bool is_hash(std::string_view stored);
// True when typed is the password that stored holds, hashed or not.
bool matches(std::string_view typed, std::string_view stored);
// True when a password may be set: the characters the forms allow
// (letters, digits, underscore), 1 to 64 of them.
bool acceptable(std::string_view clear);

}  // namespace tav::password
