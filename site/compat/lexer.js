// The VBScript lexer: source text to tokens (names keep their case and a lower-case copy).

function isDigit(c) { return c >= '0' && c <= '9'; }
function isIdStart(c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c > '\u007f' && /[^\s\u3000]/.test(c); }
function isIdChar(c) { return isIdStart(c) || isDigit(c) || c === '_'; }

function lex(src, errors) {
  var toks = [];
  var i = 0, line = 1, n = src.length;
  function push(t, v, extra) {
    var tok = { t: t, v: v, line: line };
    if (t === 'id') tok.lv = v.toLowerCase();
    if (extra) for (var k in extra) tok[k] = extra[k];
    toks.push(tok);
  }
  function atLineStart() {
    var last = toks[toks.length - 1];
    return !last || last.t === 'nl';
  }
  function skipToEol() { while (i < n && src[i] !== '\n' && src[i] !== '\r') i++; }
  while (i < n) {
    var c = src[i];
    if (c === '\r' || c === '\n') {
      if (c === '\r' && src[i + 1] === '\n') i++;
      i++;
      push('nl', '\n', { colon: false });
      line++;
      continue;
    }
    if (c === ' ' || c === '\t' || c === '\f' || c === '\v' || c === '\u00a0' || c === '\u3000' || c === '\ufeff') { i++; continue; }
    if (c === "'") { skipToEol(); continue; }
    // ";" is no VBScript, but pages written by JavaScript hands end lines with it
    if (c === ':' || c === ';') { push('nl', ':', { colon: true }); i++; continue; }
    if (c === '_') {
      // line continuation: "_" with only blanks up to the line end
      var j = i + 1;
      while (j < n && (src[j] === ' ' || src[j] === '\t')) j++;
      if (j >= n || src[j] === '\n' || src[j] === '\r') {
        if (src[j] === '\r' && src[j + 1] === '\n') j++;
        i = j + 1;
        line++;
        continue;
      }
    }
    if (atLineStart() && (src.startsWith('<!--', i) || src.startsWith('-->', i) || src.startsWith('//-->', i))) {
      skipToEol();
      continue;
    }
    if (c === '"') {
      var s = '', closed = false;
      i++;
      while (i < n) {
        if (src[i] === '"') {
          if (src[i + 1] === '"') { s += '"'; i += 2; continue; }
          i++;
          closed = true;
          break;
        }
        if (src[i] === '\n' || src[i] === '\r') break;
        s += src[i++];
      }
      if (!closed) errors.push({ line: line, msg: 'unterminated string' });
      push('str', s);
      continue;
    }
    if (isDigit(c) || (c === '.' && isDigit(src[i + 1] || ''))) {
      var m = /^(\d*\.?\d+(?:[eE][+-]?\d+)?|\d+\.)[#!@%&]?/.exec(src.slice(i, i + 64));
      push('num', Number(m[1]));
      i += m[0].length;
      continue;
    }
    if (c === '&' && /[hHoO]/.test(src[i + 1] || '')) {
      var hm = /^&([hH])([0-9a-fA-F]+)&?|^&([oO])([0-7]+)&?/.exec(src.slice(i, i + 40));
      if (hm) {
        push('num', hm[1] ? parseInt(hm[2], 16) : parseInt(hm[4], 8));
        i += hm[0].length;
        continue;
      }
    }
    if (isIdStart(c)) {
      var st = i;
      while (i < n && isIdChar(src[i])) i++;
      var word = src.slice(st, i);
      if (word.toLowerCase() === 'rem' && atLineStart()) { skipToEol(); continue; }
      push('id', word);
      continue;
    }
    if (c === '[') {
      var e = src.indexOf(']', i);
      if (e > i) { push('id', src.slice(i + 1, e)); i = e + 1; continue; }
    }
    if (c === '#') {
      var d = /^#([^#\r\n]+)#/.exec(src.slice(i, i + 64));
      if (d) { push('date', d[1]); i += d[0].length; continue; }
    }
    var two = src.substr(i, 2);
    if (two === '<>' || two === '<=' || two === '>=') { push('op', two); i += 2; continue; }
    if (two === '=<') { push('op', '<='); i += 2; continue; }
    if (two === '=>') { push('op', '>='); i += 2; continue; }
    if ('=<>+-*/\\^&(),.'.indexOf(c) >= 0) { push('op', c); i++; continue; }
    push('bad', c);
    i++;
  }
  push('nl', '\n', { colon: false });
  push('eof', '');
  return toks;
}

