// The runtime the translated code calls: VBScript's loose values and operators, arrays,
// names and members without case, and the built-in functions.

function vbError(number, msg) {
  var e = new Error(msg);
  e.vbNumber = number;
  return e;
}

function isWindowLike(o) { try { return !!o && o.window === o; } catch (e) { return false; } }
function isDocumentLike(o) { return !!o && o.nodeType === 9; }
function isFormLike(o) { return !!o && o.nodeType === 1 && String(o.tagName).toUpperCase() === 'FORM'; }
function isCtor(k, v) { return typeof v === 'function' && /^[A-Z]/.test(k); }

var protoKeyCache = typeof WeakMap === 'function' ? new WeakMap() : null;
function protoKeys(proto) {
  var m = protoKeyCache && protoKeyCache.get(proto);
  if (m) return m;
  m = new Map();
  Object.getOwnPropertyNames(proto).forEach(function (k) {
    var l = k.toLowerCase();
    if (!m.has(l)) m.set(l, []);
    m.get(l).push(k);
  });
  if (protoKeyCache) protoKeyCache.set(proto, m);
  return m;
}
function pickKey(o, keys) {
  if (!keys || !keys.length) return undefined;
  if (keys.length === 1) return keys[0];
  for (var i = 0; i < keys.length; i++) {
    var v;
    try { v = o[keys[i]]; } catch (e) { continue; }
    if (!isCtor(keys[i], v)) return keys[i];
  }
  return keys[0];
}
// The key of `o` named `name` without regard to case, or undefined.
function propKey(o, lower) {
  var own = [];
  var names;
  try { names = Object.getOwnPropertyNames(o); } catch (e) { names = []; }
  for (var i = 0; i < names.length; i++) if (names[i].toLowerCase() === lower) own.push(names[i]);
  if (own.length) return pickKey(o, own);
  var p;
  try { p = Object.getPrototypeOf(o); } catch (e) { p = null; }
  while (p) {
    var k = pickKey(o, protoKeys(p).get(lower));
    if (k !== undefined) return k;
    p = Object.getPrototypeOf(p);
  }
  return undefined;
}
function namedIn(list, lower, o) {
  if (!list) return undefined;
  for (var i = 0; i < list.length; i++) {
    var el = list[i];
    if (!el || !el.getAttribute) continue;
    var ids = [el.getAttribute('name'), el.getAttribute('id')];
    for (var j = 0; j < 2; j++) {
      var v = ids[j];
      if (v && v.toLowerCase() === lower && (v in o)) return v;
    }
  }
  return undefined;
}
function findKey(obj, name) {
  if (obj === null || obj === undefined) return undefined;
  var o = Object(obj);
  var lower = name.toLowerCase();
  var win = isWindowLike(o);
  if (win && IE_GLOBALS[lower]) return IE_GLOBALS[lower] in o ? IE_GLOBALS[lower] : undefined;
  if (name in o) return name;
  var k;
  if (win) {
    try {
      for (var i = 0; i < o.frames.length; i++) {
        var fn = o.frames[i].name;
        if (fn && fn.toLowerCase() === lower && (fn in o)) return fn;
      }
    } catch (e) { /* a frame of another origin */ }
    try { k = namedIn(o.document.querySelectorAll('[name],[id]'), lower, o); } catch (e) { k = undefined; }
  } else if (isDocumentLike(o)) {
    try { k = namedIn(o.querySelectorAll('[name],[id]'), lower, o); } catch (e) { k = undefined; }
  } else if (isFormLike(o)) {
    k = namedIn(o.elements, lower, o);
  }
  if (k !== undefined) return k;
  return propKey(o, lower);
}

function pad2(n) { return (n < 10 ? '0' : '') + n; }
function fmtDate(d) {
  var ds = d.getFullYear() + '-' + (d.getMonth() + 1) + '-' + d.getDate();
  var ts = d.getHours() + ':' + pad2(d.getMinutes()) + ':' + pad2(d.getSeconds());
  if (d._vb === 'd') return ds;
  if (d._vb === 't') return ts;
  return ds + ' ' + ts;
}
function vbDate(d, kind) { d._vb = kind; return d; }

function createRuntime(win) {
  win = win || root;
  var R = {};
  R.win = win;
  R.procs = new Map();  // lower -> {name, fn, async, params}
  R.vars = new Map();   // lower -> global name
  R.blocks = 0;

  R.reg = function (name, fn, isAsync, params) {
    R.procs.set(name.toLowerCase(), { name: name, fn: fn, async: !!isAsync, params: params || 0 });
  };
  R.regVar = function (lower, js) { R.vars.set(lower, js || lower); };
  R.known = function () {
    var procs = {}, vars = {};
    R.procs.forEach(function (p, l) { procs[l] = { name: p.name, async: p.async }; });
    R.vars.forEach(function (n, l) { vars[l] = n; });
    return { procs: procs, vars: vars };
  };
  R.bad = function (line, msg) {
    throw vbError(1002, 'VBScript line ' + line + ': ' + msg);
  };
  R.report = function (e) {
    var c = win.console || (typeof console !== 'undefined' ? console : null);
    if (c) c.error('tavcompat:', e);
  };

  // ---- values
  function num(x) {
    if (typeof x === 'number') return x;
    if (x === undefined || x === null || x === '') {
      if (x === '') throw vbError(13, 'Type mismatch: ""');
      return 0;
    }
    if (typeof x === 'boolean') return x ? -1 : 0;
    if (x instanceof Date) return x.getTime();
    var s = String(x).trim();
    var h = /^&h([0-9a-f]+)$/i.exec(s);
    if (h) return parseInt(h[1], 16);
    var v = Number(s);
    if (s === '' || isNaN(v)) throw vbError(13, "Type mismatch: '" + String(x) + "'");
    return v;
  }
  function isNum(x) {
    if (typeof x === 'number' || typeof x === 'boolean' || x === undefined) return true;
    if (typeof x !== 'string') return false;
    var s = x.trim();
    return s !== '' && (!isNaN(Number(s)) || /^&h[0-9a-f]+$/i.test(s));
  }
  function str(x) {
    if (x === undefined || x === null) return '';
    if (x === true) return 'True';
    if (x === false) return 'False';
    if (typeof x === 'number') {
      if (Number.isInteger(x)) return String(x);
      return String(Number(x.toPrecision(15)));
    }
    if (x instanceof Date) return fmtDate(x);
    return String(x);
  }
  function cond(x) {
    if (x === undefined || x === null) return false;
    if (typeof x === 'boolean') return x;
    if (typeof x === 'number') return x !== 0;
    if (typeof x === 'string') {
      var l = x.trim().toLowerCase();
      if (l === 'true') return true;
      if (l === 'false') return false;
      return num(x) !== 0;
    }
    return true;
  }
  function cmp(a, b) {
    if (a === null || b === null) return null;
    if (typeof a === 'boolean') a = a ? -1 : 0;
    if (typeof b === 'boolean') b = b ? -1 : 0;
    if (a instanceof Date) a = a.getTime();
    if (b instanceof Date) b = b.getTime();
    if (a === undefined && b === undefined) return 0;
    if (a === undefined) a = typeof b === 'number' ? 0 : '';
    if (b === undefined) b = typeof a === 'number' ? 0 : '';
    var an = typeof a === 'number', bn = typeof b === 'number';
    if (an && bn) return a < b ? -1 : a > b ? 1 : 0;
    if (an || bn) {
      // a number against a text: numeric when the text is a number (form values are texts)
      var other = an ? b : a;
      if (isNum(other)) {
        var x = num(a), y = num(b);
        return x < y ? -1 : x > y ? 1 : 0;
      }
      return an ? -1 : 1;
    }
    a = str(a); b = str(b);
    return a < b ? -1 : a > b ? 1 : 0;
  }
  R.num = num;
  R.str = str;
  R.cond = cond;
  R.cmp = cmp;
  function c2(f) { return function (a, b) { var c = cmp(a, b); return c === null ? null : f(c); }; }
  R.eq = c2(function (c) { return c === 0; });
  R.ne = c2(function (c) { return c !== 0; });
  R.lt = c2(function (c) { return c < 0; });
  R.gt = c2(function (c) { return c > 0; });
  R.le = c2(function (c) { return c <= 0; });
  R.ge = c2(function (c) { return c >= 0; });
  R.is = function (a, b) {
    if ((a === null || a === undefined) && (b === null || b === undefined)) return true;
    return a === b;
  };
  R.cat = function (a, b) { return str(a) + str(b); };
  R.add = function (a, b) {
    if (a === null || b === null) return null;
    if (typeof a === 'string' && typeof b === 'string') return a + b;
    if ((typeof a === 'string' && b === undefined) || (typeof b === 'string' && a === undefined)) return str(a) + str(b);
    return num(a) + num(b);
  };
  function arith(f) { return function (a, b) { if (a === null || b === null) return null; return f(num(a), num(b)); }; }
  function bankers(x) {
    var r = Math.round(x);
    if (Math.abs(x % 1) === 0.5 && r % 2 !== 0) r -= 1;
    return r;
  }
  R.sub = arith(function (a, b) { return a - b; });
  R.mul = arith(function (a, b) { return a * b; });
  R.div = arith(function (a, b) { if (b === 0) throw vbError(11, 'Division by zero'); return a / b; });
  R.idiv = arith(function (a, b) {
    a = bankers(a); b = bankers(b);
    if (b === 0) throw vbError(11, 'Division by zero');
    return Math.trunc(a / b);
  });
  R.mod = arith(function (a, b) {
    a = bankers(a); b = bankers(b);
    if (b === 0) throw vbError(11, 'Division by zero');
    var r = a % b;
    return r === 0 ? 0 : r;
  });
  R.pow = arith(function (a, b) { return Math.pow(a, b); });
  R.neg = function (a) { return a === null ? null : -num(a); };
  function logic(fb, fi) {
    return function (a, b) {
      if (a === null || b === null) return null;
      if ((typeof a === 'boolean' || a === undefined) && (typeof b === 'boolean' || b === undefined)) return fb(!!a, !!b);
      if (typeof a === 'string' && /^(true|false)$/i.test(a.trim())) a = cond(a);
      if (typeof b === 'string' && /^(true|false)$/i.test(b.trim())) b = cond(b);
      return fi(bankers(num(a)), bankers(num(b)));
    };
  }
  R.and = logic(function (a, b) { return a && b; }, function (a, b) { return a & b; });
  R.or = logic(function (a, b) { return a || b; }, function (a, b) { return a | b; });
  R.xor = logic(function (a, b) { return a !== b; }, function (a, b) { return a ^ b; });
  R.eqv = logic(function (a, b) { return a === b; }, function (a, b) { return ~(a ^ b); });
  R.imp = logic(function (a, b) { return !a || b; }, function (a, b) { return ~a | b; });
  R.not = function (a) {
    if (a === null) return null;
    if (typeof a === 'boolean' || a === undefined) return !a;
    if (typeof a === 'string' && /^(true|false)$/i.test(a.trim())) return !cond(a);
    return ~bankers(num(a));
  };

  // ---- arrays
  R.arr = function (dims) {
    function make(i) {
      if (i >= dims.length) return undefined;
      var n = bankers(num(dims[i])) + 1;
      var a = new Array(Math.max(n, 0));
      for (var k = 0; k < a.length; k++) a[k] = make(i + 1);
      return a;
    }
    return make(0);
  };
  R.redim = function (old, preserve, dims) {
    var a = R.arr(dims);
    if (preserve && Array.isArray(old)) {
      for (var i = 0; i < a.length && i < old.length; i++) a[i] = old[i];
    }
    return a;
  };
  R.erase = function (a) {
    if (!Array.isArray(a)) return a;
    return a.map(function () { return undefined; });
  };
  R.iter = function (c) {
    if (c === null || c === undefined) throw vbError(424, 'Object required');
    if (Array.isArray(c)) return c.slice();
    if (typeof c[Symbol.iterator] === 'function') return Array.from(c);
    if (typeof c.length === 'number') {
      var out = [];
      for (var i = 0; i < c.length; i++) out.push(typeof c.item === 'function' ? c.item(i) : c[i]);
      return out;
    }
    throw vbError(451, 'Object not a collection');
  };

  // ---- names and members
  var globalCache = new Map();
  function globalKey(name) {
    var lower = name.toLowerCase();
    if (IE_GLOBALS[lower]) return IE_GLOBALS[lower] in win ? IE_GLOBALS[lower] : undefined;
    if (name in win) return name;
    var c = globalCache.get(lower);
    if (c !== undefined && c in win) return c;
    var k = findKey(win, name);
    if (k !== undefined) globalCache.set(lower, k);
    return k;
  }
  R.hasGlobal = function (name) {
    var lower = name.toLowerCase();
    return R.procs.has(lower) || R.vars.has(lower) || globalKey(name) !== undefined;
  };
  R.g = function (name) {
    var lower = name.toLowerCase();
    var p = R.procs.get(lower);
    if (p) return p.fn();
    var v = R.vars.get(lower);
    if (v !== undefined) return win[v];
    var k = globalKey(name);
    return k === undefined ? undefined : win[k];
  };
  R.sg = function (name, val) {
    var lower = name.toLowerCase();
    var v = R.vars.get(lower);
    if (v !== undefined) { win[v] = val; return; }
    var k = globalKey(name);
    win[k === undefined ? name : k] = val;
  };
  R.call = function (name, args) {
    var lower = name.toLowerCase();
    var p = R.procs.get(lower);
    if (p) return p.fn.apply(null, args);
    var vn = R.vars.get(lower);
    if (vn !== undefined) return R.idx(win[vn], args);
    var k = globalKey(name);
    if (k !== undefined) {
      var f = win[k];
      if (typeof f === 'function') return f.apply(win, args);
      return R.idx(f, args);
    }
    throw vbError(13, "Type mismatch: '" + name + "' (no such procedure)");
  };
  function objRequired(name) { return vbError(424, "Object required: '" + name + "'"); }
  R.key = findKey;
  R.m = function (obj, name) {
    if (obj === null || obj === undefined) throw objRequired(name);
    var k = findKey(obj, name);
    if (k === undefined) return undefined;
    var v = obj[k];
    // VBScript calls a method named without parentheses
    if (typeof v === 'function' && !/^on/i.test(k) && !isCtor(k, v)) return v.call(obj);
    return v;
  };
  R.mc = function (obj, name, args) {
    if (obj === null || obj === undefined) throw objRequired(name);
    var k = findKey(obj, name);
    if (k === undefined) throw vbError(438, "Object doesn't support this property or method: '" + name + "'");
    var v = obj[k];
    if (typeof v === 'function') return v.apply(obj, args);
    return args.length ? R.idx(v, args) : v;
  };
  R.s = function (obj, name, val) {
    if (obj === null || obj === undefined) throw objRequired(name);
    var k = findKey(obj, name);
    if (k === undefined) k = IE_MEMBERS[name.toLowerCase()] || name;
    obj[k] = val;
  };
  function index(n) { return bankers(num(n)); }
  R.idx = function (v, args) {
    if (!args.length) return typeof v === 'function' ? v() : v;
    if (Array.isArray(v)) {
      var a = v;
      for (var i = 0; i < args.length; i++) {
        var n = index(args[i]);
        if (!Array.isArray(a) || n < 0 || n >= a.length) throw vbError(9, 'Subscript out of range: ' + str(args[i]));
        a = a[n];
      }
      return a;
    }
    if (typeof v === 'function') return v.apply(null, args);
    if (v !== null && v !== undefined && typeof v !== 'string' && typeof v !== 'number' && typeof v !== 'boolean') {
      var a0 = args[0];
      if (typeof a0 === 'string' && typeof v.namedItem === 'function') {
        var r = v.namedItem(a0);
        if (r !== null && r !== undefined) return r;
      }
      if (typeof v.item === 'function') return v.item(a0);
      return v[a0];
    }
    throw vbError(13, 'Type mismatch: not an array');
  };
  R.si = function (v, args, val) {
    if (Array.isArray(v)) {
      var a = v;
      for (var i = 0; i < args.length - 1; i++) {
        a = a[index(args[i])];
        if (!Array.isArray(a)) throw vbError(9, 'Subscript out of range');
      }
      var n = index(args[args.length - 1]);
      if (n < 0 || n >= a.length) throw vbError(9, 'Subscript out of range: ' + n);
      a[n] = val;
      return;
    }
    if (v === null || v === undefined) throw vbError(424, 'Object required');
    v[args[0]] = val;
  };

  // ---- Err
  var err = {
    Number: 0, Description: '', Source: '',
    Clear: function () { err.Number = 0; err.Description = ''; err.Source = ''; },
    Raise: function (n, source, desc) { var e = vbError(n, desc || ('Error ' + n)); throw e; }
  };
  R.err = err;
  R.seterr = function (e) {
    err.Number = (e && e.vbNumber) || 1;
    err.Description = e && e.message ? e.message : String(e);
    err.Source = 'tavcompat';
  };

  // ---- built-in functions
  function s1(x) { return x === null ? null : str(x); }
  function ival(x) { return bankers(num(x)); }
  var b = {};
  b.len = function (x) { return x === null ? null : str(x).length; };
  b.ucase = function (x) { return x === null ? null : str(x).toUpperCase(); };
  b.lcase = function (x) { return x === null ? null : str(x).toLowerCase(); };
  b.left = function (x, n) {
    if (x === null) return null;
    n = ival(n);
    if (n < 0) throw vbError(5, 'Invalid procedure call or argument: Left');
    return str(x).slice(0, n);
  };
  b.right = function (x, n) {
    if (x === null) return null;
    var s = str(x);
    n = ival(n);
    if (n < 0) throw vbError(5, 'Invalid procedure call or argument: Right');
    return n === 0 ? '' : s.slice(Math.max(s.length - n, 0));
  };
  b.mid = function (x, start, n) {
    if (x === null) return null;
    start = ival(start);
    if (start < 1) throw vbError(5, 'Invalid procedure call or argument: Mid');
    var s = str(x);
    return n === undefined ? s.slice(start - 1) : s.substr(start - 1, Math.max(ival(n), 0));
  };
  function textCmp(c) { return c !== undefined && ival(c) === 1; }
  b.instr = function (a1, a2, a3, a4) {
    var start = 1, s, f, mode;
    if (a3 === undefined && arguments.length < 3) { s = a1; f = a2; }
    else { start = ival(a1); s = a2; f = a3; mode = a4; }
    if (s === null || f === null) return null;
    if (start < 1) throw vbError(5, 'Invalid procedure call or argument: InStr');
    s = str(s); f = str(f);
    if (textCmp(mode)) { s = s.toLowerCase(); f = f.toLowerCase(); }
    if (start > s.length) return 0;
    if (f === '') return start;
    return s.indexOf(f, start - 1) + 1;
  };
  b.instrrev = function (s, f, start, mode) {
    if (s === null || f === null) return null;
    s = str(s); f = str(f);
    if (textCmp(mode)) { s = s.toLowerCase(); f = f.toLowerCase(); }
    var st = start === undefined || ival(start) === -1 ? s.length : ival(start);
    if (f === '') return st;
    if (st - f.length < 0) return 0;
    return s.lastIndexOf(f, st - f.length) + 1;
  };
  b.trim = function (x) { return x === null ? null : str(x).replace(/^ +| +$/g, ''); };
  b.ltrim = function (x) { return x === null ? null : str(x).replace(/^ +/, ''); };
  b.rtrim = function (x) { return x === null ? null : str(x).replace(/ +$/, ''); };
  b.replace = function (x, find, repl, start, count, mode) {
    if (x === null) return null;
    var s = str(x), f = str(find), r = str(repl);
    var st = start === undefined ? 1 : ival(start);
    var cnt = count === undefined ? -1 : ival(count);
    s = s.slice(st - 1);
    if (f === '') return s;
    var hay = textCmp(mode) ? s.toLowerCase() : s, needle = textCmp(mode) ? f.toLowerCase() : f;
    var out = '', pos = 0, done = 0;
    for (;;) {
      if (cnt >= 0 && done >= cnt) break;
      var i = hay.indexOf(needle, pos);
      if (i < 0) break;
      out += s.slice(pos, i) + r;
      pos = i + f.length;
      done++;
    }
    return out + s.slice(pos);
  };
  b.isnumeric = function (x) { return x !== null && isNum(x); };
  b.isempty = function (x) { return x === undefined; };
  b.isnull = function (x) { return x === null; };
  b.isobject = function (x) { return x === null || (typeof x === 'object') || (x !== undefined && typeof x === 'undefined'); };
  b.isarray = function (x) { return Array.isArray(x); };
  b.isdate = function (x) { return x instanceof Date || (typeof x === 'string' && !isNaN(Date.parse(x.replace(/-/g, '/')))); };
  function cint(lo, hi) {
    return function (x) {
      var v = bankers(num(x));
      if (v < lo || v > hi) throw vbError(6, 'Overflow: ' + str(x));
      return v;
    };
  }
  b.cint = cint(-32768, 32767);
  b.clng = cint(-2147483648, 2147483647);
  b.cbyte = cint(0, 255);
  b.cdbl = function (x) { return num(x); };
  b.csng = b.cdbl;
  b.cbool = function (x) { return cond(x); };
  b.cstr = function (x) {
    if (x === null) throw vbError(94, 'Invalid use of Null');
    return str(x);
  };
  b.cdate = function (x) {
    if (x instanceof Date) return x;
    var d = new Date(str(x).replace(/-/g, '/'));
    if (isNaN(d.getTime())) throw vbError(13, "Type mismatch: '" + str(x) + "'");
    return vbDate(d, /:/.test(str(x)) ? (/[\/\-]/.test(str(x)) ? 'dt' : 't') : 'd');
  };
  b.int = function (x) { return x === null ? null : Math.floor(num(x)); };
  b.fix = function (x) { return x === null ? null : Math.trunc(num(x)); };
  b.abs = function (x) { return x === null ? null : Math.abs(num(x)); };
  b.sgn = function (x) { return Math.sign(num(x)); };
  b.sqr = function (x) { return Math.sqrt(num(x)); };
  b.round = function (x, n) {
    var p = Math.pow(10, n === undefined ? 0 : ival(n));
    return bankers(num(x) * p) / p;
  };
  b.chr = function (n) { return String.fromCharCode(ival(n)); };
  b.chrw = b.chr;
  b.asc = function (x) {
    var s = str(x);
    if (!s.length) throw vbError(5, 'Invalid procedure call or argument: Asc');
    return s.charCodeAt(0);
  };
  b.ascw = b.asc;
  b.split = function (x, delim, count, mode) {
    var s = str(x);
    var d = delim === undefined ? ' ' : str(delim);
    if (s === '') return [];
    var parts;
    if (d === '') parts = [s];
    else if (textCmp(mode)) {
      parts = [];
      var ls = s.toLowerCase(), ld = d.toLowerCase(), pos = 0, i;
      while ((i = ls.indexOf(ld, pos)) >= 0) { parts.push(s.slice(pos, i)); pos = i + d.length; }
      parts.push(s.slice(pos));
    } else parts = s.split(d);
    var c = count === undefined ? -1 : ival(count);
    if (c > 0 && parts.length > c) parts = parts.slice(0, c - 1).concat([parts.slice(c - 1).join(d)]);
    return parts;
  };
  b.join = function (a, delim) {
    if (!Array.isArray(a)) throw vbError(13, 'Type mismatch: Join');
    return a.map(str).join(delim === undefined ? ' ' : str(delim));
  };
  b.ubound = function (a, dim) {
    if (!Array.isArray(a)) throw vbError(13, 'Type mismatch: UBound');
    var d = dim === undefined ? 1 : ival(dim);
    for (var i = 1; i < d; i++) a = a[0];
    return a.length - 1;
  };
  b.lbound = function (a) {
    if (!Array.isArray(a)) throw vbError(13, 'Type mismatch: LBound');
    return 0;
  };
  b.array = function () { return Array.prototype.slice.call(arguments); };
  b.msgbox = function (prompt, buttons, title) {
    var kind = buttons === undefined ? 0 : ival(buttons) & 7;
    var text = str(prompt);
    if (kind === 0) { win.alert(text); return 1; }
    var ok = win.confirm(text);
    switch (kind) {
      case 1: return ok ? 1 : 2;
      case 2: return ok ? 4 : 3;
      case 3: return ok ? 6 : 2;
      case 4: return ok ? 6 : 7;
      default: return ok ? 4 : 2;
    }
  };
  b.inputbox = function (prompt, title, def) {
    var r = win.prompt(str(prompt), def === undefined ? '' : str(def));
    return r === null ? '' : r;
  };
  b.now = function () { return vbDate(new Date(), 'dt'); };
  b.date = function () { var d = new Date(); d.setHours(0, 0, 0, 0); return vbDate(d, 'd'); };
  b.time = function () { return vbDate(new Date(), 't'); };
  b.timer = function () { var d = new Date(); return (d - new Date(d).setHours(0, 0, 0, 0)) / 1000; };
  function datePart(f) { return function (x) { return f(b.cdate(x)); }; }
  b.year = datePart(function (d) { return d.getFullYear(); });
  b.month = datePart(function (d) { return d.getMonth() + 1; });
  b.day = datePart(function (d) { return d.getDate(); });
  b.hour = datePart(function (d) { return d.getHours(); });
  b.minute = datePart(function (d) { return d.getMinutes(); });
  b.second = datePart(function (d) { return d.getSeconds(); });
  b.weekday = datePart(function (d) { return d.getDay() + 1; });
  b.space = function (n) { return new Array(Math.max(ival(n), 0) + 1).join(' '); };
  b.string = function (n, ch) {
    var c = typeof ch === 'number' ? String.fromCharCode(ch) : str(ch).charAt(0);
    return new Array(Math.max(ival(n), 0) + 1).join(c);
  };
  b.strreverse = function (x) { return str(x).split('').reverse().join(''); };
  b.strcomp = function (a, c, mode) {
    if (a === null || c === null) return null;
    a = str(a); c = str(c);
    if (textCmp(mode)) { a = a.toLowerCase(); c = c.toLowerCase(); }
    return a < c ? -1 : a > c ? 1 : 0;
  };
  b.hex = function (x) { return (ival(x) >>> 0).toString(16).toUpperCase().replace(/^F{4}(?=[0-9A-F]{4}$)/, ''); };
  b.oct = function (x) { return (ival(x) >>> 0).toString(8); };
  b.typename = function (x) {
    if (x === undefined) return 'Empty';
    if (x === null) return 'Null';
    if (typeof x === 'string') return 'String';
    if (typeof x === 'boolean') return 'Boolean';
    if (typeof x === 'number') return Number.isInteger(x) ? (Math.abs(x) < 32768 ? 'Integer' : 'Long') : 'Double';
    if (x instanceof Date) return 'Date';
    if (Array.isArray(x)) return 'Variant()';
    return 'Object';
  };
  b.vartype = function (x) {
    return { Empty: 0, Null: 1, Integer: 2, Long: 3, Double: 5, Date: 7, String: 8, Object: 9, Boolean: 11 }[b.typename(x)] || 8204;
  };
  b.escape = function (x) { return (win.escape || root.escape)(str(x)); };
  b.unescape = function (x) { return (win.unescape || root.unescape)(str(x)); };
  b.rnd = function () { return Math.random(); };
  b.randomize = function () {};
  b.createobject = function (name) { throw vbError(429, "ActiveX component can't create object: '" + str(name) + "'"); };
  b.getref = function (name) {
    var p = R.procs.get(str(name).toLowerCase());
    if (!p) throw vbError(5, "Invalid procedure call or argument: GetRef('" + str(name) + "')");
    return p.fn;
  };
  R.b = b;

  // Runs a handler written as a bare name: onclick="go_append" or onclick="window.close".
  R.handlerCall = function (el, event, path) {
    var parts = path.split('.');
    var first = parts[0].toLowerCase();
    var owner = win, v;
    if (parts.length === 1) {
      var p = R.procs.get(first);
      if (p) return p.fn.call(el, event) === false ? false : undefined;
    }
    if (first === 'this' || first === 'me') v = el;
    else if (R.procs.has(first)) v = R.procs.get(first).fn;
    else {
      var k = globalKey(parts[0]);
      v = k === undefined ? undefined : win[k];
    }
    for (var i = 1; i < parts.length; i++) {
      if (v === null || v === undefined) return undefined;
      owner = v;
      var key = findKey(v, parts[i]);
      v = key === undefined ? undefined : v[key];
    }
    if (typeof v === 'function') return v.call(owner === win && parts.length === 1 ? win : owner, event) === false ? false : undefined;
    return undefined;
  };
  return R;
}

