// The caps on what the chat room and the guest book store, and the answer
// to a text beyond them.
#pragma once

#include <cstddef>
#include <string>

namespace tav::collaboration {

constexpr std::size_t kChatLineChars = 1000;
constexpr std::size_t kChatNameChars = 50;
constexpr std::size_t kBookTitleChars = 200;
constexpr std::size_t kBookTextChars = 20000;

// Characters of a UTF-8 text (not bytes).
std::size_t chars(const std::string& utf8);

// Ends the page with the refusal of a text that is too long: what it is,
// the cap, and a way back (back_href, or the browser's history when empty).
[[noreturn]] void refuse_too_long(const std::string& what, std::size_t cap, const std::string& back_href = "");

}  // namespace tav::collaboration
