// The account form that registration and both profile pages share: the same
// fields and client checks, with the differences of each use.
#pragma once

#include <functional>
#include <map>
#include <source_location>
#include <string>
#include <utility>

#include "frame/html.h"
#include "frame/value.h"

namespace tav {

class Page;
class Recordset;
class Sql;

struct AccountForm {
    enum class Use { Register, OwnProfile, AdminProfile };
    Use use = Use::Register;
    bool known = false;  // the values come from a stored account
    Value id{}, truename{}, username{}, departmentid{}, sex{}, idcard{}, telphone{}, mobile{}, email{},
        duty{}, address{}, spetech{}, zip{}, remark{}, record{}, start_meeting{};
};

// The script function check() of the form: the tests stop at the first fault.
void write_account_check(const AccountForm& form);
// The form form1 posting to NewRegisterDo.asp, with its table of fields; the
// departments come from the page's connection.
void write_account_form(Page& page, const AccountForm& form);
// The whole page of a profile form: the account form.id's stored values on
// the form, under a heading bar with the page's title.
void write_profile_page(Page& page, AccountForm& form, const std::string& heading);
// The account's values read from a row of user, each trimmed ("record" only
// as it stands on the administrator's form).
void read_account(AccountForm& form, class Recordset& rs);

// True when id (from a form or a query) names the session's own account,
// in any spelling the statements would read as that number ("01", " 1").
bool is_own_account(const Value& id);

// Registration is open to visitors while the setting regnewuser allows it
// (a missing row allows it, as on the login page); otherwise only a holder
// of the right to add accounts (1904) may use it. Ends the page for
// everyone else: the login page for visitors, the refusal for the rest.
void admit_registration(Page& page);

// The department's name for the lists, "已删除部门" when it is gone.
std::string department_name(Page& page, const Value& departmentid);

// An administrator's list of accounts, ten to a page, read by `list`: a row
// per account of its name, department, true name, sex and phone, then the
// two cells `last` makes under the headings last1 and last2.
struct AccountList {
    const char* url;
    const char* title;
    const char* last1;
    const char* last2;
    std::function<std::pair<Cell, Cell>(Recordset&)> last;
};
// Errors report the page's line that called it.
void write_account_list(Page& page, const AccountList& list, const Sql& statement,
                        std::source_location loc = std::source_location::current());

// department_name for the rows of one list: the same few departments recur
// on every row, so each is read once. A value that is no number is read
// every time, as department_name reads it.
class DepartmentNames {
public:
    explicit DepartmentNames(Page& page) : page_(page) {}
    std::string operator()(const Value& departmentid);

private:
    Page& page_;
    std::map<double, std::string> known_;
};

}  // namespace tav
