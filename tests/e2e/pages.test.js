// Every page the server has a class for, opened in both browsers where users meet it: the
// working frame of the desktop when logged in, the whole window for the public pages when
// logged out. Any uncaught script error or refused script in any frame fails the test.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { flow, closeBrowsers, session } = require('./driver');

test.after(closeBrowsers);

// The URLs of the page table, one per page class.
function pageUrls() {
  const src = fs.readFileSync(path.join(__dirname, '..', 'support', 'page_urls.h'), 'utf8');
  const byClass = new Map();
  for (const m of src.matchAll(/\{\s*"([^"]+\.asp)"\s*,\s*"(\w+)"\s*\}/g)) if (!byClass.has(m[2])) byClass.set(m[2], m[1]);
  return [...byClass.values()];
}
// Pages that end the session are opened last; the public ones also logged out.
const ENDING = /^(logout|logout_close|loginverify)\.asp$/i;
const PUBLIC = /^(login|losepassword|NewRegister|logout|logout_close)\.asp$/i;

flow(test, 'no uncaught script error on any page, logged in and logged out', async (browser, t) => {
  const { server, page } = await session(browser, t);
  const urls = pageUrls();
  assert.ok(urls.length > 20, 'the page table read');
  const failures = [];
  // Answers 404 when no page class serves the URL (yet).
  const served = (url) => page.in('', (w, u) => w.fetch(u, { credentials: 'same-origin' }).then((r) => r.status !== 404), url);
  const visit = async (url, load) => {
    const from = page.mark();
    try { await load(); } catch (e) { failures.push(url + ': ' + e.message); }
    // let onload handlers, timers and dialogs run
    await new Promise((r) => setTimeout(r, 300));
    for (const e of page.problems(from)) failures.push(url + ': ' + e);
  };

  await visit('the desktop', () => page.login(server.base));
  let visited = 0;
  for (const url of urls.filter((u) => !ENDING.test(u)).concat(urls.filter((u) => ENDING.test(u)))) {
    // a page that left the frames (login.asp does) gets the desktop back before the next
    if (page.url() !== server.base + '/') await page.login(server.base);
    if (!(await served(url))) continue;
    visited++;
    await visit(url, async () => {
      const before = await page.in('detail', (w) => w.performance.timeOrigin);
      await page.in('', (w, u) => { w.frames.detail.location.href = u; }, url);
      // loaded in the frame, or the page took the whole window
      await page.waitIn('', (w, t0) => w.document.readyState === 'complete' &&
        (!w.frames.detail || (w.frames.detail.performance.timeOrigin !== t0 && w.frames.detail.document.readyState === 'complete')), before, url, 10000);
    });
    // a dialog a page raised is put away
    await page.in('', (w) => w.document.querySelectorAll('dialog.tav-dialog').forEach((d) => d.remove()));
  }
  for (const url of urls.filter((u) => PUBLIC.test(u))) {
    if (await served(url)) await visit(url + ' (window)', () => page.goto(server.base + '/' + url));
  }
  t.diagnostic(visited + ' pages served of ' + urls.length + ' page classes');
  assert.deepEqual(failures, []);
});
