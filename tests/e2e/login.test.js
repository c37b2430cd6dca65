// The way in, in both browsers against a real server.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { flow, closeBrowsers, expectNoErrors, session } = require('./driver');

test.after(closeBrowsers);

flow(test, 'login page, a refused account name, a wrong password and a good login', async (browser, t) => {
  const { server, page } = await session(browser, t);
  await page.goto(server.base + '/login.asp');
  assert.equal(await page.in('', (w) => w.document.characterSet), 'GBK');
  // the headline stands centred over the login box at any window width
  const cx = await page.in('', (w) => [w.document.querySelector('center > span'), w.document.querySelector('form table')]
    .map((e) => { const r = e.getBoundingClientRect(); return Math.round(r.left + r.width / 2); }));
  assert.ok(Math.abs(cx[0] - cx[1]) <= 12, 'headline and box centres ' + cx);
  await page.screenshot('login');

  // The client check refuses an illegal account name before anything is posted.
  await page.fill('', '#username', 'a-b');
  await page.click('', 'input[name=btnlogin]');
  await page.alerted(/^\u7528\u6237\u8d26\u53f7\u542b\u6709\u975e\u6cd5\u5b57\u7b26/);
  assert.match(page.url(), /login\.asp$/);

  await page.fill('', '#username', 'admin');
  await page.fill('', '#password', 'wrong');
  await page.clickAndWait('', 'input[name=btnlogin]');
  assert.match(page.url(), /login\.asp\?login=error$/);
  assert.equal(await page.in('', (w) => w.getComputedStyle(w.document.querySelector('font[color=red] b')).color), 'rgb(255, 0, 0)');
  await page.screenshot('login-error');

  await page.login(server.base);
  expectNoErrors(page);
});
