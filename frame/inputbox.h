// The rich text editor's toolbar, shared by the pages that take formatted
// text. The pages add the edit frame, the hidden field and the start script
// themselves; edit.js drives the buttons written here.
#pragma once

#include <string_view>

namespace tav {

class Page;

class InputBox {
public:
    explicit InputBox(Page& page) : page_(page) {}

    // Writes the toolbar table at the current place of the answer.
    void inputboxI_init();

    // The editor's start routine, bound the IE way (a function named
    // document.onreadystatechange): marks the toolbars and writes the
    // page's note_body into the edit frame in `font`. The host page writes
    // it inside its text/x-jscript block, after defining note_body.
    void write_ready_routine(std::string_view font);

private:
    Page& page_;
};

}  // namespace tav
