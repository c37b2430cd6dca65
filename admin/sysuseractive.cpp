// Sys_User_Active.asp: the accounts with the days their activity log is
// kept, each leading to its log.
#include "admin/account_form.h"
#include "frame/page.h"

namespace tav::pages {

class sysuseractive : public Page {
public:
    void I_init() override {
        dbI_init();
        write_account_list(*this,
                           {.url = "Sys_User_Active.asp",
                            .title = "系统管理 =>>查看用户当日活动记载",
                            .last1 = "保存天数",
                            .last2 = "最近活动记载",
                            .last = [](Recordset& rs) {
                                return std::pair{Cell(rs("record")),
                                                 Cell::markup("<a href=\"Sys_User_Active_List.asp?id=" +
                                                              html_text(rs("id")) +
                                                              "\"><img src=\"images/EDIT.GIF\" height=\"15\" "
                                                              "border=\"0\" alt=\"此用户的活动记载\"></a>")};
                            }},
                           "select * from User order by id DESC");
    }
};

TAVELOR_PAGE(sysuseractive, "Sys_User_Active.asp", access::right("1903"))

}  // namespace tav::pages
