// Logout for a desktop window that is being closed: never redirects.
#include "desktop/logout.h"

namespace tav::pages {

class logoutclose : public logout {
public:
    void I_init() override {
        dbI_init();
        sign_out("非正常退出本系统");
        close_window();
    }
};

TAVELOR_PAGE(logoutclose, "logout_close.asp", access::open())

}  // namespace tav::pages
