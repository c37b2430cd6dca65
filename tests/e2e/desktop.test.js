// A day on the desktop in both browsers: frames, the top bar, sections, the outbar, the status
// cells, the reminder at every login, the way out and the Back button after it.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { flow, closeBrowsers, expectNoErrors, session } = require('./driver');

test.after(closeBrowsers);

// Short polling intervals, reminders on, and one unread mail for the admin.
const REMINDER_SITE = [
  "update software set Hardserial='2' where softname in ('work_time','stat_time')",
  "update software set Hardserial='1' where softname='work_pop'",
  "insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id) select 0,id,'t','x',0 from user where username='admin'",
];

flow(test, 'desktop frames, top bar, sections, outbar, status cells and logout', async (browser, t) => {
  const { server, page } = await session(browser, t, { sql: REMINDER_SITE.slice(0, 1) });
  await page.login(server.base);

  // The top bar holds its buttons and the whole headline in its 46 rows, nothing to scroll.
  const top = await page.waitIn('top_w', (w) => w.document.readyState === 'complete' && (() => {
    const d = w.document, span = d.querySelector('span').getBoundingClientRect();
    const last = d.querySelector('img[name=tcxt]').getBoundingClientRect();
    return { inner: w.innerHeight, scroll: d.documentElement.scrollHeight, spanBottom: span.bottom, spanRight: span.right, lastLeft: last.left, lastBottom: last.bottom };
  })(), null, 'the top bar');
  assert.equal(top.inner, 46);
  assert.ok(top.scroll <= 46 && top.spanBottom <= 46 && top.lastBottom <= 46 && top.spanRight <= top.lastLeft, JSON.stringify(top));

  // The status cells get their tool tips from the monitor frame; its caption reads in yellow.
  await page.waitIn('bottom', (w) => /^\u5f53\u524d\u5728\u7ebf\u4eba\u6570\uff1a/.test(w.document.querySelector('#onlines img').alt) &&
    w.document.getElementById('system').textContent.trim() !== '', null, 'the online count and the caption');
  assert.equal(await page.in('bottom', (w) => w.getComputedStyle(w.document.getElementById('system')).color), 'rgb(255, 255, 0)');
  await page.screenshot('desktop');

  // A section button reloads the menu frame; a folder of the outbar opens; an entry leads on.
  await page.click('top_w', 'a[href="left.asp?xm=sjzx"]');
  await page.waitIn('dir', (w) => {
    const b = /xm=sjzx/.test(w.location.href) && Array.from(w.document.querySelectorAll('#OutBar .controlpanel')).find((e) => e.textContent === '\u6cd5\u89c4\u5236\u5ea6');
    if (b) b.id = 'tav-test-folder';
    return !!b;
  }, null, 'the second folder of the sjzx section');
  await page.click('dir', '#tav-test-folder');
  await page.click('dir', '#OutBar a[href="Data_type.asp?m_id=32&xm=sjzx"]');
  await page.shows('detail', /Data_type\.asp\?m_id=32/);
  await page.screenshot('desktop-outbar');

  // Out through the top frame's last button.
  await page.clickAndWait('top_w', 'a[href="logout.asp"]');
  assert.match(page.url(), /login\.asp$/);
  assert.equal(server.sql("select online from user where username='admin'"), '0');
  expectNoErrors(page);
});

flow(test, 'the reminder comes up at each of five logins and stays while the frames move on', async (browser, t) => {
  const { server, page } = await session(browser, t, { sql: REMINDER_SITE });
  for (let i = 1; i <= 5; i++) {
    await page.login(server.base);
    // the menu frame sends the working frame on at each login, the poll frame reloads itself
    await page.shows('detail', /data_home\.asp$/);
    assert.match(await page.reminder(), /\u6709 1 \u5c01\u65b0\u90ae\u4ef6\u6b63\u7b49\u5f85\u60a8\u9605\u8bfb\uff01/, 'login ' + i);
    // still there after the next poll of the message frame
    const polls = await page.in('message', (w) => w.performance.timeOrigin);
    await page.waitIn('message', (w, t0) => w.performance.timeOrigin !== t0 && w.document.readyState === 'complete', polls, 'the next poll');
    assert.ok(await page.reminder(), 'the reminder after a poll, login ' + i);
    if (i === 1) await page.screenshot('reminder');
    // The reminder is modal: the user closes it before anything else, by its button, which
    // runs closepop in the frame "sound", or by the close box of its title bar.
    if (i % 2) {
      await page.click('@dialog', 'input[value="\u786e\u5b9a"]');
      await page.shows('sound', /closepop\.asp$/);
      await page.waitIn('', (w) => !w.document.querySelector('dialog.tav-dialog'), null, 'the reminder to close');
    } else {
      await page.closeDialog();
    }
    // the next poll may already have raised the reminder again after closepop
    await page.logout();
  }
  expectNoErrors(page);
});

flow(test, 'Back after logout shows the login page, not the desktop', async (browser, t) => {
  const { server, page } = await session(browser, t);
  await page.login(server.base);
  await page.clickAndWait('top_w', 'a[href="logout.asp"]');
  await page.back();
  const seen = await page.waitIn('', (w) => w.document.readyState === 'complete' &&
    { frameset: !!w.document.querySelector('frameset'), login: !!w.document.querySelector('#username') }, null, 'the page after Back');
  assert.deepEqual(seen, { frameset: false, login: true });
});
