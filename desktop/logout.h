// The regular logout page, and what the window-closing logout shares with it.
#pragma once

#include <string>

#include "frame/page.h"

namespace tav::pages {

class logout : public Page {
public:
    void I_init() override;

protected:
    // Marks the session's account offline (logging why) and ends the session.
    void sign_out(const std::string& why);
    // In a frame, close() asks the top window, as the desktop's frames did.
    void close_window();
};

}  // namespace tav::pages
