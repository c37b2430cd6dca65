/*
 * tavdialog.js: built by tools/build-compat.js from site/compat/{dialogs,netmeeting,binding}.js.
 * Edit the parts, not this file.
 *
 * showModalDialog as a <dialog> in the top window, dialogArguments, returnValue and
 * close() inside it, and named form fields reachable by bare name, for pages whose
 * scripts are JavaScript, and the NetMeeting stand-in. The VBScript translator is in
 * tavcompat.js.
 */
(function tavcompatFactory(root, hostOnly) {
  'use strict';

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
  function openDialogHere(win, url, args, features, modal) {
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
    function finish(w) {
      if (state.done) {
        if (state.pending) remove();
        return;
      }
      state.done = true;
      var rv = w ? readReturnValue(w) : undefined;
      resolve(rv);
      if (state.pending) {
        // a form was sent from the dialog (upload_img): let the request finish out of sight
        try { dlg.close(); } catch (e) { /* ignore */ }
        dlg.style.display = 'none';
        win.setTimeout(remove, 60000);
      } else {
        remove();
      }
    }
    function hook() {
      var w;
      try { w = frame.contentWindow; } catch (e) { return; }
      if (!w) return;
      try {
        w.dialogArguments = args;
        w.close = function () { finish(w); };
        if (w.HTMLFormElement && !w.HTMLFormElement.prototype.__tavWatched) {
          var proto = w.HTMLFormElement.prototype, orig = proto.submit;
          proto.submit = function () { state.pending = true; return orig.apply(this, arguments); };
          proto.__tavWatched = true;
        }
        if (!w.document.__tavWatched) {
          w.document.__tavWatched = true;
          w.document.addEventListener('submit', function () { state.pending = true; }, true);
        }
      } catch (e) { /* another origin */ }
    }
    frame.__tavDialog = { args: args, close: function (w) { finish(w); } };
    frame.addEventListener('load', function () {
      if (state.done) {
        if (state.pending) remove();
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
    return hostApi.openDialogHere(host, abs, args, features, modal);
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

  return api;
})(typeof window !== 'undefined' ? window : this);
