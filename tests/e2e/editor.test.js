'use strict';
// The rich text editor in real browsers: a host page written the IE way (toolbar markup as the
// server writes it, the `mytext` frame, the start script with its JScript event binding, then
// edit.js), served as gb2312 by a small server of our own, in both engines of driver.js.
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { execFileSync } = require('node:child_process');
const { flow, closeBrowsers } = require('./driver');
const { fixtureServer, gbk, sendHtml } = require('./tavelor');

const FIXTURES = path.join(__dirname, 'fixtures');
const SITE = path.join(__dirname, '..', '..', 'site');
const SHOTS = process.env.EDITOR_SHOTS || path.join(__dirname, 'out');

const posts = [];
let fixtures, base, requests;

function fromGbk(buf) { return execFileSync('iconv', ['-f', 'GBK', '-t', 'UTF-8'], { input: buf }).toString(); }
function multipartField(body, name) {
  const m = new RegExp('name="' + name + '"\\r\\n\\r\\n([\\s\\S]*?)\\r\\n--').exec(body);
  return m ? m[1] : null;
}

// The host page is the fixture with the toolbar markup that inputboxI_init writes; the site's own
// edit.js, style.css and toolbar images; a post of the form is kept.
function route(req, res, url) {
  const p = url.pathname;
  const file = (f, type) => { res.writeHead(200, { 'Content-Type': type }); res.end(fs.readFileSync(f)); };
  if (req.method === 'POST' && p === '/Book_Save.asp') {
    const chunks = [];
    req.on('data', (c) => chunks.push(c));
    req.on('end', () => {
      const text = fromGbk(Buffer.concat(chunks));
      posts.push({ body: multipartField(text, 'body'), title: multipartField(text, 'title') });
      sendHtml(res, gbk('<html><body id="saved">saved</body></html>'));
    });
  } else if (p === '/edit.js') file(path.join(SITE, p), 'application/javascript');
  else if (p === '/style.css') file(path.join(SITE, p), 'text/css; charset=utf-8');
  else if (p.startsWith('/img/') || p.startsWith('/Datas/') || p === '/slowpic') {
    // the toolbar images, and the stored picture (any gif will do)
    const img = path.join(SITE, 'img', p.startsWith('/img/') ? path.basename(p) : 'img.gif');
    if (fs.existsSync(img)) file(img, 'image/gif'); else { res.writeHead(404); res.end(); }
  } else if (p === '/editor.html') {
    const page = fs.readFileSync(path.join(FIXTURES, 'editor.html'), 'utf8');
    sendHtml(res, gbk(page.replace('<!--toolbar-->\n', fs.readFileSync(path.join(FIXTURES, 'editor_toolbar.html'), 'utf8'))));
  } else if (p === '/upload_img.asp') sendHtml(res, gbk(fs.readFileSync(path.join(FIXTURES, 'upload_img.html'))));
  else if (p === '/uploaded') {
    // the upload answer comes a little late and closes its window, as upload_img.asp does
    setTimeout(() => sendHtml(res, gbk('<html><body>stored<script>window.close(1)</script></body></html>')), 300);
  } else return false;
  return true;
}

// ---- the flows' driver, with the dialogs left to these checks (prompts take texts)

function editorDriver(browser) {
  return {
    name: browser.engine,
    newPage: async () => {
      const { raw } = await browser.newPage({ width: 1000, height: 720, ownDialogs: true });
      const select = browser.engine === 'chromium'
        ? (sel, value) => raw.selectOption(sel, value)
        : (sel, value) => raw.select(sel, value);
      return { page: raw, select };
    },
  };
}

// fn runs in the page and must answer with plain data (Firefox's driver cannot hand back nodes).
async function waitFor(page, fn, arg, what, ms = 10000) {
  const end = Date.now() + ms;
  for (;;) {
    let v;
    try { v = await page.evaluate(fn, arg); } catch (_) { v = undefined; }
    if (v) return v;
    if (Date.now() > end) throw new Error('timed out waiting for ' + what);
    await new Promise((r) => setTimeout(r, 100));
  }
}

// Opens the host page; prompts take the queued answers (null cancels), alerts are recorded.
async function openEditor(driver, url) {
  const { page, select } = await driver.newPage();
  const dialogs = [];
  const answers = [];
  const errors = [];
  page.on('dialog', async (d) => {
    dialogs.push({ type: d.type(), message: d.message() });
    if (d.type() !== 'prompt') { await d.accept(); return; }
    const a = answers.shift();
    if (a === null || a === undefined) await d.dismiss(); else await d.accept(a);
  });
  page.on('console', (m) => { if (m.type() === 'error') errors.push(m.text()); });
  page.on('pageerror', (e) => errors.push(String(e)));
  await page.goto(base + url);
  await waitFor(page, () => {
    const f = document.getElementById('mytext');
    const d = f && f.contentDocument;
    return d && d.designMode === 'on' && d.body && d.body.innerHTML !== '' && window.YInitialized === true;
  }, null, 'the editor to start');
  return { page, select, dialogs, answers, errors };
}

const frameHtml = (page) => page.evaluate(() => document.getElementById('mytext').contentDocument.body.innerHTML);
const setFrameHtml = (page, html) => page.evaluate((h) => { document.getElementById('mytext').contentDocument.body.innerHTML = h; }, html);

// Selects the text of the element matching `sel` in the frame, or puts the caret at the end of
// the body when sel is null.
async function selectInFrame(page, sel) {
  await page.evaluate((s) => {
    const d = document.getElementById('mytext').contentDocument;
    d.defaultView.focus();
    const r = d.createRange();
    if (s) r.selectNodeContents(d.querySelector(s));
    else { r.selectNodeContents(d.body); r.collapse(false); }
    const selection = d.getSelection();
    selection.removeAllRanges();
    selection.addRange(r);
  }, sel);
}

// Clicks a toolbar control with the mouse, as a user does (the button keeps the frame's selection).
async function clickToolbar(page, selector) {
  const box = await page.evaluate((s) => {
    const r = document.querySelector(s).getBoundingClientRect();
    return { x: r.left + r.width / 2, y: r.top + r.height / 2 };
  }, selector);
  await page.mouse.click(box.x, box.y);
}
const button = (title) => `#FormatToolbar div[title="${title}"]`;

// The start script's JScript binding is refused by the browser's parser once, before edit.js
// runs it again; nothing else may fail.
function otherErrors(errors) {
  return errors.filter((e) => !/SyntaxError|Unexpected token|missing \( before/i.test(e));
}

async function editorChecks(t, driver) {
  await t.test('start: toolbars prepared, initial text written, design mode on', async () => {
    const { page, errors, dialogs } = await openEditor(driver, '/editor.html');
    const state = await page.evaluate(() => ({
      toolbars: yToolbars.map((e) => e.id),
      textMode: bTextMode,
      body: document.getElementById('mytext').contentDocument.body.innerHTML,
      font: document.getElementById('mytext').contentDocument.body.style.font,
      editinfo: typeof editinfo,
    }));
    assert.deepEqual(state.toolbars, ['FormatToolbar', 'ParaToolbar'], 'each toolbar once');
    assert.equal(state.textMode, false);
    assert.equal(state.body, '请输入你的留言内容……');
    assert.match(state.font, /10pt/);
    assert.equal(state.editinfo, 'function', 'the rest of the start script ran');
    assert.deepEqual(dialogs, [], 'no toolbar failed');
    assert.ok(errors.length <= 1, errors.join('\n'));
    assert.deepEqual(otherErrors(errors), []);

    // the frame takes typing
    await selectInFrame(page, null);
    await page.keyboard.type(' abc');
    assert.match(await frameHtml(page), /……(\s|&nbsp;)abc$/);

    // a button's image follows the mouse: rest, 1 under it, 2 pressed, back on leaving
    const img = () => page.evaluate(() => document.querySelector('#FormatToolbar div[title="粗体"] img').getAttribute('src'));
    const box = await page.evaluate(() => {
      const r = document.querySelector('#FormatToolbar div[title="粗体"]').getBoundingClientRect();
      return { x: r.left + r.width / 2, y: r.top + r.height / 2 };
    });
    assert.equal(await img(), 'img/bold.gif');
    await page.mouse.move(box.x, box.y);
    assert.equal(await img(), 'img/bold1.gif');
    await page.mouse.down();
    assert.equal(await img(), 'img/bold2.gif');
    await page.mouse.up();
    await page.mouse.move(box.x, box.y + 200);
    assert.equal(await img(), 'img/bold.gif');
    await page.screenshot({ path: path.join(SHOTS, `editor-${driver.name}.png`) });
    await page.close();
  });

  await t.test('bold, size, colours and "more", alignment, a link (cancelled, then given), a table', async () => {
    const { page, select, errors, answers, dialogs } = await openEditor(driver, '/editor.html');
    await setFrameHtml(page, '<p><span id="a">one</span> <span id="b">two</span> <span id="c">three</span></p><p id="d">four</p>');
    await selectInFrame(page, '#a');
    await clickToolbar(page, button('粗体'));
    assert.match(await frameHtml(page), /<b>one<\/b>/i);
    await selectInFrame(page, '#b');
    await select('#FontSize', '5');
    assert.match(await frameHtml(page), /<font size="5">two<\/font>/i);

    await selectInFrame(page, '#c');
    await select('#fColor', '#cc0000');
    assert.match(await frameHtml(page), /<font color="#cc0000">three<\/font>/i);
    assert.equal(await page.evaluate(() => document.getElementById('fColor').selectedIndex), 0, 'back to the caption');
    await selectInFrame(page, '#d');
    answers.push('00aa00');
    await select('#fColor', 'more');
    assert.match(await frameHtml(page), /<font color="#00aa00">four<\/font>/i);
    await clickToolbar(page, button('向中对齐'));
    // Firefox computes the centring of align="center" as -moz-center
    assert.match(await page.evaluate(() => {
      const d = document.getElementById('mytext').contentDocument;
      return d.defaultView.getComputedStyle(d.querySelector('font[color="#00aa00"]').parentNode).textAlign;
    }), /center/);

    await selectInFrame(page, '#c');
    answers.push(null);
    await clickToolbar(page, button('加入超连接'));
    let html = await frameHtml(page);
    assert.doesNotMatch(html, /href/i, 'a cancelled prompt links nothing');

    answers.push('http://example.org/a?x=1&y="2"');
    await clickToolbar(page, button('加入超连接'));
    html = await frameHtml(page);
    assert.match(html, /<a href="http:\/\/example\.org\/a\?x=1&amp;y=(%22|&quot;)2(%22|&quot;)"><font color="#cc0000">three<\/font><\/a>|<font color="#cc0000"><a href="http:\/\/example\.org\/a\?x=1&amp;y=(%22|&quot;)2(%22|&quot;)">three<\/a><\/font>/i, html);
    assert.deepEqual(dialogs.map((d) => d.type), ['prompt', 'prompt', 'prompt'], 'no alert on the way');

    await selectInFrame(page, null);
    answers.push('2', '3');
    await clickToolbar(page, button('插入表格'));
    const cells = await page.evaluate(() => {
      const t = document.getElementById('mytext').contentDocument.querySelector('table');
      return t ? [t.rows.length, t.rows[0].cells.length, t.querySelectorAll('td').length] : null;
    });
    assert.deepEqual(cells, [2, 3, 6]);
    assert.deepEqual(otherErrors(errors), []);
    await page.close();
  });

  await t.test('a picture through the dialog stand-in; a closed dialog inserts nothing', async () => {
    const { page, errors } = await openEditor(driver, '/editor.html');
    await setFrameHtml(page, '<p id="p">before after</p>');
    // the caret between the two words
    await page.evaluate(() => {
      const d = document.getElementById('mytext').contentDocument;
      d.defaultView.focus();
      const r = d.createRange();
      r.setStart(d.getElementById('p').firstChild, 7);
      r.collapse(true);
      d.getSelection().removeAllRanges();
      d.getSelection().addRange(r);
    });
    await clickToolbar(page, button('导入图片'));
    await waitFor(page, () => {
      const f = document.querySelector('dialog.tav-dialog iframe');
      return !!(f && f.contentDocument && f.contentDocument.querySelector('#up'));
    }, null, 'the picture dialog');
    await page.screenshot({ path: path.join(SHOTS, `editor-dialog-${driver.name}.png`) });
    const before = requests.length;
    await page.evaluate(() => {
      const d = document.querySelector('dialog.tav-dialog iframe').contentDocument;
      d.querySelector('input[name=file_name]').value = 'C:\\pics\\cat.gif';
      d.querySelector('#up').click();
    });
    await waitFor(page, () => /<img/i.test(document.getElementById('mytext').contentDocument.body.innerHTML), null, 'the picture');
    const html = await frameHtml(page);
    assert.match(html, /^<p id="p">before(&nbsp;| )<img border="0" src="\.\/Datas\/email\/cat\.gif" align="left">after<\/p>$/i, html);
    await waitFor(page, () => {
      const img = document.getElementById('mytext').contentDocument.querySelector('img');
      return img && img.complete && img.naturalWidth > 0;
    }, null, 'the picture to load');
    await waitFor(page, (n) => n, requests.slice(before).some((u) => u.startsWith('/uploaded?')), 'the upload request');

    // the first dialog goes once its upload has been answered
    await waitFor(page, () => !document.querySelector('dialog'), null, 'the first dialog to go');
    // closed with its close button: nothing goes in
    await clickToolbar(page, button('导入图片'));
    await waitFor(page, () => !!document.querySelector('dialog.tav-dialog .tav-dialog-x'), null, 'the second dialog');
    await page.evaluate(() => document.querySelector('dialog.tav-dialog .tav-dialog-x').click());
    await waitFor(page, () => !document.querySelector('dialog.tav-dialog[open]'), null, 'the dialog to close');
    assert.equal(await frameHtml(page), html);
    assert.deepEqual(otherErrors(errors), []);
    await page.close();
  });

  await t.test('source mode both ways, and editinfo() posts HTML in both modes', async () => {
    const { page, errors, dialogs } = await openEditor(driver, '/editor.html');
    await setFrameHtml(page, '<b>bold</b> text');
    await clickToolbar(page, '#switchMode');
    assert.equal(await page.evaluate(() => bTextMode), true);
    assert.equal(await page.evaluate(() => document.getElementById('mytext').contentDocument.body.innerText), '<b>bold</b> text');
    assert.doesNotMatch(await frameHtml(page), /<b>/, 'the tags show as text');

    // what is typed in source mode becomes markup when switching back
    await selectInFrame(page, null);
    await page.keyboard.type(' <i>new</i>');
    await clickToolbar(page, '#switchMode');
    assert.equal(await page.evaluate(() => bTextMode), false);
    assert.equal(await frameHtml(page), '<b>bold</b> text <i>new</i>');

    // no title: the host's own check stops the submission
    await clickToolbar(page, '#send');
    assert.deepEqual(dialogs.map((d) => d.message), ['请输入标题！']);
    await page.evaluate(() => { postform.title.value = '标题一'; });
    await Promise.all([
      waitFor(page, () => !!document.getElementById('saved'), null, 'the answer of the post'),
      clickToolbar(page, '#send'),
    ]);
    assert.deepEqual(posts.at(-1), { body: '<b>bold</b> text <i>new</i>', title: '标题一' });

    // in source mode the field takes the source as the user sees it
    await page.goto(base + '/editor.html');
    await waitFor(page, () => window.YInitialized === true && document.getElementById('mytext').contentDocument.designMode === 'on', null, 'the editor again');
    await setFrameHtml(page, '<u>under</u>');
    await clickToolbar(page, '#switchMode');
    await selectInFrame(page, null);
    await page.keyboard.type('<br>中文');
    await page.evaluate(() => { postform.title.value = 't'; });
    await Promise.all([
      waitFor(page, () => !!document.getElementById('saved'), null, 'the second post'),
      clickToolbar(page, '#send'),
    ]);
    assert.equal(posts.at(-1).body, '<u>under</u><br>中文');
    assert.deepEqual(otherErrors(errors), []);
    await page.close();
  });

  await t.test('design mode set while the frame still loads its own page is put back after the load', async () => {
    // the page turns design mode on at once, and then the frame's page (blank.html) arrives
    const { page } = await driver.newPage();
    await page.goto(base + '/editor_late.html');
    await waitFor(page, () => {
      const d = document.getElementById('mytext').contentDocument;
      return /blank\.html$/.test(d.URL) && d.readyState === 'complete' && d.designMode === 'on';
    }, null, 'design mode in the loaded frame');
    await page.close();
  });

  await t.test('a surrounding frame sets the initial text through m_body', async () => {
    const { page } = await driver.newPage();
    await page.goto(base + '/editor_frame.html');
    const html = await waitFor(page, () => {
      const inner = window.frames.inner;
      const f = inner && inner.document.getElementById('mytext');
      const d = f && f.contentDocument;
      return d && d.designMode === 'on' && d.body && d.body.innerHTML;
    }, null, 'the inner editor');
    assert.equal(html, '<b>来自外框</b>的文字');
    await page.close();
  });
}

test.before(async () => {
  fixtures = await fixtureServer(route);
  ({ base, requests } = fixtures);
  fs.mkdirSync(SHOTS, { recursive: true });
});
test.after(async () => { await closeBrowsers(); fixtures.close(); });

flow(test, 'rich text editor', async (browser, t) => editorChecks(t, editorDriver(browser)));
