// Data_ModifyDel.asp: a notice that changes start from an item's own page.
#include "frame/page.h"

namespace tav::pages {

class datamodifydel : public Page {
public:
    void I_init() override {
        write_head({.title = "网络办公系统"});
        Response.lines(R"(
</head>
<body>
<br><br><br><br><br>
<p align="center">请您先找到某项具体信息，然后通过页面的“删除”或“修改”按钮来完成。</p>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(datamodifydel, "Data_ModifyDel.asp", access::right("A8"))

}  // namespace tav::pages
