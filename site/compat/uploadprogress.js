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
