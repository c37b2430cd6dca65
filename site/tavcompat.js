/*
 * tavcompat.js: built by tools/build-compat.js from site/compat/{names,lexer,parser,emitter,runtime,dialogs,netmeeting,docall,binding,media,uploadprogress}.js.
 * Edit the parts, not this file.
 *
 * Lets the pages' Internet Explorer client code run in current browsers: translates the
 * VBScript blocks (which arrive as text/vbscript and never run) to JavaScript and runs them
 * in the page's global scope, binds Sub window_onload and Sub <id>_on<event>, makes
 * bare-name handlers call, and supplies showModalDialog as a <dialog> in the top window.
 * Identifiers and member names are resolved without case at run time, as VBScript does.
 * Player objects become <audio>/<video> with their playlists; uploads with a file show progress.
 * Syntax outside the translated subset is reported on the console with its line.
 * Stands in for the NetMeeting control, saying plainly that no call can be placed.
 */
(function tavcompatFactory(root, hostOnly) {
  'use strict';

  // ==== names

  // Names shared by the translator and the runtime: VBScript built-ins and constants, the
  // window members IE scripts reach in any case, and the words JavaScript reserves.

  // Built-in functions the translator maps to runtime helpers (runtime object `b`).
  var BUILTINS = [
    'len', 'ucase', 'lcase', 'left', 'right', 'mid', 'instr', 'instrrev', 'trim', 'ltrim', 'rtrim',
    'replace', 'isnumeric', 'isempty', 'isnull', 'isobject', 'isarray', 'isdate', 'cint', 'clng',
    'cdbl', 'csng', 'cbyte', 'cbool', 'cstr', 'cdate', 'int', 'fix', 'abs', 'sgn', 'sqr', 'round',
    'chr', 'chrw', 'asc', 'ascw', 'split', 'join', 'ubound', 'lbound', 'array', 'msgbox', 'inputbox',
    'now', 'date', 'time', 'timer', 'year', 'month', 'day', 'hour', 'minute', 'second', 'weekday',
    'space', 'string', 'strreverse', 'strcomp', 'hex', 'oct', 'typename', 'vartype', 'escape',
    'unescape', 'rnd', 'randomize', 'err', 'createobject', 'getref'
  ];
  var BUILTIN_SET = Object.create(null);
  BUILTINS.forEach(function (n) { BUILTIN_SET[n] = true; });

  // Constants, as JavaScript source.
  var CONSTS = {
    'true': 'true', 'false': 'false', 'nothing': 'null', 'null': 'null', 'empty': 'undefined',
    'vbcrlf': '"\\r\\n"', 'vbnewline': '"\\r\\n"', 'vbcr': '"\\r"', 'vblf': '"\\n"', 'vbtab': '"\\t"',
    'vbnullstring': '""', 'vbnullchar': '"\\u0000"', 'vbback': '"\\b"', 'vbformfeed': '"\\f"',
    'vbverticaltab': '"\\u000b"',
    'vbok': '1', 'vbcancel': '2', 'vbabort': '3', 'vbretry': '4', 'vbignore': '5', 'vbyes': '6', 'vbno': '7',
    'vbokonly': '0', 'vbokcancel': '1', 'vbabortretryignore': '2', 'vbyesnocancel': '3', 'vbyesno': '4',
    'vbretrycancel': '5', 'vbcritical': '16', 'vbquestion': '32', 'vbexclamation': '48',
    'vbinformation': '64', 'vbdefaultbutton1': '0', 'vbdefaultbutton2': '256', 'vbdefaultbutton3': '512',
    'vbtrue': '-1', 'vbfalse': '0', 'vbusedefault': '-2', 'vbbinarycompare': '0', 'vbtextcompare': '1',
    'vbempty': '0', 'vbnull': '1', 'vbinteger': '2', 'vblong': '3', 'vbsingle': '4', 'vbdouble': '5',
    'vbstring': '8', 'vbobject': '9', 'vbboolean': '11', 'vbarray': '8192'
  };

  // Names IE scripts write in any case that must reach these members (window has constructors
  // such as Document, Event and Location whose names differ only in case).
  var IE_GLOBALS = {
    document: 'document', window: 'window', navigator: 'navigator', location: 'location',
    history: 'history', screen: 'screen', event: 'event', frames: 'frames', parent: 'parent',
    top: 'top', self: 'self', opener: 'opener', external: 'external', status: 'status',
    name: 'name', alert: 'alert', confirm: 'confirm', prompt: 'prompt', close: 'close',
    open: 'open', focus: 'focus', settimeout: 'setTimeout', setinterval: 'setInterval',
    cleartimeout: 'clearTimeout', clearinterval: 'clearInterval', showmodaldialog: 'showModalDialog',
    showmodelessdialog: 'showModelessDialog', returnvalue: 'returnValue',
    dialogarguments: 'dialogArguments', print: 'print', moveto: 'moveTo', resizeto: 'resizeTo'
  };
  // Members that may not exist yet when a page assigns them.
  var IE_MEMBERS = { returnvalue: 'returnValue', dialogarguments: 'dialogArguments' };
  var IE_ASSIGNABLE = { status: 1, defaultstatus: 1, returnvalue: 1, location: 1 };

  var JS_RESERVED = {};
  ('break case catch class const continue debugger default delete do else enum export extends false ' +
   'finally for function if import in instanceof new null return super switch this throw true try ' +
   'typeof var void while with yield let static implements interface package private protected ' +
   'public await arguments eval undefined NaN Infinity').split(' ').forEach(function (w) { JS_RESERVED[w] = true; });

  var RT = '__tav';

  // ==== lexer

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

  // ==== parser

  // The VBScript parser: tokens to statement and expression trees. Syntax outside the subset is
  // recorded with its line and the parser carries on at the next statement.

  function ParseError(msg, line, keepPlace) { this.msg = msg; this.line = line; this.keepPlace = keepPlace; }

  // Words that end an expression or a statement and cannot start a plain call.
  var STOP_WORDS = {
    then: 1, 'else': 1, elseif: 1, to: 1, step: 1, 'in': 1, 'and': 1, or: 1, xor: 1, eqv: 1,
    imp: 1, mod: 1, is: 1, not: 0
  };

  function Parser(toks, errors, lines) {
    this.toks = toks;
    this.p = 0;
    this.errors = errors;
    this.lines = lines;
  }
  Parser.prototype = {
    peek: function (k) { return this.toks[this.p + (k || 0)]; },
    next: function () { return this.toks[this.p++]; },
    isKw: function (w, k) { var t = this.peek(k); return t.t === 'id' && t.lv === w; },
    isOp: function (o, k) { var t = this.peek(k); return t.t === 'op' && t.v === o; },
    fail: function (msg, tok) {
      tok = tok || this.peek();
      throw new ParseError(msg, tok.line);
    },
    // A construct left open: the closing word found belongs to an outer one, so parsing
    // goes on from there.
    unclosed: function (msg, tok) {
      throw new ParseError(msg, tok.line, true);
    },
    describe: function (tok) {
      if (tok.t === 'nl') return 'end of statement';
      if (tok.t === 'eof') return 'end of script';
      if (tok.t === 'str') return '"' + tok.v + '"';
      return "'" + tok.v + "'";
    },
    expectKw: function (w) {
      if (!this.isKw(w)) this.fail("expected '" + w + "' but found " + this.describe(this.peek()));
      return this.next();
    },
    expectOp: function (o) {
      if (!this.isOp(o)) this.fail("expected '" + o + "' but found " + this.describe(this.peek()));
      return this.next();
    },
    ident: function () {
      var t = this.peek();
      if (t.t !== 'id') this.fail('expected a name but found ' + this.describe(t));
      return this.next();
    },
    atStmtEnd: function () {
      var t = this.peek();
      return t.t === 'nl' || t.t === 'eof' || (t.t === 'id' && t.lv === 'else');
    },
    endStmt: function () {
      if (!this.atStmtEnd()) this.fail('unexpected ' + this.describe(this.peek()));
    },
    skipNl: function () { while (this.peek().t === 'nl') this.next(); },
    skipToNl: function () {
      while (this.peek().t !== 'nl' && this.peek().t !== 'eof') this.p++;
    },

    // Parses statements until `stop` says a closing word stands at a statement start.
    block: function (stop) {
      var out = [];
      for (;;) {
        this.skipNl();
        if (this.peek().t === 'eof') return out;
        if (stop(this)) return out;
        out.push(this.statement());
      }
    },
    endIs: function (w) { return this.isKw('end') && this.isKw(w, 1); },
    closeEnd: function (w, opener) {
      if (this.peek().t === 'eof') this.unclosed("'" + opener + "' without 'End " + w + "'", opener.tok);
      this.expectKw('end');
      this.expectKw(w);
    },

    statement: function () {
      var t = this.peek();
      var start = this.p;
      try {
        var st = this.statementInner();
        st.line = t.line;
        return st;
      } catch (e) {
        if (!(e instanceof ParseError)) throw e;
        this.errors.push({ line: e.line, msg: e.msg + ': ' + (this.lines[e.line - 1] || '').trim() });
        if (!e.keepPlace) {
          if (this.p === start) this.p++;
          this.skipToNl();
        }
        return { s: 'bad', line: e.line, msg: e.msg };
      }
    },

    statementInner: function () {
      var t = this.peek();
      if (t.t === 'op' && t.v === '.') return this.assignOrCall();
      if (t.t !== 'id') this.fail('unexpected ' + this.describe(t));
      switch (t.lv) {
        case 'option': this.next(); this.skipToNl(); return { s: 'nop' };
        case 'dim': this.next(); return this.dim();
        case 'public': case 'private':
          this.next();
          if (this.isKw('sub') || this.isKw('function') || this.isKw('default')) return this.proc();
          if (this.isKw('const')) { this.next(); return this.constDecl(); }
          return this.dim();
        case 'const': this.next(); return this.constDecl();
        case 'redim': this.next(); return this.redim();
        case 'sub': case 'function': return this.proc();
        case 'if': return this.ifStmt();
        case 'for': return this.forStmt();
        case 'do': return this.doStmt();
        case 'while': return this.whileStmt();
        case 'select': return this.selectStmt();
        case 'with': return this.withStmt();
        case 'exit': return this.exitStmt();
        case 'call': {
          this.next();
          var target = this.postfix();
          this.endStmt();
          if (target.t !== 'id' && target.t !== 'mem' && target.t !== 'call') this.fail("'Call' needs a procedure");
          return { s: 'call', target: target, args: null };
        }
        case 'set': {
          this.next();
          var lhs = this.postfix();
          this.expectOp('=');
          var rhs = this.expr();
          this.endStmt();
          return { s: 'assign', target: lhs, value: rhs };
        }
        case 'on': {
          this.next();
          this.expectKw('error');
          if (this.isKw('resume')) { this.next(); this.expectKw('next'); this.endStmt(); return { s: 'onerror', resume: true }; }
          this.expectKw('goto');
          var z = this.next();
          if (z.t !== 'num' || z.v !== 0) this.fail("only 'On Error GoTo 0' is supported", z);
          this.endStmt();
          return { s: 'onerror', resume: false };
        }
        case 'erase': {
          this.next();
          var en = this.ident();
          this.endStmt();
          return { s: 'erase', name: en.v };
        }
        case 'stop': this.next(); this.endStmt(); return { s: 'nop' };
        case 'class': case 'property': case 'execute': case 'executeglobal': case 'goto':
        case 'end': case 'next': case 'loop': case 'wend': case 'else': case 'elseif': case 'case':
        case 'then': case 'new':
          this.fail("unsupported or misplaced '" + t.v + "'");
      }
      return this.assignOrCall();
    },

    assignOrCall: function () {
      var target = this.postfix();
      if (this.isOp('=')) {
        this.next();
        var value = this.expr();
        this.endStmt();
        return { s: 'assign', target: target, value: value };
      }
      if (this.atStmtEnd()) return { s: 'call', target: target, args: null };
      // A call without parentheses: `foo a, b`, also `foo (a), b` and `MsgBox ("x") & y`.
      var callee = target;
      if (target.t === 'call' && target.parenPos !== undefined) {
        this.p = target.parenPos;
        callee = target.fn;
      }
      if (callee.t !== 'id' && callee.t !== 'mem') this.fail('unexpected ' + this.describe(this.peek()));
      var args = this.argList(function (self) { return self.atStmtEnd(); });
      this.endStmt();
      return { s: 'call', target: callee, args: args };
    },

    argList: function (atEnd) {
      var args = [];
      if (atEnd(this)) return args;
      for (;;) {
        if (this.isOp(',')) { args.push({ t: 'missing' }); this.next(); continue; }
        args.push(this.expr());
        if (this.isOp(',')) {
          this.next();
          if (atEnd(this)) { args.push({ t: 'missing' }); break; }
          continue;
        }
        break;
      }
      return args;
    },

    dim: function () {
      var vars = [];
      for (;;) {
        var name = this.ident();
        var dims = null;
        if (this.isOp('(')) {
          this.next();
          dims = this.isOp(')') ? [] : this.argList(function (s) { return s.isOp(')'); });
          this.expectOp(')');
        }
        vars.push({ name: name.v, dims: dims });
        if (!this.isOp(',')) break;
        this.next();
      }
      this.endStmt();
      return { s: 'dim', vars: vars };
    },
    redim: function () {
      var preserve = false;
      if (this.isKw('preserve')) { this.next(); preserve = true; }
      var vars = [];
      for (;;) {
        var name = this.ident();
        this.expectOp('(');
        var dims = this.argList(function (s) { return s.isOp(')'); });
        this.expectOp(')');
        vars.push({ name: name.v, dims: dims });
        if (!this.isOp(',')) break;
        this.next();
      }
      this.endStmt();
      return { s: 'redim', preserve: preserve, vars: vars };
    },
    constDecl: function () {
      var items = [];
      for (;;) {
        var name = this.ident();
        this.expectOp('=');
        items.push({ name: name.v, value: this.expr() });
        if (!this.isOp(',')) break;
        this.next();
      }
      this.endStmt();
      return { s: 'const', items: items };
    },

    proc: function () {
      if (this.isKw('default')) this.next();
      var kwTok = this.next();
      var kind = kwTok.lv;
      if (this.inProc) this.fail("'" + kwTok.v + "' inside a procedure");
      var name = this.ident();
      var params = [];
      if (this.isOp('(')) {
        this.next();
        while (!this.isOp(')')) {
          if (this.isKw('optional')) this.next();
          if (this.isKw('byval') || this.isKw('byref')) this.next();
          var pn = this.ident();
          if (this.isOp('(')) { this.next(); this.expectOp(')'); }
          params.push(pn.v);
          if (this.isOp(',')) { this.next(); continue; }
          if (!this.isOp(')')) this.fail('unexpected ' + this.describe(this.peek()) + ' in parameter list');
        }
        this.expectOp(')');
      }
      this.endStmt();
      this.inProc = true;
      var self = this;
      var body;
      try {
        body = this.block(function (s) { return s.endIs(kind) || (s.isKw('end') && s.peek(1).t === 'nl') || s.isKw('sub') || s.isKw('function'); });
      } finally {
        this.inProc = false;
      }
      if (!self.endIs(kind)) self.unclosed("'" + kwTok.v + ' ' + name.v + "' without 'End " + kwTok.v + "'", kwTok);
      this.next(); this.next();
      this.endStmt();
      return { s: 'proc', kind: kind, name: name.v, params: params, body: body };
    },

    ifStmt: function () {
      var ifTok = this.next();
      var cond = this.expr();
      this.expectKw('then');
      if (this.peek().t !== 'nl') return this.singleIf(cond);
      var branches = [{ cond: cond }];
      var elseBody = null;
      var stop = function (s) { return s.isKw('elseif') || s.isKw('else') || s.endIs('if') || s.endIs('sub') || s.endIs('function'); };
      branches[0].body = this.block(stop);
      for (;;) {
        if (this.isKw('elseif')) {
          this.next();
          var c = this.expr();
          this.expectKw('then');
          branches.push({ cond: c, body: this.block(stop) });
          continue;
        }
        if (this.isKw('else')) {
          this.next();
          elseBody = this.block(stop);
          if (this.isKw('else') || this.isKw('elseif')) this.fail("'Else' is not the last branch");
          continue;
        }
        break;
      }
      if (!this.endIs('if')) this.unclosed("'If' without 'End If'", ifTok);
      this.next(); this.next();
      this.endStmt();
      return { s: 'if', branches: branches, elseBody: elseBody };
    },
    // If cond Then a : b Else c : d   (all on one line)
    singleIf: function (cond) {
      var self = this;
      function part() {
        var out = [];
        for (;;) {
          var t = self.peek();
          if (t.t === 'eof' || (t.t === 'nl' && !t.colon)) break;
          if (t.t === 'nl') { self.next(); continue; }
          if (self.isKw('else')) break;
          if (self.endIs('if')) { self.next(); self.next(); break; }
          var st = self.statementInner();
          st.line = t.line;
          out.push(st);
        }
        return out;
      }
      var thenBody = part();
      var elseBody = null;
      if (this.isKw('else')) { this.next(); elseBody = part(); }
      return { s: 'if', branches: [{ cond: cond, body: thenBody }], elseBody: elseBody };
    },

    forStmt: function () {
      var forTok = this.next();
      if (this.isKw('each')) {
        this.next();
        var v = this.ident();
        this.expectKw('in');
        var coll = this.expr();
        this.endStmt();
        var body = this.block(function (s) { return s.isKw('next') || s.endIs('sub') || s.endIs('function'); });
        this.closeNext(forTok);
        return { s: 'foreach', v: v.v, coll: coll, body: body };
      }
      var name = this.ident();
      this.expectOp('=');
      var from = this.expr();
      this.expectKw('to');
      var to = this.expr();
      var step = null;
      if (this.isKw('step')) { this.next(); step = this.expr(); }
      this.endStmt();
      var b = this.block(function (s) { return s.isKw('next') || s.endIs('sub') || s.endIs('function'); });
      this.closeNext(forTok);
      return { s: 'for', v: name.v, from: from, to: to, step: step, body: b };
    },
    closeNext: function (forTok) {
      if (!this.isKw('next')) this.unclosed("'For' without 'Next'", forTok);
      this.next();
      if (this.peek().t === 'id' && !this.isKw('else')) this.next();
      this.endStmt();
    },
    doStmt: function () {
      var doTok = this.next();
      var pre = null, post = null;
      if (this.isKw('while') || this.isKw('until')) {
        var k = this.next().lv;
        pre = { until: k === 'until', cond: this.expr() };
      }
      this.endStmt();
      var body = this.block(function (s) { return s.isKw('loop') || s.endIs('sub') || s.endIs('function'); });
      if (!this.isKw('loop')) this.unclosed("'Do' without 'Loop'", doTok);
      this.next();
      if (this.isKw('while') || this.isKw('until')) {
        var k2 = this.next().lv;
        post = { until: k2 === 'until', cond: this.expr() };
      }
      this.endStmt();
      return { s: 'do', pre: pre, post: post, body: body };
    },
    whileStmt: function () {
      var wTok = this.next();
      var cond = this.expr();
      this.endStmt();
      var body = this.block(function (s) { return s.isKw('wend') || s.endIs('sub') || s.endIs('function'); });
      if (!this.isKw('wend')) this.unclosed("'While' without 'Wend'", wTok);
      this.next();
      this.endStmt();
      return { s: 'do', pre: { until: false, cond: cond }, post: null, body: body };
    },
    selectStmt: function () {
      var selTok = this.next();
      this.expectKw('case');
      var subject = this.expr();
      this.endStmt();
      var cases = [], elseBody = null;
      var stop = function (s) { return s.isKw('case') || s.endIs('select') || s.endIs('sub') || s.endIs('function'); };
      this.skipNl();
      while (this.isKw('case')) {
        this.next();
        if (this.isKw('else')) {
          this.next();
          elseBody = this.block(stop);
          continue;
        }
        var tests = [];
        for (;;) {
          if (this.isKw('is')) {
            this.next();
            var op = this.next();
            if (op.t !== 'op' || ['=', '<>', '<', '>', '<=', '>='].indexOf(op.v) < 0) this.fail("expected a comparison after 'Case Is'", op);
            tests.push({ is: op.v, e: this.expr() });
          } else {
            var a = this.expr();
            if (this.isKw('to')) { this.next(); tests.push({ from: a, to: this.expr() }); }
            else tests.push({ e: a });
          }
          if (!this.isOp(',')) break;
          this.next();
        }
        cases.push({ tests: tests, body: this.block(stop) });
      }
      if (!this.endIs('select')) this.unclosed("'Select Case' without 'End Select'", selTok);
      this.next(); this.next();
      this.endStmt();
      return { s: 'select', subject: subject, cases: cases, elseBody: elseBody };
    },
    withStmt: function () {
      var wTok = this.next();
      var obj = this.expr();
      this.endStmt();
      var body = this.block(function (s) { return s.endIs('with') || s.endIs('sub') || s.endIs('function'); });
      if (!this.endIs('with')) this.unclosed("'With' without 'End With'", wTok);
      this.next(); this.next();
      this.endStmt();
      return { s: 'with', obj: obj, body: body };
    },
    exitStmt: function () {
      this.next();
      var w = this.ident();
      if (['sub', 'function', 'for', 'do', 'property'].indexOf(w.lv) < 0) this.fail("unknown 'Exit " + w.v + "'", w);
      this.endStmt();
      return { s: 'exit', what: w.lv };
    },

    // ---- expressions, lowest precedence first
    expr: function () { return this.binLevel(0); },
    binLevel: function (lvl) {
      var LEVELS = [['imp'], ['eqv'], ['xor'], ['or'], ['and']];
      if (lvl < LEVELS.length) {
        var a = this.binLevel(lvl + 1);
        while (this.peek().t === 'id' && LEVELS[lvl].indexOf(this.peek().lv) >= 0) {
          var op = this.next().lv;
          a = { t: 'bin', op: op, a: a, b: this.binLevel(lvl + 1) };
        }
        return a;
      }
      return this.notLevel();
    },
    notLevel: function () {
      if (this.isKw('not')) { this.next(); return { t: 'un', op: 'not', a: this.notLevel() }; }
      return this.cmpLevel();
    },
    cmpLevel: function () {
      var a = this.catLevel();
      for (;;) {
        var t = this.peek();
        if (t.t === 'op' && ['=', '<>', '<', '>', '<=', '>='].indexOf(t.v) >= 0) {
          this.next();
          a = { t: 'bin', op: t.v, a: a, b: this.catLevel() };
        } else if (t.t === 'id' && t.lv === 'is') {
          this.next();
          a = { t: 'bin', op: 'is', a: a, b: this.catLevel() };
        } else return a;
      }
    },
    catLevel: function () {
      var a = this.addLevel();
      while (this.isOp('&')) { this.next(); a = { t: 'bin', op: '&', a: a, b: this.addLevel() }; }
      return a;
    },
    addLevel: function () {
      var a = this.modLevel();
      while (this.isOp('+') || this.isOp('-')) { var op = this.next().v; a = { t: 'bin', op: op, a: a, b: this.modLevel() }; }
      return a;
    },
    modLevel: function () {
      var a = this.idivLevel();
      while (this.isKw('mod')) { this.next(); a = { t: 'bin', op: 'mod', a: a, b: this.idivLevel() }; }
      return a;
    },
    idivLevel: function () {
      var a = this.mulLevel();
      while (this.isOp('\\')) { this.next(); a = { t: 'bin', op: '\\', a: a, b: this.mulLevel() }; }
      return a;
    },
    mulLevel: function () {
      var a = this.unary();
      while (this.isOp('*') || this.isOp('/')) { var op = this.next().v; a = { t: 'bin', op: op, a: a, b: this.unary() }; }
      return a;
    },
    unary: function () {
      if (this.isOp('-')) { this.next(); return { t: 'un', op: '-', a: this.unary() }; }
      if (this.isOp('+')) { this.next(); return this.unary(); }
      // `"," & Not x`: Not as an operand, read generously
      if (this.isKw('not')) { this.next(); return { t: 'un', op: 'not', a: this.notLevel() }; }
      return this.powLevel();
    },
    powLevel: function () {
      var a = this.postfix();
      while (this.isOp('^')) {
        this.next();
        var b;
        if (this.isOp('-')) { this.next(); b = { t: 'un', op: '-', a: this.postfix() }; }
        else b = this.postfix();
        a = { t: 'bin', op: '^', a: a, b: b };
      }
      return a;
    },
    postfix: function () {
      var node = this.primary();
      for (;;) {
        if (this.isOp('.')) {
          this.next();
          var name = this.ident();
          node = { t: 'mem', obj: node, name: name.v };
          continue;
        }
        if (this.isOp('(')) {
          var parenPos = this.p;
          this.next();
          var args = this.argList(function (s) { return s.isOp(')'); });
          this.expectOp(')');
          node = { t: 'call', fn: node, args: args, parenPos: parenPos };
          continue;
        }
        return node;
      }
    },
    primary: function () {
      var t = this.peek();
      if (t.t === 'num') { this.next(); return { t: 'num', v: t.v }; }
      if (t.t === 'str') { this.next(); return { t: 'str', v: t.v }; }
      if (t.t === 'date') { this.next(); return { t: 'datelit', v: t.v }; }
      if (t.t === 'op' && t.v === '(') {
        this.next();
        var e = this.expr();
        this.expectOp(')');
        return { t: 'paren', e: e };
      }
      if (t.t === 'op' && t.v === '.') {
        this.next();
        var wn = this.ident();
        return { t: 'mem', obj: { t: 'with' }, name: wn.v };
      }
      if (t.t === 'id') {
        if (STOP_WORDS[t.lv]) this.fail('unexpected ' + this.describe(t));
        if (t.lv === 'new') this.fail("'New' (classes) is not supported");
        this.next();
        return { t: 'id', name: t.v, lv: t.lv };
      }
      if (t.t === 'bad') this.fail("unknown character '" + t.v + "'");
      this.fail('unexpected ' + this.describe(t));
    }
  };

  // ==== emitter

  // The emitter: statement trees to JavaScript that calls the runtime (`__tav`), and translate(),
  // the translator's entry point.

  function eachStmt(stmts, fn) {
    stmts.forEach(function (st) {
      fn(st);
      switch (st.s) {
        case 'if':
          st.branches.forEach(function (b) { eachStmt(b.body, fn); });
          if (st.elseBody) eachStmt(st.elseBody, fn);
          break;
        case 'for': case 'foreach': case 'do': case 'with':
          eachStmt(st.body, fn);
          break;
        case 'select':
          st.cases.forEach(function (c) { eachStmt(c.body, fn); });
          if (st.elseBody) eachStmt(st.elseBody, fn);
          break;
      }
    });
  }
  function eachExprOfStmt(st, fn) {
    function e(x) { if (x) eachExpr(x, fn); }
    switch (st.s) {
      case 'assign': e(st.target); e(st.value); break;
      case 'call': e(st.target); (st.args || []).forEach(e); break;
      case 'if': st.branches.forEach(function (b) { e(b.cond); }); break;
      case 'for': e(st.from); e(st.to); e(st.step); break;
      case 'foreach': e(st.coll); break;
      case 'do': if (st.pre) e(st.pre.cond); if (st.post) e(st.post.cond); break;
      case 'select': e(st.subject); st.cases.forEach(function (c) { c.tests.forEach(function (t) { e(t.e); e(t.from); e(t.to); }); }); break;
      case 'with': e(st.obj); break;
      case 'dim': case 'redim': st.vars.forEach(function (v) { (v.dims || []).forEach(e); }); break;
      case 'const': st.items.forEach(function (it) { e(it.value); }); break;
    }
  }
  function eachExpr(x, fn) {
    fn(x);
    switch (x.t) {
      case 'bin': eachExpr(x.a, fn); eachExpr(x.b, fn); break;
      case 'un': eachExpr(x.a, fn); break;
      case 'paren': eachExpr(x.e, fn); break;
      case 'mem': eachExpr(x.obj, fn); break;
      case 'call': eachExpr(x.fn, fn); x.args.forEach(function (a) { eachExpr(a, fn); }); break;
    }
  }
  // Names a call node or statement call reaches, lower case ("showmodaldialog" for members too).
  function calleeName(x) {
    if (x.t === 'id') return x.lv;
    if (x.t === 'mem') return x.name.toLowerCase();
    if (x.t === 'call') return calleeName(x.fn);
    return null;
  }

  function jsName(name) {
    return JS_RESERVED[name] ? name + '$' : name;
  }
  function q(s) { return JSON.stringify(String(s)); }


  // ---------------------------------------------------------------- emitter

  function Emitter(prog, opts, errors, lines) {
    this.prog = prog;
    this.opts = opts || {};
    this.errors = errors;
    this.lines = lines;
    this.tmp = 0;
    this.globals = new Map();  // lower -> js name
    this.procs = new Map();    // lower -> info
    var known = this.opts.known || {};
    this.knownProcs = known.procs || {};
    this.knownVars = known.vars || {};
    var extra = this.opts.isGlobal;
    // An undeclared name that is assigned stays a variable of the script, except for the
    // window members IE-era pages set by bare name.
    this.isGlobal = function (name) { return !!IE_ASSIGNABLE[name.toLowerCase()] || (!!extra && extra(name)); };
    this.nativeGlobal = this.opts.nativeGlobal || function () { return false; };
  }
  Emitter.prototype = {
    t: function (p) { return '$' + p + (++this.tmp); },
    bad: function (line, msg) {
      this.errors.push({ line: line, msg: msg + ': ' + (this.lines[line - 1] || '').trim() });
      return RT + '.bad(' + line + ', ' + q(msg) + ');';
    },

    run: function () {
      var self = this, prog = this.prog;
      var top = [], procNodes = [];
      prog.forEach(function (st) { (st.s === 'proc' ? procNodes : top).push(st); });
      // declared globals
      eachStmt(top, function (st) {
        if (st.s === 'dim' || st.s === 'redim') st.vars.forEach(function (v) { self.declGlobal(v.name); });
        if (st.s === 'const') st.items.forEach(function (it) { self.declGlobal(it.name); });
      });
      procNodes.forEach(function (p) {
        var lower = p.name.toLowerCase();
        self.procs.set(lower, { name: jsName(p.name), lower: lower, node: p, async: false, isFunction: p.kind === 'function', params: p.params });
      });
      // implicit globals: names assigned at script level
      eachStmt(top, function (st) {
        var n = null;
        if (st.s === 'assign' && st.target.t === 'id') n = st.target;
        if ((st.s === 'for' || st.s === 'foreach')) n = { name: st.v, lv: st.v.toLowerCase() };
        if (n && !self.globals.has(n.lv) && !self.procs.has(n.lv) && !self.knownVars[n.lv] &&
            (st.s !== 'assign' || !self.isGlobal(n.name))) self.declGlobal(n.name);
      });
      // async: procedures that open a dialog, directly or through another one
      var asyncNames = {};
      Object.keys(this.knownProcs).forEach(function (k) { if (self.knownProcs[k].async) asyncNames[k] = true; });
      asyncNames.showmodaldialog = true;
      asyncNames.showmodelessdialog = true;
      var changed = true;
      while (changed) {
        changed = false;
        this.procs.forEach(function (info) {
          if (info.async) return;
          if (self.reaches(info.node.body, asyncNames)) {
            info.async = true;
            asyncNames[info.lower] = true;
            changed = true;
          }
        });
      }
      var topAsync = this.reaches(top, asyncNames);

      var out = [];
      var procCode = [];
      this.procs.forEach(function (info) { procCode.push(self.emitProc(info)); });
      var ctx = { kind: 'top', locals: new Map(), loops: [], withs: [], async: topAsync, onError: false };
      var body = this.stmts(top, ctx);
      var gl = [], glNames = [];
      this.globals.forEach(function (js, lower) { gl.push(js); glNames.push([lower, js]); });
      if (gl.length) out.push('var ' + gl.join(', ') + ';');
      out = out.concat(procCode);
      this.procs.forEach(function (info) {
        if (!/^tavh__/.test(info.name)) {
          out.push(RT + '.reg(' + q(info.name) + ', ' + info.name + ', ' + info.async + ', ' + info.params.length + ');');
        }
      });
      glNames.forEach(function (g) { out.push(RT + '.regVar(' + q(g[0]) + ', ' + q(g[1]) + ');'); });
      if (body) {
        if (topAsync) out.push('(async function () {\n' + body + '\n})().catch(function (e) { ' + RT + '.report(e); });');
        else out.push(body);
      }
      return {
        code: out.join('\n'),
        procs: Array.from(this.procs.values()).map(function (i) {
          return { name: i.name, lower: i.lower, async: i.async, params: i.params.length, isFunction: i.isFunction };
        }),
        globals: gl
      };
    },
    declGlobal: function (name) {
      var lower = name.toLowerCase();
      if (this.globals.has(lower)) return;
      var js = jsName(name);
      // a script variable must not land on a window member of that name (location, name, top...)
      if (this.nativeGlobal(js)) js = 'vb_' + js;
      this.globals.set(lower, js);
    },
    reaches: function (stmts, names) {
      var hit = false;
      eachStmt(stmts, function (st) {
        eachExprOfStmt(st, function (x) {
          if (x.t === 'call' && names[calleeName(x)]) hit = true;
          if (x.t === 'id' && names[x.lv]) hit = true;
        });
        if (st.s === 'call' && names[calleeName(st.target)]) hit = true;
      });
      return hit;
    },

    emitProc: function (info) {
      var self = this, p = info.node;
      var ctx = { kind: info.isFunction ? 'function' : 'sub', lower: info.lower, info: info, locals: new Map(), loops: [], withs: [], async: info.async, onError: false };
      var params = p.params.map(function (n) {
        var js = 'v_' + n.toLowerCase();
        ctx.locals.set(n.toLowerCase(), js);
        return js;
      });
      eachStmt(p.body, function (st) {
        if (st.s === 'dim' || st.s === 'redim') st.vars.forEach(function (v) { self.local(ctx, v.name); });
        if (st.s === 'const') st.items.forEach(function (it) { self.local(ctx, it.name); });
      });
      eachStmt(p.body, function (st) {
        var n = null;
        if (st.s === 'assign' && st.target.t === 'id') n = st.target.name;
        if (st.s === 'for' || st.s === 'foreach') n = st.v;
        if (!n) return;
        var lower = n.toLowerCase();
        if (lower === info.lower && info.isFunction) return;
        if (ctx.locals.has(lower) || self.globals.has(lower) || self.knownVars[lower]) return;
        if (st.s === 'assign' && (self.procs.has(lower) || self.knownProcs[lower] || self.isGlobal(n))) return;
        self.local(ctx, n);
      });
      var body = this.stmts(p.body, ctx);
      var decl = [];
      ctx.locals.forEach(function (js) { if (params.indexOf(js) < 0) decl.push(js); });
      var head = (info.async ? 'async ' : '') + 'function ' + info.name + '(' + params.join(', ') + ') {';
      var lines = [head];
      if (info.isFunction) lines.push('var $r;');
      if (decl.length) lines.push('var ' + decl.join(', ') + ';');
      lines.push(body);
      if (info.isFunction) lines.push('return $r;');
      lines.push('}');
      return lines.join('\n');
    },
    local: function (ctx, name) {
      var lower = name.toLowerCase();
      if (!ctx.locals.has(lower)) ctx.locals.set(lower, 'v_' + lower);
    },

    stmts: function (list, ctx) {
      var self = this;
      return list.map(function (st) { return self.stmt(st, ctx); }).filter(Boolean).join('\n');
    },
    stmt: function (st, ctx) {
      var code;
      try {
        code = this.stmtInner(st, ctx);
      } catch (e) {
        if (!(e instanceof ParseError)) throw e;
        return this.bad(e.line || st.line, e.msg);
      }
      if (ctx.onError && code && st.s !== 'onerror' && st.s !== 'exit' && st.s !== 'dim' && st.s !== 'nop') {
        code = 'try {\n' + code + '\n} catch ($e) { ' + RT + '.seterr($e); }';
      }
      return code;
    },
    stmtInner: function (st, ctx) {
      var self = this;
      switch (st.s) {
        case 'nop': return '';
        case 'bad':
          // reported when translated; script-level code goes on, a procedure stops there
          if (ctx.kind === 'top') return '/* line ' + st.line + ': ' + String(st.msg).replace(/\*\//g, '* /') + ' */';
          return RT + '.bad(' + st.line + ', ' + q(st.msg) + ');';
        case 'proc': return this.bad(st.line, 'procedure inside a procedure');
        case 'assign': return this.assign(st.target, this.expr(st.value, ctx), ctx, st.line) + ';';
        case 'call': return this.callStmt(st, ctx) + ';';
        case 'dim':
          return st.vars.filter(function (v) { return v.dims; }).map(function (v) {
            return self.lvalue(v.name, ctx) + ' = ' + RT + '.arr([' + v.dims.map(function (d) { return self.expr(d, ctx); }).join(', ') + ']);';
          }).join('\n');
        case 'redim':
          return st.vars.map(function (v) {
            var lv = self.lvalue(v.name, ctx);
            return lv + ' = ' + RT + '.redim(' + lv + ', ' + st.preserve + ', [' + v.dims.map(function (d) { return self.expr(d, ctx); }).join(', ') + ']);';
          }).join('\n');
        case 'const':
          return st.items.map(function (it) { return self.lvalue(it.name, ctx) + ' = ' + self.expr(it.value, ctx) + ';'; }).join('\n');
        case 'erase':
          return this.lvalue(st.name, ctx) + ' = ' + RT + '.erase(' + this.lvalue(st.name, ctx) + ');';
        case 'if': {
          var s = '';
          st.branches.forEach(function (b, i) {
            s += (i ? ' else if (' : 'if (') + RT + '.cond(' + self.expr(b.cond, ctx) + ')) {\n' + self.stmts(b.body, ctx) + '\n}';
          });
          if (st.elseBody) s += ' else {\n' + this.stmts(st.elseBody, ctx) + '\n}';
          return s;
        }
        case 'for': {
          var v = this.lvalue(st.v, ctx);
          var f0 = this.t('f'), e = this.t('e'), sp = this.t('s'), L = this.t('L');
          var head = 'var ' + f0 + ' = ' + RT + '.num(' + this.expr(st.from, ctx) + '), ' + e + ' = ' + RT + '.num(' +
            this.expr(st.to, ctx) + '), ' + sp + ' = ' + (st.step ? RT + '.num(' + this.expr(st.step, ctx) + ')' : '1') + ';\n';
          ctx.loops.push({ kind: 'for', label: L });
          var body = this.stmts(st.body, ctx);
          ctx.loops.pop();
          return head + L + ': for (' + v + ' = ' + f0 + '; ' + sp + ' >= 0 ? ' + v + ' <= ' + e + ' : ' + v + ' >= ' + e + '; ' +
            v + ' = ' + RT + '.num(' + v + ') + ' + sp + ') {\n' + body + '\n}';
        }
        case 'foreach': {
          var fv = this.lvalue(st.v, ctx);
          var it = this.t('i'), FL = this.t('L');
          ctx.loops.push({ kind: 'for', label: FL });
          var fbody = this.stmts(st.body, ctx);
          ctx.loops.pop();
          return FL + ': for (var ' + it + ' of ' + RT + '.iter(' + this.expr(st.coll, ctx) + ')) {\n' + fv + ' = ' + it + ';\n' + fbody + '\n}';
        }
        case 'do': {
          var DL = this.t('L');
          ctx.loops.push({ kind: 'do', label: DL });
          var dbody = this.stmts(st.body, ctx);
          ctx.loops.pop();
          var c = function (x) { return (x.until ? '!' : '') + RT + '.cond(' + self.expr(x.cond, ctx) + ')'; };
          if (st.pre) return DL + ': while (' + c(st.pre) + ') {\n' + dbody + '\n}';
          if (st.post) return DL + ': do {\n' + dbody + '\n} while (' + c(st.post) + ');';
          return DL + ': for (;;) {\n' + dbody + '\n}';
        }
        case 'select': {
          var sv = this.t('c');
          var out = '{\nvar ' + sv + ' = ' + this.expr(st.subject, ctx) + ';\n';
          st.cases.forEach(function (cs, i) {
            var tests = cs.tests.map(function (t) {
              if (t.is) return RT + '.' + CMP_FN[t.is] + '(' + sv + ', ' + self.expr(t.e, ctx) + ')';
              if (t.from) return '(' + RT + '.ge(' + sv + ', ' + self.expr(t.from, ctx) + ') && ' + RT + '.le(' + sv + ', ' + self.expr(t.to, ctx) + '))';
              return RT + '.eq(' + sv + ', ' + self.expr(t.e, ctx) + ')';
            }).join(' || ');
            out += (i ? ' else if (' : 'if (') + tests + ') {\n' + self.stmts(cs.body, ctx) + '\n}';
          });
          if (st.elseBody) out += (st.cases.length ? ' else {\n' : '{\n') + this.stmts(st.elseBody, ctx) + '\n}';
          return out + '\n}';
        }
        case 'with': {
          var w = this.t('w');
          var head = 'var ' + w + ' = ' + this.expr(st.obj, ctx) + ';\n';
          ctx.withs.push(w);
          var wb = this.stmts(st.body, ctx);
          ctx.withs.pop();
          return '{\n' + head + wb + '\n}';
        }
        case 'exit': {
          if (st.what === 'sub' || st.what === 'property') {
            if (ctx.kind !== 'sub') throw new ParseError("'Exit Sub' outside a Sub", st.line);
            return 'return;';
          }
          if (st.what === 'function') {
            if (ctx.kind !== 'function') throw new ParseError("'Exit Function' outside a Function", st.line);
            return 'return $r;';
          }
          for (var k = ctx.loops.length - 1; k >= 0; k--) {
            if (ctx.loops[k].kind === st.what) return 'break ' + ctx.loops[k].label + ';';
          }
          throw new ParseError("'Exit " + st.what + "' outside a loop", st.line);
        }
        case 'onerror':
          ctx.onError = st.resume;
          return RT + '.err.Clear();';
      }
      throw new ParseError('unsupported statement', st.line);
    },

    // JavaScript lvalue for a plain variable name (loop variables, Dim targets).
    lvalue: function (name, ctx) {
      var lower = name.toLowerCase();
      if (ctx.kind === 'function' && lower === ctx.lower) return '$r';
      if (ctx.locals.has(lower)) return ctx.locals.get(lower);
      if (this.globals.has(lower)) return this.globals.get(lower);
      if (this.knownVars[lower]) return this.knownVars[lower];
      // not declared anywhere we know: make it a local of this scope
      if (ctx.kind !== 'top') { this.local(ctx, name); return ctx.locals.get(lower); }
      this.declGlobal(name);
      return this.globals.get(lower);
    },

    assign: function (target, value, ctx, line) {
      if (target.t === 'id') {
        var lower = target.lv;
        if (ctx.kind === 'function' && lower === ctx.lower) return '$r = ' + value;
        if (ctx.locals.has(lower)) return ctx.locals.get(lower) + ' = ' + value;
        if (this.globals.has(lower)) return this.globals.get(lower) + ' = ' + value;
        if (this.knownVars[lower]) return this.knownVars[lower] + ' = ' + value;
        return RT + '.sg(' + q(target.name) + ', ' + value + ')';
      }
      if (target.t === 'mem') return RT + '.s(' + this.objExpr(target.obj, ctx) + ', ' + q(target.name) + ', ' + value + ')';
      if (target.t === 'call') {
        var arr = this.objExpr(target.fn, ctx);
        return RT + '.si(' + arr + ', [' + this.args(target.args, ctx) + '], ' + value + ')';
      }
      throw new ParseError('cannot assign to this expression', line);
    },

    callStmt: function (st, ctx) {
      var t = st.target;
      if (st.args === null) {
        if (t.t === 'call') return this.callExpr(t.fn, t.args, ctx);
        return this.callExpr(t, [], ctx);
      }
      return this.callExpr(t, st.args, ctx);
    },

    args: function (list, ctx) {
      var self = this;
      return list.map(function (a) { return self.expr(a, ctx); }).join(', ');
    },
    aw: function (code, isAsync, ctx) {
      return isAsync && ctx.async ? '(await ' + code + ')' : code;
    },
    procCall: function (info, argsJs, ctx) {
      return this.aw(info.name + '(' + argsJs + ')', info.async, ctx);
    },

    // A call of `fn` with `args` (fn an identifier, a member or something callable).
    callExpr: function (fn, args, ctx) {
      var argsJs = this.args(args, ctx);
      if (fn.t === 'id') {
        var lower = fn.lv;
        if (ctx.kind === 'function' && lower === ctx.lower) return this.procCall(ctx.info, argsJs, ctx);
        if (ctx.locals.has(lower)) return RT + '.idx(' + ctx.locals.get(lower) + ', [' + argsJs + '])';
        if (this.globals.has(lower)) return RT + '.idx(' + this.globals.get(lower) + ', [' + argsJs + '])';
        if (this.procs.has(lower)) return this.procCall(this.procs.get(lower), argsJs, ctx);
        if (this.knownProcs[lower]) return this.procCall(this.knownProcs[lower], argsJs, ctx);
        if (this.knownVars[lower]) return RT + '.idx(' + this.knownVars[lower] + ', [' + argsJs + '])';
        if (BUILTIN_SET[lower]) {
          if (lower === 'err') return RT + '.err';
          return RT + '.b.' + lower + '(' + argsJs + ')';
        }
        if (lower === 'me' && ctx.kind !== 'top') return RT + '.idx(this, [' + argsJs + '])';
        return this.aw(RT + '.call(' + q(fn.name) + ', [' + argsJs + '])', /^showmod(al|eless)dialog$/.test(lower), ctx);
      }
      if (fn.t === 'mem') {
        return this.aw(RT + '.mc(' + this.objExpr(fn.obj, ctx) + ', ' + q(fn.name) + ', [' + argsJs + '])',
          /^showmod(al|eless)dialog$/i.test(fn.name), ctx);
      }
      return RT + '.idx(' + this.expr(fn, ctx) + ', [' + argsJs + '])';
    },

    // The value of an expression used as the object of a member access or index.
    objExpr: function (x, ctx) {
      if (x.t === 'with') {
        if (!ctx.withs.length) throw new ParseError("'.' outside a With block");
        return ctx.withs[ctx.withs.length - 1];
      }
      return this.expr(x, ctx);
    },

    expr: function (x, ctx) {
      switch (x.t) {
        case 'num': return x.v < 0 ? '(' + String(x.v) + ')' : String(x.v);
        case 'str': return q(x.v);
        case 'datelit': return RT + '.b.cdate(' + q(x.v) + ')';
        case 'missing': return 'undefined';
        case 'paren': return '(' + this.expr(x.e, ctx) + ')';
        case 'with': return this.objExpr(x, ctx);
        case 'un':
          return RT + (x.op === 'not' ? '.not(' : '.neg(') + this.expr(x.a, ctx) + ')';
        case 'bin':
          if (x.op === 'is') return RT + '.is(' + this.expr(x.a, ctx) + ', ' + this.expr(x.b, ctx) + ')';
          return RT + '.' + BIN_FN[x.op] + '(' + this.expr(x.a, ctx) + ', ' + this.expr(x.b, ctx) + ')';
        case 'mem':
          return this.aw(RT + '.m(' + this.objExpr(x.obj, ctx) + ', ' + q(x.name) + ')', /^showmod(al|eless)dialog$/i.test(x.name), ctx);
        case 'call':
          return this.callExpr(x.fn, x.args, ctx);
        case 'id':
          return this.ref(x, ctx);
      }
      throw new ParseError('unsupported expression');
    },
    ref: function (x, ctx) {
      var lower = x.lv;
      if (ctx.kind === 'function' && lower === ctx.lower) return '$r';
      if (ctx.locals.has(lower)) return ctx.locals.get(lower);
      if (this.globals.has(lower)) return this.globals.get(lower);
      if (this.procs.has(lower)) return this.procCall(this.procs.get(lower), '', ctx);
      if (this.knownVars[lower]) return this.knownVars[lower];
      if (this.knownProcs[lower]) return this.procCall(this.knownProcs[lower], '', ctx);
      if (CONSTS[lower] !== undefined) return CONSTS[lower];
      if (lower === 'me') return ctx.kind === 'top' ? 'window' : 'this';
      if (BUILTIN_SET[lower]) return lower === 'err' ? RT + '.err' : RT + '.b.' + lower + '()';
      return RT + '.g(' + q(x.name) + ')';
    }
  };

  var BIN_FN = {
    '&': 'cat', '+': 'add', '-': 'sub', '*': 'mul', '/': 'div', '\\': 'idiv', 'mod': 'mod', '^': 'pow',
    '=': 'eq', '<>': 'ne', '<': 'lt', '>': 'gt', '<=': 'le', '>=': 'ge',
    'and': 'and', 'or': 'or', 'xor': 'xor', 'eqv': 'eqv', 'imp': 'imp'
  };
  var CMP_FN = { '=': 'eq', '<>': 'ne', '<': 'lt', '>': 'gt', '<=': 'le', '>=': 'ge' };

  /**
   * Translates VBScript source to JavaScript that expects the runtime as global `__tav`.
   * opts.known: {procs: {lower: {name, async}}, vars: {lower: name}} from earlier blocks;
   * opts.isGlobal(name): whether an undeclared assigned name is a global to assign to;
   * opts.nativeGlobal(jsName): whether a script variable of that name would hit a window member.
   * Returns {code, errors: [{line, msg}], procs, globals}.
   */
  function translate(src, opts) {
    var errors = [];
    src = String(src);
    var lines = src.split(/\r\n|\r|\n/);
    var toks = lex(src, errors);
    var parser = new Parser(toks, errors, lines);
    var prog = [];
    for (;;) {
      parser.skipNl();
      var t = parser.peek();
      if (t.t === 'eof') break;
      if (t.t === 'id' && /^(end|next|loop|wend|else|elseif|case)$/.test(t.lv)) {
        // a closing word with nothing open: report it and go on
        errors.push({ line: t.line, msg: "'" + t.v + "' without an opening statement: " + (lines[t.line - 1] || '').trim() });
        parser.skipToNl();
        continue;
      }
      prog.push(parser.statement());
    }
    var em = new Emitter(prog, opts, errors, lines);
    var res = em.run();
    errors.sort(function (a, b) { return a.line - b.line; });
    return { code: res.code, errors: errors, procs: res.procs, globals: res.globals };
  }

  // ==== runtime

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

  // ==== dialogs

  // The showModalDialog stand-in: a <dialog> holding an iframe, always shown by the top window
  // of the caller's frame tree, so that a frame loading another page cannot take it away.

  var EM_PX = 16;
  function lengthPx(v) {
    var m = /^\s*(-?[\d.]+)\s*(px|em|pt|cm|mm|in)?\s*$/i.exec(v || '');
    if (!m) return null;
    var n = parseFloat(m[1]);
    switch ((m[2] || 'px').toLowerCase()) {
      case 'em': return Math.round(n * EM_PX);
      case 'pt': return Math.round(n * 4 / 3);
      case 'cm': return Math.round(n * 96 / 2.54);
      case 'mm': return Math.round(n * 96 / 25.4);
      case 'in': return Math.round(n * 96);
      default: return Math.round(n);
    }
  }
  function flag(v) {
    if (v === undefined) return undefined;
    return /^(yes|1|on|true)$/i.test(String(v).trim());
  }
  /** Reads showModalDialog features such as "dialogWidth:25em;dialogHeight:11em; status:0". */
  function parseFeatures(features) {
    var raw = {};
    String(features || '').split(/[;,]/).forEach(function (part) {
      var m = /^\s*([\w-]+)\s*[:=]\s*(.*?)\s*$/.exec(part);
      if (m) raw[m[1].toLowerCase()] = m[2];
    });
    return {
      width: lengthPx(raw.dialogwidth),
      height: lengthPx(raw.dialogheight),
      left: lengthPx(raw.dialogleft),
      top: lengthPx(raw.dialogtop),
      center: flag(raw.center),
      resizable: flag(raw.resizable),
      scroll: flag(raw.scroll),
      status: flag(raw.status),
      raw: raw
    };
  }

  /**
   * The window that shows a dialog `caller` opens: the top window of the caller's frame tree.
   * A dialog there sits in the top layer above every frame (a frameset document shows it too),
   * and no frame that loads another page takes it along: the reminder is raised from a hidden
   * frame while the menu frame sends the working frame elsewhere. A dialog opened from one of
   * our dialogs stacks above it in the same window. A top window of another origin cannot be
   * reached; the caller then shows the dialog itself.
   */
  function chooseHostWindow(caller) {
    try {
      var top = caller.top;
      if (top && top.document && typeof top.document.createElement === 'function') return top;
    } catch (e) { /* another origin */ }
    return caller;
  }

  // returnValue as the dialog page set it, in any case (VBScript writes window.ReturnValue).
  function readReturnValue(w) {
    try {
      if ('returnValue' in w) return w.returnValue;
      var names = Object.getOwnPropertyNames(w);
      for (var i = 0; i < names.length; i++) if (names[i].toLowerCase() === 'returnvalue') return w[names[i]];
    } catch (e) { /* gone or another origin */ }
    return undefined;
  }

  // Shows `url` in a <dialog> of this window's document; resolves with the returnValue.
  function openDialogHere(win, url, args, features, modal, onAnswered) {
    var doc = win.document;
    var f = parseFeatures(features);
    var vw = win.innerWidth || 800, vh = win.innerHeight || 600;
    var W = Math.max(Math.min(f.width || 400, vw - 24), 120);
    var H = Math.max(Math.min(f.height || 300, vh - 24 - 26), 60);

    if (!doc.getElementById('tav-dialog-style')) {
      var st = doc.createElement('style');
      st.id = 'tav-dialog-style';
      st.textContent =
        'dialog.tav-dialog{padding:0;border:1px solid #336699;background:#fff;color:#000;' +
        'box-shadow:0 4px 18px rgba(0,0,0,.45);margin:auto;overflow:hidden;max-width:none;max-height:none}' +
        'dialog.tav-dialog::backdrop{background:rgba(0,0,0,.3)}' +
        '.tav-dialog-bar{display:flex;align-items:center;height:24px;background:#336699;color:#fff;' +
        'font:12px/24px Arial,sans-serif;padding:0 0 0 8px;user-select:none}' +
        '.tav-dialog-title{flex:1;overflow:hidden;white-space:nowrap;text-overflow:ellipsis}' +
        '.tav-dialog-x{width:28px;height:24px;border:0;margin:0;padding:0;background:transparent;color:#fff;' +
        'font:16px/24px Arial,sans-serif;cursor:pointer}.tav-dialog-x:hover{background:#c0392b}' +
        'dialog.tav-dialog iframe{display:block;border:0;margin:0;background:#fff}';
      (doc.head || doc.documentElement).appendChild(st);
    }
    var dlg = doc.createElement('dialog');
    dlg.className = 'tav-dialog';
    var bar = doc.createElement('div');
    bar.className = 'tav-dialog-bar';
    var title = doc.createElement('span');
    title.className = 'tav-dialog-title';
    var x = doc.createElement('button');
    x.type = 'button';
    x.className = 'tav-dialog-x';
    x.setAttribute('aria-label', 'close');
    // ASCII only in this file: pages load it without a charset, so it is read as GBK
    x.title = '\u5173\u95ed';
    x.textContent = '\u00d7';
    bar.appendChild(title);
    bar.appendChild(x);
    var frame = doc.createElement('iframe');
    frame.style.width = W + 'px';
    frame.style.height = H + 'px';
    if (f.scroll === false) frame.setAttribute('scrolling', 'no');
    // focus goes to the page in the dialog, not to the close button
    frame.setAttribute('autofocus', '');
    dlg.appendChild(bar);
    dlg.appendChild(frame);

    var state = { done: false, pending: false, removed: false };
    var resolve;
    var promise = new win.Promise(function (r) { resolve = r; });

    function remove() {
      if (state.removed) return;
      state.removed = true;
      try { if (dlg.open) dlg.close(); } catch (e) { /* already closed */ }
      if (dlg.parentNode) dlg.parentNode.removeChild(dlg);
    }
    function answered() {
      remove();
      if (onAnswered) { try { onAnswered(); } catch (e) { /* the caller went away */ } }
    }
    function finish(w) {
      if (state.done) {
        if (state.pending) answered();
        return;
      }
      state.done = true;
      var rv = w ? readReturnValue(w) : undefined;
      resolve(rv);
      // A form was sent from the dialog (upload_img): the caller has its value
      // now, but the dialog stays, modal and showing the upload's progress, until
      // the answer comes. Hidden, it would die with a host page that the user
      // leaves at once, and the upload with it. Its close button still ends it.
      if (!state.pending) remove();
    }
    function sent() { state.pending = true; }
    // The page in the dialog reports its own submissions as soon as its script
    // binds (it may submit before its load event); this covers pages without it.
    function hook() {
      var w;
      try { w = frame.contentWindow; } catch (e) { return; }
      if (!w) return;
      try {
        w.dialogArguments = args;
        w.close = function () { finish(w); };
        watchSubmits(w, sent);
      } catch (e) { /* another origin */ }
    }
    frame.__tavDialog = { args: args, close: function (w) { finish(w); }, sent: sent };
    frame.addEventListener('load', function () {
      if (state.done) {
        if (state.pending) answered();
        return;
      }
      state.pending = false;
      hook();
      try { title.textContent = frame.contentDocument.title || ''; } catch (e) { /* another origin */ }
    });
    x.addEventListener('click', function () { finish(frame.contentWindow); });
    dlg.addEventListener('cancel', function (e) {
      e.preventDefault();
      finish(frame.contentWindow);
    });
    // the host page going away takes the dialog with it: answer undefined
    win.addEventListener('pagehide', function () {
      if (!state.done) { state.done = true; resolve(undefined); }
    });
    frame.src = url;
    // a frameset document renders no other element but the top layer, where showModal puts it
    var body = doc.body;
    (body && String(body.tagName).toUpperCase() !== 'FRAMESET' ? body : doc.documentElement).appendChild(dlg);
    hook();
    try {
      if (modal) dlg.showModal(); else dlg.show();
    } catch (e) {
      dlg.setAttribute('open', '');
    }
    return promise;
  }

  // Calls `sent` when a form of `w` really goes: by script, or by a submit
  // event that no handler refused (an upload sent by XHR says so itself).
  function watchSubmits(w, sent) {
    if (w.__tavWatched) return;
    w.__tavWatched = true;
    var proto = w.HTMLFormElement && w.HTMLFormElement.prototype;
    if (proto) {
      var orig = proto.submit;
      proto.submit = function () {
        if (this.ownerDocument && this.ownerDocument.defaultView === w) sent();
        return orig.apply(this, arguments);
      };
    }
    w.addEventListener('submit', function (ev) { if (!ev.defaultPrevented) sent(); });
  }

  // Absolute URL of `url` as the caller's document reads it (its charset encodes the query).
  function absoluteUrl(win, url) {
    try {
      var a = win.document.createElement('a');
      a.href = String(url);
      return a.href;
    } catch (e) {
      return String(url);
    }
  }

  function showDialogFrom(win, url, args, features, modal) {
    var abs = absoluteUrl(win, url);
    var host = chooseHostWindow(win);
    var hostApi;
    try {
      // the top page (the desktop's frame set) need not load this script: it gets the dialog
      // host alone, without the binding
      if (!host.__tavApi) host.eval('(' + FACTORY_SRC + ')(window, true)');
      hostApi = host.__tavApi;
    } catch (e) {
      hostApi = null;
    }
    if (!hostApi) { host = win; hostApi = win.__tavApi; }
    return hostApi.openDialogHere(host, abs, args, features, modal, function () { reaskBrokenImages(win); });
  }

  // The picture dialog hands back its tag before its upload is stored, so the
  // caller's copy of the picture failed to load: ask for it again.
  function reaskBrokenImages(win) {
    function walk(d, depth) {
      if (!d || depth > 4) return;
      var imgs = d.images || [];
      for (var i = 0; i < imgs.length; i++) {
        var im = imgs[i];
        if (im.complete && im.naturalWidth === 0 && im.getAttribute('src')) im.setAttribute('src', im.getAttribute('src'));  // as written: the editor stores it
      }
      var frames = d.querySelectorAll('iframe,frame');
      for (var j = 0; j < frames.length; j++) {
        try { walk(frames[j].contentDocument, depth + 1); } catch (e) { /* another origin */ }
      }
    }
    try { walk(win.document, 0); } catch (e) { /* gone */ }
  }

  // ==== netmeeting

  // A stand-in for the NetMeeting conferencing control, which no current browser has. The meeting
  // pages call CallTo(address) and LeaveConference() on the object; here each call tells the user,
  // in the pages' language, that no call can be placed from this browser, and a line next to the
  // object says so before anyone clicks. Nothing fails silently and no script error is raised.

  var NETMEETING_CLSID = '3e9baf2d-7a79-11d2-9334-0000f875ae17';

  // Texts (escaped: the bundles stay ASCII for pages of any charset).
  var NETMEETING_TEXT = {
    // "Cannot call <address>: this browser has no NetMeeting control; a meeting cannot start here."
    callHead: '\u65e0\u6cd5\u547c\u53eb ',
    callTail: '\uff1a\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6\uff0c\u7f51\u7edc\u4f1a\u8bae\u4e0d\u80fd\u4ece\u8fd9\u4e2a\u6d4f\u89c8\u5668\u53d1\u8d77\u3002',
    // the same, for a colleague without a registered address
    callNoAddress: '\u65e0\u6cd5\u547c\u53eb\uff1a\u6240\u9009\u7528\u6237\u6ca1\u6709\u767b\u8bb0 IP \u5730\u5740\uff0c\u800c\u4e14\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6\uff0c\u7f51\u7edc\u4f1a\u8bae\u4e0d\u80fd\u4ece\u8fd9\u4e2a\u6d4f\u89c8\u5668\u53d1\u8d77\u3002',
    // "No meeting to leave: ..."
    leave: '\u6ca1\u6709\u53ef\u4ee5\u53d6\u6d88\u7684\u4f1a\u8bae\uff1a\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6\uff0c\u7f51\u7edc\u4f1a\u8bae\u4e0d\u80fd\u4ece\u8fd9\u4e2a\u6d4f\u89c8\u5668\u8fdb\u884c\u3002',
    // "... cannot bring up the local window."
    undock: '\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6\uff0c\u65e0\u6cd5\u5524\u9192\u672c\u5730\u754c\u9762\u3002',
    // the line beside the object
    note: '\uff08\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6\uff0c\u4e0d\u80fd\u5728\u8fd9\u91cc\u547c\u53eb\u6216\u63a5\u542c\u3002\uff09'
  };

  function isNetMeetingObject(el) {
    if (!el || el.nodeType !== 1 || String(el.tagName).toUpperCase() !== 'OBJECT') return false;
    var id = String(el.getAttribute('classid') || '').replace(/^\s*clsid:\s*/i, '').replace(/\s+$/, '');
    return id.toLowerCase() === NETMEETING_CLSID;
  }

  // The text CallTo shows for an address as the page's select gives it.
  function netMeetingCallText(address) {
    var a = address === null || address === undefined ? '' : String(address).replace(/^\s+|\s+$/g, '');
    return a ? NETMEETING_TEXT.callHead + a + NETMEETING_TEXT.callTail : NETMEETING_TEXT.callNoAddress;
  }

  // Gives one object the control's calls. A real control (its own CallTo) is left alone.
  function standInNetMeeting(win, el) {
    if (el.__tavNetMeeting || el.CallTo !== undefined) return false;
    el.__tavNetMeeting = true;
    var say = function (text) { win.alert(text); };
    el.CallTo = function (address) { say(netMeetingCallText(address)); };
    el.LeaveConference = function () { say(NETMEETING_TEXT.leave); };
    el.UnDock = function () { say(NETMEETING_TEXT.undock); };
    // The object shows nothing; some engines still give it the size of a plugin box.
    if (el.style) el.style.display = 'none';
    var doc = win.document;
    if (el.parentNode && doc.createElement) {
      var note = doc.createElement('span');
      note.className = 'tav-netmeeting';
      note.textContent = NETMEETING_TEXT.note;
      el.parentNode.insertBefore(note, el.nextSibling);
    }
    return true;
  }

  // Every NetMeeting object of the page, once it is parsed.
  function armNetMeeting(win) {
    var doc = win.document;
    function scan() {
      var list = doc.getElementsByTagName('object');
      for (var i = 0; i < list.length; i++) if (isNetMeetingObject(list[i])) standInNetMeeting(win, list[i]);
    }
    if (doc.readyState === 'loading') doc.addEventListener('DOMContentLoaded', scan);
    else scan();
  }

  if (typeof module === 'undefined' && typeof root !== 'undefined' && root && root.document &&
      !(typeof hostOnly !== 'undefined' && hostOnly)) {
    armNetMeeting(root);
  }

  // ==== docall

  // document.all: the pages test `if (document.all ...)` before they hook their right-click
  // menus and mouse handlers. Today's browsers keep the collection but make it test false (and
  // typeof "undefined"); here it becomes a stand-in that tests true and reaches the same elements,
  // by id or name, by index, through item() and namedItem(), and through IE's tags().
  function truthyDocumentAll(win) {
    var doc = win && win.document;
    if (!doc || typeof Proxy !== 'function' || !('all' in doc)) return false;
    var real = doc.all;
    // tests true already (or was replaced): leave it
    if (real || real === null || typeof real === 'object') return false;
    var own = {
      tags: function (tag) { return doc.getElementsByTagName(tag); }
    };
    var stand = new Proxy({}, {
      get: function (t, key) {
        var v = real[key];
        if (v === undefined && typeof key === 'string' && Object.prototype.hasOwnProperty.call(own, key)) return own[key];
        return typeof v === 'function' ? v.bind(real) : v;
      },
      has: function (t, key) { return key in real || Object.prototype.hasOwnProperty.call(own, key); }
    });
    try {
      Object.defineProperty(doc, 'all', { configurable: true, enumerable: true, get: function () { return stand; } });
    } catch (e) {
      return false;
    }
    return true;
  }

  if (typeof module === 'undefined' && root && root.document && !hostOnly) truthyDocumentAll(root);

  // ==== binding

  // Binding into a page: runs the VBScript blocks (when the translator is in the bundle), binds
  // window_onload and <id>_on<event>, makes named form fields reachable by bare name, and puts
  // showModalDialog on the window. Ends with what the bundle exports.

  // Form fields IE made reachable by their bare name: the menu page's folder script reads
  // `menuNN.value` of a hidden field outside any form.
  var FIELD_TAGS = { INPUT: 1, SELECT: 1, TEXTAREA: 1, BUTTON: 1 };

  // Without the translator in the bundle (tavdialog.js) a page gets the dialogs, the frame and
  // dialog close(), and its named fields; VBScript blocks and handlers stay as they are.
  var HAS_COMPILER = typeof translate === 'function';

  function install(win) {
    if (win.__tavBound) return win.__tav;
    win.__tavBound = true;
    var doc = win.document;
    var R = HAS_COMPILER ? createRuntime(win) : null;
    win.__tav = R;
    win.__tavApi = api;
    var con = win.console;
    function report() { if (con) con.error.apply(con, arguments); }

    // Inside one of our dialogs: arguments and close() as the opener set them up.
    var dlgState = null;
    try { dlgState = win.frameElement && win.frameElement.__tavDialog; } catch (e) { dlgState = null; }
    if (dlgState) {
      win.dialogArguments = dlgState.args;
      win.close = function () { dlgState.close(win); };
      if (dlgState.sent) watchSubmits(win, dlgState.sent);
    } else if (win !== win.top) {
      // IE closed the browser window when a frame asked; a frame of ours asks its top.
      win.close = function () { try { win.top.close(); } catch (e) { /* nothing to close */ } };
    }
    if (typeof win.showModalDialog !== 'function') {
      win.showModalDialog = function (url, args, features) { return showDialogFrom(win, url, args, features, true); };
    }
    if (typeof win.showModelessDialog !== 'function') {
      win.showModelessDialog = function (url, args, features) { return showDialogFrom(win, url, args, features, false); };
    }

    var seen = typeof WeakSet === 'function' ? new WeakSet() : null;
    function nativeGlobal(js) { return js in win; }
    var pendingBinds = [];

    function isVbsScript(s) {
      var type = (s.getAttribute('type') || '').toLowerCase();
      var lang = (s.getAttribute('language') || '').toLowerCase();
      return /vbs/.test(type) || (!type && /vbs/.test(lang));
    }
    function parsedPast(node) {
      if (doc.readyState !== 'loading') return true;
      for (var n = node; n; n = n.parentNode) if (n.nextSibling) return true;
      return false;
    }
    function findElements(name) {
      var lower = name.toLowerCase(), out = [];
      var list = doc.querySelectorAll('[id],[name]');
      for (var i = 0; i < list.length; i++) {
        var el = list[i];
        // attributes, not properties: a form's `id` may be its field named "id"
        if ((el.getAttribute('id') || '').toLowerCase() === lower || (el.getAttribute('name') || '').toLowerCase() === lower) out.push(el);
      }
      return out;
    }
    function runProc(p, thisArg, ev) {
      var r;
      try { r = p.fn.call(thisArg, ev); } catch (e) { report('tavcompat: ' + p.name + ':', e); return undefined; }
      if (r && typeof r.then === 'function') r.then(null, function (e) { report('tavcompat: ' + p.name + ':', e); });
      return r;
    }
    function bindProc(p, final) {
      var m = /^(.+)_on([a-z]+)$/i.exec(p.name);
      if (!m) return true;
      var target = m[1].toLowerCase(), ev = m[2].toLowerCase();
      var handler = function (e) { if (runProc(p, this, e) === false) e.preventDefault(); };
      if (target === 'window') {
        if (ev === 'load' && doc.readyState === 'complete') win.setTimeout(function () { runProc(p, win); }, 0);
        else win.addEventListener(ev, handler);
        return true;
      }
      if (target === 'document') {
        doc.addEventListener(ev, handler);
        return true;
      }
      var els = findElements(m[1]);
      if (!els.length) {
        if (final) report('tavcompat: no element "' + m[1] + '" for Sub ' + p.name);
        return false;
      }
      els.forEach(function (el) {
        var inline = el.getAttribute('on' + ev) || '';
        // a handler attribute that already names the sub calls it; do not call it twice
        if (inline.toLowerCase().indexOf(p.name.toLowerCase()) >= 0) return;
        el.addEventListener(ev, handler);
      });
      return true;
    }

    function runVbs(text, label) {
      var res = translate(text, { known: R.known(), nativeGlobal: nativeGlobal });
      res.errors.forEach(function (e) {
        report('tavcompat: VBScript ' + label + ', line ' + e.line + ': ' + e.msg);
      });
      try {
        (0, win.eval)(res.code);
      } catch (e) {
        report('tavcompat: VBScript ' + label + ' stopped:', e);
      }
      res.procs.forEach(function (p) {
        var reg = R.procs.get(p.lower);
        if (!reg) return;
        if (win[reg.name.toLowerCase()] === undefined) win[reg.name.toLowerCase()] = reg.fn;
        if (!bindProc(reg, false)) pendingBinds.push(reg);
      });
      return res;
    }
    function runScript(s) {
      var label = 'block ' + (++R.blocks);
      var forAttr = s.getAttribute('for'), eventAttr = s.getAttribute('event');
      var text = s.text;
      if (forAttr && eventAttr) {
        var nm = forAttr.trim() + '_' + eventAttr.trim().replace(/\(.*$/, '');
        text = 'Sub ' + nm + '\n' + text + '\nEnd Sub';
      }
      if (s.src) {
        win.fetch(s.src).then(function (r) { return r.text(); }).then(function (t) { runVbs(t, label + ' (' + s.src + ')'); },
          function (e) { report('tavcompat: cannot load ' + s.src, e); });
        return;
      }
      if (doc.readyState !== 'loading') { runVbs(text, label); return; }
      // While the page parses, a document.write from a block we run ourselves would start a
      // new document: collect what it writes and put it behind the script element instead.
      var written = '';
      doc.write = function () { written += Array.prototype.join.call(arguments, ''); };
      doc.writeln = function () { written += Array.prototype.join.call(arguments, '') + '\n'; };
      try {
        runVbs(text, label);
      } finally {
        delete doc.write;
        delete doc.writeln;
        if (written) s.insertAdjacentHTML('afterend', written);
      }
    }
    function scan(final) {
      var list = doc.getElementsByTagName('script');
      for (var i = 0; i < list.length; i++) {
        var s = list[i];
        if (seen.has(s) || !isVbsScript(s)) continue;
        if (!final && !parsedPast(s)) continue;
        seen.add(s);
        runScript(s);
      }
    }

    // ---- inline handlers
    function defaultIsVbs() {
      var list = doc.getElementsByTagName('script');
      for (var i = 0; i < list.length; i++) {
        if (/tavcompat\.js/i.test(list[i].getAttribute('src') || '')) continue;
        return isVbsScript(list[i]);
      }
      return false;
    }
    function compilesAsJs(code) {
      try { new win.Function('event', code); return true; } catch (e) { return false; }
    }
    function fixAttr(el, attr) {
      var code = (attr.value || '').trim();
      var prop = attr.name.toLowerCase();
      var m = /^vbscript:([\s\S]*)$/i.exec(code);
      var vbs = null;
      if (m) vbs = m[1];
      else if (/^javascript:/i.test(code)) return;
      else if (/^[A-Za-z_][\w]*(\.[A-Za-z_]\w*)*\s*;?$/.test(code) && !JS_RESERVED[code.replace(/[.;\s].*$/, '')] || /^this\./.test(code)) {
        var path = code.replace(/\s*;$/, '');
        el[prop] = function (event) { return R.handlerCall(this, event, path); };
        return;
      } else if (/vbs/i.test(el.getAttribute('language') || '')) vbs = code;
      // on a page whose first script is VBScript IE read handlers as VBScript too
      else if (!compilesAsJs(code) && defaultIsVbs()) vbs = code;
      if (vbs === null) return;
      var res = translate('Sub tavh__handler\n' + vbs + '\nEnd Sub', { known: R.known(), nativeGlobal: nativeGlobal });
      res.errors.forEach(function (e) {
        report('tavcompat: VBScript handler ' + attr.name + ' of <' + el.tagName.toLowerCase() + (el.getAttribute('id') ? '#' + el.getAttribute('id') : '') + '>, line ' + (e.line - 1) + ': ' + e.msg);
      });
      try {
        var fn = new win.Function('event', res.code + '\nreturn tavh__handler.call(this, event);');
        el[prop] = function (event) { return fn.call(this, event) === false ? false : undefined; };
      } catch (e) {
        report('tavcompat: cannot bind ' + attr.name + ':', e);
      }
    }
    function fixHandlers(rootEl) {
      if (!rootEl || rootEl.nodeType !== 1) return;
      var els = [rootEl];
      var inner = rootEl.getElementsByTagName('*');
      for (var i = 0; i < inner.length; i++) els.push(inner[i]);
      els.forEach(function (el) {
        if (seen.has(el)) return;
        var attrs = el.attributes;
        var hit = false;
        for (var j = 0; j < attrs.length; j++) {
          if (/^on/i.test(attrs[j].name)) { hit = true; fixAttr(el, attrs[j]); }
        }
        if (hit) seen.add(el);
      });
    }

    // a field keeps its bare name unless the window already has something of that name
    function exposeFields(rootEl) {
      if (!rootEl || rootEl.nodeType !== 1) return;
      var els = FIELD_TAGS[rootEl.tagName] ? [rootEl] : rootEl.querySelectorAll('input,select,textarea,button');
      for (var i = 0; i < els.length; i++) {
        var n = els[i].getAttribute('name');
        if (n && /^[A-Za-z_$][\w$]*$/.test(n) && !(n in win)) win[n] = els[i];
      }
    }

    function finalPass() {
      exposeFields(doc.documentElement);
      if (!HAS_COMPILER) return;
      scan(true);
      fixHandlers(doc.documentElement);
      var left = pendingBinds;
      pendingBinds = [];
      left.forEach(function (p) { bindProc(p, true); });
    }
    // Records are delivered before each script element of the page runs, so a block sees the
    // fields and translated procedures parsed before it.
    if (typeof win.MutationObserver === 'function') {
      var mo = new win.MutationObserver(function (muts) {
        for (var i = 0; i < muts.length; i++) {
          var added = muts[i].addedNodes;
          for (var j = 0; j < added.length; j++) {
            if (added[j].nodeType !== 1 || added[j].tagName === 'SCRIPT') continue;
            exposeFields(added[j]);
            if (HAS_COMPILER) fixHandlers(added[j]);
          }
        }
        if (HAS_COMPILER) scan(false);
      });
      mo.observe(doc, { childList: true, subtree: true });
    }
    if (doc.readyState === 'loading') doc.addEventListener('DOMContentLoaded', finalPass);
    else finalPass();
    return R;
  }

  var FACTORY_SRC = tavcompatFactory.toString();

  var api = {
    translate: HAS_COMPILER ? translate : undefined,
    createRuntime: HAS_COMPILER ? createRuntime : undefined,
    findKey: HAS_COMPILER ? findKey : undefined,
    parseFeatures: parseFeatures,
    chooseHostWindow: chooseHostWindow,
    openDialogHere: openDialogHere,
    install: install
  };
  if (typeof module !== 'undefined' && module.exports) {
    module.exports = api;
  } else if (root && root.document) {
    // `hostOnly`: the top window taking dialogs for its frames
    if (hostOnly) root.__tavApi = root.__tavApi || api;
    else install(root);
  }

  // ==== media

  // Player objects become <audio controls> or <video controls>. A playlist (.m3u, .ram, .asx:
  // an address a line) is read from the site and played in order; mms:// is the same file over
  // http. A format the browser cannot play gets a plain message instead.

  var REAL_CLSID = 'cfcdaa03-8be4-11cf-b84b-0020afbbccfa';
  var WMP_CLSID = '22d6f312-b0f6-11d0-94ab-0080c74c7e95';
  var LIST_EXT = /\.(m3u|ram|asx)$/i;
  var MEDIA_TYPES = {
    mp3: 'audio/mpeg', wav: 'audio/wav', ogg: 'audio/ogg', oga: 'audio/ogg', m4a: 'audio/mp4', aac: 'audio/aac',
    flac: 'audio/flac', mp4: 'video/mp4', m4v: 'video/mp4', webm: 'video/webm', ogv: 'video/ogg',
    wma: 'audio/x-ms-wma', wmv: 'video/x-ms-wmv', asf: 'video/x-ms-asf', rm: 'application/vnd.rn-realmedia',
    ra: 'audio/x-pn-realaudio', rmvb: 'application/vnd.rn-realmedia'
  };
  var FORMAT_NAMES = { rm: 'RealMedia', ra: 'RealAudio', rmvb: 'RealVideo', wma: 'WMA', wmv: 'WMV', asf: 'ASF' };
  // "This browser cannot play media of this format (", "), please use another format."
  var MSG_CANNOT = ['\u8fd9\u4e2a\u6d4f\u89c8\u5668\u4e0d\u80fd\u64ad\u653e\u6b64\u683c\u5f0f\u7684\u5a92\u4f53\uff08',
    '\uff09\uff0c\u8bf7\u6362\u7528\u5176\u4ed6\u683c\u5f0f\u3002'];

  /** mms://host/path is the same file as http://host/path on this site. */
  function mmsToHttp(url) {
    return String(url).replace(/^\s*mms:\/\//i, 'http://');
  }

  /** The entries of a playlist text: one address a line, blank lines and # comments skipped. */
  function parsePlaylist(text) {
    var out = [];
    String(text || '').split(/\r\n|\r|\n/).forEach(function (line) {
      var l = line.trim();
      if (!l || l.charAt(0) === '#') return;
      // an .asx in markup names its entries in href attributes
      var m = /<ref\s+href\s*=\s*"([^"]+)"/i.exec(l);
      if (m) { out.push(mmsToHttp(m[1])); return; }
      if (l.charAt(0) === '<') return;
      out.push(mmsToHttp(l));
    });
    return out;
  }

  function extensionOf(url) {
    var m = /\.([a-z0-9]+)(?:[?#].*)?$/i.exec(String(url));
    return m ? m[1].toLowerCase() : '';
  }

  /** The message for an entry the browser cannot play, or '' when it may play it. */
  function cannotPlayMessage(url, canPlayType) {
    var ext = extensionOf(url);
    var type = MEDIA_TYPES[ext];
    if (FORMAT_NAMES[ext] || (type && canPlayType && !canPlayType(type))) {
      var name = decodeURIComponent(String(url).replace(/^.*\//, '').replace(/[?#].*$/, ''));
      return MSG_CANNOT[0] + (FORMAT_NAMES[ext] || ext.toUpperCase()) + MSG_CANNOT[1] + ' ' + name;
    }
    return '';
  }

  function playerAddress(obj) {
    var params = obj.getElementsByTagName('param');
    for (var i = 0; i < params.length; i++) {
      var n = (params[i].getAttribute('name') || '').toLowerCase();
      if (n === 'filename' || n === 'src' || n === 'url') return params[i].getAttribute('value') || '';
    }
    var emb = obj.getElementsByTagName('embed')[0];
    return emb ? emb.getAttribute('src') || '' : '';
  }

  function replacePlayers(win) {
    var doc = win.document;
    var objects = Array.prototype.slice.call(doc.getElementsByTagName('object'));
    var isVideoPage = /play_video/i.test(win.location.pathname);
    objects.forEach(function (obj) {
      var cls = (obj.getAttribute('classid') || '').toLowerCase();
      if (cls.indexOf(REAL_CLSID) < 0 && cls.indexOf(WMP_CLSID) < 0) return;
      var address = playerAddress(obj);
      if (!address) { obj.parentNode.removeChild(obj); return; }  // RealPlayer's control panel half
      var el = doc.createElement(isVideoPage ? 'video' : 'audio');
      el.controls = true;
      el.setAttribute('data-tav-player', '1');
      if (isVideoPage) { el.width = 352; el.height = 264; } else { el.style.width = '275px'; }
      var note = doc.createElement('div');
      note.setAttribute('data-tav-player-note', '1');
      note.style.cssText = 'font-size:12px;color:#c00;background:#fff;padding:2px;display:none;';
      obj.parentNode.replaceChild(el, obj);
      el.parentNode.insertBefore(note, el.nextSibling);
      playAll(win, el, note, mmsToHttp(address));
    });
  }

  function playAll(win, el, note, address) {
    var entries = [];
    var at = -1;
    function say(text) {
      note.style.display = '';
      note.appendChild(win.document.createTextNode(text));
      note.appendChild(win.document.createElement('br'));
    }
    function canPlay(t) { return el.canPlayType(t) !== ''; }
    function next() {
      for (at++; at < entries.length; at++) {
        var msg = cannotPlayMessage(entries[at], canPlay);
        if (!msg) break;
        say(msg);
      }
      if (at >= entries.length) return;
      retried = false;
      start();
    }
    function start() {
      el.setAttribute('data-tav-entry', String(at));
      el.src = entries[at];
      var p = el.play();
      if (p && p.catch) p.catch(function () { /* autoplay refused: the controls are there */ });
    }
    var retried = false;
    el.addEventListener('ended', next);
    el.addEventListener('error', function () {
      if (at < 0 || at >= entries.length) return;
      // what failed where, for whoever looks at the page
      el.setAttribute('data-tav-error', at + ':' + (el.error ? el.error.code + ' ' + (el.error.message || '') : '?') + '@' + el.currentTime);
      // A dropped connection or an audio output that failed to start passes on a
      // second try; a file the browser cannot decode fails again.
      if (!retried) {
        retried = true;
        var t = el.currentTime;
        start();
        if (t > 0) { try { el.currentTime = t; } catch (e) { /* not seekable yet */ } }
        return;
      }
      say(MSG_CANNOT[0] + extensionOf(entries[at]).toUpperCase() + MSG_CANNOT[1]);
      next();
    });
    if (!LIST_EXT.test(address.replace(/[?#].*$/, ''))) { entries = [address]; next(); return; }
    var xhr = new win.XMLHttpRequest();
    xhr.open('GET', address);
    xhr.onload = function () { entries = parsePlaylist(xhr.responseText); next(); };
    xhr.onerror = function () { entries = []; };
    xhr.send();
  }

  if (typeof module === 'undefined' && root && root.document && !hostOnly) {
    if (root.document.readyState === 'loading') {
      root.document.addEventListener('DOMContentLoaded', function () { replacePlayers(root); });
    } else {
      replacePlayers(root);
    }
  }

  // ==== uploadprogress

  // Upload progress: a multipart form with a chosen file goes by XMLHttpRequest under a bar
  // (sent, total, rate, time left, cancel); the answer then shows as the browser would have
  // shown it: a redirect followed, any other answer in this page. Text goes in the page's own
  // encoding, as the server reads it. Forms aimed at another window post as before.

  var UP_TEXT = {
    sending: '\u6b63\u5728\u4e0a\u4f20', sent: '\u5df2\u53d1\u9001', total: '\u5171', rate: '\u901f\u7387',
    left: '\u5269\u4f59\u65f6\u95f4', cancel: '\u53d6\u6d88', cancelled: '\u4e0a\u4f20\u5df2\u53d6\u6d88',
    failed: '\u4e0a\u4f20\u5931\u8d25\uff0c\u8bf7\u91cd\u8bd5\u3002', sec: '\u79d2', min: '\u5206'
  };

  function formatBytes(n) {
    if (n < 1024) return n + ' B';
    if (n < 1024 * 1024) return (n / 1024).toFixed(1) + ' KB';
    if (n < 1024 * 1024 * 1024) return (n / 1024 / 1024).toFixed(1) + ' MB';
    return (n / 1024 / 1024 / 1024).toFixed(2) + ' GB';
  }

  function formatSeconds(s) {
    if (!isFinite(s) || s < 0) return '--';
    s = Math.ceil(s);
    if (s < 60) return s + UP_TEXT.sec;
    return Math.floor(s / 60) + UP_TEXT.min + (s % 60) + UP_TEXT.sec;
  }

  /** The line under the bar: sent, total, rate and time left. */
  function progressText(sent, total, elapsedMs) {
    var rate = elapsedMs > 0 ? sent * 1000 / elapsedMs : 0;
    var left = rate > 0 ? (total - sent) / rate : Infinity;
    return UP_TEXT.sent + ' ' + formatBytes(sent) + ' / ' + UP_TEXT.total + ' ' + formatBytes(total) + '\uff0c' +
      UP_TEXT.rate + ' ' + formatBytes(Math.round(rate)) + '/' + UP_TEXT.sec + '\uff0c' + UP_TEXT.left + ' ' + formatSeconds(left);
  }

  /** Bytes of a text in the document's encoding, as a form post would send them. */
  function pageBytes(doc, text) {
    text = String(text).replace(/\r\n|\r|\n/g, '\r\n');
    var ascii = '';
    for (var i = 0; i < text.length; i++) {
      var c = text.charAt(i);
      ascii += text.charCodeAt(i) < 128 ? encodeURIComponent(c).replace(/[!'()*~]/g, function (x) {
        return '%' + x.charCodeAt(0).toString(16).toUpperCase();
      }) : c;
    }
    // A link's query is encoded in the page's charset: its escapes are the bytes.
    var a = doc.createElement('a');
    a.href = '?' + ascii;
    var q = a.search.slice(1);
    var out = [];
    for (var j = 0; j < q.length; j++) {
      if (q.charAt(j) === '%' && /^[0-9a-f]{2}$/i.test(q.substr(j + 1, 2))) { out.push(parseInt(q.substr(j + 1, 2), 16)); j += 2; }
      else out.push(q.charCodeAt(j) & 0xff);
    }
    return new Uint8Array(out);
  }

  function hasChosenFile(form) {
    for (var i = 0; i < form.elements.length; i++) {
      var e = form.elements[i];
      if (e.type === 'file' && !e.disabled && e.files && e.files.length) return true;
    }
    return false;
  }

  function wantsProgress(form) {
    var enc = (form.getAttribute('enctype') || form.getAttribute('encoding') || '').toLowerCase();
    var target = (form.getAttribute('target') || '').toLowerCase();
    return enc === 'multipart/form-data' && (!target || target === '_self') &&
      (form.getAttribute('method') || '').toLowerCase() === 'post' && hasChosenFile(form);
  }

  /** The multipart body of a form, text in the page's encoding, as Blob parts. */
  function multipartBody(doc, form, submitter, boundary) {
    var parts = [];
    function head(name, extra) {
      parts.push('--' + boundary + '\r\nContent-Disposition: form-data; name="');
      parts.push(pageBytes(doc, name.replace(/"/g, '%22')));
      parts.push('"' + extra);
    }
    for (var i = 0; i < form.elements.length; i++) {
      var e = form.elements[i];
      var type = (e.type || '').toLowerCase();
      if (!e.name || e.disabled || /^(fieldset|object|reset|button|image)$/.test(type)) continue;
      if (type === 'submit' && e !== submitter) continue;
      if ((type === 'checkbox' || type === 'radio') && !e.checked) continue;
      if (type === 'file') {
        var files = e.files && e.files.length ? e.files : [null];
        for (var f = 0; f < files.length; f++) {
          head(e.name, '; filename="');
          if (files[f]) parts.push(pageBytes(doc, files[f].name.replace(/"/g, '%22')));
          parts.push('"\r\nContent-Type: ' + (files[f] && files[f].type || 'application/octet-stream') + '\r\n\r\n');
          if (files[f]) parts.push(files[f]);
          parts.push('\r\n');
        }
      } else if (e.tagName === 'SELECT') {
        for (var o = 0; o < e.options.length; o++) {
          if (!e.options[o].selected) continue;
          head(e.name, '\r\n\r\n');
          parts.push(pageBytes(doc, e.options[o].value), '\r\n');
        }
      } else {
        head(e.name, '\r\n\r\n');
        parts.push(pageBytes(doc, e.value), '\r\n');
      }
    }
    parts.push('--' + boundary + '--\r\n');
    return parts;
  }

  function showAnswer(win, xhr, action) {
    var doc = win.document;
    var final = xhr.responseURL || action;
    if (final && final.split('#')[0] !== action.split('#')[0]) {
      // Redirected: the browser would now stand on the redirect's target.
      win.location.href = final;
      return;
    }
    // The browser would stand on the address the form was sent to, with the
    // form one step back in the history.
    var pushed = false;
    try {
      if (final) {
        win.history.pushState({ tavUpload: 1 }, '', final);
        pushed = true;
      }
    } catch (e) {
      // another origin: keep the address
    }
    doc.open();
    doc.write(xhr.responseText);
    doc.close();
    if (pushed) {
      // Back leaves the answer: show the page at that address again, as the
      // browser would (opening the document dropped earlier listeners).
      var onPop = function (ev) {
        if (ev.state && ev.state.tavUpload) return;  // still on the answer
        win.removeEventListener('popstate', onPop);
        win.location.reload();
      };
      win.addEventListener('popstate', onPop);
    }
  }

  function progressBox(doc, onCancel) {
    var box = doc.createElement('div');
    box.setAttribute('data-tav-upload', '1');
    box.style.cssText = 'position:fixed;left:50%;top:30%;transform:translateX(-50%);z-index:2147483647;width:360px;' +
      'background:#fff;border:1px solid #336699;padding:8px;font:12px sans-serif;color:#000;box-shadow:2px 2px 6px #888;';
    var title = doc.createElement('div');
    title.textContent = UP_TEXT.sending;
    var track = doc.createElement('div');
    track.style.cssText = 'height:14px;border:1px solid #336699;margin:6px 0;background:#eee;';
    var bar = doc.createElement('div');
    bar.setAttribute('data-tav-upload-bar', '1');
    bar.style.cssText = 'height:100%;width:0;background:#336699;';
    track.appendChild(bar);
    var line = doc.createElement('div');
    line.setAttribute('data-tav-upload-text', '1');
    var cancel = doc.createElement('button');
    cancel.type = 'button';
    cancel.textContent = UP_TEXT.cancel;
    cancel.style.marginTop = '6px';
    cancel.onclick = onCancel;
    box.appendChild(title); box.appendChild(track); box.appendChild(line); box.appendChild(cancel);
    (doc.body || doc.documentElement).appendChild(box);
    return { box: box, bar: bar, line: line, title: title };
  }

  function sendWithProgress(win, form, submitter) {
    var doc = win.document;
    var boundary = '----TavelorUpload' + Math.random().toString(16).slice(2) + Date.now().toString(16);
    var action = form.action || win.location.href;
    var body = new win.Blob(multipartBody(doc, form, submitter, boundary));
    var xhr = new win.XMLHttpRequest();
    var started = Date.now();
    var ui = progressBox(doc, function () {
      xhr.abort();
      ui.title.textContent = UP_TEXT.cancelled;
      win.setTimeout(function () { if (ui.box.parentNode) ui.box.parentNode.removeChild(ui.box); }, 800);
      form.__tavSending = false;
    });
    form.__tavSending = true;
    // Inside a dialog: it stays until this answer comes.
    try {
      var dlg = win.frameElement && win.frameElement.__tavDialog;
      if (dlg && dlg.sent) dlg.sent();
    } catch (e) { /* another origin */ }
    xhr.upload.onprogress = function (ev) {
      var total = ev.lengthComputable ? ev.total : body.size;
      ui.bar.style.width = (total ? Math.min(100, ev.loaded * 100 / total) : 0) + '%';
      ui.line.textContent = progressText(ev.loaded, total, Date.now() - started);
    };
    xhr.onload = function () { showAnswer(win, xhr, action); };
    xhr.onerror = function () { ui.title.textContent = UP_TEXT.failed; form.__tavSending = false; };
    xhr.open('POST', action);
    xhr.setRequestHeader('Content-Type', 'multipart/form-data; boundary=' + boundary);
    ui.line.textContent = progressText(0, body.size, 0);
    xhr.send(body);
  }

  function installUploadProgress(win) {
    if (win.__tavUploadBound || !win.XMLHttpRequest || !win.Blob) return;
    if (!('upload' in new win.XMLHttpRequest())) return;
    win.__tavUploadBound = true;
    // On the window: the page's own onsubmit checks ran first and may have refused.
    win.addEventListener('submit', function (ev) {
      var form = ev.target;
      if (ev.defaultPrevented || !form || form.tagName !== 'FORM' || !wantsProgress(form)) return;
      ev.preventDefault();
      if (!form.__tavSending) sendWithProgress(win, form, ev.submitter || null);
    });
    // form.submit() from a script fires no submit event; it goes the same way.
    var proto = win.HTMLFormElement && win.HTMLFormElement.prototype;
    if (proto && !proto.__tavSubmit) {
      proto.__tavSubmit = proto.submit;
      proto.submit = function () {
        if (this.ownerDocument && this.ownerDocument.defaultView === win && wantsProgress(this)) {
          if (!this.__tavSending) sendWithProgress(win, this, null);
          return;
        }
        return proto.__tavSubmit.call(this);
      };
    }
  }

  if (typeof module === 'undefined' && root && root.document && !hostOnly) installUploadProgress(root);

  return api;
})(typeof window !== 'undefined' ? window : this);
