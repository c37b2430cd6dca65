// The card case, the ledger, the online list and the meeting page in both browsers: a card
// added, edited and deleted; a ledger row added, changed and deleted with the subject "del";
// two logged-in accounts on the online list; the call button saying why it cannot call.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { flow, closeBrowsers, expectNoErrors, session, until } = require('./driver');

test.after(closeBrowsers);

// Submits the form, then the result box: its message, then on through its button.
async function submit(page, message, next) {
  await page.clickAndWait('', 'input[type=submit]');
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

  // The form's own checks: a name first, then a mail address that reads as one.
  await page.click('', 'input[type=submit]');
  await page.set('', 'input[name=Name]', '\u5f20\u4e09');
  await page.fill('', 'input[name=Email]', 'zhang@');
  await page.click('', 'input[type=submit]');
  assert.deepEqual(page.alerts, ['\u8bf7\u586b\u5199\u7528\u6237\u59d3\u540d', '\u8bf7\u586b\u5199\u6b63\u786e\u7684\u7535\u5b50\u4fe1\u7bb1\uff01']);
  await page.fill('', 'input[name=Email]', 'zhang@audit.cn');
  await page.fill('', 'input[name=Mobile]', '13900000000');
  await page.screenshot('address-new');
  await submit(page, '\u65b0\u540d\u7247\u6dfb\u52a0\u6210\u529f!', /Address_list\.asp$/);
  assert.match(await page.text(), /\u5f20\u4e09\s+\u5973\s.*13900000000\s+zhang@audit\.cn/);
  await page.screenshot('address-list');

  // Edit: the form comes filled; a new unit and the other sex.
  await page.clickAndWait('', 'img[alt="\u4fee\u6539"]');
  assert.equal(await page.value('', 'input[name=Email]'), 'zhang@audit.cn');
  await page.set('', 'input[name=Work]', '\u5ba1\u8ba1\u5c40');
  await page.click('', 'input[name=sex][value="\u7537"]');
  await submit(page, '\u540d\u7247\u4fee\u6539\u6210\u529f\uff01', /Address_list\.asp$/);
  assert.match(await page.text(), /\u5f20\u4e09\s+\u7537\s+\u5ba1\u8ba1\u5c40/);

  // Delete: the box asks by name first.
  await page.clickAndWait('', 'img[alt="\u5220\u9664"]');
  assert.match(await page.text(), /\u5220\u9664\u8054\u7cfb\u4eba\uff1a\u5f20\u4e09 \u5417/);
  await page.screenshot('address-delete');
  await page.clickAndWait('', 'input[value="\u5220\u9664"]');
  await page.clickAndWait('', 'input[value="\u786e\u5b9a"]');
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
  await page.set('', 'textarea[name=Rec_text]', '\u53bb\u673a\u573a');
  await page.screenshot('record-new');
  await submit(page, '\u589e\u52a0\u65b0\u8bb0\u5f55\u6210\u529f\uff01', /Record_list\.asp$/);
  assert.match(await page.text(), /taxi\s+35\.5\s+\u53bb\u673a\u573a/);
  await page.screenshot('record-list');

  // Changed through the subject's link: the form comes filled. "DEL" only renames; "del" deletes.
  const changed = '\u6b64\u8bb0\u5f55\u5df2\u7ecf\u88ab\u4f60\u4fee\u6539\uff01';
  for (const [box, value, message, left] of [['Rec_Money', '40', changed, /taxi\s+40\s/], ['Rec_Title', 'DEL', changed, /DEL/],
    ['Rec_Title', 'del', '\u5220\u9664\u8bb0\u5f55\u6210\u529f\uff01', null]]) {
    await page.clickAndWait('', 'a[title="\u67e5\u770b\u6216\u4fee\u6539\u6b64\u8bb0\u5f55"]');
    if (box === 'Rec_Money') assert.equal(await page.value('', 'input[name=Rec_Money]'), '35.5');
    await page.fill('', `input[name=${box}]`, value);
    await submit(page, message, /Record_list\.asp$/);
    if (left) assert.match(await page.text(), left);
  }
  assert.equal(server.sql('select count(*) from Record'), '0');
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
  await until(() => server.sql('select count(*) from user where online=1') === '2', 'both accounts online');

  // Through the status cell of the bottom frame into the working frame.
  await admin.click('bottom', '#onlines a');
  const rows = await admin.waitIn('detail', (w) => /Online_user\.asp$/.test(w.location.href) && w.document.readyState === 'complete' &&
    Array.from(w.document.querySelectorAll('a[href^="sys_user_active_list.asp"]'), (a) => a.textContent), null, 'the online list');
  assert.deepEqual(rows.sort(), ['admin', 'wang']);
  await admin.screenshot('online');

  // The first entry of the meeting page has no address; the browser has no control to call with.
  await admin.goto(server.base + '/Web_Meeting.asp');
  await admin.screenshot('meeting');
  await admin.click('', '#CallToBtn');
  await admin.in('', (w) => { w.document.getElementById('CallToAddress').selectedIndex = 1; });
  await admin.click('', '#CallToBtn');
  await admin.click('', '#HangUpBtn');
  assert.equal(admin.alerts.length, 3, JSON.stringify(admin.alerts));
  assert.match(admin.alerts[0], /\u6ca1\u6709\u8bbe\u7f6e IP\u5730\u5740/);
  assert.match(admin.alerts[1], /^\u65e0\u6cd5\u547c\u53eb 127\.0\.0\.1\uff1a\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting/);
  assert.match(admin.alerts[2], /^\u6ca1\u6709\u53ef\u4ee5\u53d6\u6d88\u7684\u4f1a\u8bae/);
  expectNoErrors(admin);
  expectNoErrors(wang);
});
