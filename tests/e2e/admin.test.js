// Administration in both browsers: a visitor registers from the login page, the administrator
// edits the account, sets its rights and reads its log before deleting it, a user keeps the
// own profile, password and signature images, and the settings reach the login page and the
// status frame.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { flow, closeBrowsers, expectNoErrors, SHOTS, session, until } = require('./driver');

test.after(closeBrowsers);

const SITE_IMAGES = path.join(__dirname, '..', '..', 'site', 'images');

// Presses a form's button and waits for the result box in the working frame.
async function saved(page, button) {
  await page.click('detail', button);
  await page.shows('detail', 'Pop_OK');
}

flow(test, 'a visitor registers from the login page and logs in with the new account', async (browser, t) => {
  const { server, page } = await session(browser, t);
  await page.goto(server.base + '/login.asp');
  const popup = new Promise((resolve) => page.raw.once('popup', resolve));
  await page.click('', 'a[onclick^=NewRegister]');
  const reg = await popup;
  const problems = [];
  reg.on('pageerror', (e) => problems.push(String(e && e.message || e)));
  reg.on('dialog', async (d) => { problems.push('alert: ' + d.message()); await d.accept(); });
  await reg.waitForSelector('form[name=form1] input[name=TureName]');
  await reg.type('input[name=TureName]', '赵六');
  await reg.type('input[name=UserName]', 'zhao6');
  await reg.type('input[name=UserPassWord]', 'pw6');
  await reg.type('input[name=PassWord]', 'pw6');
  await reg.screenshot({ path: path.join(SHOTS, page.engine + '-admin-register.png') });
  await reg.click('input[name=Submit]');
  await reg.waitForFunction(() => document.body && /恭喜您注册成功/.test(document.body.innerText));
  await reg.screenshot({ path: path.join(SHOTS, page.engine + '-admin-registered.png') });
  // "登录系统" closes the registration window and leaves the login form.
  await reg.click('a[onclick^="window.close"]');
  await until(() => reg.isClosed(), 'the registration window to close', 5000);
  assert.deepEqual(problems, []);

  await page.login(server.base, 'zhao6', 'pw6');
  expectNoErrors(page);
});

const ACCOUNT = [
  "insert into user(username,password,TrueName,DepartMentID,sex,menu_idstr,record) values ('zhao6','pw6','赵六',2,'男','1101',30)",
  "insert into monitor(user_id,work_text) select id,'查看邮件' from user where username='zhao6'",
];

flow(test, 'the administrator edits an account, sets its rights, reads its log and deletes it', async (browser, t) => {
  const { server, pages: [page, user] } = await session(browser, t, { sql: ACCOUNT }, { pages: 2 });
  const id = server.sql("select id from user where username='zhao6'");
  await page.login(server.base);

  // The profile through the list's edit link.
  await page.open('detail', 'Sys_User.asp');
  await page.click('detail', `a[href="User_Info_Modify1.asp?id=${id}"]`);
  await page.shows('detail', 'User_Info_Modify1');
  await page.fill('detail', 'input[name=Duty]', '科长');
  await page.fill('detail', 'input[name=record]', '60');
  await page.screenshot('admin-profile');
  await saved(page, 'input[name=Submit]');
  assert.equal(server.sql(`select Duty||'|'||record from user where id=${id}`), '科长|60');

  // Rights: take the inbox away, give the sent mail.
  await page.open('detail', 'Sys_User_Menu.asp');
  await page.click('detail', `a[href="Sys_User_Menu_Modify.asp?id=${id}"]`);
  await page.shows('detail', 'Sys_User_Menu_Modify');
  assert.ok(await page.in('detail', (w) => w.document.querySelector('input[name="1101"]').checked));
  await page.click('detail', 'input[name="1101"]');
  await page.click('detail', 'input[name="1104"]');
  await page.screenshot('admin-rights');
  await page.in('detail', (w) => w.document.querySelector('input[name=btnSet]').scrollIntoView());
  await saved(page, 'input[name=btnSet]');
  assert.equal(server.sql(`select menu_idstr from user where id=${id}`), '1104');

  // The account's menu follows at its next load.
  await user.login(server.base, 'zhao6', 'pw6');
  await user.click('top_w', 'a[href="left.asp?xm=wlzx"]');
  const menu = await user.waitIn('dir', (w) => /xm=wlzx/.test(w.location.href) && w.document.querySelector('input[name=menu11]') &&
    w.document.querySelector('input[name=menu11]').value, null, 'the mail folder');
  assert.match(menu, /已发送邮件/);
  assert.doesNotMatch(menu, /收件箱/);
  expectNoErrors(user);

  // Its activity log: the seeded line and the login just made, newest first.
  await page.open('detail', 'Sys_User_Active.asp');
  await page.click('detail', `a[href="Sys_User_Active_List.asp?id=${id}"]`);
  await page.shows('detail', 'Sys_User_Active_List');
  const log = await page.text('detail');
  assert.match(log, /登录系统[\s\S]*查看邮件/);
  await page.screenshot('admin-log');

  // Deleted through the confirmation page.
  await page.open('detail', 'Sys_User.asp');
  await page.click('detail', `a[href^="Pop_Del.asp?id=${id}&"]`);
  await page.shows('detail', 'Pop_Del');
  await saved(page, 'input[value="删除"]');
  assert.equal(server.sql(`select count(*) from user where id=${id}`), '0');
  expectNoErrors(page);
});

flow(test, 'a user changes the own profile and password and uploads both signature images', async (browser, t) => {
  const { server, page, files } = await session(browser, t, { sql: [
    "insert into user(username,password,TrueName,DepartMentID,sex,menu_idstr,record,start_meeting) values ('qian7','pw7','钱七',1,'女','1601 1602 1603',30,1)",
  ] }, { files: { 'agree.gif': fs.readFileSync(path.join(SITE_IMAGES, 'EDIT.GIF')),
    'defer.jpg': fs.readFileSync(path.join(SITE_IMAGES, 'delete.GIF')), 'note.txt': 'not a picture' } });
  await page.login(server.base, 'qian7', 'pw7');

  await page.open('detail', 'User_Info_Modify.asp');
  await page.fill('detail', 'input[name=Mobile]', '13912345678');
  await saved(page, 'input[name=Submit]');
  assert.equal(server.sql("select Mobile||'|'||start_meeting from user where username='qian7'"), '13912345678|0');

  await page.open('detail', 'User_password_Modify.asp');
  for (const [box, value] of [['UserPassWord', 'pw7'], ['NewPassWord', 'new_pw7'], ['NewPassWord1', 'new_pw7']]) await page.fill('detail', `input[name=${box}]`, value);
  await page.click('detail', 'input[name=Submit]');
  await page.waitText('detail', /密码已经修改！/);

  for (const [button, file, column] of [['OK', 'agree.gif', 'pen_ok'], ['NO', 'defer.jpg', 'pen_no']]) {
    await page.open('detail', 'user_signe.asp');
    await page.click('detail', `input[name=${button}]`);
    await page.shows('detail', 'user_signe_upload\\.asp\\?');
    if (button === 'OK') {
      // The form's own checks: a file must be chosen, and it must be a picture.
      await page.click('detail', 'input[name=go]');
      await page.alerted('请选择 图片文件！');
      await page.chooseFile(/user_signe_upload\.asp/, 'input[name=file1]', files['note.txt']);
      await page.click('detail', 'input[name=go]');
      await page.alerted('不是图片文件！\n请选择文件扩展名为gif、jpg的文件。');
      assert.match(await page.in('detail', (w) => w.location.href), /user_signe_upload\.asp/, 'nothing sent');
    }
    await page.chooseFile(/user_signe_upload\.asp/, 'input[name=file1]', files[file]);
    await page.click('detail', 'input[name=go]');
    await page.waitIn('detail', (w, f) => /user_signe\.asp$/.test(w.location.href) && w.document.readyState === 'complete' &&
      Array.from(w.document.images).some((i) => i.src.endsWith('/user/qian7/' + f) && i.complete && i.naturalWidth > 0), file, 'the image ' + file);
    assert.equal(server.sql(`select ${column} from user where username='qian7'`), 'user/qian7/' + file);
  }
  await page.screenshot('admin-signatures');
  expectNoErrors(page);
});

flow(test, 'the settings reach the store, the status frame and the music folder', async (browser, t) => {
  const { server, page, files } = await session(browser, t, { sql: ["update software set Hardserial='3' where softname='stat_time'"] },
    { files: { 'tune.mid': Buffer.from('MThd\0\0\0\x06\0\0\0\x01\0\x60', 'binary') } });
  await page.login(server.base);
  await page.waitIn('monitorbottom', (w) => /sysmonitor/.test(w.location.href), null, 'the status poll');

  await page.open('detail', 'Sys_Modify.asp');
  await page.click('detail', 'input[name=regnewuser]');
  // What is no number, or too short an interval, is refused by the form's own checks.
  for (const [box, value, message] of [
    ['work_time', '1x', '请在 [未办理的事项] “间隔时间”处输入数字(>60)!'],
    ['work_time', '30', '您输入的弹出 [未办理的事项] 间隔时间太短!\n应在60秒或以上。'],
    ['stat_time', '5', '您输入的状态栏刷新时间间隔太短!\n应在10秒或以上。'],
  ]) {
    const before = await page.value('detail', `input[name=${box}]`);
    await page.fill('detail', `input[name=${box}]`, value);
    await page.click('detail', 'input[name=go]');
    await page.alerted(message);
    await page.fill('detail', `input[name=${box}]`, before);
  }
  await page.fill('detail', 'input[name=stat_time]', '12');
  await page.chooseFile(/Sys_Modify\.asp/, 'input[name=mfile]', files['tune.mid']);
  await page.screenshot('admin-settings');
  await page.click('detail', 'input[name=go]');
  await page.alerted('系统参数修改成功！');
  await page.waitIn('detail', (w) => w.document.readyState === 'complete' && !!w.document.querySelector('input[name=stat_time]'), null, 'the form again');
  assert.equal(server.sql("select softname||'='||Hardserial from software where softname in ('regnewuser','stat_time','music') order by softname")
    .split('\n').join(' '), 'music=tune.mid regnewuser=0 stat_time=12');
  assert.ok(fs.existsSync(path.join(server.site, 'Medium', 'tune.mid')));

  // The status frame takes the new interval at its next reload.
  await page.waitIn('monitorbottom', (w) => (w.document.querySelector('meta[http-equiv=REFRESH]') || {}).content === '12', null, 'the new status interval');
  expectNoErrors(page);
});

flow(test, 'an account without the right is shown the refusal', async (browser, t) => {
  const { server, page } = await session(browser, t, {
    sql: ["insert into user(username,password,TrueName,DepartMentID,menu_idstr,record) values ('sun8','pw8','孙八',1,'1601',30)"],
  });
  await page.login(server.base, 'sun8', 'pw8');
  await page.open('detail', 'Sys_Modify.asp');
  assert.match(await page.text('detail'), /您没有使用此功能的权限，请与系统管理员联系。/);
  await page.screenshot('admin-refusal');
  expectNoErrors(page);
});
