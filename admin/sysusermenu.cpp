// Sys_User_Menu.asp: the accounts by name, each with the way to its rights.
#include "admin/account_form.h"
#include "frame/page.h"

namespace tav::pages {

class sysusermenu : public Page {
public:
    void I_init() override {
        dbI_init();
        write_account_list(*this,
                           {.url = "Sys_User_Menu.asp",
                            .title = "系统管理 =>>用户权限管理",
                            .last1 = "电子信箱",
                            .last2 = "权限管理",
                            .last = [](Recordset& rs) {
                                return std::pair{Cell::markup("<a href=\"mailto:" + html_text(rs("Email")) + "\">" +
                                                              html_text(rs("Email")) + "</a>"),
                                                 Cell::markup("<a href=\"Sys_User_Menu_Modify.asp?id=" +
                                                              html_text(rs("id")) +
                                                              "\"><img src=\"images/EDIT.GIF\" height=\"15\" "
                                                              "border=\"0\" alt=\"修改此用户的权限\"></a>")};
                            }},
                           "select * from User order by username ");
    }
};

TAVELOR_PAGE(sysusermenu, "Sys_User_Menu.asp", access::right("1902"))

}  // namespace tav::pages
