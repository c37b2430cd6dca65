// What the data centre's pages share: the test that tells a category from
// the fixed rows of a main menu, the stored form of a category's menu row,
// and the pieces of the name form that the three maintenance pages repeat.
#pragma once

#include <string>

#include "frame/store.h"
#include "frame/value.h"

namespace tav::datacentre {

// A category row: neither the entry row (xx01) nor the fixed A-rows, and a
// name that is more than blanks.
bool is_category(const Value& menu_id, const Value& user_text);

// The menu_text of a category: one entry of the folder field, with backquotes
// where the navigation frame puts apostrophes.
std::string category_entry(const Value& menu_id, const Value& name);

// A value joined into a URL's query: the ASCII characters that would end the
// value or the URL are percent-escaped; other characters stay, so the
// browser sends them in the page's code page as it does for typed links.
std::string url_part(const std::string& s);

// True when a stored or posted name can be a single folder or file name
// below Datas: no separators, no parent step, no drive, no controls.
bool plain_name(const std::string& s);

// True when s is a code of digits only, as category and main menu codes
// are: such a code cannot widen a rights test ('|') or name a folder
// outside Datas.
bool digit_code(const std::string& s);

// True when s is a category's code: a main menu's two digits and two more.
// A shorter code would pass the rights test as a part of a longer one.
inline bool category_code(const std::string& s) { return s.size() == 4 && digit_code(s); }

// True when a name may go into a row of `menu`: the navigation frame prints
// those rows as part of its markup, so a name holds no quote of any kind
// (the stored backquote and typographic quotes stand for quotes there), no
// angle bracket, backslash or control character.
bool menu_name_ok(const std::string& name);

// The prompt that refuses such a name.
inline constexpr const char* kBadMenuName =
    "名称中不能含有引号、反引号、尖括号、反斜杠或控制字符，请更名：";

// True when the signed-in account may change or delete the item in `item`
// (a row of Datas): its author or a holder of "del", and only while the
// item is not locked, as the buttons of Data_read.asp offer it.
bool may_change(Connection& conn, Recordset& item);

// The script routines go_append and go_modify of a name form. `field` is
// the text box, `alert` the refusal of an empty box, `trimmed` whether the
// box is tested trimmed.
std::string name_form_script(const char* field, const char* alert, bool trimmed);

// The button of a name form: "确定" for a first view or an insert, else
// "修改".
std::string name_form_button(const Value& id);

}  // namespace tav::datacentre
