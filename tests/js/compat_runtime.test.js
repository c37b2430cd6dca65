'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { parseFeatures, chooseHostWindow, createRuntime, findKey } = require('../../site/tavcompat.js');
const { fakeWindow, FakeInput, FakeForm } = require('./fakes.js');

test('dialog features: em, px, pt and bare numbers, either separator, flags', () => {
  const f = parseFeatures('dialogWidth:25em;dialogHeight:11em; status:0');
  assert.equal(f.width, 400);
  assert.equal(f.height, 176);
  assert.equal(f.status, false);
  const g = parseFeatures(' DialogWidth = 300px ; dialogheight:240 ; scroll:no; resizable:yes; center:1 ');
  assert.deepEqual([g.width, g.height, g.scroll, g.resizable, g.center], [300, 240, false, true, true]);
  assert.equal(parseFeatures('dialogWidth:12pt').width, 16);
  const none = parseFeatures(undefined);
  assert.deepEqual([none.width, none.height], [null, null]);
  assert.equal(parseFeatures('dialogWidth:wide').width, null, 'a size it cannot read is left to the default');
});

// A window of the given size; `body` is the tag of its document's body.
function fakeFrame(name, w, h, body, children) {
  const win = {
    name,
    innerWidth: w,
    innerHeight: h,
    document: { body: body ? { tagName: body } : null, createElement() {} },
    frames: children || []
  };
  win.frames.length = (children || []).length;
  for (const c of children || []) c.parent = win;
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
  return { top, dir, detail, message, bottom, inner };
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

test('member lookup without case: window globals before constructors, form elements, inherited members', () => {
  const { win, form, inputs } = fakeWindow({ Work_Time: '5' });
  assert.equal(findKey(win, 'Document'), 'document', 'not the Document constructor');
  assert.equal(findKey(win, 'EVENT'), undefined, 'no event outside a handler, and not the constructor');
  assert.equal(findKey(form, 'work_time'), 'Work_Time');
  assert.equal(findKey(inputs[0], 'VALUE'), 'value', 'a getter on the prototype');
  assert.equal(findKey(form, 'SUBMIT'), 'submit');
  assert.equal(findKey(win.document, 'FORM1'), 'form1');
  assert.equal(findKey({ a: 1 }, 'B'), undefined);
  // a name that exists in two spellings prefers the non-constructor
  assert.equal(findKey({ Image: function Image() {}, image: 3 }, 'IMAGE'), 'image');
});

test('runtime globals: procedures, script variables and window members are found without case', () => {
  const { win } = fakeWindow();
  const R = createRuntime(win);
  let called = 0;
  R.reg('Do_Submit', () => { called++; return 'r'; }, false, 0);
  assert.equal(R.g('do_submit'), 'r', 'a bare procedure name calls it');
  assert.equal(R.call('DO_SUBMIT', []), 'r');
  assert.equal(called, 2);
  assert.equal(R.g('DOCUMENT'), win.document);
  assert.equal(R.g('Form1'), win.form1);
  assert.equal(R.g('never_defined'), undefined, 'an unknown name is Empty');
  R.call('Alert', ['hi']);
  assert.deepEqual(win.alerts, ['hi']);
  R.sg('ReturnValue', 5);
  assert.equal(win.ReturnValue, 5, 'a new global keeps the written name');
  win.returnValue = 1;
  R.sg('RETURNVALUE', 7);
  assert.equal(win.returnValue, 7, 'an existing one is found');
  assert.throws(() => R.call('no_such_sub', []), /no such procedure/);
});

test('member writes: existing members keep their case, IE members get theirs', () => {
  const { win, inputs } = fakeWindow({ x: '' });
  const R = createRuntime(win);
  R.s(inputs[0], 'Value', 'v');
  assert.equal(inputs[0].value, 'v');
  R.s(win, 'ReturnValue', 'tag');
  assert.equal(win.returnValue, 'tag');
  assert.throws(() => R.s(null, 'value', 1), /Object required/);
  assert.throws(() => R.mc(inputs[0], 'noSuchMethod', []), /doesn't support/);
});

test('indexing: arrays, collections by number and name, bounds', () => {
  const { win } = fakeWindow();
  const R = createRuntime(win);
  assert.equal(R.idx([[1, 2], [3, 4]], [1, 0]), 3);
  assert.throws(() => R.idx([1], [1]), /Subscript out of range/);
  const coll = { length: 2, item(i) { return ['a', 'b'][i]; }, namedItem(n) { return n === 'x' ? 'X' : null; } };
  assert.equal(R.idx(coll, [1]), 'b');
  assert.equal(R.idx(coll, ['x']), 'X');
  assert.deepEqual(R.iter(coll), ['a', 'b']);
  const a = R.arr([1]);
  R.si(a, [1], 'z');
  assert.deepEqual(a, [undefined, 'z']);
  assert.throws(() => R.si(a, [2], 'z'), /Subscript out of range/);
});

test('values: conditions, comparisons with Empty and Null, type mismatches', () => {
  const R = createRuntime(fakeWindow().win);
  assert.equal(R.cond('True'), true);
  assert.equal(R.cond('0'), false);
  assert.equal(R.cond(null), false);
  assert.throws(() => R.cond('yes'), /Type mismatch/);
  assert.equal(R.eq(undefined, 0), true);
  assert.equal(R.eq(undefined, ''), true);
  assert.equal(R.eq(null, 1), null, 'Null compares to Null');
  assert.equal(R.lt(5, 'abc'), true, 'a number is less than a text that is not a number');
  assert.equal(R.eq(true, -1), true);
  assert.equal(R.str(0.1 + 0.2), '0.3');
  assert.equal(R.b.cint('2.5'), 2, "banker's rounding");
  assert.throws(() => R.b.cint('40000'), /Overflow/);
  assert.throws(() => R.b.mid('abc', 0), /Invalid procedure call/);
});

test('handlers written as a bare name call the sub, also dotted paths; false cancels', () => {
  const { win } = fakeWindow();
  const R = createRuntime(win);
  const seen = [];
  R.reg('go_append', function (ev) { seen.push([this, ev]); return false; }, false, 0);
  const el = new FakeInput({ name: 'b' });
  assert.equal(R.handlerCall(el, 'E', 'Go_Append'), false);
  assert.deepEqual(seen, [[el, 'E']]);
  R.handlerCall(el, 'E', 'window.Close');
  assert.equal(win.closed, 1, 'window.close was called on the window');
  const form = new FakeForm('f', []);
  el.form = form;
  R.handlerCall(el, 'E', 'this.form.submit');
  assert.equal(form.submitted, 1);
  assert.equal(R.handlerCall(el, 'E', 'nothing_here'), undefined);
});
