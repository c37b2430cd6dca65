// The way in, in both browsers against a real server.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { flow, closeBrowsers, expectNoErrors, session } = require('./driver');

test.after(closeBrowsers);

flow(test, 'login page, a refused account name, a wrong password and a good login', async (browser, t) => {
  const { server, page } = await session(browser, t);

  await page.goto(server.base + '/login.asp');
  const head = await page.in('', (w) => ({ title: w.document.title, charset: w.document.characterSet, body: w.document.body.innerText }));
  assert.equal(head.title, '\u793a\u8303\u5355\u4f4d\u7f51\u7edc\u529e\u516c\u7cfb\u7edf\u767b\u5f55');
  assert.equal(head.charset, 'GBK');
  assert.match(head.body, /\u793a\u8303\u5355\u4f4d\u81ea\u52a8\u5316\u7f51\u7edc\u529e\u516c\u7cfb\u7edf/);
  // the headline stands centred over the login box at any window width
  const cx = await page.in('', (w) => [w.document.querySelector('center > span'), w.document.querySelector('form table')]
    .map((e) => { const r = e.getBoundingClientRect(); return Math.round(r.left + r.width / 2); }));
  assert.ok(Math.abs(cx[0] - cx[1]) <= 12, 'headline and box centres ' + cx);
  await page.screenshot('login');

  // The client check refuses an illegal account name before anything is posted.
  await page.fill('', '#username', 'a-b');
  await page.click('', 'input[name=btnlogin]');
  await page.waitIn('', () => true);
  assert.match(page.alerts.join('|'), /\u7528\u6237\u8d26\u53f7\u542b\u6709\u975e\u6cd5\u5b57\u7b26/);
  assert.match(page.url(), /login\.asp$/);

  await page.fill('', '#username', 'admin');
  await page.fill('', '#password', 'wrong');
  await page.clickAndWait('', 'input[name=btnlogin]');
  assert.match(page.url(), /login\.asp\?login=error$/);
  const error = await page.in('', (w) => {
    const b = w.document.querySelector('font[color=red] b');
    return b && { text: b.textContent, color: w.getComputedStyle(b).color };
  });
  assert.match(error.text, /\u7528\u6237\u540d\u6216\u5bc6\u7801\u9519\u8bef\uff0c\u767b\u5f55\u5931\u8d25\uff0c\u8bf7\u91cd\u65b0\u767b\u5f55\uff01/);
  assert.equal(error.color, 'rgb(255, 0, 0)');
  await page.screenshot('login-error');

  await page.fill('', '#username', 'admin');
  await page.fill('', '#password', 'admin');
  await page.clickAndWait('', 'input[name=btnlogin]');
  assert.equal(page.url(), server.base + '/');
  assert.ok(await page.in('', (w) => !!w.document.querySelector('frameset')), 'the desktop');
  assert.match(server.sql('select work_text from monitor'), /\u767b\u5f55\u7cfb\u7edf\u2026\u2026/);
  await page.waitIn('dir', (w) => w.document.readyState === 'complete', null, 'the menu');
  expectNoErrors(page);
});
