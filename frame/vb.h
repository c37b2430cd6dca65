// The text and number functions the pages use, on UTF-8 texts counted in
// characters (a Chinese character counts once), with the platform's rules.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "frame/value.h"

namespace tav {

// Blanks off both ends; null stays null.
Value Trim(const Value& v);
// Length in characters; null and empty give 0.
long Len(const Value& v);
std::string Left(const Value& v, long n);
std::string Right(const Value& v, long n);
// Characters from the one-based start; len < 0 means to the end.
std::string Mid(const Value& v, long start, long len = -1);
// One-based character position of part in s, 0 when absent; binary compare.
long InStr(const Value& s, const Value& part);
long InStr(long start, const Value& s, const Value& part);
// Position of the last occurrence, 0 when absent.
long InStrRev(const Value& s, const Value& part);
// Replaces every occurrence; fails on null, as a text is required.
std::string Replace(const Value& s, std::string_view find, std::string_view with);
std::vector<std::string> Split(const Value& s, std::string_view sep);
std::string LCase(const Value& v);
std::string UCase(const Value& v);
bool IsNumeric(const Value& v);
long long CLng(const Value& v);
long long CInt(const Value& v);  // fails outside the 16-bit range
double Int(const Value& v);      // integer part, towards minus infinity
// The current local time as the host prints dates, shifted by whole days.
std::string NowText(int day_offset = 0);

}  // namespace tav
