// Internal mail between two browsers' worth of accounts, in both engines: compose with the
// recipient dialog and two attachments, the recipient's status cell, reading, an attachment,
// the reply, deletion from every folder (the shared file goes with the last copy), and a body
// over the server's limit.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { flow, closeBrowsers, expectNoErrors, session } = require('./driver');

test.after(closeBrowsers);

const LIMIT = 1 << 20;
const SITE = [
  // short polling, so the status cell tells of new mail soon
  "update software set Hardserial='2' where softname in ('work_time','stat_time')",
  "update software set Hardserial='0' where softname='work_pop'",
  "insert into user(username,password,TrueName,DepartMentID,menu_idstr,record) values ('ann','pw','\u5b89\u5a1c',1,'',30)",
  "insert into user(username,password,TrueName,DepartMentID,menu_idstr,record) values ('bob','pw','\u535a\u6587',1,'',30)",
];

// Gives a file box a file, as picking it in the browser's file chooser does.
async function attach(page, field, name, size) {
  await page.in('detail', (w, a) => {
    const dt = new w.DataTransfer();
    dt.items.add(new w.File([a.text.repeat(Math.ceil(a.size / a.text.length)).slice(0, a.size)], a.name));
    w.document.querySelector('input[name=' + a.field + ']').files = dt.files;
  }, { field, name, size, text: 'mail attachment ' + name + ' ' });
}

// Ticks the list's boxes of the mails whose subjects match, then presses the delete button.
async function deleteWhere(page, subject) {
  const ticked = await page.in('detail', (w, s) => {
    let n = 0;
    for (const a of w.document.querySelectorAll('a[href^="Email_read.asp"]')) {
      if (a.textContent.indexOf(s) < 0) continue;
      const box = a.closest('tr').querySelector('input[type=checkbox]');
      box.id = 'tav-tick-' + n;
      n++;
    }
    return n;
  }, subject);
  assert.ok(ticked > 0, 'no mail "' + subject + '" in the list');
  for (let i = 0; i < ticked; i++) await page.click('detail', '#tav-tick-' + i);
  await page.click('detail', '#Clear');
  await page.shows('detail', /Pop_OK\.asp/);
}

flow(test, 'two accounts: compose, dialog, attachments, status cell, read, reply, delete, over the limit', async (browser, t) => {
  const { server, pages: [admin, ann, bob] } = await session(browser, t, { sql: SITE, args: ['--body-limit', String(LIMIT)] }, { pages: 3 });
  const id = (name) => server.sql(`select id from user where username='${name}'`);
  const annId = id('ann'), bobId = id('bob');
  const inEmail = (name) => fs.existsSync(path.join(server.site, 'Email', name));
  const subject = '\u5468\u62a5 ' + browser.engine;

  // The admin composes: two recipients picked in the dialog, two files.
  await admin.login(server.base);
  await admin.open('detail', 'Email_send.asp');
  await admin.click('detail', 'input[name=sendto]');
  await admin.click('@dialog', `input[name="${annId}|\u5b89\u5a1c"]`);
  await admin.click('@dialog', `input[name="${bobId}|\u535a\u6587"]`);
  await admin.screenshot('mail-dialog');
  await admin.click('@dialog', 'input[value="\u786e\u5b9a"]');
  const to = await admin.waitIn('detail', (w) => w.postform.EmailTo.value && { names: w.postform.EmailTo.value, ids: w.postform.to_user_idstr.value }, null, 'the recipients');
  assert.deepEqual(to, { names: '\u5b89\u5a1c;\u535a\u6587;', ids: `${annId}@${bobId}@` });
  await admin.fill('detail', 'input[name=Email_title]', subject);
  await admin.writeEditor('detail', 'Hello, see the two files.');
  await attach(admin, 'File1', 'report.txt', 300);
  await attach(admin, 'File2', 'plan.txt', 200);
  await admin.screenshot('mail-compose');
  await admin.click('detail', 'input[value="\u53d1 \u9001"]');
  await admin.waitText('detail', /\u90ae\u4ef6\u6210\u529f\u53d1\u9001/);
  const prefix = server.sql('select Email_doc from Email limit 1').split('*');
  assert.equal(prefix.length, 2);
  assert.ok(prefix.every(inEmail), 'files on disk: ' + prefix);
  assert.equal(server.sql(`select count(*) from Email where Email_text like '%Hello, see the two files.%'`), '2');

  // The recipient's status cell tells of the mail; she reads it and opens an attachment.
  await ann.login(server.base, 'ann', 'pw');
  await ann.waitIn('bottom', (w) => /\u90ae\u7bb1\u4e2d\u6709 1 \u5c01\u65b0\u90ae\u4ef6/.test(w.document.querySelector('#email img').alt), null, 'the tool tip of new mail');
  await ann.open('detail', 'Email_list.asp?type=0');
  await ann.screenshot('mail-inbox');
  await ann.click('detail', 'a[href^="Email_read.asp"]');
  await ann.shows('detail', /Email_read\.asp/);
  const file = await ann.in('detail', async (w) => {
    const r = await w.fetch(w.document.querySelector('a[target=_blank]').href);
    return { status: r.status, text: (await r.text()).slice(0, 30) };
  });
  assert.deepEqual(file, { status: 200, text: 'mail attachment report.txt mai' });
  await ann.screenshot('mail-read');

  // She replies; the reply reaches the admin marked as one.
  await ann.click('detail', 'input[value="\u56de \u590d"]');
  await ann.shows('detail', /Email_send\.asp/);
  await ann.writeEditor('detail', 'Thanks.');
  await ann.click('detail', 'input[value="\u53d1 \u9001"]');
  await ann.shows('detail', /Pop_OK\.asp/);
  await admin.open('detail', 'Email_list.asp?type=0');
  assert.match(await admin.text('detail'), new RegExp('\u56de\u590d:' + subject));
  // The tick box "\u641c\u7d22\u6b63\u6587" finds the reply by its body, and the answer keeps it ticked.
  await admin.fill('detail', 'input[name=sstr]', 'thanks');
  await admin.click('detail', 'input[name=sbody]');
  await admin.click('detail', 'input[value="\u67e5\u627e"]');
  await admin.shows('detail', /sbody=1/);
  assert.deepEqual(await admin.in('detail', (w) => ({
    rows: w.document.querySelectorAll('a[href^="Email_read.asp"]').length,
    ticked: w.document.searchform.sbody.checked,
  })), { rows: 1, ticked: true });
  await admin.screenshot('mail-body-search');

  // Deletion. Ann: inbox, then the deleted folder for good.
  await ann.open('detail', 'Email_list.asp?type=0');
  await deleteWhere(ann, subject);
  assert.equal(server.sql(`select To_del from Email where to_user_id=${annId}`), '1');
  await ann.open('detail', 'Email_list.asp?type=2');
  await ann.click('detail', 'input[name=clickall]');  // "kall" rides along; the server skips it
  await ann.click('detail', '#Clear');
  await ann.waitText('detail', /\u90ae\u4ef6\u88ab\u5f7b\u5e95\u5220\u9664/);
  // The admin's sent folder holds both copies; Bob's copy keeps the files, in his inbox and in
  // his deleted folder, until he removes it: then the rows and the files go.
  await bob.login(server.base, 'bob', 'pw');
  for (const [who, folder, rows] of [[admin, 3, '2'], [bob, 0, '2'], [bob, 2, '0']]) {
    await who.open('detail', 'Email_list.asp?type=' + folder);
    await deleteWhere(who, subject);
    assert.equal(server.sql(`select count(*) from Email where Email_doc<>'0'`), rows, 'folder ' + folder);
    assert.deepEqual(prefix.map(inEmail), prefix.map(() => rows !== '0'), 'files of folder ' + folder);
  }

  // A file over the server's limit: a page that says so, and Back returns to the form.
  await admin.open('detail', 'Email_send.asp');
  await admin.in('detail', (w, ids) => {
    w.postform.EmailTo.value = '\u5b89\u5a1c;';
    w.postform.to_user_idstr.value = ids;
  }, annId + '@');
  await admin.fill('detail', 'input[name=Email_title]', 'too big');
  await attach(admin, 'File1', 'big.bin', LIMIT + 300000);
  const before = server.sql('select count(*) from Email');
  await admin.click('detail', 'input[value="\u53d1 \u9001"]');
  await admin.waitText('detail', /\u6587\u4ef6\u592a\u5927[\s\S]*\u4e0d\u80fd\u8d85\u8fc7 1 MB/);
  await admin.screenshot('mail-too-large');
  assert.equal(server.sql('select count(*) from Email'), before);
  // Back as the user presses it: the joint history steps the working frame back.
  await admin.in('', (w) => { w.history.back(); });
  await admin.shows('detail', /Email_send\.asp$/, 'form[name=postform]');

  expectNoErrors(admin);
  expectNoErrors(ann);
  expectNoErrors(bob);
}, { timeout: 120000 });
