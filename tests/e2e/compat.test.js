'use strict';
// Browser check of site/tavcompat.js in Debian's chromium: fixture pages written the IE way
// (client VBScript, showModalDialog, frames) served as gb2312 by a small server of our own.
const test = require('node:test');
const assert = require('node:assert/strict');
const http = require('node:http');
const fs = require('node:fs');
const path = require('node:path');
const { execFileSync } = require('node:child_process');
const { chromium } = require('playwright-core');

const FIXTURES = path.join(__dirname, 'fixtures');
const SCRIPT = path.join(__dirname, '..', '..', 'site', 'tavcompat.js');
const { SHOTS: OUT } = require('./driver');
const CHROMIUM = process.env.CHROMIUM || '/usr/bin/chromium';

const requests = [];
let server, base, browser;

// Fixtures are kept in UTF-8 and sent as GBK bytes, as the host sends its pages.
function gbk(text) { return execFileSync('iconv', ['-f', 'UTF-8', '-t', 'GBK'], { input: text }); }

function startServer() {
  server = http.createServer((req, res) => {
    requests.push(req.url);
    const url = new URL(req.url, 'http://x');
    if (url.pathname === '/tavcompat.js') {
      res.writeHead(200, { 'Content-Type': 'application/javascript' });
      res.end(fs.readFileSync(SCRIPT));
      return;
    }
    if (url.pathname === '/favicon.ico') { res.writeHead(204); res.end(); return; }
    if (url.pathname === '/echo') {
      res.writeHead(200, { 'Content-Type': 'text/html; charset=gb2312' });
      res.end('<html><body id="echo">' + url.search.replace(/</g, '&lt;') + '</body></html>');
      return;
    }
    if (url.pathname === '/uploaded') {
      // the upload answer comes late and closes its window, as upload_img.asp does
      setTimeout(() => {
        res.writeHead(200, { 'Content-Type': 'text/html; charset=gb2312' });
        res.end('<html><body>stored<script>window.close(1)</script></body></html>');
      }, 400);
      return;
    }
    const file = path.join(FIXTURES, path.basename(url.pathname));
    if (!fs.existsSync(file)) { res.writeHead(404); res.end(); return; }
    res.writeHead(200, { 'Content-Type': 'text/html; charset=gb2312' });
    res.end(gbk(fs.readFileSync(file)));
  });
  return new Promise((resolve) => server.listen(0, '127.0.0.1', () => {
    base = 'http://127.0.0.1:' + server.address().port;
    resolve();
  }));
}

test.before(async () => {
  await startServer();
  browser = await chromium.launch({
    executablePath: CHROMIUM,
    args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking',
      '--disable-component-update', '--disable-sync'],
    // keep the popup blocker on, as users have it
    ignoreDefaultArgs: ['--disable-popup-blocking']
  });
  fs.mkdirSync(OUT, { recursive: true });
});
test.after(async () => {
  if (browser) await browser.close();
  if (server) server.close();
});

// A page that collects alerts (accepting them) and console errors.
async function openPage() {
  const page = await browser.newPage({ viewport: { width: 1024, height: 700 } });
  const alerts = [];
  const errors = [];
  page.on('dialog', async (d) => { alerts.push(d.message()); await d.accept(); });
  page.on('console', (m) => { if (m.type() === 'error') errors.push(m.text()); });
  page.on('pageerror', (e) => errors.push(String(e)));
  return { page, alerts, errors };
}

test('VBScript do_submit checks the form, alerts and submits; bare-name and <id>_on<event> handlers', async () => {
  const { page, alerts, errors } = await openPage();
  await page.goto(base + '/settings.html');
  assert.equal(await page.evaluate(() => document.characterSet), 'GBK');

  await page.click('#send');
  assert.deepEqual(alerts, ['请在间隔时间处输入数字(>60)!']);
  assert.equal(await page.evaluate(() => document.activeElement.name), 'work_time');

  await page.fill('input[name=work_time]', '30');
  await page.click('#send');
  // chromium shows the carriage return of chr(13) as a line break
  assert.match(alerts[1], /^间隔时间太短![\r\n]应在60秒或以上。$/);

  await page.fill('input[name=user_text]', 'abc');
  await page.click('#btnCheck');
  assert.equal(await page.textContent('#result'), 'clicked ABC');

  await page.click('#vbsAttr');
  assert.equal(await page.textContent('#result'), 'vbs 4', 'a handler attribute in VBScript');
  await page.click('#btnFor');
  assert.equal(await page.textContent('#result'), 'for-event OK', 'a script for= event= block');

  await page.fill('input[name=work_time]', '90');
  await Promise.all([page.waitForURL(/\/echo\?/), page.click('#send')]);
  assert.match(page.url(), /work_time=90&user_text=abc&id=5$/);
  assert.deepEqual(errors, []);
  await page.close();
});

test('a handler written as a bare sub name (onclick="go_append") calls the sub', async () => {
  const { page, alerts, errors } = await openPage();
  await page.goto(base + '/settings.html');
  await page.click('#append');
  assert.deepEqual(alerts, ['请输入新增的信息类别名称！']);
  await page.fill('input[name=user_text]', 'news');
  await Promise.all([page.waitForURL(/\/echo\?/), page.click('#append')]);
  assert.match(page.url(), /user_text=news&id=0$/, 'go_append sets id to 0 before submitting');
  assert.deepEqual(errors, []);
  await page.close();
});

test('window_onload in the zero-height message frame raises its dialog in the top window, above every frame', async () => {
  const { page, errors } = await openPage();
  await page.goto(base + '/desk.html');
  const message = page.frame({ name: 'message' });
  const dlg = page.locator('dialog.tav-dialog');
  await dlg.waitFor({ state: 'visible' });
  for (const f of page.frames().filter((f) => f !== page.mainFrame())) {
    assert.equal(await f.locator('dialog').count(), 0, 'no dialog in frame ' + f.name());
  }
  // the reminder text went into the query as GBK bytes, markup included
  const popReq = requests.find((u) => u.startsWith('/message_pop.html?'));
  assert.ok(popReq, 'dialog page requested');
  assert.match(popReq, /mstr=%3Ccenter%3E%BB%B6%D3%AD/, popReq);
  assert.match(popReq, /%D3%D0%202%20%B7%E2/);

  // 25em by 11em plus the title bar, centred in the window
  const box = await dlg.boundingBox();
  assert.ok(box.width >= 400 && box.height >= 176 + 20, JSON.stringify(box));
  assert.ok(Math.abs(box.x + box.width / 2 - 512) < 3, JSON.stringify(box));
  await page.locator('.tav-dialog-title', { hasText: 'Tavelor提醒' }).waitFor();
  // modal: the frames below take no clicks
  const hit = await page.evaluate(() => document.elementFromPoint(20, 300).tagName);
  assert.notEqual(hit, 'FRAME');
  await page.screenshot({ path: path.join(OUT, 'reminder-dialog.png') });

  // the working frame and the poll frame load other pages while the reminder is up: it stays
  await page.frame({ name: 'detail' }).goto(base + '/blank.html');
  await message.goto(base + '/blank.html');
  assert.ok(await dlg.isVisible());
  // the button runs close_my(): closepop into the frame "sound", then window.close()
  await page.frameLocator('dialog iframe').locator('input[value="确定"]').click();
  await dlg.waitFor({ state: 'detached' });
  await page.waitForFunction(() => /closepop\.html$/.test(window.frames.sound.location.href));
  assert.deepEqual(errors, []);
  await page.close();
});

test('returnValue of a VBScript dialog comes back to an awaiting caller, with dialogArguments passed in', async () => {
  const { page, alerts, errors } = await openPage();
  await page.goto(base + '/caller.html');
  await page.click('#pick');
  const inner = page.frameLocator('dialog iframe');
  await page.locator('dialog.tav-dialog').waitFor({ state: 'visible' });
  await inner.locator('#args', { hasText: 'from caller' }).waitFor();
  await page.screenshot({ path: path.join(OUT, 'select-user-dialog.png') });

  await inner.locator('#ok').click();
  assert.deepEqual(alerts, ['请选取收件人！'], 'nothing ticked: the dialog stays');
  assert.equal(await page.locator('dialog.tav-dialog').count(), 1);

  await inner.locator('input[name="1|Ann"]').check();
  await inner.locator('input[name="3|Cy"]').check();
  await inner.locator('#ok').click();
  await page.locator('#out', { hasText: '0,2,0' }).waitFor();
  assert.equal(await page.locator('dialog').count(), 0);

  // checkall() inverts the boxes and relabels its button; the close button gives no value
  await page.click('#pick');
  await inner.locator('input[name=clear]').click();
  assert.equal(await inner.locator('input[name=clear]').inputValue(), '反选');
  assert.equal(await inner.locator('input[type=checkbox]:checked').count(), 3);
  await page.locator('.tav-dialog-x').click();
  await page.locator('#out', { hasText: 'null' }).waitFor();
  assert.deepEqual(errors, []);
  await page.close();
});

test('a dialog that submits and closes returns at once and lets its request finish', async () => {
  const { page, errors } = await openPage();
  await page.goto(base + '/caller.html');
  await page.click('#img');
  const inner = page.frameLocator('dialog iframe');
  await inner.locator('input[name=file_name]').fill('C:\\pics\\cat.gif');
  const before = requests.length;
  await inner.locator('#up').click();
  await page.locator('#out', { hasText: '<IMG border=0 SRC=./Datas/email/cat.gif ALIGN=left>' }).waitFor();
  assert.equal(await page.locator('dialog').isVisible(), false, 'hidden at once');
  await page.locator('dialog').waitFor({ state: 'detached' });
  assert.ok(requests.slice(before).some((u) => u.startsWith('/uploaded?filepath=')), 'the upload reached the server');
  assert.deepEqual(errors, []);
  await page.close();
});

test('script-level VBScript that closes its dialog while the page loads (the close page)', async () => {
  const { page, errors } = await openPage();
  await page.goto(base + '/caller.html');
  await page.click('#shut');
  await page.locator('#out', { hasText: 'closed:bye' }).waitFor();
  assert.equal(await page.locator('dialog').count(), 0);
  assert.deepEqual(errors, []);
  await page.close();
});

test('a VBScript block runs before the next script; a bad line is reported and the rest works', async () => {
  const { page, errors } = await openPage();
  await page.goto(base + '/order.html');
  assert.equal(await page.evaluate(() => window.early), 42, 'a JS block calls the Function of the block before it');
  assert.equal(await page.textContent('#w'), 'written 4', 'document.write while parsing lands in place');
  assert.equal(await page.locator('#b').count(), 1, 'and the page was not replaced');
  assert.equal(errors.length, 1, errors.join('\n'));
  assert.match(errors[0], /VBScript block 2, line 3: .*x = = 1/);
  await page.click('#b');
  assert.equal(await page.title(), 'fine 42');
  await page.close();
});
