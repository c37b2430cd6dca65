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

// Saves the form and follows the result box back to the list.
async function saveAndConfirm(page) {
  await page.click('detail', 'input[value="\u4fdd\u5b58\u7559\u8a00"]');  // 保存留言
  await page.waitText('detail', /\u7559\u8a00\u6210\u529f\uff01/);  // 留言成功！
  await page.click('detail', 'input[name=Submit2]');
  await page.shows('detail', /Book_list\.asp$/);
}

// Waits for the tool tip of the guest book's cell in the bottom frame.
const boardSays = (page, tip) => page.waitIn('bottom', (w, a) => (w.document.querySelector('#board img') || {}).alt === a, tip, 'the cell saying ' + tip);

flow(test, 'guest book: a thread, a reply, the owner told and the news cleared by reading', async (browser, t) => {
  const { server, page } = await session(browser, t, { sql: SITE });

  // Alice starts a thread.
  await page.login(server.base, 'alice', 'pw');
  await page.open('detail', 'Book_list.asp', /Book_list\.asp$/);
  await page.click('detail', 'input[value="\u4e66\u5199\u65b0\u7559\u8a00"]');  // 书写新留言
  await page.shows('detail', /Book_Write\.asp$/);
  await page.fill('detail', 'input[name=Book_Title]', 'lunch on friday');
  await page.writeEditor('detail', 'who comes along?');
  await page.screenshot('book-write');
  await saveAndConfirm(page);
  await page.waitText('detail', /lunch on friday/);
  await page.screenshot('book-list');
  await page.logout();

  // Bob reads it and replies from the reading page; the reply starts from the parent's text.
  await page.login(server.base, 'bob', 'pw');
  await page.open('detail', 'Book_list.asp', /Book_list\.asp$/);
  await page.click('detail', 'a[href^="Book_read.asp"]');
  await page.waitText('detail', /who comes along\?/);
  await page.click('detail', 'input[value="\u56de \u590d"]');  // 回 复
  await page.shows('detail', /Book_Write\.asp\?id=\d+/);
  assert.equal(await page.value('detail', 'input[name=Book_Title]'), '\u56de\u590d\uff1alunch on friday');
  await page.waitIn('detail', (w) => /who comes along\?/.test(w.document.getElementById('mytext').contentDocument.body.innerText), null, 'the quoted text');
  await page.writeEditor('detail', 'count me in');
  await saveAndConfirm(page);
  await page.logout();

  // Alice is told in the bottom cell and by the login's reminder, reads, and the news goes.
  await page.login(server.base, 'alice', 'pw');
  await boardSays(page, '\u7559\u8a00\u677f\u6709 1 \u6761\u65b0\u7684\u56de\u590d\u4fe1\u606f\uff01');  // 留言板有 1 条新的回复信息！
  await page.screenshot('book-told');
  assert.match(await page.reminder(), /\u7559\u8a00\u677f\u6709 1 \u6761\u65b0\u7684\u56de\u590d\u4fe1\u606f/);
  await page.closeDialog();
  await page.click('bottom', '#board a');
  await page.shows('detail', /book_list1\.asp$/);
  await page.click('detail', 'a[href^="Book_read.asp"]');
  await page.waitText('detail', /count me in/);
  await page.screenshot('book-read');
  await boardSays(page, '\u7559\u8a00\u677f\u6ca1\u6709\u65b0\u7684\u56de\u590d\u4fe1\u606f\uff01');
  expectNoErrors(page);
});

// Types a line into the input frame and sends it with the button.
async function say(page, text) {
  await page.fill('detail/f2', 'input[name=saystemp]', text);
  await page.click('detail/f2', 'input[name=send]');
}
const display = (page, re, what, ms) => page.waitIn('detail/f1', (w, p) => w.document.body && new RegExp(p).test(w.document.body.innerText),
  re.source, what, ms);

flow(test, 'chat room: two speakers, the display refreshing, the repeat rule, a name clicked', async (browser, t) => {
  const { server, pages: [alice, bob] } = await session(browser, t, { sql: SITE }, { pages: 2 });
  await alice.login(server.base, 'alice', 'pw');
  await bob.login(server.base, 'bob', 'pw');
  for (const p of [alice, bob]) {
    await p.open('detail', 'Chat_Main.asp', /Chat_Main\.asp$/);
    await p.waitIn('detail/f2', (w) => w.document.readyState === 'complete' && !!w.document.querySelector('input[name=saystemp]'), null, 'the input line');
  }

  // Alice speaks; her own display shows the line at once. The same line again is refused by
  // the page and never sent; A, B, A is allowed.
  await say(alice, 'hello all');
  await display(alice, new RegExp(ALICE + ' \u8bf4\uff1ahello all'), 'the line in her display');
  await say(alice, 'hello all');
  await alice.alerted('\u5185\u5bb9\u4e0d\u53ef\u91cd\u590d\u3002');  // 内容不可重复。
  await say(alice, 'anyone?');
  await say(alice, 'hello all');
  await display(alice, /hello all[\s\S]*anyone\?[\s\S]*hello all/, 'A, B, A');
  assert.equal(server.sql('select count(id) from Chat'), '3');

  // Bob's display reloads by itself and brings Alice's lines; he clicks her name to answer her.
  await display(bob, /anyone\?/, 'the refresh of his display', 25000);
  await bob.click('detail/f1', 'a[target=f2]');
  await bob.waitIn('detail/f2', (w, a) => { const i = w.document.querySelector('input[name=to_username]'); return i && i.value === a; }, ALICE, 'her name as addressee');
  await say(bob, 'me too');
  await display(bob, new RegExp(BOB + ' \u5bf9 ' + ALICE + ' \u8bf4\uff1ame too'), 'his line to her');
  await bob.screenshot('chat-bob');
  await display(alice, /me too/, 'his line in her display', 25000);
  await alice.screenshot('chat-alice');
  expectNoErrors(alice);
  expectNoErrors(bob);
});
