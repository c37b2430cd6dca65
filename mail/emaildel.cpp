// Email_Del.asp: moves the ticked mails of a folder one step towards their
// end, and removes rows (and attachment files) once nobody holds them.
// One attachment string is shared by all copies of a sending, so a file
// may go only with the last of those copies.
#include "frame/files.h"
#include "frame/page.h"
#include "frame/sql.h"
#include "frame/vb.h"

namespace tav::pages {

class emaildel : public Page {
public:
    void I_init() override {
        dbI_init();
        std::string message = "邮件删除成功！";
        std::vector<std::string> tokens = Split(Trim(Request.querystring("dellist")), "*");
        Value type = Trim(Request.querystring("type"));
        long folder = folder_of(type);
        me_ = Session("USER_ID");
        for (const std::string& token : tokens) {
            // "kall" from the select-all box, and any other stray text, is skipped.
            if (!IsNumeric(token)) continue;
            Value id = token;
            // Each folder holds the account's own side of a mail only; a mail
            // of another account is not in it, and nothing happens to it.
            if (folder == 0 || folder == 1) {
                conn.execute("update Email set To_del=1 where id="_sql + id + " and to_user_id=" + me_);
            } else if (folder == 2) {
                conn.execute("update Email set To_del=2 where id="_sql + id + " and to_user_id=" + me_);
                message = "邮件被彻底删除！";
                del_email(id, "to_user_id");
            } else if (folder == 3) {
                conn.execute("update Email set Send_del=2 where id="_sql + id + " and send_user_id=" + me_);
                del_email(id, "send_user_id");
                message = "邮件被彻底删除！";
            }
        }
        Response.redirect("Pop_OK.asp?message=" + message + "&next_href=Email_list.asp?type=" + type.str());
        END_PAGE();
    }

    // The row goes when both sides removed it; with an attachment, only
    // together with every copy of the sending, once all of them stand there.
    // `side` is the column that makes the mail the account's own.
    void del_email(const Value& id, const char* side) {
        routine("del_email", [&] {
            Recordset r = conn.execute("select email_doc,to_del,send_del from email where id="_sql + id + " and " +
                                       sql_name(side) + "=" + me_);
            if (!(r("to_del") == 2 && r("send_del") == 2)) return;
            Value doc = r("email_doc");
            if (doc.str() == "0") {
                conn.execute("delete from email where id="_sql + id);
                return;
            }
            Recordset copies = conn.execute("select id,to_del,send_del from email where email_doc='"_sql + doc + "'");
            std::string list;
            bool blocked = false;
            while (!copies.eof()) {
                if (!(copies("to_del") == 2 && copies("send_del") == 2)) {
                    blocked = true;
                    break;
                }
                list += copies("id").str() + "*";
                copies.movenext();
            }
            if (blocked) return;
            del_email_file(list);
        });
    }

    // Rows first, files after them: the names are read from the first row
    // before any row goes.
    void del_email_file(const std::string& list) {
        routine("del_email_file", [&] {
            if (InStr(list, "*") == 0) return;
            std::vector<std::string> ids = Split(Left(list, Len(list) - 1), "*");
            FileSystemObject fso;
            Recordset first = conn.execute("select email_doc from email where id="_sql + Value(ids[0]));
            std::vector<std::string> files = Split(first("email_doc"), "*");
            for (const std::string& id : ids) conn.execute("delete from email where id="_sql + Value(id));
            for (const std::string& name : files) {
                // A stored name is a plain name inside Email; nothing else is ours to delete.
                if (name.empty() || name.find_first_of("/\\") != std::string::npos || name == "..") continue;
                std::string path = Server.MapPath(".\\") + "\\Email\\" + name;
                if (fso.FileExists(path)) fso.DeleteFile(path);
            }
        });
    }

private:
    Value me_;

    static long folder_of(const Value& type) {
        if (!IsNumeric(type)) return -1;
        double t = type.num();
        if (t != 0 && t != 1 && t != 2 && t != 3) return -1;
        return static_cast<long>(t);
    }
};

TAVELOR_PAGE(emaildel, "Email_Del.asp",
             access::signed_in().with("only the account's own side of each mail (recipient in folders 0-2, sender "
                                      "in 3)"))

}  // namespace tav::pages
