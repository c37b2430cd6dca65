// Occupies the hidden frame "sound", where closepop and the like run.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class sysuserload : public Page {
public:
    void I_init() override {
        dbI_init();
        Response.line("<html>");
        Response.line("<head>");
        Response.line("<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">");
        Response.line("<meta http-equiv=\"pragma\" content=\"no-cache\">");
        Response.line("<meta http-equiv=\"expires\" content=\"" + NowText(-10) + "\">");
        Response.line("</head>");
        Response.line("<body>");
        Response.line("</body>");
        Response.line("</html>");
        Response.write("");
    }
};

TAVELOR_PAGE(sysuserload, "sys_user_load.asp")

}  // namespace tav::pages
