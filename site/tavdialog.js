/*
 * tavdialog.js: built by tools/build-compat.js from site/compat/{dialogs,netmeeting,docall,binding,media,uploadprogress}.js.
 * Edit the parts, not this file.
 *
 * showModalDialog as a <dialog> in the top window, dialogArguments, returnValue and
 * close() inside it, and named form fields reachable by bare name, for pages whose
 * scripts are JavaScript, and the NetMeeting stand-in. The VBScript translator is in
 * tavcompat.js. Player objects become <audio>/<video>; uploads with a file show progress.
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
