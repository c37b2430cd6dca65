'use strict';
// The editor's script (site/edit.js) on stand-ins for the host page and its edit frame: the
// decisions it takes before the browser's edit commands run.
const test = require('node:test');
const assert = require('node:assert/strict');
const { runSiteScript } = require('./client_script.js');

function escapeHtml(s) { return s.replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;'); }
function textOf(html) {
  return html.replace(/<[^>]*>/g, '').replace(/&lt;/g, '<').replace(/&gt;/g, '>').replace(/&amp;/g, '&');
}

// A body whose two views are tied together as a browser ties them.
class FakeBody {
  constructor(html) { this._html = html; this.style = {}; }
  get innerHTML() { return this._html; }
  set innerHTML(v) { this._html = String(v); }
  get innerText() { return textOf(this._html); }
  set innerText(v) { this._html = escapeHtml(String(v)); }
}

// An element that keeps its listeners and can fire them.
class FakeNode {
  constructor(tag, attrs, children = []) {
    Object.assign(this, { nodeType: 1, tagName: tag.toUpperCase(), _attrs: { ...attrs }, className: (attrs || {}).class || '', children, listeners: {} });
    for (const c of children) c.parentNode = this;
  }
  getAttribute(n) { return n in this._attrs ? this._attrs[n] : null; }
  setAttribute(n, v) { this._attrs[n] = String(v); }
  addEventListener(type, fn) { (this.listeners[type] = this.listeners[type] || []).push(fn); }
  fire(type) {
    const ev = { type, prevented: 0, preventDefault() { this.prevented++; } };
    for (const fn of this.listeners[type] || []) fn.call(this, ev);
    return ev;
  }
  getElementsByTagName(tag) {
    const out = [];
    const walk = (n) => { for (const c of n.children) { if (c.tagName === tag.toUpperCase()) out.push(c); walk(c); } };
    walk(this);
    return out;
  }
}

// The host page with its frame `mytext`, the colour select and the browser's dialogs.
// `prompts` are the answers given in turn (null cancels).
function editor({ html = '', collapsed = true, prompts = [], dialog, exec } = {}) {
  const [log, alerts, asked] = [[], [], []];
  const body = new FakeBody(html);
  const savedRange = { saved: true };
  const selection = {
    rangeCount: 1,
    isCollapsed: collapsed,
    getRangeAt() { return { cloneRange: () => savedRange }; },
    removeAllRanges() { log.push('clear'); },
    addRange(r) { log.push(r === savedRange ? 'restore' : 'other range'); },
  };
  const editDoc = {
    designMode: 'off',
    body,
    getSelection: () => selection,
    execCommand(command, ui, value) {
      if (command === 'styleWithCSS') return true;
      log.push(['exec', command, value]);
      return exec ? exec(command) : true;
    },
  };
  const nothing = () => {};
  const frame = { nodeType: 1, contentDocument: editDoc, contentWindow: { document: editDoc, focus() { log.push('focus'); } }, addEventListener: nothing };
  const colours = ['color', '#666666', '#cc0000', 'more'];
  const fColor = { selectedIndex: 0, get value() { return colours[this.selectedIndex]; }, choose(v) { this.selectedIndex = colours.indexOf(v); } };
  const document = { readyState: 'loading', getElementById: (id) => ({ mytext: frame, fColor }[id] || null),
    getElementsByName: () => [], getElementsByTagName: () => [], addEventListener: nothing };
  const ctx = {
    document, console, setTimeout: () => 0, addEventListener: nothing,
    alert: (m) => alerts.push(String(m)),
    prompt: (q, def) => { asked.push([q, def]); return prompts.length ? prompts.shift() : null; },
  };
  if (dialog) ctx.showModalDialog = (url) => { log.push(['dialog', url]); return dialog(); };
  ctx.window = ctx;
  runSiteScript('edit.js', ctx);
  const commands = () => log.filter((e) => Array.isArray(e) && e[0] === 'exec').map((e) => e.slice(1));
  return { ctx, log, alerts, asked, body, editDoc, fColor, commands };
}

test('setMode switches to the source and back, once per change of the box', () => {
  const e = editor({ html: '<b>bold</b> &amp; plain' });
  // a second call in the same mode must not turn the source into the source of the source
  const state = () => [e.ctx.bTextMode, e.body.innerText, e.body.innerHTML, e.body.style.whiteSpace];
  for (let i = 0; i < 2; i++) {
    e.ctx.setMode(true);
    assert.deepEqual(state(), [true, '<b>bold</b> &amp; plain', '&lt;b&gt;bold&lt;/b&gt; &amp;amp; plain', 'pre-wrap'], 'the source as text, blanks kept');
  }
  e.body.innerText = '<i>new</i> text';
  for (let i = 0; i < 2; i++) {
    e.ctx.setMode(false);
    assert.deepEqual(state(), [false, 'new text', '<i>new</i> text', ''], 'what was typed as tags is markup again');
  }
  assert.equal(e.editDoc.designMode, 'on', 'the frame stays editable');
});

test('foreColor: a swatch, the caption, and the free choice behind "more"', () => {
  const cases = [
    { choose: 'color', prompts: [], want: null, asked: 0 },
    { choose: '#cc0000', prompts: [], want: '#cc0000', asked: 0 },
    { choose: 'more', prompts: [null], want: null, asked: 1 },
    { choose: 'more', prompts: [''], want: null, asked: 1 },
    { choose: 'more', prompts: ['ff8800'], want: '#ff8800', asked: 1 },
    { choose: 'more', prompts: [' #AbC '], want: '#AbC', asked: 1 },
    { choose: 'more', prompts: ['red'], want: 'red', asked: 1 },
    { choose: 'more', prompts: ['#12345'], want: null, asked: 1, alert: true },
    { choose: 'more', prompts: ['not a colour'], want: null, asked: 1, alert: true },
  ];
  for (const c of cases) {
    const e = editor({ prompts: c.prompts });
    e.fColor.choose(c.choose);
    e.ctx.foreColor();
    // and the box back at its caption
    assert.deepEqual([e.commands(), e.asked.length, e.alerts.length, e.fColor.selectedIndex],
      [c.want ? [['forecolor', c.want]] : [], c.asked, c.alert ? 1 : 0, 0], JSON.stringify(c));
  }
});

test('createLink asks with prompt and never links to "null"', () => {
  const cases = [
    { answer: null, collapsed: false, want: [] },
    { answer: '', collapsed: false, want: [] },
    { answer: 'http://', collapsed: false, want: [] },
    { answer: ' http://a.example/x ', collapsed: false, want: [['createlink', 'http://a.example/x']] },
    { answer: 'mailto:li@a.example', collapsed: false, want: [['createlink', 'mailto:li@a.example']] },
    // nothing selected: the address goes in as its own link
    { answer: 'http://a.example/?q="x"&y=<1>', collapsed: true,
      want: [['insertHTML', '<a href="http://a.example/?q=&quot;x&quot;&amp;y=&lt;1&gt;">http://a.example/?q="x"&amp;y=&lt;1&gt;</a>']] },
  ];
  for (const c of cases) {
    const e = editor({ prompts: [c.answer], collapsed: c.collapsed });
    e.ctx.createLink();
    assert.deepEqual(e.commands(), c.want, JSON.stringify(c.answer));
    assert.ok(!e.commands().some(([, v]) => /null/.test(String(v))), 'no link to null');
    assert.equal(e.asked[0][1], 'http://');
  }
});

test('insertImage inserts the dialog\'s tag at the saved selection, at once or when its Promise settles', async () => {
  const tag = '<IMG border=0 SRC=./Datas/email/cat.gif ALIGN=left>';
  const ways = [
    { name: 'returned at once', dialog: () => tag },
    { name: 'through a Promise', dialog: () => Promise.resolve(tag) },
  ];
  for (const w of ways) {
    const e = editor({ dialog: w.dialog });
    await e.ctx.insertImage();
    assert.deepEqual(e.log.find((x) => Array.isArray(x) && x[0] === 'dialog'), ['dialog', 'upload_img.asp'], w.name);
    assert.deepEqual(e.commands(), [['insertHTML', tag]], w.name);
    const at = e.log.findIndex((x) => Array.isArray(x) && x[1] === 'insertHTML');
    assert.equal(e.log[at - 1], 'restore', 'the selection from before the dialog: ' + w.name);
  }

  // closed or cancelled dialogs give nothing to insert
  for (const answer of [undefined, null, '', '   ']) {
    for (const wrap of [(v) => v, (v) => Promise.resolve(v)]) {
      const e = editor({ dialog: () => wrap(answer) });
      await e.ctx.insertImage();
      assert.deepEqual(e.commands(), [], JSON.stringify(answer));
    }
  }

  // a page without the dialog stand-in does nothing rather than fail
  const bare = editor();
  assert.equal(bare.ctx.insertImage(), false);
});

test('RunCom: focus first, font placeholders skipped, formatting refused in source mode, clipboard refusals said', () => {
  let e = editor();
  e.ctx.RunCom('fontsize', '5');
  assert.deepEqual(e.log.filter((x) => x === 'focus' || Array.isArray(x)).slice(0, 2), ['focus', ['exec', 'fontsize', '5']]);
  assert.equal(e.editDoc.designMode, 'on');

  for (const [command, value] of [['fontname', 'font'], ['fontsize', 'fontsize'], ['fontname', ''], ['fontsize', undefined]]) {
    e = editor();
    e.ctx.RunCom(command, value);
    assert.deepEqual(e.commands(), [], command + ' ' + value);
  }

  e = editor({ html: '<b>x</b>' });
  e.ctx.setMode(true);
  e.ctx.RunCom('bold');
  assert.deepEqual(e.commands(), []);
  assert.equal(e.alerts.length, 1);
  e.ctx.RunCom('copy');
  assert.deepEqual(e.commands(), [['copy', null]], 'copying the source is fine');

  e = editor({ exec: (c) => c !== 'paste' });
  assert.equal(e.ctx.RunCom('paste'), false);
  assert.equal(e.alerts.length, 1, 'the user is told to use the keyboard');
  assert.equal(e.ctx.RunCom('Bold'), true);
  assert.deepEqual(e.commands().at(-1), ['bold', null]);
});

test('creatTable and insertFlash ask, check and insert; a cancel inserts nothing', () => {
  const tables = [
    { prompts: ['2', '3'], rows: 2, cells: 6 },
    { prompts: [' 1 ', '1'], rows: 1, cells: 1 },
    { prompts: [null], rows: 0 },
    { prompts: ['2', null], rows: 0 },
    { prompts: ['0', '3'], rows: 0, alert: true },
    { prompts: ['abc'], rows: 0, alert: true },
    { prompts: ['2', '100'], rows: 0, alert: true },
  ];
  const count = (html, re) => (html.match(re) || []).length;
  for (const c of tables) {
    const e = editor({ prompts: c.prompts.slice() });
    e.ctx.creatTable();
    const html = e.commands().length ? e.commands()[0][1] : '';
    assert.deepEqual([count(html, /<tr>/g), count(html, /<td>/g), e.alerts.length], [c.rows, c.cells || 0, c.alert ? 1 : 0], JSON.stringify(c.prompts));
  }

  const flashes = [
    { prompts: ['http://a.example/m.swf', '320,240'], size: ['320', '240'] },
    { prompts: ['m.swf', '320x200'], size: ['320', '200'] },
    { prompts: [null], size: null },
    { prompts: ['http://', '1,1'], size: null },
    { prompts: ['m.swf', null], size: null },
    { prompts: ['m.swf', '0,10'], size: null, alert: true },
    { prompts: ['m.swf', 'big'], size: null, alert: true },
  ];
  for (const c of flashes) {
    const e = editor({ prompts: c.prompts.slice() });
    e.ctx.insertFlash();
    const label = JSON.stringify(c.prompts);
    assert.equal(e.alerts.length, c.alert ? 1 : 0, label);
    if (!c.size) { assert.deepEqual(e.commands(), [], label); continue; }
    const html = e.commands()[0][1];
    assert.equal(html.split('"' + c.prompts[0] + '"').length, 3, 'the movie named twice: ' + label);
    assert.match(html, new RegExp(`<embed [^>]*width="${c.size[0]}" height="${c.size[1]}"`), label);
  }
});

test('InitTB wires each button\'s three images and keeps the frame\'s focus; a second call adds nothing', () => {
  const e = editor();
  const img = new FakeNode('img', { class: 'Ico', src: 'img/bold.gif' });
  img.className = 'Ico';
  const btn = new FakeNode('div', { class: 'Btn' }, [img]);
  const pasteImg = new FakeNode('img', { src: 'img/paste.gif' });
  pasteImg.className = 'Ico';
  const paste = new FakeNode('div', {}, [pasteImg]);
  const bar = new FakeNode('div', { id: 'FormatToolbar' }, [btn, paste]);
  assert.equal(e.ctx.InitTB(bar), true);
  assert.equal(e.ctx.InitTB(bar), true);

  const steps = [['mouseenter', 'img/bold1.gif'], ['mousedown', 'img/bold2.gif'], ['mouseup', 'img/bold1.gif'],
    ['mouseleave', 'img/bold.gif']];
  for (const [ev, src] of steps) {
    const fired = btn.fire(ev);
    assert.equal(img.getAttribute('src'), src, ev);
    if (ev === 'mousedown') assert.equal(fired.prevented, 1, 'the press keeps the selection, once');
  }
  // the paste DIV has no button class, yet its image swaps too
  paste.fire('mouseenter');
  assert.equal(pasteImg.getAttribute('src'), 'img/paste1.gif');

  assert.equal(e.ctx.InitTB(null), false);
  assert.equal(e.ctx.InitTB(new FakeNode('div', {}, [new FakeNode('span', {})])), false, 'nothing to prepare');
});
