#include "frame/resultbox.h"

namespace tav {

std::string result_box_head(const std::string& form_open) {
    return "<html>\r\n"
           "<head>\r\n"
           "<title>系统提示</title>\r\n"
           "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
           "<link href=\"style.css\" rel=\"stylesheet\" type=\"text/css\">\r\n"
           "</head>\r\n"
           "<body>\r\n" +
           form_open +
           "<table width=\"100%\" height=\"100%\" border=\"0\" cellspacing=\"0\" cellpadding=\"0\">\r\n"
           "<tr><td align=\"center\" valign=\"middle\">\r\n"
           "<table width=\"308\" border=\"0\" cellspacing=\"1\" cellpadding=\"0\" bgcolor=\"#336699\">\r\n"
           "<tr><td height=\"24\" align=\"center\"><font color=\"#FFFFFF\">Tavelor 系统提示</font></td></tr>\r\n"
           "<tr><td bgcolor=\"#F5F5F5\" align=\"center\" height=\"100\">";
}

}  // namespace tav
