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
  const seen = new Set(), urls = [];
  for (const m of src.matchAll(/\{\s*"([^"]+\.asp)"\s*,\s*"(\w+)"\s*\}/g)) {
    if (seen.has(m[2])) continue;
    seen.add(m[2]);
    urls.push(m[1]);
  }
  return urls;
}
// Pages that end the session are opened last; the public ones also logged out.
const ENDING = /^(logout|logout_close|loginverify)\.asp$/i;
const PUBLIC = /^(login|losepassword|NewRegister|logout|logout_close)\.asp$/i;

// Answers 404 when no page class serves the URL (yet).
async function served(page, url) {
  return page.in('', (w, u) => w.fetch(u, { method: 'GET', credentials: 'same-origin' }).then((r) => r.status !== 404), url);
}

async function openIn(page, where, url) {
  if (where === 'detail') {
    const before = await page.in('detail', (w) => w.performance.timeOrigin);
    await page.in('', (w, u) => { w.frames.detail.location.href = u; }, url);
    // loaded in the frame, or the page took the whole window (login.asp leaves frames)
    await page.waitIn('', (w, t0) => {
      if (w.document.readyState !== 'complete') return false;
      const d = w.frames.detail;
      if (!d) return true;
      return d.performance.timeOrigin !== t0 && d.document.readyState === 'complete';
    }, before, url, 10000);
  } else {
    await page.goto(page.base + '/' + url);
  }
  // let onload handlers, timers and dialogs run
  await new Promise((r) => setTimeout(r, 300));
}

flow(test, 'no uncaught script error on any page, logged in and logged out', async (browser, t) => {
  const { server, page } = await session(browser, t);
  page.base = server.base;
  const urls = pageUrls();
  assert.ok(urls.length > 20, 'the page table read');
  const failures = [];
  const visit = async (where, url) => {
    const from = page.mark();
    try { await openIn(page, where, url); } catch (e) { failures.push(url + ': ' + e.message); }
    for (const e of page.problems(from)) failures.push(url + ' (' + where + '): ' + e);
  };

  const desktop = async () => {
    await page.login(server.base);
    await page.waitIn('dir', (w) => w.document.readyState === 'complete', null, 'the menu');
  };
  const start = page.mark();
  await desktop();
  for (const e of page.problems(start)) failures.push('the desktop: ' + e);

  let visited = 0;
  for (const url of urls.filter((u) => !ENDING.test(u)).concat(urls.filter((u) => ENDING.test(u)))) {
    if (page.url() !== server.base + '/') await desktop();
    if (!(await served(page, url))) continue;
    visited++;
    await visit('detail', url);
    // a dialog a page raised is put away; a page that left the frames (login.asp does) gets
    // the desktop back before the next
    await page.in('', (w) => w.document.querySelectorAll('dialog.tav-dialog').forEach((d) => d.remove()));
  }
  for (const url of urls.filter((u) => PUBLIC.test(u))) {
    if (await served(page, url)) await visit('window', url);
  }
  t.diagnostic(visited + ' pages served of ' + urls.length + ' page classes');

  assert.deepEqual(failures, []);
});
