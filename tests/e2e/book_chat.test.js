// The guest book and the chat room in both browsers, with two accounts: a thread and its
// reply, the owner told in the bottom cell and the news gone once read; two speakers in the
// room, the repeat rule, and a name clicked to address its speaker.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { flow, closeBrowsers, expectNoErrors, session } = require('./driver');

test.after(closeBrowsers);

const ALICE = '\u7231\u4e3d\u4e1d';  // 爱丽丝
const BOB = '\u9c8d\u52c3';          // 鲍勃
const SITE = [
  "update software set Hardserial='2' where softname='stat_time'",
  "insert into user(username,password,TrueName,DepartMentID,menu_idstr,record) values ('alice','pw','" + ALICE + "',1,'1201 1202 1203',30)",
  "insert into user(username,password,TrueName,DepartMentID,menu_idstr,record) values ('bob','pw','" + BOB + "',1,'1201 1202 1203',30)",
];

async function logout(page) {
  await page.in('', (w) => { w.location.href = 'logout.asp'; });
  await page.waitUrl(/login\.asp$/);
}

// Saves the form and follows the result box back to the list.
async function saveAndConfirm(page) {
  await page.click('detail', 'input[value="\u4fdd\u5b58\u7559\u8a00"]');  // 保存留言
  await page.shows('detail', /Pop_OK\.asp/);
  assert.match(await page.text('detail'), /\u7559\u8a00\u6210\u529f\uff01/);  // 留言成功！
  await page.click('detail', 'input[name=Submit2]');
  await page.shows('detail', /Book_list\.asp$/);
}


flow(test, 'guest book: a thread, a reply, the owner told and the news cleared by reading', async (browser, t) => {
  const { server, page } = await session(browser, t, { sql: SITE });

  // Alice starts a thread.
  await page.login(server.base, 'alice', 'pw');
  await page.open('detail', 'Book_list.asp', /Book_list\.asp$/);
  await page.click('detail', 'input[value="\u4e66\u5199\u65b0\u7559\u8a00"]');  // 书写新留言
  await page.waitIn('detail', (w) => /Book_Write\.asp$/.test(w.location.href), null, 'the form');
  await page.fill('detail', 'input[name=Book_Title]', 'lunch on friday');
  await page.writeEditor('detail', 'who comes along?');
  await page.screenshot('book-write');
  await saveAndConfirm(page);
  const listed = await page.waitIn('detail', (w) => {
    const a = Array.from(w.document.querySelectorAll('a[href^="Book_read.asp"]'), (e) => e.textContent);
    return a.length && a;
  }, null, 'the thread in the list');
  assert.deepEqual(listed, ['lunch on friday']);
  await page.screenshot('book-list');
  await logout(page);

  // Bob reads it and replies from the reading page.
  await page.login(server.base, 'bob', 'pw');
  await page.open('detail', 'Book_list.asp', /Book_list\.asp$/);
  await page.click('detail', 'a[href^="Book_read.asp"]');
  await page.shows('detail', /Book_read\.asp/);
  assert.match(await page.text('detail'), /who comes along\?/);
  await page.click('detail', 'input[value="\u56de \u590d"]');  // 回 复
  await page.shows('detail', /Book_Write\.asp\?id=\d+/);
  assert.equal(await page.in('detail', (w) => w.document.querySelector('input[name=Book_Title]').value), '\u56de\u590d\uff1alunch on friday');
  // the reply starts from the parent's whole text
  await page.waitIn('detail', (w) => /who comes along\?/.test(w.document.getElementById('mytext').contentDocument.body.innerText), null, 'the quoted text');
  await page.writeEditor('detail', 'count me in');
  await saveAndConfirm(page);
  assert.equal(server.sql("select Reply_num from Book where Reply_id=0"), '1');
  await logout(page);

  // Alice is told in the bottom cell, reads, and the news goes.
  await page.login(server.base, 'alice', 'pw');
  const tip = await page.waitIn('bottom', (w) => /\u6709 1 \u6761/.test((w.document.querySelector('#board img') || {}).alt) && (w.document.querySelector('#board img') || {}).alt, null, 'the reply counted in the bottom cell');
  assert.equal(tip, '\u7559\u8a00\u677f\u6709 1 \u6761\u65b0\u7684\u56de\u590d\u4fe1\u606f\uff01');  // 留言板有 1 条新的回复信息！
  await page.screenshot('book-told');
  // The reminder of the login names the news too; it is modal, so it goes first.
  const reminder = await page.waitIn('', (w) => {
    const f = w.document.querySelector('dialog.tav-dialog[open] iframe');
    const b = f && f.contentDocument && f.contentDocument.body;
    return b && /\u786e\u5b9a/.test(b.innerHTML) ? b.innerText : null;
  }, null, 'the reminder');
  assert.match(reminder, /\u7559\u8a00\u677f\u6709 1 \u6761\u65b0\u7684\u56de\u590d\u4fe1\u606f/);
  await page.click('', 'dialog.tav-dialog[open] .tav-dialog-x');
  await page.waitIn('', (w) => !w.document.querySelector('dialog.tav-dialog'), null, 'the reminder to close');
  await page.click('bottom', '#board a');
  await page.waitIn('detail', (w) => /book_list1\.asp$/i.test(w.location.href) && w.document.readyState === 'complete', null, 'my replies');
  await page.click('detail', 'a[href^="Book_read.asp"]');
  await page.waitIn('detail', (w) => /Book_read\.asp/.test(w.location.href) && /count me in/.test(w.document.body.innerText), null, 'the reply');
  await page.screenshot('book-read');
  await page.waitIn('bottom', (w) => (w.document.querySelector('#board img') || {}).alt === '\u7559\u8a00\u677f\u6ca1\u6709\u65b0\u7684\u56de\u590d\u4fe1\u606f\uff01', null, 'the cell cleared');
  await page.open('detail', 'book_list1.asp', /book_list1\.asp$/);
  assert.match(await page.text('detail'), /\u6ca1\u6709\u65b0\u7684\u7559\u8a00\u56de\u590d\u4fe1\u606f/);
  expectNoErrors(page);
});

// Functions given to waitIn run in the page: they name no helper of this file.

// Types a line into the input frame and sends it with the button.
async function say(page, text) {
  await page.fill('detail/f2', 'input[name=saystemp]', text);
  await page.click('detail/f2', 'input[name=send]');
}

flow(test, 'chat room: two speakers, the display refreshing, the repeat rule, a name clicked', async (browser, t) => {
  const { server, pages: [alice, bob] } = await session(browser, t, { sql: SITE }, { pages: 2 });
  await alice.login(server.base, 'alice', 'pw');
  await bob.login(server.base, 'bob', 'pw');
  for (const p of [alice, bob]) {
    await p.open('detail', 'Chat_Main.asp', /Chat_Main\.asp$/);
    await p.waitIn('detail/f2', (w) => w.document.readyState === 'complete' && !!w.document.querySelector('input[name=saystemp]'), null, 'the input line');
  }

  // Alice speaks; her own display shows the line at once.
  await say(alice, 'hello all');
  await alice.waitIn('detail/f1', (w, a) => (w.document.body ? w.document.body.innerText : '').includes(a), ALICE + ' \u8bf4\uff1ahello all', 'the line in her display');
  // The same line again is refused by the page and never sent.
  const before = alice.alerts.length;
  await say(alice, 'hello all');
  for (let i = 0; i < 50 && alice.alerts.length === before; i++) await new Promise((r) => setTimeout(r, 100));
  assert.deepEqual(alice.alerts.slice(before), ['\u5185\u5bb9\u4e0d\u53ef\u91cd\u590d\u3002']);  // 内容不可重复。
  await say(alice, 'anyone?');
  await say(alice, 'hello all');  // A, B, A is allowed
  await alice.waitIn('detail/f1', (w) => ((w.document.body ? w.document.body.innerText : '').match(/hello all/g) || []).length === 2 && (w.document.body ? w.document.body.innerText : '').includes('anyone?'), null, 'A, B, A');
  assert.equal(server.sql("select count(id) from Chat"), '3');

  // Bob's display reloads by itself and brings Alice's lines; he clicks her name to answer her.
  await bob.waitIn('detail/f1', (w) => (w.document.body ? w.document.body.innerText : '').includes('anyone?'), null, 'the refresh of his display', 25000);
  await bob.click('detail/f1', 'a[target=f2]');
  await bob.waitIn('detail/f2', (w, a) => { const i = w.document.querySelector('input[name=to_username]'); return i && i.value === a; }, ALICE, 'her name as addressee');
  await say(bob, 'me too');
  await bob.waitIn('detail/f1', (w, a) => (w.document.body ? w.document.body.innerText : '').includes(a), BOB + ' \u5bf9 ' + ALICE + ' \u8bf4\uff1ame too', 'his line to her');
  assert.equal(server.sql("select To_username from Chat order by id desc limit 1"), ALICE);
  await bob.screenshot('chat-bob');
  await alice.waitIn('detail/f1', (w) => (w.document.body ? w.document.body.innerText : '').includes('me too'), null, 'his line in her display', 25000);
  await alice.screenshot('chat-alice');

  // The room stays clean of script errors in both windows.
  expectNoErrors(alice);
  expectNoErrors(bob);
});
