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

