// close.asp: closes the browser window it is loaded into.
#include "frame/page.h"

namespace tav::pages {

class close : public Page {
public:
    void I_init() override {
        // The dialog stand-in and a frame's close() come with the compat script.
        Response.client_compat(kCompatDialogs);
        Response.lines(R"(<html>
<head>
<title></title>
<meta http-equiv="Content-Type" content="text/html; charset=gb2312">
</head>
<body>
<script language="javascript">
window.close();
</script>
</body>
</html>
 )");
    }
};

TAVELOR_PAGE(close, "close.asp", access::open())

}  // namespace tav::pages
