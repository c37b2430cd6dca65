// Address_EditDo.asp: stores a new card for the session's account, or
// changes its card of the posted id. Empty fields get fill-in values so that
// a card never shows an empty cell.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

namespace {
// The organisation's area dialling code: the fill-in for an empty telephone.
constexpr const char* kAreaCode = "0571";
}  // namespace

class addresseditdo : public Page {
public:
    void I_init() override {
        dbI_init();
        Value name = Trim(Request.Form("Name"));
        Value work = Trim(Request.Form("Work"));
        Value phone = Trim(Request.Form("Telphone"));
        Value mobile = Trim(Request.Form("Mobile"));
        Value sex = Trim(Request.Form("Sex"));
        Value mail = Trim(Request.Form("Email"));
        if (work.blank()) work = "待业";
        if (phone.blank()) phone = std::string(kAreaCode) + "*";
        if (mobile.blank()) mobile = "13*";
        if (mail.blank()) mail = " ";

        std::string message;
        if (Request.Form("Append") == "Yes") {
            message = "新名片添加成功!";
            conn.execute("insert into Address(User_id,Name,Work,Telphone,Mobile,Sex,Email) values "_sql + "(" +
                         Session("USER_ID") + ",'" + name + "','" + work + "','" + phone + "','" + mobile + "','" +
                         sex + "','" + mail + "')");
        } else {
            message = "名片修改成功！";
            // Only the account's own card: another id changes nothing.
            conn.execute("update Address set Name='"_sql + name + "',Work='" + work + "',Telphone='" + phone + "'" +
                         ",Mobile='" + mobile + "',Sex='" + sex + "',Email='" + mail + "' where id=" +
                         Request.Form("id") + " and User_id=" + Session("USER_ID"));
        }
        conn.close();
        Response.redirect("Pop_OK.asp?message=" + message + "&next_href=Address_list.asp");
        END_PAGE();
    }
};

TAVELOR_PAGE(addresseditdo, "Address_EditDo.asp", access::signed_in().with("own cards only"))

}  // namespace tav::pages
