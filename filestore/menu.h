// The right-click menu that the tree and the file list share: a hidden block
// that opens at the pointer, with rows that are links or script calls.
#pragma once

#include <string>
#include <vector>

namespace tav::filestore {

struct MenuRow {
    std::string caption;
    std::string action;  // ready attributes of the row's link (href, target or onclick), values escaped
    const char* idle;
    const char* hover;
    const char* out;
};

// The style classes skin0 / skin1 / menuitems.
void write_menu_styles();
// The block ie5menu with its rows.
void write_menu(const std::vector<MenuRow>& rows);
// The menu's script. show_test is the condition under which the menu opens
// ("" for always), on_show and on_hide run when it opens and closes.
void write_menu_script(const std::string& show_test, const std::string& on_show, const std::string& on_hide);

// The script of the three folder forms that reloads the tree after a change;
// the forms run in the file frame of the store, beside the tree.
void create_ok();

}  // namespace tav::filestore
