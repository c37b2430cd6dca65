/*
 * TavelorJS.js - form checks shared by the pages (login, account forms).
 * Plain ES5, no dependencies: the pages call these as globals.
 */

/* Text of a value as the form fields give it; null and undefined count as empty. */
function Tavelor_Text(value) {
  if (value === null || value === undefined) return "";
  return String(value);
}

/*
 * 1 when every character of value is found in allowed, else 0.
 * An empty value holds no illegal character and so gives 1: the login form
 * lets an empty password through on purpose.
 */
function Str1CharAllInStr2(value, allowed) {
  var s = Tavelor_Text(value);
  var set = Tavelor_Text(allowed);
  var i;
  for (i = 0; i < s.length; i++) {
    if (set.indexOf(s.charAt(i)) < 0) return 0;
  }
  return 1;
}

/*
 * true when value is a legal account name: letters a-z and A-Z, digits and
 * the underscore only. An empty value is not an account name and gives false;
 * the forms test for an empty field with their own message first.
 */
function IsAccount(value) {
  var s = Tavelor_Text(value);
  if (s.length === 0) return false;
  return Str1CharAllInStr2(s,
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_") === 1;
}

/*
 * true when value reads as a telephone or mobile number: digits with the
 * usual separators (blank, "-", parentheses, a leading "+") and at least one
 * digit. A trailing "*" or "-" stands for digits not yet known, as in the
 * stored defaults "13*" and an area code followed by "-".
 */
function IsPhoneNumber(value) {
  var s = Tavelor_Text(value);
  return /^\+?[0-9() -]*[0-9][0-9() -]*\**$/.test(s);
}

/*
 * true when value has the form name@host.domain: one "@", no blanks, a dot
 * inside the host part with text on both sides.
 */
function IsValidEmail(value) {
  var s = Tavelor_Text(value);
  return /^[^\s@]+@[^\s@.]+(\.[^\s@.]+)+$/.test(s);
}
