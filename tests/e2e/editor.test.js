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

const posts = [];
let fixtures, base, requests;

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
      const text = execFileSync('iconv', ['-f', 'GBK', '-t', 'UTF-8'], { input: Buffer.concat(chunks) }).toString();
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

const started = (w) => {
  const d = w.document.getElementById('mytext').contentDocument;
  return d && d.designMode === 'on' && d.body && d.body.innerHTML !== '' && w.YInitialized === true;
};

// The host page with its editor started.
async function openEditor(browser, t) {
  const page = await browser.open(t, base + '/editor.html', { width: 1000, height: 720 });
  await page.waitIn('', started, null, 'the editor to start');
  return page;
}

const frameHtml = (page) => page.in('', (w) => w.document.getElementById('mytext').contentDocument.body.innerHTML);
const setFrameHtml = (page, html) => page.in('', (w, h) => { w.document.getElementById('mytext').contentDocument.body.innerHTML = h; }, html);

// Selects the text of the element matching `sel` in the frame, or puts the caret at the end of
// the body when sel is null, or at `at` characters into the element's text.
async function selectInFrame(page, sel, at) {
  await page.in('', (w, [s, n]) => {
    const d = w.document.getElementById('mytext').contentDocument;
    d.defaultView.focus();
    const r = d.createRange();
    if (n !== null) { r.setStart(d.querySelector(s).firstChild, n); r.collapse(true); }
    else if (s) r.selectNodeContents(d.querySelector(s));
    else { r.selectNodeContents(d.body); r.collapse(false); }
    d.getSelection().removeAllRanges();
    d.getSelection().addRange(r);
  }, [sel, at === undefined ? null : at]);
}

const button = (title) => `#FormatToolbar div[title="${title}"]`;

// The start script's JScript binding is refused by the browser's parser once, before edit.js
// runs it again; nothing else may fail.
const otherErrors = (page) => page.problems().filter((e) => !/SyntaxError|Unexpected token|missing \( before/i.test(e));

async function editorChecks(browser, t) {
  await t.test('start: toolbars prepared, initial text written, design mode on', async (t) => {
    const page = await openEditor(browser, t);
    const state = await page.in('', (w) => ({
      toolbars: w.yToolbars.map((e) => e.id),
      textMode: w.bTextMode,
      body: w.document.getElementById('mytext').contentDocument.body.innerHTML,
      font: w.document.getElementById('mytext').contentDocument.body.style.font,
      editinfo: typeof w.editinfo,
    }));
    const { font, ...rest } = state;
    assert.deepEqual(rest, { toolbars: ['FormatToolbar', 'ParaToolbar'], textMode: false, body: '请输入你的留言内容……', editinfo: 'function' });
    assert.match(font, /10pt/);
    assert.deepEqual(page.alerts, [], 'no toolbar failed');
    assert.ok(page.problems().length <= 1, page.problems().join('\n'));
    assert.deepEqual(otherErrors(page), []);

    // the frame takes typing
    await selectInFrame(page, null);
    await page.raw.keyboard.type(' abc');
    assert.match(await frameHtml(page), /……(\s|&nbsp;)abc$/);

    // a button's image follows the mouse: rest, 1 under it, 2 pressed, back on leaving
    const img = () => page.in('', (w) => w.document.querySelector('#FormatToolbar div[title="粗体"] img').getAttribute('src'));
    const { x, y } = await page.centre('', button('粗体'));
    const mouse = page.raw.mouse;
    for (const [step, src] of [[() => mouse.move(x, y), 'img/bold1.gif'], [() => mouse.down(), 'img/bold2.gif'],
      [async () => { await mouse.up(); await mouse.move(x, y + 200); }, 'img/bold.gif']]) {
      await step();
      assert.equal(await img(), src);
    }
    await page.screenshot('editor');
  });

  await t.test('bold, size, colours and "more", alignment and a link, the selection kept across prompts', async (t) => {
    const page = await openEditor(browser, t);
    await setFrameHtml(page, '<p><span id="a">one</span> <span id="b">two</span> <span id="c">three</span></p><p id="d">four</p>');
    await selectInFrame(page, '#a');
    await page.click('', button('粗体'));
    assert.match(await frameHtml(page), /<b>one<\/b>/i);
    await selectInFrame(page, '#b');
    await page.select('#FontSize', '5');
    assert.match(await frameHtml(page), /<font size="5">two<\/font>/i);

    await selectInFrame(page, '#c');
    await page.select('#fColor', '#cc0000');
    assert.match(await frameHtml(page), /<font color="#cc0000">three<\/font>/i);
    assert.equal(await page.in('', (w) => w.document.getElementById('fColor').selectedIndex), 0, 'back to the caption');
    await selectInFrame(page, '#d');
    page.answers.push('00aa00');
    await page.select('#fColor', 'more');
    assert.match(await frameHtml(page), /<font color="#00aa00">four<\/font>/i);
    await page.click('', button('向中对齐'));
    // Firefox computes the centring of align="center" as -moz-center
    assert.match(await page.in('', (w) => {
      const d = w.document.getElementById('mytext').contentDocument;
      return d.defaultView.getComputedStyle(d.querySelector('font[color="#00aa00"]').parentNode).textAlign;
    }), /center/);

    await selectInFrame(page, '#c');
    page.answers.push('http://example.org/a?x=1&y="2"');
    await page.click('', button('加入超连接'));
    const q = '(%22|&quot;)';
    assert.match(await frameHtml(page), new RegExp(`<a href="http://example\\.org/a\\?x=1&amp;y=${q}2${q}">(<font color="#cc0000">)?three`, 'i'));
    assert.equal(page.alerts.length, 2, 'two prompts, no alert on the way');
    assert.deepEqual(otherErrors(page), []);
  });

  await t.test('a picture through the dialog stand-in; a closed dialog inserts nothing', async (t) => {
    const page = await openEditor(browser, t);
    await setFrameHtml(page, '<p id="p">before after</p>');
    await selectInFrame(page, '#p', 7);  // the caret between the two words
    await page.click('', button('导入图片'));
    await page.waitIn('@dialog', (w) => !!w.document.querySelector('#up'), null, 'the picture dialog');
    await page.screenshot('editor-dialog');
    const before = requests.length;
    await page.set('@dialog', 'input[name=file_name]', 'C:\\pics\\cat.gif');
    await page.click('@dialog', '#up');
    await page.waitIn('', (w) => {
      const img = w.document.getElementById('mytext').contentDocument.querySelector('img');
      return img && img.complete && img.naturalWidth > 0;
    }, null, 'the picture to load');
    const html = await frameHtml(page);
    assert.match(html, /^<p id="p">before(&nbsp;| )<img border="0" src="\.\/Datas\/email\/cat\.gif" align="left">after<\/p>$/i, html);
    assert.ok(requests.slice(before).some((u) => u.startsWith('/uploaded?')), 'the upload request');

    // the first dialog goes once its upload has been answered; one closed by its box inserts nothing
    await page.waitIn('', (w) => !w.document.querySelector('dialog'), null, 'the first dialog to go');
    await page.click('', button('导入图片'));
    await page.closeDialog();
    assert.equal(await frameHtml(page), html);
    assert.deepEqual(otherErrors(page), []);
  });

  await t.test('source mode both ways, and editinfo() posts HTML in both modes', async (t) => {
    const page = await openEditor(browser, t);
    const mode = () => page.in('', (w) => [w.bTextMode, w.document.getElementById('mytext').contentDocument.body.innerText]);
    await setFrameHtml(page, '<b>bold</b> text');
    await page.click('', '#switchMode');
    assert.deepEqual(await mode(), [true, '<b>bold</b> text'], 'the tags show as text');

    // what is typed in source mode becomes markup when switching back
    await selectInFrame(page, null);
    await page.raw.keyboard.type(' <i>new</i>');
    await page.click('', '#switchMode');
    assert.equal((await mode())[0], false);
    assert.equal(await frameHtml(page), '<b>bold</b> text <i>new</i>');

    // no title: the host's own check stops the submission
    await page.click('', '#send');
    assert.deepEqual(page.alerts, ['请输入标题！']);
    const post = async (title) => {
      await page.set('', 'input[name=title]', title);
      await page.click('', '#send');
      await page.waitIn('', (w) => !!w.document.getElementById('saved'), null, 'the answer of the post');
    };
    await post('标题一');
    assert.deepEqual(posts.at(-1), { body: '<b>bold</b> text <i>new</i>', title: '标题一' });

    // in source mode the field takes the source as the user sees it
    await page.goto(base + '/editor.html');
    await page.waitIn('', started, null, 'the editor again');
    await setFrameHtml(page, '<u>under</u>');
    await page.click('', '#switchMode');
    await selectInFrame(page, null);
    await page.raw.keyboard.type('<br>中文');
    await post('t');
    assert.equal(posts.at(-1).body, '<u>under</u><br>中文');
    assert.deepEqual(otherErrors(page), []);
  });

  await t.test('design mode set while the frame still loads its own page is put back after the load', async (t) => {
    // the page turns design mode on at once, and then the frame's page (blank.html) arrives
    const page = await browser.open(t, base + '/editor_late.html');
    await page.waitIn('', (w) => {
      const d = w.document.getElementById('mytext').contentDocument;
      return /blank\.html$/.test(d.URL) && d.readyState === 'complete' && d.designMode === 'on';
    }, null, 'design mode in the loaded frame');
  });

  await t.test('a surrounding frame sets the initial text through m_body', async (t) => {
    const page = await browser.open(t, base + '/editor_frame.html');
    const html = await page.waitIn('inner', (w) => {
      const d = w.document.getElementById('mytext').contentDocument;
      return d && d.designMode === 'on' && d.body && d.body.innerHTML;
    }, null, 'the inner editor');
    assert.equal(html, '<b>来自外框</b>的文字');
  });
}

test.before(async () => {
  fixtures = await fixtureServer(route);
  ({ base, requests } = fixtures);
});
test.after(async () => { await closeBrowsers(); fixtures.close(); });

flow(test, 'rich text editor', editorChecks);
