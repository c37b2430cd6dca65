'use strict';
// The player and upload parts' own logic: playlists, mms addresses, the message for formats a
// browser cannot play, and the progress line.
const test = require('node:test');
const assert = require('node:assert/strict');
const { runSiteScript } = require('./client_script.js');

const load = (part) => runSiteScript('compat/' + part + '.js', { root: null, hostOnly: false, module: { exports: {} } });

test('media: playlists of every kind give their entries in order, mms turned to http', () => {
  const m = load('media');
  const cases = [
    ['http://h:8080/Medium/a.mp3\r\nhttp://h:8080/Medium/b.mp3\r\n', ['http://h:8080/Medium/a.mp3', 'http://h:8080/Medium/b.mp3']],
    ['mms://h/Medium/a.asf\r\n\r\nMMS://h/Medium/b.asf', ['http://h/Medium/a.asf', 'http://h/Medium/b.asf']],
    ['#EXTM3U\n#EXTINF:1,x\nhttp://h/x.mp3\n', ['http://h/x.mp3']],
    ['<asx version="3.0">\n<entry><ref href="mms://h/v.wmv"/></entry>\n</asx>', ['http://h/v.wmv']],
    ['', []],
  ];
  for (const [text, want] of cases) assert.deepEqual(Array.from(m.parsePlaylist(text)), want, JSON.stringify(text));
  assert.equal(m.mmsToHttp('mms://h:81/a.asf'), 'http://h:81/a.asf');
  assert.equal(m.mmsToHttp('http://h/mms://x'), 'http://h/mms://x');
});

test('media: formats that cannot play are named, playable ones pass', () => {
  const m = load('media');
  const plays = (t) => t === 'audio/mpeg' || t === 'video/mp4';
  assert.equal(m.cannotPlayMessage('http://h/Medium/a.mp3', plays), '');
  assert.equal(m.cannotPlayMessage('http://h/Medium/a.MP4?x=1', plays), '');
  assert.match(m.cannotPlayMessage('http://h/Medium/%E6%AD%8C.rm', plays), /RealMedia.*\u6b4c\.rm$/);
  assert.match(m.cannotPlayMessage('http://h/a.wma', () => true), /WMA/);  // never trusted to play
  assert.match(m.cannotPlayMessage('http://h/a.ogg', plays), /^\u8fd9\u4e2a\u6d4f\u89c8\u5668.*OGG/);
  assert.equal(m.cannotPlayMessage('http://h/unknown.xyz', plays), '');
});

test('upload: the progress line counts, rates and estimates', () => {
  const u = load('uploadprogress');
  assert.equal(u.progressText(0, 2048, 0),
    '\u5df2\u53d1\u9001 0 B / \u5171 2.0 KB\uff0c\u901f\u7387 0 B/\u79d2\uff0c\u5269\u4f59\u65f6\u95f4 --');
  // 50 MB of 1 GB in 10 s: 5 MB/s, 195 s (3 min 15 s) left.
  const line = u.progressText(50 * 1048576, 1024 * 1048576, 10000);
  assert.match(line, /50\.0 MB \/ \u5171 1\.00 GB/);
  assert.match(line, /5\.0 MB\/\u79d2/);
  assert.match(line, /3\u520615\u79d2$/);
});
