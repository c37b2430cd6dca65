// Occupies the hidden frame "sound", where closepop and the like run.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class sysuserload : public Page {
public:
    void I_init() override {
        dbI_init();
        write_head({.style = false, .no_cache_days = 10});
        Response.lines(R"(
</head>
<body>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(sysuserload, "sys_user_load.asp", access::signed_in())

}  // namespace tav::pages
