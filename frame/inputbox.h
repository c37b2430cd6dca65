// The rich text editor's toolbar, shared by the pages that take formatted
// text. The pages add the edit frame, the hidden field and the start script
// themselves; edit.js drives the buttons written here.
#pragma once

namespace tav {

class Page;

class InputBox {
public:
    explicit InputBox(Page& page) : page_(page) {}

    // Writes the toolbar table at the current place of the answer.
    void inputboxI_init();

private:
    Page& page_;
};

}  // namespace tav
