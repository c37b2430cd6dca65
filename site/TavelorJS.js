/*
 * TavelorJS.js - form checks shared by the pages (login, account and contact forms).
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
 * true when value reads as one mail address: a local part of letters, digits
 * and . _ % + - (no dot at either end, no two dots together), one "@", and a
 * domain of at least two labels of letters, digits and inner hyphens, the last
 * of two letters or more. Blanks around the value are not forgiven: the form
 * stores what it posts. Empty gives false; the forms test for empty first.
 */
function IsValidEmail(value) {
  var s = Tavelor_Text(value);
  if (s.length === 0 || s.length > 254) return false;
  var at = s.indexOf("@");
  if (at < 1 || at !== s.lastIndexOf("@")) return false;
  var local = s.substring(0, at);
  var domain = s.substring(at + 1);
  if (local.length > 64 || !/^[A-Za-z0-9._%+\-]+$/.test(local)) return false;
  if (local.charAt(0) === "." || local.charAt(local.length - 1) === "." || local.indexOf("..") >= 0) return false;
  var labels = domain.split(".");
  if (labels.length < 2) return false;
  var i;
  for (i = 0; i < labels.length; i++) {
    if (!/^[A-Za-z0-9]([A-Za-z0-9\-]{0,61}[A-Za-z0-9])?$/.test(labels[i])) return false;
  }
  return /^[A-Za-z]{2,}$/.test(labels[labels.length - 1]);
}

/*
 * true when value reads as a telephone number: digits with the usual
 * separators, a blank or "-" between groups (never two together, never at
 * either end), an optional leading "+" for a country code, and at most one
 * area code in parentheses at the start, as in "(0571)88886666",
 * "0571-8888 6666-123", "+86 139 0000 0000" or "13900000000". It holds 5 to
 * 20 digits: shorter numbers are service numbers, not contacts. Empty gives
 * false. A prefix followed by "*" or "-" (the account forms' defaults "13*"
 * and "0571-") also passes.
 */
function IsPhoneNumber(value) {
  var s = Tavelor_Text(value);
  // The account forms store "13*" and an area code with "-" until the rest is known.
  if (/^\d{2,6}(\*+|-)$/.test(s)) return true;
  if (!/^\+?(\(\d+\)[ \-]?)?\d+([ \-]\d+)*$/.test(s)) return false;
  var digits = s.replace(/\D/g, "").length;
  return digits >= 5 && digits <= 20;
}
