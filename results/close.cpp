// close.asp: closes the browser window it is loaded into.
#include "frame/page.h"

namespace tav::pages {

class close : public Page {
public:
    void I_init() override {
        Response.client_compat(kCompatScript);
        Response.block(
            "<html>\r\n"
            "<head>\r\n"
            "<title></title>\r\n"
            "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
            "</head>\r\n"
            "<body>\r\n"
            "<script language=\"VBScript\">\r\n"
            "window.close()\r\n"
            "</script>\r\n"
            "</body>\r\n"
            "</html>");
        Response.write("");
    }
};

TAVELOR_PAGE(close, "close.asp", access::open())

}  // namespace tav::pages
