// Lock.asp / lock.asp: protects an item from change or frees it again. Who
// may do so is decided by the buttons of Data_read.asp.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class lock : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("id");
        Value k = Request.querystring("k");
        std::string message;
        if (k == "lock") {
            conn.execute("update Datas set lock='1' where id="_sql + id);
            message = "记录上锁成功！";
        } else {
            conn.execute("update Datas set lock='0' where id="_sql + id);
            message = "记录解锁成功！";
        }
        monitor("保护: Datas 的ID号：" + id + "记录……");
        Response.redirect("Pop_OK.asp?message=" + message + "&next_href=Data_read.asp?id=" + id.str());
        END_PAGE();
    }
};

TAVELOR_PAGE(lock, "Lock.asp", access::right("del"))

}  // namespace tav::pages
