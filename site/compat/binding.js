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
