'use strict';
// Browser checks of the compatibility script tavdialog.js in both engines: fixture pages written
// the IE way (showModalDialog, returnValue, frames) served as gb2312 by a small server of our own.
const test = require('node:test');
const assert = require('node:assert/strict');
const { fixtureServer, sendHtml } = require('./tavelor');
const { flow, closeBrowsers, expectNoErrors, until } = require('./driver');

let fixtures, base, requests;
// Upload answers held back until a test lets them go.
let held = null;

test.before(async () => {
  fixtures = await fixtureServer((req, res, url) => {
    if (url.pathname === '/echo') {
      sendHtml(res, '<html><body id="echo">' + url.search.replace(/</g, '&lt;') + '</body></html>');
    } else if (url.pathname === '/slowpic') {
      // an image of the dialog page that keeps its load event back while answers are held
      const answer = () => {
        res.writeHead(200, { 'Content-Type': 'image/gif' });
        res.end(Buffer.from('R0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7', 'base64'));
      };
      if (held) held.push(answer); else answer();
    } else if (url.pathname === '/uploaded') {
      // the upload answer comes late and closes its window, as upload_img.asp does
      const answer = () => sendHtml(res, '<html><body>stored<script>window.close(1)</script></body></html>');
      if (held) held.push(answer); else setTimeout(answer, 400);
    } else return false;
    return true;
  });
  ({ base, requests } = fixtures);
});
test.after(async () => { await closeBrowsers(); fixtures.close(); });

// The caller's answer box once it reads `re`.
const answered = (page, re) => page.waitIn('', (w, p) => new RegExp(p).test(w.document.getElementById('out').textContent), re.source, 'the answer ' + re);
const dialogs = (page) => page.in('', (w) => w.document.querySelectorAll('dialog').length);
const noDialog = (page) => page.waitIn('', (w) => !w.document.querySelector('dialog'), null, 'the dialog to go');
const fixturePage = (browser, t, name) => browser.open(t, base + '/' + name, { width: 1024, height: 700 });

flow(test, 'the load handler of the zero-height message frame raises its dialog in the top window, above every frame', async (browser, t) => {
  const page = await fixturePage(browser, t, 'desk.html');
  const box = await page.waitIn('', (w) => {
    const d = w.document.querySelector('dialog.tav-dialog[open]');
    if (!d) return null;
    const r = d.getBoundingClientRect();
    return { x: r.x, width: r.width, height: r.height };
  }, null, 'the reminder');
  const inFrames = await page.in('', (w) => Array.from(w.frames, (f) => f.document.querySelectorAll('dialog').length).reduce((a, b) => a + b, 0));
  assert.equal(inFrames, 0, 'no dialog in any frame');
  // the reminder text went into the query as GBK bytes, markup included
  const popReq = requests.find((u) => u.startsWith('/message_pop.html?'));
  assert.match(popReq, /mstr=%3Ccenter%3E%BB%B6%D3%AD.*%D3%D0%202%20%B7%E2/, popReq);
  // 25em by 11em plus the title bar, centred in the window
  assert.ok(box.width >= 400 && box.height >= 176 + 20, JSON.stringify(box));
  assert.ok(Math.abs(box.x + box.width / 2 - 512) < 3, JSON.stringify(box));
  await page.waitIn('', (w) => /Tavelor提醒/.test(w.document.querySelector('.tav-dialog-title').textContent), null, 'the page title on the title bar');
  // modal: the frames below take no clicks
  assert.notEqual(await page.in('', (w) => w.document.elementFromPoint(20, 300).tagName), 'FRAME');
  await page.screenshot('fixture-reminder');

  // the working frame and the poll frame load other pages while the reminder is up: it stays
  await page.in('', (w) => { w.frames.detail.location.href = 'blank.html'; w.frames.message.location.href = 'blank.html'; });
  for (const f of ['message', 'detail']) await page.shows(f, /blank\.html$/);
  assert.equal(await dialogs(page), 1);
  // the button runs close_my(): closepop into the frame "sound", then window.close()
  await page.click('@dialog', 'input[value="确定"]');
  await noDialog(page);
  await page.shows('sound', /closepop\.html$/);
  expectNoErrors(page);
});

flow(test, 'returnValue of a dialog comes back to an awaiting caller, with dialogArguments passed in', async (browser, t) => {
  const page = await fixturePage(browser, t, 'caller.html');
  await page.click('', '#pick');
  await page.waitText('@dialog', /from caller/);
  await page.screenshot('fixture-select-user');

  await page.click('@dialog', '#ok');
  await page.alerted('请选取收件人！');
  assert.equal(await dialogs(page), 1, 'nothing ticked: the dialog stays');

  await page.click('@dialog', 'input[name="1|Ann"]');
  await page.click('@dialog', 'input[name="3|Cy"]');
  await page.click('@dialog', '#ok');
  await answered(page, /^0,2,0$/);
  await noDialog(page);

  // checkall() inverts the boxes and relabels its button; the close box gives no value
  await page.click('', '#pick');
  await page.click('@dialog', 'input[name=clear]');
  await page.waitIn('@dialog', (w) => w.document.querySelector('input[name=clear]').value === '反选', null, 'the relabelled button');
  assert.equal(await page.in('@dialog', (w) => w.document.querySelectorAll('input[type=checkbox]:checked').length), 3);
  await page.closeDialog();
  await answered(page, /^null$/);
  expectNoErrors(page);
});

flow(test, 'a dialog that submits and closes returns at once and stays until its request is answered; one that closes while loading', async (browser, t) => {
  t.after(() => { held = null; });
  const page = await fixturePage(browser, t, 'caller.html');
  const before = requests.length;
  // the dialog's own load event waits for an image: the page submits before it
  held = [];
  await page.click('', '#img');
  await page.fill('@dialog', 'input[name=file_name]', 'C:\\pics\\cat.gif');
  await page.click('@dialog', '#up');
  await answered(page, /^<IMG border=0 SRC=\.\/Datas\/email\/cat\.gif ALIGN=left>$/);
  await until(() => requests.slice(before).some((u) => u.startsWith('/uploaded?filepath=')), 'the upload to reach the server');
  // the host page cannot be left while the upload is on its way
  assert.ok(await page.in('', (w) => { const d = w.document.querySelector('dialog'); return !!d && d.open && w.getComputedStyle(d).display !== 'none'; }),
    'the dialog stays open until the answer');
  const answers = held;
  held = null;
  answers.forEach((a) => a());
  await noDialog(page);

  // a script that closes its dialog while the page loads (the close page)
  await page.click('', '#shut');
  await answered(page, /^closed:bye$/);
  await noDialog(page);
  expectNoErrors(page);
});
