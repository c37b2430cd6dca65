// Parses a request from raw bytes exactly as the server does, without a
// socket. The fuzzers use it; the server shares the conversion it ends in.
#pragma once

#include <cstdint>
#include <string_view>

#include "server/http_types.h"

namespace tav {

// Returns the status the server would answer the bytes with: 0 when they do
// not hold a whole request yet, 200 when `out` holds the request (the body
// kept in memory), 400 for a malformed request, 413 for a body over the limit.
int parse_request_bytes(std::string_view bytes, std::uint64_t body_limit, HttpRequest& out);

}  // namespace tav
