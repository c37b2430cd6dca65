#include "desktop/headline.h"

#include "frame/vb.h"

namespace tav {

std::string login_headline(const Value& dw_name) {
    long n = Len(dw_name);
    std::string name = dw_name.str();
    if (n < 5) return name + "自动化网络办公系统";
    if (n < 7) return name + "网络办公系统";
    if (n < 10) return name + "办公系统";
    if (n < 12) return name + "系统";
    return name;
}

}  // namespace tav
