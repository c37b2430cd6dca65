/*
 * edit.js: the rich text editor of the pages that take formatted text (data entry, mail,
 * guest book).
 *
 * The page writes the toolbars (FormatToolbar, ParaToolbar), the edit frame `mytext`, then its
 * start script, then loads this file. The start script prepares each toolbar with InitTB, writes
 * the initial text into the frame and turns on its design mode; the toolbar calls RunCom and the
 * insert routines below. Everything works on the frame's document through designMode and
 * execCommand.
 *
 * The start scripts were written for Internet Explorer: a function named
 * `document.onreadystatechange` (JScript's event binding), `document.body.all`,
 * `mytext.document`. The first part of this file lets such a script run in current browsers.
 *
 * ASCII only in this file: a page may load it without a charset.
 */

var yToolbars = [];
var bTextMode = false;
var YInitialized;
if (YInitialized !== true) YInitialized = false;

var EDIT_TEXT = {
  textMode: '\u8bf7\u5148\u53d6\u6d88\u201c\u4e66\u5199HTML\u6e90\u4ee3\u7801\u201d\uff0c\u518d\u4f7f\u7528\u6b64\u529f\u80fd\u3002',
  clipboard: '\u6d4f\u89c8\u5668\u4e0d\u5141\u8bb8\u7f51\u9875\u76f4\u63a5\u4f7f\u7528\u526a\u8d34\u677f\uff0c\u8bf7\u7528\u952e\u76d8\uff1a\u526a\u5207 Ctrl+X\uff0c\u590d\u5236 Ctrl+C\uff0c\u7c98\u8d34 Ctrl+V\u3002',
  linkAsk: '\u8bf7\u8f93\u5165\u8d85\u8fde\u63a5\u5730\u5740\uff1a',
  colourAsk: '\u8bf7\u8f93\u5165\u989c\u8272\uff0c\u5982 #FF0000 \u6216 red\uff1a',
  colourBad: '\u65e0\u6cd5\u8bc6\u522b\u7684\u989c\u8272\uff1a',
  flashAsk: '\u8bf7\u8f93\u5165Flash\u6587\u4ef6\u7684\u5730\u5740\uff1a',
  flashSizeAsk: '\u8bf7\u8f93\u5165Flash\u7684\u5bbd\u5ea6\u548c\u9ad8\u5ea6\uff08\u50cf\u7d20\uff09\uff0c\u7528\u9017\u53f7\u5206\u5f00\uff1a',
  flashSizeBad: '\u5bbd\u5ea6\u548c\u9ad8\u5ea6\u5e94\u662f1\u52302000\u4e4b\u95f4\u7684\u6574\u6570\uff0c\u5982 400,300\u3002',
  rowsAsk: '\u8bf7\u8f93\u5165\u8868\u683c\u7684\u884c\u6570\uff1a',
  colsAsk: '\u8bf7\u8f93\u5165\u8868\u683c\u7684\u5217\u6570\uff1a',
  countBad: '\u884c\u6570\u548c\u5217\u6570\u5e94\u662f1\u523099\u4e4b\u95f4\u7684\u6574\u6570\u3002'
};

// ---------------------------------------------------------------- the IE idioms of the start script

(function (win) {
  var doc = win && win.document;
  if (!doc || typeof doc.getElementsByTagName !== 'function') return;

  // `mytext.document`: IE gave a frame element its document.
  var frameProto = win.HTMLIFrameElement && win.HTMLIFrameElement.prototype;
  if (frameProto && !('document' in frameProto)) {
    Object.defineProperty(frameProto, 'document', {
      configurable: true,
      get: function () { return this.contentDocument; }
    });
  }
  // `element.all`: every element below, as IE's document.body.all.
  var elementProto = win.Element && win.Element.prototype;
  if (elementProto && !('all' in elementProto)) {
    Object.defineProperty(elementProto, 'all', {
      configurable: true,
      get: function () { return this.getElementsByTagName('*'); }
    });
  }

  function report(msg, e) { if (win.console) win.console.error('edit.js: ' + msg, e === undefined ? '' : e); }

  // JScript bound `function a.b() {...}` as the handler a.b when the block was parsed. Current
  // browsers refuse the whole block: rename such functions, bind them first, run the block again.
  function rewriteJScript(text) {
    var binds = [];
    var out = text.replace(/\bfunction\s+([A-Za-z_$][\w$]*(?:\s*\.\s*[A-Za-z_$][\w$]*)+)\s*\(/g, function (m, path) {
      path = path.replace(/\s+/g, '');
      var name = 'tav$' + path.replace(/\./g, '$');
      binds.push('try { ' + path + ' = ' + name + '; } catch (e) { }');
      return 'function ' + name + '(';
    });
    return binds.length ? binds.join(' ') + '\n' + out : null;
  }
  function compiles(code) {
    try { new win.Function(code); return true; } catch (e) { return false; }
  }
  function isJavaScript(s) {
    var type = (s.getAttribute('type') || '').toLowerCase();
    var lang = (s.getAttribute('language') || '').toLowerCase();
    if (type) return /^(text|application)\/(x-)?(java|j|ecma)script$/.test(type);
    return !lang || /^(java|j|ecma)script/.test(lang);
  }
  var me = doc.currentScript;
  var scripts = doc.getElementsByTagName('script');
  for (var i = 0; i < scripts.length && scripts[i] !== me; i++) {
    var s = scripts[i];
    if (s.src || s.__tavEditRan || !isJavaScript(s)) continue;
    var text = s.text;
    if (compiles(text)) continue;
    var fixed = rewriteJScript(text);
    if (!fixed || !compiles(fixed)) continue;
    s.__tavEditRan = true;
    try {
      (0, win.eval)(fixed);
    } catch (e) {
      report('start script stopped:', e);
    }
  }

  // The start routine runs on the document's readystatechange. Browsers signal "interactive"
  // and then "complete"; the routine sets YInitialized, and once it has, later signals are not
  // passed on (a second run would write the initial text over what the user began to type).
  var pageHandler = null;
  function onState(ev) {
    if (!pageHandler || win.YInitialized === true) return;
    try {
      pageHandler.call(doc, ev);
    } catch (e) {
      report('start routine stopped:', e);
    }
    if (win.YInitialized === true) EditKeeper.watch();
  }
  var current = doc.onreadystatechange;
  if (typeof current === 'function') {
    pageHandler = current;
    doc.onreadystatechange = null;
  }
  try {
    // a handler the page sets later is caught here as well
    Object.defineProperty(doc, 'onreadystatechange', {
      configurable: true,
      get: function () { return pageHandler; },
      set: function (fn) { pageHandler = typeof fn === 'function' ? fn : null; }
    });
  } catch (e) { /* stays the browser's own property */ }
  doc.addEventListener('readystatechange', onState);
  if (doc.readyState === 'complete') win.setTimeout(onState, 0);
  win.addEventListener('load', function () { EditKeeper.watch(); });
})(typeof window !== 'undefined' ? window : undefined);

// ---------------------------------------------------------------- the edit frame

function editFrame() {
  var d = document;
  var f = d.getElementById('mytext');
  if (!f && d.getElementsByName) f = d.getElementsByName('mytext')[0];
  return f || null;
}
function editWindow() {
  var f = editFrame();
  try { return f ? f.contentWindow : null; } catch (e) { return null; }
}
function editDoc() {
  var f = editFrame();
  try { return f ? f.contentDocument || (f.contentWindow && f.contentWindow.document) : null; } catch (e) { return null; }
}

// Design mode set before the frame's document has loaded is lost in current browsers: put it
// back whenever the frame loads, and for a short while after the start routine ran.
var EditKeeper = {
  framesSeen: [],
  ensure: function () {
    var d = editDoc();
    if (!d) return false;
    try {
      if (String(d.designMode).toLowerCase() !== 'on') d.designMode = 'on';
      if (!d.__tavEditPrepared) {
        d.__tavEditPrepared = true;
        // tags, not style attributes: the stored text is read by pages that expect <b>, <font>
        try { d.execCommand('styleWithCSS', false, false); } catch (e) { /* older engines */ }
      }
      return String(d.designMode).toLowerCase() === 'on';
    } catch (e) {
      return false;
    }
  },
  watch: function () {
    var f = editFrame();
    if (f && this.framesSeen.indexOf(f) < 0 && typeof f.addEventListener === 'function') {
      this.framesSeen.push(f);
      f.addEventListener('load', function () { if (YInitialized === true) EditKeeper.ensure(); });
    }
    if (YInitialized !== true) return;
    this.ensure();
    var left = 5;
    var tick = function () {
      EditKeeper.ensure();
      if (--left > 0) setTimeout(tick, 100);
    };
    setTimeout(tick, 0);
  }
};

function focusEditor() {
  EditKeeper.ensure();
  var w = editWindow();
  try { if (w) w.focus(); } catch (e) { /* no frame */ }
}

function saveRange() {
  var d = editDoc();
  try {
    var sel = d && d.getSelection && d.getSelection();
    return sel && sel.rangeCount ? sel.getRangeAt(0).cloneRange() : null;
  } catch (e) {
    return null;
  }
}
function restoreRange(range) {
  var d = editDoc();
  if (!range || !d) return;
  try {
    var sel = d.getSelection();
    sel.removeAllRanges();
    sel.addRange(range);
  } catch (e) { /* the range belongs to a document that is gone */ }
}

function execIn(d, command, value) {
  try {
    return !!d.execCommand(command, false, value === undefined ? null : value);
  } catch (e) {
    return false;
  }
}

// Puts markup at the selection (or at `range`, saved before a dialog took the focus).
function insertMarkup(html, range) {
  var d = editDoc();
  if (!d) return false;
  focusEditor();
  if (range) restoreRange(range);
  return execIn(d, 'insertHTML', html);
}

function escapeAttr(s) {
  return String(s).replace(/&/g, '&amp;').replace(/"/g, '&quot;').replace(/</g, '&lt;').replace(/>/g, '&gt;');
}
function escapeText(s) {
  return String(s).replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;');
}
function trimText(s) { return String(s).replace(/^[\s\u3000]+|[\s\u3000]+$/g, ''); }

// Formatting commands would work on the visible source text; editing ones are fine there.
function refusedInTextMode(command) {
  if (!bTextMode || command === 'cut' || command === 'copy' || command === 'paste') return false;
  alert(EDIT_TEXT.textMode);
  focusEditor();
  return true;
}

// ---------------------------------------------------------------- what the toolbar calls

// Prepares one toolbar: each button's image follows the mouse (rest, 1 under it, 2 pressed).
function InitTB(element) {
  if (!element || element.nodeType !== 1) return false;
  if (element.__tavToolbar) return true;
  var imgs = element.getElementsByTagName('img');
  var controls = element.getElementsByTagName('select').length + element.getElementsByTagName('input').length;
  var buttons = 0;
  for (var i = 0; i < imgs.length; i++) {
    var img = imgs[i];
    var div = img.parentNode;
    if (!div || String(div.tagName).toUpperCase() !== 'DIV' || !/(^|\s)Ico(\s|$)/.test(img.className || '')) continue;
    wireButton(div, img);
    buttons++;
  }
  if (!buttons && !controls) return false;
  // a checkbox that the browser restored as ticked would not match the mode
  var box = element.ownerDocument && element.ownerDocument.getElementById ? element.ownerDocument.getElementById('switchMode') : null;
  if (box && box.checked && !bTextMode) box.checked = false;
  element.__tavToolbar = true;
  return true;
}

function wireButton(div, img) {
  var src = img.getAttribute('src') || '';
  var m = /^(.*?)(\.[A-Za-z]+)$/.exec(src);
  if (!m) return;
  var rest = src, over = m[1] + '1' + m[2], down = m[1] + '2' + m[2];
  function show(s) { if (img.getAttribute('src') !== s) img.setAttribute('src', s); }
  div.addEventListener('mouseenter', function () { show(over); });
  div.addEventListener('mouseleave', function () { show(rest); });
  div.addEventListener('mousedown', function (e) {
    show(down);
    // keep the focus and the selection in the edit frame
    if (e && e.preventDefault) e.preventDefault();
  });
  div.addEventListener('mouseup', function () { show(over); });
}

var EDIT_PLACEHOLDERS = { fontname: 'font', fontsize: 'fontsize' };

// Runs an edit command on the frame's document at its selection.
function RunCom(command, value) {
  var cmd = String(command).toLowerCase();
  if (Object.prototype.hasOwnProperty.call(EDIT_PLACEHOLDERS, cmd) &&
      (value === undefined || value === null || value === '' || value === EDIT_PLACEHOLDERS[cmd])) return false;
  var d = editDoc();
  if (!d) return false;
  if (refusedInTextMode(cmd)) return false;
  focusEditor();
  var ok = execIn(d, cmd, value);
  if (!ok && (cmd === 'cut' || cmd === 'copy' || cmd === 'paste')) alert(EDIT_TEXT.clipboard);
  return ok;
}

function isColour(c) {
  if (/^#([0-9a-f]{3}|[0-9a-f]{6})$/i.test(c)) return true;
  if (typeof CSS !== 'undefined' && CSS && typeof CSS.supports === 'function') return CSS.supports('color', c);
  return /^[a-z]+$/i.test(c) || /^rgb\(\s*\d{1,3}\s*,\s*\d{1,3}\s*,\s*\d{1,3}\s*\)$/i.test(c);
}

// Applies the colour chosen in fColor; "more" asks for any colour.
function foreColor() {
  var sel = document.getElementById('fColor');
  if (!sel) return false;
  var value = sel.value;
  // back to the caption, so that the same entry can be chosen again
  sel.selectedIndex = 0;
  if (!value || value === 'color') return false;
  if (refusedInTextMode('forecolor')) return false;
  var range = saveRange();
  var colour = value;
  if (value === 'more') {
    var answer = prompt(EDIT_TEXT.colourAsk, '#000000');
    if (answer === null || answer === undefined) { focusEditor(); return false; }
    colour = trimText(answer);
    if (/^[0-9a-f]{6}$/i.test(colour)) colour = '#' + colour;
    if (colour === '') { focusEditor(); return false; }
    if (!isColour(colour)) {
      alert(EDIT_TEXT.colourBad + colour);
      focusEditor();
      return false;
    }
  }
  focusEditor();
  restoreRange(range);
  return execIn(editDoc(), 'forecolor', colour);
}

// Asks for an address and links the selection to it (or inserts the address as a link).
function createLink() {
  if (refusedInTextMode('createlink')) return false;
  var range = saveRange();
  var url = prompt(EDIT_TEXT.linkAsk, 'http://');
  if (url === null || url === undefined) { focusEditor(); return false; }
  url = trimText(url);
  if (url === '' || /^[a-z]+:(\/\/)?$/i.test(url)) { focusEditor(); return false; }
  var d = editDoc();
  if (!d) return false;
  focusEditor();
  restoreRange(range);
  var sel = d.getSelection ? d.getSelection() : null;
  if (sel && sel.rangeCount && !sel.isCollapsed) return execIn(d, 'createlink', url);
  return insertMarkup('<a href="' + escapeAttr(url) + '">' + escapeText(url) + '</a>');
}

// Opens the picture dialog; the tag it returns goes where the selection was. The dialog of
// current browsers answers with a Promise; one that answers at once is served as well.
function insertImage() {
  if (refusedInTextMode('insertimage')) return false;
  if (typeof showModalDialog !== 'function') {
    if (typeof console !== 'undefined') console.error('edit.js: no showModalDialog on this page');
    return false;
  }
  var range = saveRange();
  var answer;
  try {
    answer = showModalDialog('upload_img.asp', '', 'dialogWidth:26em;dialogHeight:13em;status:0;help:0');
  } catch (e) {
    if (typeof console !== 'undefined') console.error('edit.js: picture dialog:', e);
    return false;
  }
  function put(tag) {
    if (typeof tag !== 'string' || trimText(tag) === '' || bTextMode) {
      focusEditor();
      return false;
    }
    return insertMarkup(tag, range);
  }
  if (answer && typeof answer.then === 'function') return answer.then(put);
  return put(answer);
}

// Asks for a Flash file and its size, and inserts the player markup.
function insertFlash() {
  if (refusedInTextMode('insertflash')) return false;
  var range = saveRange();
  var url = prompt(EDIT_TEXT.flashAsk, 'http://');
  if (url === null || url === undefined) { focusEditor(); return false; }
  url = trimText(url);
  if (url === '' || /^[a-z]+:(\/\/)?$/i.test(url)) { focusEditor(); return false; }
  var size = prompt(EDIT_TEXT.flashSizeAsk, '400,300');
  if (size === null || size === undefined) { focusEditor(); return false; }
  var m = /^\s*(\d{1,4})\s*[,\uff0cxX*]\s*(\d{1,4})\s*$/.exec(size);
  var w = m ? parseInt(m[1], 10) : 0, h = m ? parseInt(m[2], 10) : 0;
  if (!(w >= 1 && w <= 2000 && h >= 1 && h <= 2000)) {
    alert(EDIT_TEXT.flashSizeBad);
    focusEditor();
    return false;
  }
  var src = escapeAttr(url);
  return insertMarkup('<object classid="clsid:D27CDB6E-AE6D-11cf-96B8-444553540000" width="' + w + '" height="' + h + '">' +
    '<param name="movie" value="' + src + '"><param name="quality" value="high">' +
    '<embed src="' + src + '" quality="high" type="application/x-shockwave-flash" width="' + w + '" height="' + h + '"></embed>' +
    '</object>', range);
}

function askCount(question, fallback) {
  var a = prompt(question, fallback);
  if (a === null || a === undefined) return null;
  a = trimText(a);
  return /^\d{1,2}$/.test(a) && parseInt(a, 10) >= 1 ? parseInt(a, 10) : 0;
}

// Asks for rows and columns and inserts an empty table.
function creatTable() {
  if (refusedInTextMode('inserttable')) return false;
  var range = saveRange();
  var rows = askCount(EDIT_TEXT.rowsAsk, '2');
  if (rows === null) { focusEditor(); return false; }
  var cols = rows ? askCount(EDIT_TEXT.colsAsk, '2') : 0;
  if (cols === null) { focusEditor(); return false; }
  if (!rows || !cols) {
    alert(EDIT_TEXT.countBad);
    focusEditor();
    return false;
  }
  var html = '<table border="1" cellspacing="0" cellpadding="3" width="100%">';
  for (var r = 0; r < rows; r++) {
    html += '<tr>';
    for (var c = 0; c < cols; c++) html += '<td>&nbsp;</td>';
    html += '</tr>';
  }
  return insertMarkup(html + '</table>', range);
}

// Switches between the formatted view and its HTML source; the source is edited as plain text.
function setMode(checked) {
  var on = !!checked;
  var d = editDoc();
  if (!d || !d.body) return false;
  if (on === bTextMode) return true;
  var body = d.body;
  if (on) {
    var html = body.innerHTML;
    body.style.whiteSpace = 'pre-wrap';
    body.innerText = html;
  } else {
    var source = body.innerText;
    body.style.whiteSpace = '';
    body.innerHTML = source;
  }
  bTextMode = on;
  focusEditor();
  return true;
}
