// The card case, the ledger, the online list and the meeting page in both browsers: a card
// added, edited and deleted; a ledger row added, changed and deleted with the subject "del";
// two logged-in accounts on the online list; the call button saying why it cannot call.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { flow, closeBrowsers, expectNoErrors, session } = require('./driver');

test.after(closeBrowsers);

// Sets a field of the top window's form directly (Chinese text is not typed key by key).
async function setValue(page, selector, value) {
  await page.in('', (w, [sel, v]) => { w.document.querySelector(sel).value = v; }, [selector, value]);
}

// The result box: its message, then on through its button.
async function confirmResult(page, message, next) {
  assert.match(page.url(), /Pop_OK\.asp/);
  assert.match(await page.text(), new RegExp(message));
  await page.clickAndWait('', 'input[value="\u786e\u5b9a"]');
  assert.match(page.url(), next);
}

flow(test, 'an address card is added, edited and deleted', async (browser, t) => {
  const { server, page } = await session(browser, t);
  await page.login(server.base);
  await page.goto(server.base + '/Address_list.asp');
  await page.clickAndWait('', 'input[value="\u65b0\u589e\u540d\u7247"]');
  assert.match(page.url(), /Address_Edit\.asp$/);

  // The form's own checks: a name first, then a mail address that reads as one.
  await page.click('', 'input[type=submit]');
  assert.deepEqual(page.alerts, ['\u8bf7\u586b\u5199\u7528\u6237\u59d3\u540d']);
  await setValue(page, 'input[name=Name]', '\u5f20\u4e09');
  await page.fill('', 'input[name=Email]', 'zhang@');
  await page.click('', 'input[type=submit]');
  assert.equal(page.alerts[1], '\u8bf7\u586b\u5199\u6b63\u786e\u7684\u7535\u5b50\u4fe1\u7bb1\uff01');
  await page.fill('', 'input[name=Email]', 'zhang@audit.cn');
  await page.fill('', 'input[name=Mobile]', '13900000000');
  await page.screenshot('address-new');
  await page.clickAndWait('', 'input[type=submit]');
  await confirmResult(page, '\u65b0\u540d\u7247\u6dfb\u52a0\u6210\u529f!', /Address_list\.asp$/);

  let text = await page.text();
  assert.match(text, /\u5f20\u4e09\s+\u5973\s+\u5f85\u4e1a\s+\d{4}\*\s+13900000000\s+zhang@audit\.cn/);
  await page.screenshot('address-list');

  // Edit: the form comes filled; a new unit and the other sex.
  await page.clickAndWait('', 'img[alt="\u4fee\u6539"]');
  assert.match(page.url(), /Address_edit\.asp\?id=\d+$/);
  assert.equal(await page.in('', (w) => w.document.querySelector('input[name=Email]').value), 'zhang@audit.cn');
  await setValue(page, 'input[name=Work]', '\u5ba1\u8ba1\u5c40');
  await page.click('', 'input[name=sex][value="\u7537"]');
  await page.clickAndWait('', 'input[type=submit]');
  await confirmResult(page, '\u540d\u7247\u4fee\u6539\u6210\u529f\uff01', /Address_list\.asp$/);
  text = await page.text();
  assert.match(text, /\u5f20\u4e09\s+\u7537\s+\u5ba1\u8ba1\u5c40/);

  // Delete: the box asks by name first.
  await page.clickAndWait('', 'img[alt="\u5220\u9664"]');
  assert.match(await page.text(), /\u60a8\u786e\u4fe1\u8981\u5220\u9664\u8054\u7cfb\u4eba\uff1a\u5f20\u4e09 \u5417\uff1f/);
  await page.screenshot('address-delete');
  await page.clickAndWait('', 'input[value="\u5220\u9664"]');
  await confirmResult(page, '\u5220\u9664\u6210\u529f\uff01', /Address_List\.asp$/);
  assert.doesNotMatch(await page.text(), /\u5f20\u4e09/);
  assert.equal(server.sql('select count(*) from Address'), '0');
  expectNoErrors(page);
});

flow(test, 'a ledger row is added, changed and deleted with the subject "del"', async (browser, t) => {
  const { server, page } = await session(browser, t);
  await page.login(server.base);
  await page.goto(server.base + '/Record_List.asp');
  await page.clickAndWait('', 'input[value="\u65b0\u589e\u8bb0\u8f7d"]');

  // The checks in their order; each stops the post.
  await page.click('', 'input[type=submit]');
  await page.fill('', 'input[name=Rec_Title]', 'taxi');
  await page.click('', 'input[type=submit]');
  await page.fill('', 'input[name=Rec_Money]', '12a');
  await page.click('', 'input[type=submit]');
  await page.fill('', 'input[name=Rec_Money]', '35.5');
  await page.click('', 'input[type=submit]');
  assert.deepEqual(page.alerts, ['\u8bf7\u586b\u5199\u4e3b\u9898\uff01', '\u8bf7\u586b\u5199\u91d1\u989d\uff01',
    '\u91d1\u989d\u53ea\u80fd\u8f93\u5165\u6570\u5b57\uff01', '\u8fd8\u662f\u5199\u4e00\u70b9\u4e8b\u7531\u5427\uff01']);
  assert.match(page.url(), /Record_Write\.asp$/);
  await setValue(page, 'textarea[name=Rec_text]', '\u53bb\u673a\u573a');
  await page.screenshot('record-new');
  await page.clickAndWait('', 'input[type=submit]');
  await confirmResult(page, '\u589e\u52a0\u65b0\u8bb0\u5f55\u6210\u529f\uff01', /Record_list\.asp$/);
  assert.match(await page.text(), /1\s+taxi\s+35\.5\s+\u53bb\u673a\u573a\s+\d{4}-\d\d-\d\d/);
  await page.screenshot('record-list');

  // Changed through the subject's link: the form comes filled.
  await page.clickAndWait('', 'a[title="\u67e5\u770b\u6216\u4fee\u6539\u6b64\u8bb0\u5f55"]');
  assert.match(page.url(), /Record_write\.asp\?id=\d+$/);
  assert.equal(await page.in('', (w) => w.document.querySelector('input[name=Rec_Money]').value), '35.5');
  await page.fill('', 'input[name=Rec_Money]', '40');
  await page.clickAndWait('', 'input[type=submit]');
  await confirmResult(page, '\u6b64\u8bb0\u5f55\u5df2\u7ecf\u88ab\u4f60\u4fee\u6539\uff01', /Record_list\.asp$/);
  assert.match(await page.text(), /taxi\s+40\s/);

  // "DEL" only renames; "del" deletes.
  for (const [word, message, left] of [['DEL', '\u6b64\u8bb0\u5f55\u5df2\u7ecf\u88ab\u4f60\u4fee\u6539\uff01', '1'],
    ['del', '\u5220\u9664\u8bb0\u5f55\u6210\u529f\uff01', '0']]) {
    await page.clickAndWait('', 'a[title="\u67e5\u770b\u6216\u4fee\u6539\u6b64\u8bb0\u5f55"]');
    await page.fill('', 'input[name=Rec_Title]', word);
    await page.clickAndWait('', 'input[type=submit]');
    await confirmResult(page, message, /Record_list\.asp$/);
    assert.equal(server.sql('select count(*) from Record'), left, word);
  }
  assert.equal(await page.in('', (w) => w.document.querySelectorAll('a[title]').length), 0);
  expectNoErrors(page);
});

flow(test, 'the online list shows the logged-in accounts; the meeting page says why it cannot call', async (browser, t) => {
  const { server, pages: [admin, wang] } = await session(browser, t, { sql: [
    "insert into user(username,password,TrueName,DepartMentID,menu_idstr) values ('wang','pw','\u738b\u529b',2,'')",
    "insert into user(username,password,TrueName,DepartMentID,menu_idstr,online,ip) values ('noip','pw','\u65e0\u5730\u5740',1,'',2,'NONE')",
  ] }, { pages: 2 });
  await wang.login(server.base, 'wang', 'pw');
  await admin.login(server.base);
  // The start page of each desktop marks its account online.
  for (let i = 0; server.sql('select count(*) from user where online=1') !== '2'; i++) {
    assert.ok(i < 100, 'both accounts online');
    await new Promise((r) => setTimeout(r, 100));
  }

  // Through the status cell of the bottom frame into the working frame.
  await admin.waitIn('bottom', (w) => !!w.document.querySelector('#onlines a'), null, 'the online cell');
  await admin.click('bottom', '#onlines a');
  const rows = await admin.waitIn('detail', (w) => /Online_user\.asp$/.test(w.location.href) && w.document.readyState === 'complete' &&
    Array.from(w.document.querySelectorAll('a[href^="sys_user_active_list.asp"]'), (a) => a.closest('tr').innerText.replace(/\s+/g, ' ').trim()), null, 'the online list');
  assert.deepEqual(rows.sort(), ['admin \u529e\u516c\u5ba4 \u7cfb\u7edf\u7ba1\u7406\u5458 \u7537', 'wang \u8d22\u52a1\u5ba1\u8ba1\u79d1 \u738b\u529b']);
  await admin.screenshot('online');

  // The meeting page lists everyone online, by any non-zero mark.
  await admin.goto(server.base + '/Web_Meeting.asp');
  const options = await admin.in('', (w) => Array.from(w.document.querySelectorAll('#CallToAddress option'), (o) => [o.value, o.text]));
  assert.deepEqual(options, [['NONE', '\u65e0\u5730\u5740'], ['127.0.0.1', '\u738b\u529b'], ['127.0.0.1', '\u7cfb\u7edf\u7ba1\u7406\u5458']]);
  assert.match(await admin.text(), /\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting/);
  await admin.screenshot('meeting');

  await admin.click('', '#CallToBtn');  // the first entry has no address
  await admin.in('', (w) => { w.document.getElementById('CallToAddress').selectedIndex = 1; });
  await admin.click('', '#CallToBtn');
  await admin.click('', '#HangUpBtn');
  assert.equal(admin.alerts.length, 3, JSON.stringify(admin.alerts));
  assert.equal(admin.alerts[0], '\u5bf9\u4e0d\u8d77\uff0c\u60a8\u6240\u547c\u53eb\u7684\u7528\u6237\u6ca1\u6709\u8bbe\u7f6e IP\u5730\u5740\u6216\u673a\u5668\u540d');
  assert.match(admin.alerts[1], /^\u65e0\u6cd5\u547c\u53eb 127\.0\.0\.1\uff1a\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6/);
  assert.match(admin.alerts[2], /^\u6ca1\u6709\u53ef\u4ee5\u53d6\u6d88\u7684\u4f1a\u8bae/);
  expectNoErrors(admin);
  expectNoErrors(wang);
});
