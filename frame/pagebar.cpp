#include "frame/pagebar.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "frame/page.h"
#include "frame/store.h"
#include "frame/vb.h"

namespace tav {

PageBar::PageBar(Page& page, Options options) : page_(page), opt_(std::move(options)) {}

long long PageBar::read_p(std::source_location loc) {
    Value p = Request.querystring("p", loc);
    if (p < Value(0)) p = 0;  // numeric comparison: a p that is no number fails here
    p_ = p.lng();
    return p_;
}

long long PageBar::count(const Sql& sql, std::source_location loc) {
    // The same count while the data is the same: a long list's readers
    // and pages do not count its rows again.
    Recordset counted = page_.conn.execute_remembered(sql, loc);
    Value num = counted("num", loc);
    // The integer part, not a rounding up: 10 rows give a second, empty page.
    last_ = static_cast<long long>(Int(num.num() / static_cast<double>(opt_.size)));
    return last_;
}

Recordset PageBar::fetch(const Sql& list_sql, std::source_location loc) {
    long long offset = p_ > std::numeric_limits<long long>::max() / opt_.size ? std::numeric_limits<long long>::max()
                                                                              : p_ * opt_.size;
    // A screen is `limit` table rows, but a page may put several rows of
    // the list into one (the media list: two), up to `size` of them.
    long rows = std::max(opt_.limit, opt_.size);
    return page_.conn.execute_window(list_sql, static_cast<std::size_t>(rows), offset, loc);
}

void PageBar::skip(Recordset& rs, std::source_location loc) {
    // Move fails on an empty result; past the end it stops there quietly.
    if (!rs.eof(loc)) rs.Move(p_ * opt_.size, loc);
}

void PageBar::fill_rows(long n, int cells, std::source_location loc) {
    for (; n <= opt_.limit; ++n) {
        Response.write("<tr height=\"" + std::to_string(opt_.row_height) + "\">", loc);
        for (int c = 0; c < cells; ++c) Response.write(std::string("<td>") + kBlank + "</td>", loc);
        Response.line("</tr>", loc);
    }
}

std::string PageBar::link(long long page) const {
    std::string out = opt_.url + "?p=" + std::to_string(page);
    for (const auto& [name, value] : opt_.carry) out += "&" + name + "=" + value;
    return out;
}

void PageBar::write_bar(const std::string& own_buttons, std::source_location loc) {
    open_bar(own_buttons, loc);
    write_nav(loc);
    close_bar("", loc);
    write_script(loc);
}

void PageBar::open_bar(const std::string& own_buttons, std::source_location loc) {
    Response.line("<table width=\"100%\" height=\"40\" border=\"0\" cellpadding=\"0\" cellspacing=\"0\" "
                  "bgcolor=\"#E0E0E0\">",
                  loc);
    Response.line("<tr><td align=\"center\">", loc);
    Response.line("<form action=\"" + opt_.url + "\" method=\"get\" name=\"myform\">", loc);
    if (!own_buttons.empty()) Response.line(own_buttons, loc);
}

void PageBar::write_nav(std::source_location loc) {
    auto image = [](const char* file, const char* attr, const char* text) {
        return std::string("<img src=\"images/") + file +
               "\" width=\"25\" height=\"25\" align=\"absBottom\" border=\"0\" " + attr + "=\"" + text +
               "\">";
    };
    // first and previous
    if (p_ > 0) Response.write("<a href=\"" + link(0) + "\">", loc);
    Response.write(image("first.gif", "alt", "到第一页"), loc);
    Response.line("</a>", loc);
    if (p_ > 0) Response.write("<a href=\"" + link(p_ - 1) + "\">", loc);
    Response.write(image("prev.gif", "title", "到上页"), loc);
    Response.line("</a>", loc);

    // the selection box; its form field P comes back as p
    Response.write(" 第<select name=\"P\" style=\"font-size:9pt\" Onchange=\"change_sort()\">", loc);
    // One option a page: a long list has thousands, so they are made in
    // one piece rather than a write each.
    std::string options;
    options.reserve(static_cast<std::size_t>(last_ + 1) * 40);
    char digits[24];
    auto number = [&](long long n) {
        auto end = std::to_chars(digits, digits + sizeof digits, n).ptr;
        options.append(digits, static_cast<std::size_t>(end - digits));
    };
    // Above 200 pages the box lists the first 10, the 100 around the
    // current page and the last 10: a million rows would otherwise send
    // a hundred thousand options to show ten rows.
    const long long pages = last_ + 1;
    const bool windowed = pages > 200;
    const long long near_from = p_ - 50, near_to = p_ + 49;
    for (long long i = 0; i <= last_; ++i) {
        if (windowed && i >= 10 && i < near_from) i = std::min(near_from, last_ - 9);
        if (windowed && i > near_to && i < last_ - 9) i = last_ - 9;
        options += "<option value=\"";
        number(i);
        options += i == p_ ? "\" selected>" : "\">";
        number(i + 1);
        options += "</option>";
    }
    Response.write(options, loc);
    Response.line("</select>页/共" + std::to_string(last_ + 1) + "页", loc);

    // next and last
    if (last_ - p_ > 0) Response.write("<a href=\"" + link(p_ + 1) + "\">", loc);
    Response.write(image("next.gif", "title", "到下页"), loc);
    Response.line("</a>", loc);
    if (last_ - p_ > 0) Response.write("<a href=\"" + link(last_) + "\">", loc);
    Response.write(image("last.gif", "title", "到最后页"), loc);
    Response.line("</a>", loc);
}

void PageBar::close_bar(const std::string& after, std::source_location loc) {
    if (!after.empty()) Response.line(after, loc);
    const Params& hidden = opt_.own_hidden ? opt_.hidden : opt_.carry;
    for (const auto& [name, value] : hidden)
        Response.line("<input type=\"hidden\" name=\"" + name + "\" value=\"" + value + "\">", loc);
    Response.line("</form>", loc);
    Response.line("</td></tr>", loc);
    Response.line("</table>", loc);
}

void PageBar::write_script(std::source_location loc) {
    Response.line("<script language=\"javascript\">", loc);
    Response.line("function change_sort(){", loc);
    Response.line("  document.myform.submit();", loc);
    Response.line("}", loc);
    Response.line("</script>", loc);
}

}  // namespace tav
