// closepop.asp: loaded into the hidden frame when the reminder popup closes;
// re-arms the popup for the next poll.
#include "frame/page.h"

namespace tav::pages {

class closepop : public Page {
public:
    void I_init() override {
        Session.set("Message_POP", "YES");
    }
};

TAVELOR_PAGE(closepop, "closepop.asp", access::open())

}  // namespace tav::pages
