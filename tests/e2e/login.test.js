// The way in, in a real browser against a real server.
'use strict';
const test = require('node:test');
const assert = require('node:assert');
const { startServer, launch, shot } = require('./tavelor');

test('login page, wrong password and a good login', async (t) => {
  const server = await startServer();
  const browser = await launch();
  t.after(async () => { await browser.close(); await server.stop(); });
  const page = await browser.newPage();

  await page.goto(server.base + '/login.asp');
  assert.strictEqual(await page.title(), '示范单位网络办公系统登录');
  assert.match(await page.textContent('body'), /示范单位自动化网络办公系统/);
  assert.strictEqual(await page.evaluate(() => document.characterSet), 'GBK');
  await page.screenshot({ path: shot('login.png') });

  // The client check refuses an illegal account name before anything is posted.
  let alerted = '';
  page.once('dialog', async (d) => { alerted = d.message(); await d.accept(); });
  await page.fill('#username', 'a-b');
  await page.click('input[name=btnlogin]');
  assert.match(alerted, /用户账号含有非法字符/);
  assert.match(page.url(), /login\.asp$/);

  await page.fill('#username', 'admin');
  await page.fill('#password', 'wrong');
  await Promise.all([page.waitForURL(/login\.asp\?login=error$/), page.click('input[name=btnlogin]')]);
  const error = page.locator('font[color=red] b');
  assert.match(await error.textContent(), /用户名或密码错误，登录失败，请重新登录！/);
  assert.strictEqual(await error.evaluate((e) => getComputedStyle(e).color), 'rgb(255, 0, 0)');
  await page.screenshot({ path: shot('login-error.png') });

  await page.fill('#username', 'admin');
  await page.fill('#password', 'admin');
  await Promise.all([page.waitForURL(server.base + '/'), page.click('input[name=btnlogin]')]);
  const cookies = await page.context().cookies();
  const session = cookies.find((c) => c.name === 'TAVSESSION');
  assert.ok(session && session.httpOnly, 'an HttpOnly session cookie');
  assert.match(server.sql("select work_text from monitor"), /登录系统……/);
});
