// A day on the desktop in a real browser: frames, sections, the outbar, the
// status cells, the reminder popup and the way out.
'use strict';
const test = require('node:test');
const assert = require('node:assert');
const { startServer, launch, shot } = require('./tavelor');

const frame = (page, name) => page.frame({ name });

async function waitFor(fn, what, ms = 20000) {
  const end = Date.now() + ms;
  for (;;) {
    try { const v = await fn(); if (v) return v; } catch (_) { /* frame reloading */ }
    if (Date.now() > end) throw new Error('timed out waiting for ' + what);
    await new Promise((r) => setTimeout(r, 200));
  }
}

test('desktop: sections, outbar, status cells, reminder and logout', async (t) => {
  // Short polling intervals so the test need not wait a minute.
  const server = await startServer({ sql: [
    "update software set Hardserial='2' where softname in ('work_time','stat_time')",
    "update software set Hardserial='1' where softname='work_pop'",
  ] });
  const browser = await launch();
  t.after(async () => { await browser.close(); await server.stop(); });
  const page = await browser.newPage({ viewport: { width: 1000, height: 700 } });
  page.on('dialog', (d) => d.accept());

  await page.goto(server.base + '/login.asp');
  await page.fill('#username', 'admin');
  await page.fill('#password', 'admin');
  await Promise.all([page.waitForURL(server.base + '/'), page.click('input[name=btnlogin]')]);

  for (const name of ['top_w', 'dir', 'detail', 'bottom', 'monitorbottom', 'sound', 'message', 'net_metmeen'])
    assert.ok(frame(page, name), 'frame ' + name);
  await waitFor(() => frame(page, 'detail').url().match(/started\.asp|data_home\.asp/), 'the welcome page');

  // The status cells get their tool tips from the monitor frame.
  await waitFor(async () => (await frame(page, 'bottom').getAttribute('#onlines img', 'alt'))
    .startsWith('当前在线人数：'), 'the online count in the bottom frame');
  assert.strictEqual(server.sql("select online from user where username='admin'").trim(), '1');
  await page.screenshot({ path: shot('desktop.png') });

  // A section button of the top frame reloads the menu frame.
  await frame(page, 'top_w').click('a[href="left.asp?xm=wlzx"]');
  await waitFor(() => frame(page, 'dir').url().includes('xm=wlzx'), 'the wlzx section');
  await frame(page, 'top_w').click('a[href="left.asp?xm=sjzx"]');
  await waitFor(() => frame(page, 'dir').url().includes('xm=sjzx'), 'the sjzx section');

  // Open a folder of the outbar and follow one of its entries.
  const dir = frame(page, 'dir');
  await waitFor(async () => (await dir.locator('text=法规制度').count()) > 0, 'the second folder button');
  await dir.locator('text=法规制度').first().click();
  await waitFor(async () => dir.locator('text=类别维护').last().isVisible(), 'its entries');
  await dir.locator('text=类别维护').last().click();
  await waitFor(() => frame(page, 'detail').url().includes('Data_type.asp?m_id=32'), 'the entry in detail');
  await page.screenshot({ path: shot('desktop-outbar.png') });

  // A mail for the admin raises the reminder in a visible frame.
  const uid = server.sql("select id from user where username='admin'").trim();
  server.sql(`insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id) values (0,${uid},'测试','正文',0)`);
  const detail = () => frame(page, 'detail');
  await waitFor(async () => (await detail().locator('dialog[open] iframe').count()) > 0, 'the reminder dialog', 30000);
  const pop = detail().frameLocator('dialog[open] iframe');
  await waitFor(async () => /有 1 封新邮件正等待您阅读！/.test(await pop.locator('body').textContent()), 'the mail text');
  await page.screenshot({ path: shot('reminder.png') });
  await pop.locator('input[value="确定"]').click();
  await waitFor(async () => (await detail().locator('dialog[open]').count()) === 0, 'the dialog to close');

  // Out through the top frame's last button.
  await Promise.all([page.waitForURL(/login\.asp$/), frame(page, 'top_w').click('a[href="logout.asp"]')]);
  assert.strictEqual(server.sql("select online from user where username='admin'").trim(), '0');
});
