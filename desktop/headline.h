// The organisation headline: its words depend on the length of the name,
// since the space for it is fixed.
#pragma once

#include <string>

#include "frame/value.h"

namespace tav {

std::string login_headline(const Value& dw_name);

}  // namespace tav
