#include "server/http_types.h"

#include <algorithm>
#include <strings.h>

namespace tav {

namespace {

bool same_name(const std::string& a, const std::string& b) {
    return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

std::string HttpRequest::header(const std::string& name) const {
    for (const auto& [k, v] : headers)
        if (same_name(k, name)) return v;
    return {};
}

void HttpResponse::set_header(const std::string& name, const std::string& value) {
    bool found = false;
    for (auto it = headers.begin(); it != headers.end();) {
        if (!same_name(it->first, name)) {
            ++it;
        } else if (!found) {
            it->second = value;
            found = true;
            ++it;
        } else {
            it = headers.erase(it);
        }
    }
    if (!found) headers.emplace_back(name, value);
}

std::string HttpResponse::header(const std::string& name) const {
    for (const auto& [k, v] : headers)
        if (same_name(k, name)) return v;
    return {};
}

}  // namespace tav
