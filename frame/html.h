// Output escaping for the place a value lands in, the URL check for link
// targets, and the markup allowlist for text that may carry formatting.
//
// A value from the request or the database goes into a page only through
// one of these: text and quoted attributes through html_text, the unquoted
// attribute values of the old forms through html_unquoted, script string
// literals through js_string, link targets through safe_url first.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "frame/value.h"

namespace tav {

// Text between tags, or an attribute value inside double or single quotes:
// & < > " ' become character references.
std::string html_text(std::string_view s);
inline std::string html_text(const Value& v) { return html_text(std::string_view(v.str())); }
inline std::string html_text(const std::string& s) { return html_text(std::string_view(s)); }
inline std::string html_text(const char* s) { return html_text(std::string_view(s)); }

// An attribute value written without quotes: every character that could end
// the value or start markup (blanks, quotes, = < > ` &, controls) becomes a
// character reference, so the browser reads the whole value back unchanged.
std::string html_unquoted(std::string_view s);
inline std::string html_unquoted(const Value& v) { return html_unquoted(std::string_view(v.str())); }
inline std::string html_unquoted(const std::string& s) { return html_unquoted(std::string_view(s)); }
inline std::string html_unquoted(const char* s) { return html_unquoted(std::string_view(s)); }

// The inside of a JavaScript string literal ('...' or "...") in a script
// block or an event attribute: quotes, backslash, < > &, line ends and the
// other controls become \xHH / \uHHHH escapes, so the literal cannot end and
// "</script>" cannot appear.
std::string js_string(std::string_view s);
inline std::string js_string(const Value& v) { return js_string(std::string_view(v.str())); }
inline std::string js_string(const std::string& s) { return js_string(std::string_view(s)); }
inline std::string js_string(const char* s) { return js_string(std::string_view(s)); }

// True when a link target is harmless to follow: relative, or one of the
// schemes http, https, ftp, mailto. Blanks and controls that browsers skip
// are skipped here too, and the scheme compares without case, so
// " JaVa\tscript:" is refused like "javascript:".
bool safe_url(std::string_view url);
inline bool safe_url(const Value& v) { return safe_url(std::string_view(v.str())); }
inline bool safe_url(const std::string& s) { return safe_url(std::string_view(s)); }
inline bool safe_url(const char* s) { return safe_url(std::string_view(s)); }

// The formatting subset of HTML that the editor and the pages produce: kept
// tags and attributes are written back in a normal form (lower-case names,
// double-quoted escaped values); everything else (script, style, frames, on*
// attributes, unsafe URLs, comments) is dropped, stray < > & become text, and
// tags left open are closed at the end so the text cannot break the page.
// Link and source URLs that name one of the site's own pages (a path ending
// in ".asp", relative or on the request's host) are dropped too: a page may
// change rows when the reader's browser merely loads it. Linear in the input.
std::string allow_markup(std::string_view html);
// The same with the site's host name given (the Host header's value).
std::string allow_markup(std::string_view html, std::string_view own_host);
inline std::string allow_markup(const Value& v) { return allow_markup(std::string_view(v.str())); }
inline std::string allow_markup(const std::string& s) { return allow_markup(std::string_view(s)); }
inline std::string allow_markup(const char* s) { return allow_markup(std::string_view(s)); }

// A table row: "<tr" attrs ">", one <td> per cell, "</tr>". A cell given as
// a value is text and escaped; Cell::markup is ready markup the page built
// (with its values escaped already).
struct Cell {
    Cell(const Value& text) : html(html_text(text)) {}
    Cell(const char* text) : html(html_text(std::string_view(text))) {}
    static Cell markup(std::string ready) {
        Cell c("");
        c.html = std::move(ready);
        return c;
    }
    std::string html;
};
std::string table_row(std::string_view tr_attrs, std::initializer_list<Cell> cells);

}  // namespace tav
