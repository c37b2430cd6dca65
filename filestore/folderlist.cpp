// Folder_list.asp: the file store's frame set, the tree on the left and the
// current folder's files on the right.
#include "frame/page.h"

namespace tav::pages {

class folderlist : public Page {
public:
    void I_init() override {
        Response.line("<html>");
        Response.line("<head>");
        Response.line("<title>网络办公系统</title>");
        Response.line("<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">");
        Response.line("</head>");
        Response.line("<frameset cols=\"200,*\" frameborder=\"NO\" border=\"5\" framespacing=\"0\">");
        Response.line("  <frame name=\"folder\" src=\"folder.asp\" scrolling=\"suto\">");
        Response.line("  <frame name=\"files\" src=\"file.asp\" noresize>");
        Response.line("</frameset>");
        Response.line("<noframes><body></body></noframes>");
        Response.line("</html>");
        Response.write("");
    }
};

TAVELOR_PAGE(folderlist, "Folder_list.asp", access::signed_in())

}  // namespace tav::pages
