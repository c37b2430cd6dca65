// The page bar that every list page shares: p from the query, the count and
// the last page number, the skip to the page, the filler rows, and the bar
// (first, previous, the select P, next, last) in the form myform.
//
// A list page uses it in this order, all inside its I_init:
//
//     PageBar bar(*this, {.url = "Address_list.asp", .size = 10, .limit = 10,
//                         .row_height = 26, .carry = {}});
//     bar.read_p();
//     bar.count("select count(id) as num from Address where User_id=" + uid);
//     rs = conn.execute("select * from Address where User_id=" + uid + " order by id DESC");
//     bar.skip(rs);
//     long n = 1;
//     while (bar.within(n) && !rs.eof()) { ...row n, number n + bar.offset()...; rs.movenext(); ++n; }
//     bar.fill_rows(n, 7);
//     Response.line("</table>");
//     bar.write_bar("<input type=\"button\" ...>");
//
// Failures are not caught here: they take the page's own handler, so the
// report names the page and the line of the call in the page.
#pragma once

#include <source_location>
#include <string>
#include <utility>
#include <vector>

#include "frame/sql.h"
#include "frame/value.h"

namespace tav {

class Page;
class Recordset;

class PageBar {
public:
    using Params = std::vector<std::pair<std::string, Value>>;

    struct Options {
        std::string url = {};     // list URL: the links and the form's action
        long size = 10;           // rows a page: the skip and Int(num / size)
        long limit = 10;          // table rows written per page (datalist: 11)
        int row_height = 26;      // height of the filler rows
        Params carry = {};        // passed on in every link ("&name=value" behind p)
        // Hidden fields of the form; when not given, the carried parameters.
        bool own_hidden = false;
        Params hidden = {};
    };

    PageBar(Page& page, Options options);

    // p from the query: absent counts as 0, below 0 becomes 0; a p that is no
    // number fails in the comparison.
    long long read_p(std::source_location loc = std::source_location::current());
    // Runs the count statement (field num) and sets last = Int(num / size).
    long long count(const Sql& sql, std::source_location loc = std::source_location::current());
    // Moves the list's recordset to the page: Move(p * size) unless empty.
    void skip(Recordset& rs, std::source_location loc = std::source_location::current());

    // True while row n (counted from 1) is within the row limit.
    bool within(long n) const { return n <= opt_.limit; }
    // What the page adds to its row counter for the running number.
    long long offset() const { return p_ * opt_.size; }
    // Filler rows from row n up to the row limit, each of `cells` cells
    // holding an ideographic space.
    void fill_rows(long n, int cells, std::source_location loc = std::source_location::current());

    // The whole footer: open_bar, write_nav, close_bar, then the script.
    void write_bar(const std::string& own_buttons = "",
                   std::source_location loc = std::source_location::current());
    // The pieces, for pages that put more into the form behind the bar
    // (mediumlist: a search box after it).
    void open_bar(const std::string& own_buttons = "",
                  std::source_location loc = std::source_location::current());
    void write_nav(std::source_location loc = std::source_location::current());
    void close_bar(const std::string& after = "",
                   std::source_location loc = std::source_location::current());
    void write_script(std::source_location loc = std::source_location::current());

    long long p() const { return p_; }
    long long last() const { return last_; }
    // "Url?p=n" and the carried parameters.
    std::string link(long long page) const;
    // The ideographic space that blank cells hold.
    static constexpr const char* kBlank = "\xE3\x80\x80";

private:
    Page& page_;
    Options opt_;
    long long p_ = 0;
    long long last_ = 0;
};

}  // namespace tav
