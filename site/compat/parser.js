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

