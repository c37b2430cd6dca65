// The data centre end to end in both browsers: a main menu and a category made through their
// forms, an item entered with bold text, a picture through the editor's dialog and an
// attachment; found in its list and by the search box, read, its attachment opened, locked and
// unlocked, changed with a new attachment, deleted.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { flow, closeBrowsers, expectNoErrors, session } = require('./driver');

test.after(closeBrowsers);

// A 1x1 GIF.
const GIF = Buffer.from('R0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7', 'base64');

const editorReady = (w) => w.YInitialized === true && w.document.getElementById('mytext').contentDocument.designMode === 'on';

flow(test, 'data centre: categories, entry with the editor, list, search, read, lock, change, delete', async (browser, t) => {
  const { server, base, page, files } = await session(browser, t, {},
    { files: { 'pic.gif': GIF, 'note.txt': 'first attachment', 'second.txt': 'second attachment' } });
  const { 'pic.gif': picture, 'note.txt': note, 'second.txt': second } = files;
  await page.login(base);

  // A main menu, then a category under it.
  await page.goto(base + '/Menu.asp');
  // The form's own check refuses an empty name and puts the cursor into the box.
  await page.click('', 'input[value="确定"]');
  await page.alerted('请输入新增的信息类别名称！');
  assert.equal(await page.in('', (w) => w.document.activeElement && w.document.activeElement.name), 'user_text');
  await page.fill('', 'input[name=user_text]', 'Flow Main');
  await page.clickAndWait('', 'input[value="确定"]');
  assert.match(server.sql("select menu_id from menu where user_text='Flow Main'"), /^menu33$/m);
  assert.ok(page.alerts.includes('新增类别成功，请设置此类别的相关权限！'), page.alerts.join('|'));
  // Its category upkeep is offered to holders of 33A9 (the rights form is not part of this flow).
  server.sql("update user set menu_idstr=menu_idstr||' 33A9' where username='admin'");
  await page.goto(base + '/Data_type.asp?m_id=33&xm=sjzx');
  await page.fill('', 'input[name=user_text]', 'FlowCat');
  await page.clickAndWait('', 'input[value="确定"]');
  assert.equal(server.sql("select menu_id from menu where user_text='FlowCat'"), '3302');
  // The rights form is not part of this flow: read and entry rights straight into the store.
  server.sql("update user set menu_idstr=menu_idstr||' 3302 i3302' where username='admin'");

  // The entry form: bold text, a picture through the dialog, an attachment.
  await page.goto(base + '/Data_Input.asp?m=menu33');
  await page.waitIn('', editorReady, null, 'the editor');
  await page.fill('', 'input[name=D_title]', 'Flow item');
  await page.click('', '#mytext');
  await page.raw.keyboard.type('Bold words');
  await page.in('', (w) => w.document.getElementById('mytext').contentDocument.execCommand('selectAll'));
  await page.click('', '#FormatToolbar div[title="粗体"]');
  await page.in('', (w) => w.document.getElementById('mytext').contentWindow.getSelection().collapseToEnd());
  await page.click('', '#FormatToolbar div[title="导入图片"]');
  await page.waitIn('@dialog', (w) => !!w.document.querySelector('input[name=file_name]'), null, 'the picture dialog');
  await page.chooseFile(/upload_img\.asp/i, 'input[name=file_name]', picture);
  await page.click('@dialog', 'input[value="上传文件"]');
  // The dialog stays until the upload is answered, so the entry cannot leave before it.
  await page.waitIn('', (w) => !w.document.querySelector('dialog[open]'), null, 'the dialog to close');
  assert.ok(fs.existsSync(path.join(server.site, 'Datas', 'menu33', 'pic.gif')), 'the picture stored when its dialog closes');
  // asked for before it was stored, it is asked for again once it is
  await page.waitIn('', (w) => {
    const img = w.document.getElementById('mytext').contentDocument.querySelector('img');
    return img && img.complete && img.naturalWidth > 0;
  }, null, 'the picture to show in the editor');
  await page.chooseFile(/Data_Input\.asp/i, 'input[name=Afile]', note);
  await page.screenshot('datacentre-entry');
  await page.clickAndWait('', 'input[onclick="editinfo()"]');
  await page.waitUrl(/Pop_OK\.asp/);
  const [id, afile, text] = server.sql("select id, d_afile, D_text from Datas where D_title='Flow item'").split('|');
  assert.equal(afile, '0note.txt');
  assert.match(text, /<b>Bold words<\/b>[\s\S]*<img [^>]*src="\.\/Datas\/menu33\/pic\.gif"/i);
  assert.equal(fs.readFileSync(path.join(server.site, 'Datas', '3302', '0note.txt'), 'utf8'), 'first attachment');

  // The list, and the search box.
  await page.clickAndWait('', 'input[value="确定"]');
  assert.match(page.url(), /Data_list\.asp\?Sub_menu=3302/i);
  for (const [word, found] of [['nothing like it', false], ['Flow', true]]) {
    await page.fill('', 'form[name=searchform] input[name=sstr]', word);
    await page.clickAndWait('', 'input[value="查找"]');
    assert.equal(/Flow item/.test(await page.text()), found, word);
  }
  await page.clickAndWait('', 'a[href="Data_read.asp?id=' + id + '"]');

  // Reading: the text, the picture, the attachment; then lock and unlock.
  await page.waitIn('', (w) => { const i = w.document.querySelector('img[src*="pic.gif"]'); return i && i.complete && i.naturalWidth > 0; }, null, 'the picture');
  await page.screenshot('datacentre-read');
  const attachment = await page.in('', (w) => fetch(w.document.querySelector('a[href*="0note.txt"]').href).then((r) => r.text()));
  assert.equal(attachment, 'first attachment');
  for (const [button, lock] of [['Lock', '1'], ['UnLock', '0']]) {
    await page.clickAndWait('', `input[value="${button}"]`);
    assert.equal(server.sql('select lock from Datas where id=' + id), lock);
    await page.clickAndWait('', 'input[value="确定"]');
  }

  // A change with a new attachment replaces the old file.
  await page.clickAndWait('', 'input[value="修 改"]');
  await page.waitIn('', editorReady, null, 'the editor on the item');
  assert.ok(await page.in('', (w) => /Bold words/.test(w.document.getElementById('mytext').contentDocument.body.innerHTML)));
  await page.chooseFile(/Data_Input\.asp/i, 'input[name=Afile]', second);
  await page.clickAndWait('', 'input[onclick="editinfo()"]');
  await page.waitUrl(/Pop_OK\.asp/);
  assert.equal(server.sql('select d_afile from Datas where id=' + id), id + 'second.txt');
  assert.ok(!fs.existsSync(path.join(server.site, 'Datas', '3302', '0note.txt')));

  // Delete.
  await page.goto(base + '/Data_read.asp?id=' + id);
  await page.clickAndWait('', 'input[value="删 除"]');
  await page.waitUrl(/Pop_OK\.asp/);
  assert.equal(server.sql('select count(*) from Datas'), '0');
  assert.ok(!fs.existsSync(path.join(server.site, 'Datas', '3302', id + 'second.txt')));
  expectNoErrors(page);
});
