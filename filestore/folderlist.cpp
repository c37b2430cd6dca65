// Folder_list.asp: the file store's frame set, the tree on the left and the
// current folder's files on the right.
#include "frame/page.h"

namespace tav::pages {

class folderlist : public Page {
public:
    void I_init() override {
        Response.lines(R"(
<html>
<head>
<title>网络办公系统</title>
<meta http-equiv="Content-Type" content="text/html; charset=gb2312">
</head>
<frameset cols="200,*" frameborder="NO" border="5" framespacing="0">
  <frame name="folder" src="folder.asp" scrolling="suto">
  <frame name="files" src="file.asp" noresize>
</frameset>
<noframes><body></body></noframes>
</html>
)");
    }
};

TAVELOR_PAGE(folderlist, "Folder_list.asp", access::signed_in())

}  // namespace tav::pages
