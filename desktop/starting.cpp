// The main frame's waiting page while the meeting frame starts NetMeeting.
#include "frame/page.h"

namespace tav::pages {

class starting : public Page {
public:
    void I_init() override {
        write_head({.style = false});
        Response.lines(R"(
</head>
<body bgcolor="#336699">
<br><br><br>
<center><font color="#FFFFFF" style="font-size: 32pt">系统正在启动，请等待……</font></center>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(starting, "starting.asp", access::signed_in())

}  // namespace tav::pages
