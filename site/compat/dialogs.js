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

