// Binding into a page: puts showModalDialog on the window, sets up dialogArguments and close()
// inside one of our dialogs, and makes named form fields reachable by bare name. Ends with what
// the bundle exports.

// Form fields IE made reachable by their bare name: the menu page's folder script reads
// `menuNN.value` of a hidden field outside any form.
var FIELD_TAGS = { INPUT: 1, SELECT: 1, TEXTAREA: 1, BUTTON: 1 };

function install(win) {
  if (win.__tavBound) return;
  win.__tavBound = true;
  var doc = win.document;
  win.__tavApi = api;

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

  // a field keeps its bare name unless the window already has something of that name
  function exposeFields(rootEl) {
    if (!rootEl || rootEl.nodeType !== 1) return;
    var els = FIELD_TAGS[rootEl.tagName] ? [rootEl] : rootEl.querySelectorAll('input,select,textarea,button');
    for (var i = 0; i < els.length; i++) {
      var n = els[i].getAttribute('name');
      if (n && /^[A-Za-z_$][\w$]*$/.test(n) && !(n in win)) win[n] = els[i];
    }
  }

  // Records are delivered before each script element of the page runs, so a script sees the
  // fields parsed before it.
  if (typeof win.MutationObserver === 'function') {
    var mo = new win.MutationObserver(function (muts) {
      for (var i = 0; i < muts.length; i++) {
        var added = muts[i].addedNodes;
        for (var j = 0; j < added.length; j++) {
          if (added[j].nodeType === 1 && added[j].tagName !== 'SCRIPT') exposeFields(added[j]);
        }
      }
    });
    mo.observe(doc, { childList: true, subtree: true });
  }
  if (doc.readyState === 'loading') doc.addEventListener('DOMContentLoaded', function () { exposeFields(doc.documentElement); });
  else exposeFields(doc.documentElement);
}

var FACTORY_SRC = tavcompatFactory.toString();

var api = {
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
