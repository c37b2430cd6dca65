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
