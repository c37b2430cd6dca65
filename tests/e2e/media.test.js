// The media library in both browsers: the admin adds a tone through the maintenance form (sent
// with the upload progress bar), finds it by initial and by search, plays it and two selected
// titles, seeks, reads its description, replaces its file and deletes it.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { flow, closeBrowsers, expectNoErrors, session } = require('./driver');

test.after(closeBrowsers);

const fixture = (name) => fs.readFileSync(path.join(__dirname, 'fixtures', name)).toString('base64');
const row = (id, title, file, type, py) => `insert into Medium(id,Title,Medium_text,Path,filename,file_type,Author,PY) values(${id},'${title}','x','/Medium/','${file}','${type}','b','${py}')`;

// Puts a file into the form's file box as a user's choice would.
async function chooseFile(page, name) {
  await page.in('', (w, a) => {
    const bytes = Uint8Array.from(w.atob(a.data), (c) => c.charCodeAt(0));
    const dt = new w.DataTransfer();
    dt.items.add(new w.File([bytes], a.name, { type: 'audio/mpeg' }));
    w.document.querySelector('input[name=Filename]').files = dt.files;
  }, { name, data: fixture(name) });
}

// Waits for the player element to play and its time to advance. The player may get its source
// only after its list is read, and a play() before that is refused: ask again on every poll
// until it runs (muted, so no autoplay rule stands in the way).
function waitPlaying(page) {
  return page.waitIn('', (w) => {
    const a = w.document.querySelector('[data-tav-player]');
    if (!a) return null;
    if (a.paused && !a.ended && a.currentSrc) { a.muted = true; a.play().catch(() => {}); }
    return !a.paused && a.currentTime > 0.2 ? { entry: a.getAttribute('data-tav-entry'), tag: a.tagName, error: a.getAttribute('data-tav-error') } : null;
  }, null, 'the audio playing');
}

// A list of two plays its first title, then the second once the first ends.
async function playsTwo(page) {
  const first = await waitPlaying(page);
  assert.equal(first.entry, '0', first.error);
  await page.screenshot('media-asx');
  await page.in('', (w) => { const a = w.document.querySelector('[data-tav-player]'); a.currentTime = Math.max(0, a.duration - 0.3); });
  await page.waitIn('', (w) => w.document.querySelector('[data-tav-player]').getAttribute('data-tav-entry') === '1', null, 'the second title', 20000);
}

flow(test, 'media: add, find, play, play several, seek, describe, replace and delete', async (browser, t) => {
  const { server, page } = await session(browser, t, { sql: [row(1, 'second', 'second.mp3', 'audio_mp3', 'T')] });
  fs.copyFileSync(path.join(__dirname, 'fixtures', 'tone2.mp3'), path.join(server.site, 'Medium', 'second.mp3'));
  const medium = (f) => path.join(server.site, 'Medium', f);
  await page.login(server.base);

  // Add: the upload goes by XMLHttpRequest (noted in the tab's session storage) and ends on the result page.
  await page.goto(server.base + '/Sys_Medium_Modify.asp');
  await page.fill('', 'input[name=Title]', 'Tone \u97f3\u8c03');
  await chooseFile(page, 'tone.mp3');
  await page.fill('', 'input[name=Author]', 'Tester');
  await page.fill('', 'input[name=Py]', 'T');
  await page.fill('', 'textarea[name=Text]', 'A sine of 440 Hz');
  await page.in('', (w) => {
    const send = w.XMLHttpRequest.prototype.send;
    w.XMLHttpRequest.prototype.send = function (b) { w.sessionStorage.setItem('tav-upload-xhr', '1'); return send.call(this, b); };
  });
  await page.click('', 'input[name=btnOK]');
  await page.waitUrl(/Pop_OK\.asp/, 20000);
  assert.equal(await page.in('', (w) => w.sessionStorage.getItem('tav-upload-xhr')), '1', 'sent with progress');
  const id = server.sql("select id from Medium where filename='tone.mp3'");
  assert.equal(server.sql(`select title from Medium where id=${id}`), 'Tone \u97f3\u8c03');
  assert.equal(fs.readFileSync(medium('tone.mp3')).toString('base64'), fixture('tone.mp3'));

  // Find by initial and by search.
  await page.goto(server.base + '/Medium_list.asp');
  await page.click('', 'a[href="Medium_list.asp?PY=T&file_type=audio_mp3"]');
  await page.shows('', /PY=T/);
  assert.equal(await page.in('', (w) => w.document.querySelectorAll('input[type=checkbox]').length), 2);
  await page.fill('', 'input[name=sstr]', 'Tone');
  await page.click('', 'input[name=find]');
  await page.shows('', /sstr=Tone/);
  const titles = await page.in('', (w) => Array.from(w.document.querySelectorAll('a[onclick^=openWin]'), (a) => a.textContent));
  assert.deepEqual(titles, ['Tone \u97f3\u8c03']);
  await page.screenshot('media-list');

  // Play the one title through its link (the list's popup goes to this page instead).
  const openHere = () => page.in('', (w) => { w.open = (u) => { w.location.href = u; }; });
  await openHere();
  await page.click('', 'a[onclick^=openWin]');
  await page.waitUrl(/Medium_play_Audio\.asp\?id=/);
  assert.equal((await waitPlaying(page)).tag, 'AUDIO');
  assert.equal(server.sql('select click_num from Medium where id=' + id), '1');
  // Seek: the server answers the ranges the element asks for.
  const seeked = await page.in('', (w) => new Promise((resolve) => {
    const a = w.document.querySelector('[data-tav-player]');
    a.addEventListener('seeked', () => resolve({ time: a.currentTime, seekable: a.seekable.length ? a.seekable.end(0) : 0 }), { once: true });
    a.currentTime = 1.0;
  }));
  assert.ok(seeked.time >= 0.9 && seeked.seekable > 1.2, JSON.stringify(seeked));
  await page.screenshot('media-player');

  // Two titles picked on the list play one after the other.
  await page.goto(server.base + '/Medium_list.asp');
  await page.in('', (w) => w.document.querySelectorAll('input[type=checkbox]').forEach((c) => { c.checked = true; }));
  await openHere();
  await page.click('', 'input[name=play]');
  await page.waitUrl(/Medium_play_Audio\.asp\?id=\d+\|\d+\|/);
  await playsTwo(page);
  assert.equal(await page.in('', (w) => w.document.title), 'Tone \u97f3\u8c03 \u7b49\u5171 1 \u9996\u2026\u2026');

  await page.goto(server.base + '/Medium_Info.asp?id=' + id);
  assert.match(await page.text(), /A sine of 440 Hz/);

  // Replace the file: the confirm is accepted.
  await page.goto(server.base + '/Sys_Medium_Modify.asp?ID=' + id);
  await chooseFile(page, 'tone2.mp3');
  await page.click('', 'input[name=btnOK]');
  await page.waitUrl(/Pop_OK\.asp/, 20000);
  assert.equal(server.sql('select filename from Medium where id=' + id), 'tone2.mp3');
  assert.ok(!fs.existsSync(medium('tone.mp3')));
  assert.ok(page.alerts.includes('\u7528\u65b0\u6587\u4ef6\u66ff\u6362\u539f\u6587\u4ef6\u5417\uff1f'), page.alerts.join('|'));

  await page.goto(server.base + '/Sys_Medium_Modify.asp?ID=' + id);
  await page.clickAndWait('', 'input[name=btnDel]');
  await page.waitUrl(/Pop_OK\.asp/);
  assert.equal(server.sql('select count(*) from Medium where id=' + id), '0');
  assert.ok(!fs.existsSync(medium('tone2.mp3')));
  expectNoErrors(page);
});

flow(test, 'media: a format the browser cannot play is named in Chinese; a broken mp3 once', async (browser, t) => {
  const { server, page } = await session(browser, t, { sql: [row(1, 'real', 'x.rm', 'audio_rm', 'R'), row(2, 'bad', 'bad.mp3', 'audio_mp3', 'B')] });
  fs.writeFileSync(path.join(server.site, 'Medium', 'x.rm'), 'not media');
  fs.writeFileSync(path.join(server.site, 'Medium', 'bad.mp3'), 'not media either');
  await page.login(server.base);
  const note = (id) => page.goto(server.base + '/Medium_play_Audio.asp?id=' + id).then(() => page.waitIn('', (w) => {
    const n = w.document.querySelector('[data-tav-player-note]');
    return n && n.textContent ? { text: n.textContent, lines: n.querySelectorAll('br').length } : null;
  }, null, 'the message for ' + id));
  assert.match((await note(1)).text, /\u8fd9\u4e2a\u6d4f\u89c8\u5668\u4e0d\u80fd\u64ad\u653e.*RealMedia.*x\.rm/);
  // an mp3 that does not decode is tried twice, then named once
  const bad = await note(2);
  assert.match(bad.text, /MP3/);
  assert.equal(bad.lines, 1);
  expectNoErrors(page);
});

// Several Windows Media titles: the player window goes to the .asx list itself. Opened as a
// page, the list plays in the browser instead of being saved (the entries here are mp3 files
// listed as asf, which the browser can play).
flow(test, 'media: several Windows Media titles play from their list', async (browser, t) => {
  const { server, page } = await session(browser, t, { sql: [row(1, 'wm1', 'tone.mp3', 'audio_asf', 'W'), row(2, 'wm2', 'tone2.mp3', 'audio_asf', 'W')] });
  for (const f of ['tone.mp3', 'tone2.mp3']) fs.copyFileSync(path.join(__dirname, 'fixtures', f), path.join(server.site, 'Medium', f));
  await page.login(server.base);
  await page.goto(server.base + '/Medium_play_Audio.asp?id=1|2|');
  assert.match(page.url(), /\/Medium\/temp\/Audio\d+\.asx$/);
  await playsTwo(page);
  expectNoErrors(page);
});
