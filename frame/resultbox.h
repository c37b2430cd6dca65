// The frame of the two result boxes (Pop_OK.asp and Pop_Del.asp): both open
// with the same head, box and title line; Pop_Del.asp wraps it in its form.
#pragma once

#include <string>

namespace tav {

// The fixed opening up to the message cell, written as one block; form_open
// is inserted right after <body> (empty for none).
std::string result_box_head(const std::string& form_open);

}  // namespace tav
