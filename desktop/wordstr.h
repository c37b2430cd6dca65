// The count of official documents that await the account, and the other
// counts the two polling pages share. A page holds the group as a member
// (WordStrGroup words{*this};); each routine runs on the page's connection
// with recordsets of its own and reports under the page's class.
#pragma once

#include "frame/page.h"
#include "frame/value.h"

namespace tav::pages {

class WordStrGroup {
public:
    explicit WordStrGroup(Page& page) : page_(page) {}

    // The review stage codes the account holds a right for, joined by bars.
    Value get_shs();
    // A sentence on the documents that await the account.
    Value get_word_str();

    // The counts both pages show. They are statements of the calling page's
    // body, not routines: a failure reports under the page's I_init.
    // The head of a polling frame up to its meta lines, reloading after the
    // seconds of the setting.
    void write_poll_head(const char* setting);
    // Unread mail; the count is left in num.
    Value count_new_mail();
    // Unseen replies to the account's own threads.
    Value count_replies();
    // Files whose chain the account signs first; the count is left in num.
    Value count_received_files();

    // The rights string as get_word_str last read it (message tests "1905"
    // in it).
    Value menu_idstr;
    // The page's counter: get_word_str leaves the document count here, and
    // leaves it alone when the account has no document rights.
    Value num;

private:
    Page& page_;
};

}  // namespace tav::pages
