// The hidden frame "message": counts what awaits the account at each reload
// and raises the reminder popup when the gate in the session is open.
#include "desktop/wordstr.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class message : public Page {
public:

    void I_init() override {
        dbI_init();

        words.write_poll_head("work_time");

        std::string mstr = "<center>欢迎您使用本系统！</center><hr>";
        int pop = 0;

        words.count_new_mail();
        if (words.num > 0) {
            mstr = mstr + "有 " + words.num + " 封新邮件正等待您阅读！<br>";
            pop = 1;
        }

        // Replies to the account's own threads that it has not seen yet.
        Value replies = words.count_replies();
        if (replies > 0) {
            mstr = mstr + "留言板有 " + replies + " 条新的回复信息！<br>";
            pop = 1;
        }

        // Received files: the account is the first signer of the chain.
        words.count_received_files();
        if (words.num > 0) {
            mstr = mstr + "有 " + words.num + " 个文书等待您签阅！<br>";
            pop = 1;
        }

        // The counter still holds the files count when get_word_str does not
        // touch it.
        Value word_str = words.get_word_str();
        if (words.num > 0) {
            mstr = mstr + word_str + "<br>";
            pop = 1;
        }

        words.num = 0;
        if (InStr(words.menu_idstr, "1905") > 0) {
            rs = conn.execute("select count(id) as num from user where password_lose<>0");
            words.num = rs("num");
            if (words.num > 0) {
                mstr = mstr + "有 " + words.num + " 个员工的密码忘记了，请处理！<br>";
                pop = 1;
            }
        }

        rs = setting("work_pop");
        if (rs("Hardserial") != "1") pop = 0;

        rs.close();
        conn.close();

        Response.lines("</head>\n<body>\n");
        if (pop == 1 && Session("Message_POP") == "YES") {
            // The dialog stand-in: this frame is hidden, the top window shows it.
            Response.client_compat(kCompatDialogs);
            // mstr is the page's own text of literals and numbers.
            Response.lines(R"(<script language="javascript">
window.onload = function () {
  showModalDialog("message_pop.asp?mstr=)" + mstr + R"(", "", "dialogWidth:25em;dialogHeight:11em; status:0");
};
</script>
)");
        }
        Response.lines("</body>\n</html>\n");
    }

private:
    WordStrGroup words{*this};
};

TAVELOR_PAGE(message, "message.asp", access::signed_in())

}  // namespace tav::pages
