// Address_Del_True.asp: deletes the account's card of the posted id and
// reports success whether or not a row was there (another account's card
// is not there for it).
#include "frame/page.h"

namespace tav::pages {

class addressdeltrue : public Page {
public:
    void I_init() override {
        dbI_init();
        conn.execute("delete from Address where id="_sql + Request.Form("id") + " and User_id=" + Session("USER_ID"));
        conn.close();
        Response.redirect("Pop_OK.asp?message=删除成功！&next_href=Address_List.asp");
        END_PAGE();
    }
};

TAVELOR_PAGE(addressdeltrue, "Address_Del_True.asp", access::signed_in().with("own cards only"))

}  // namespace tav::pages
