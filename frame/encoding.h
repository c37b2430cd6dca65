// Conversion at the edge: the program keeps UTF-8, browsers get and send
// GB18030 (what they decode for the gb2312 label).
#pragma once

#include <string>
#include <string_view>

namespace tav {

// UTF-8 to GB18030. Invalid UTF-8 bytes are dropped.
std::string utf8_to_gb(std::string_view utf8);
// GB18030 to UTF-8. Bytes that form no character become U+FFFD.
std::string gb_to_utf8(std::string_view gb);
bool is_valid_utf8(std::string_view s);

// Appends the UTF-8 form of the code point cp.
void append_utf8(std::string& out, unsigned cp);


// Percent-decoding of query strings and form bodies: %XX gives a byte,
// %uXXXX gives the character (as GB18030 bytes), '+' gives a blank when
// plus_is_blank. Malformed escapes stay as they are.
std::string percent_decode(std::string_view s, bool plus_is_blank);

// Percent-escapes the controls, the blank, DEL and every byte of `also`,
// and with non_ascii every byte above DEL too. A Location header escapes
// only what is not printable ASCII, so "&" and "#" keep cutting values; a
// value put into a query escapes what would end or split it.
std::string percent_escape(std::string_view bytes, std::string_view also, bool non_ascii = false);

}  // namespace tav
