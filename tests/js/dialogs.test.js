'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { parseFeatures, chooseHostWindow } = require('./client_script.js').loadClientScript();

test('dialog features: em, px, pt and bare numbers, either separator, flags', () => {
  const cases = [
    ['dialogWidth:25em;dialogHeight:11em; status:0', { width: 400, height: 176, status: false }],
    [' DialogWidth = 300px ; dialogheight:240 ; scroll:no; resizable:yes; center:1 ', { width: 300, height: 240, scroll: false, resizable: true, center: true }],
    ['dialogWidth:12pt', { width: 16 }],
    [undefined, { width: null, height: null }],
    // a size it cannot read is left to the default
    ['dialogWidth:wide', { width: null }],
  ];
  for (const [text, want] of cases) {
    const f = parseFeatures(text);
    for (const [k, v] of Object.entries(want)) assert.equal(f[k], v, JSON.stringify(text) + ' ' + k);
  }
});

// A window of the given size; `body` is the tag of its document's body.
function fakeFrame(name, w, h, body, children = []) {
  const win = { name, innerWidth: w, innerHeight: h, document: { body: body ? { tagName: body } : null, createElement() {} }, frames: children };
  for (const c of children) c.parent = win;
  return win;
}
// The desktop: a frameset top with an inner frameset (dir, detail) and zero-height frames.
function desktop() {
  const dir = fakeFrame('dir', 135, 600, 'BODY');
  const detail = fakeFrame('detail', 880, 600, 'BODY');
  const inner = fakeFrame('', 1015, 600, 'FRAMESET', [dir, detail]);
  const topW = fakeFrame('top_w', 1015, 46, 'BODY');
  const bottom = fakeFrame('bottom', 1015, 25, 'BODY');
  const monitor = fakeFrame('monitorbottom', 1015, 0, 'BODY');
  const sound = fakeFrame('sound', 1015, 0, 'BODY');
  const message = fakeFrame('message', 1015, 0, 'BODY');
  const top = fakeFrame('', 1015, 671, 'FRAMESET', [topW, inner, bottom, monitor, sound, message]);
  for (const w of [dir, detail, inner, topW, bottom, monitor, sound, message, top]) w.top = top;
  return { top, detail, message, bottom };
}

test('dialog host: every caller of the desktop, hidden or in a dialog, shows its dialog in the top window', () => {
  const d = desktop();
  const inDialog = fakeFrame('', 400, 300, 'BODY');
  inDialog.frameElement = { __tavDialog: {} };
  inDialog.parent = d.top;
  inDialog.top = d.top;
  const alone = fakeFrame('', 1024, 700, 'BODY');
  alone.top = alone;
  // a top of another origin throws on access: the caller keeps its dialog
  const foreign = fakeFrame('', 800, 600, 'BODY');
  Object.defineProperty(foreign, 'top', { get() { throw new Error('SecurityError'); } });
  const cases = [
    ['the zero-height reminder frame', d.message, d.top],
    ['the working frame', d.detail, d.top],
    ['the status frame', d.bottom, d.top],
    ['the frame set itself', d.top, d.top],
    ['a dialog opened from one of ours', inDialog, d.top],
    ['a page outside frames', alone, alone],
    ['a frame under a foreign top', foreign, foreign],
  ];
  for (const [what, caller, host] of cases) assert.equal(chooseHostWindow(caller), host, what);
});
