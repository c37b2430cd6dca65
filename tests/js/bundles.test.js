'use strict';
// tavdialog.js is joined from site/compat/ when an instance is made: every part is listed once,
// the whole is readable in any page charset and compiles, and `tavelor init` writes exactly it.
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const vm = require('node:vm');
const { execFileSync } = require('node:child_process');
const { COMPAT, parts, clientScript } = require('./client_script.js');

test('client script: each part listed once and present, ASCII only, parts and whole compile', () => {
  const listed = parts();
  assert.equal(new Set(listed).size, listed.length, 'a part listed twice');
  assert.deepEqual([listed[0], listed[listed.length - 1]], ['head', 'tail']);
  const files = fs.readdirSync(COMPAT).filter((f) => f.endsWith('.js')).map((f) => f.slice(0, -3));
  assert.deepEqual(files.sort(), [...listed].sort(), 'every part file is listed, every listed part exists');
  const whole = clientScript();
  // pages load it without a charset, so GBK pages would misread anything but ASCII
  assert.doesNotMatch(whole, /[^\x00-\x7f]/);
  assert.doesNotThrow(() => new vm.Script(whole, { filename: 'tavdialog.js' }));
  for (const p of listed.slice(1, -1)) {
    assert.doesNotThrow(() => new vm.Script(fs.readFileSync(path.join(COMPAT, p + '.js'), 'utf8'), { filename: p }), p);
  }
});

const bin = process.env.TAVELOR_BIN || path.join(__dirname, '..', '..', 'build', 'release', 'tavelor');
test('client script: tavelor init writes the same file into the instance', { skip: !fs.existsSync(bin) && 'no tavelor build' }, () => {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'tavelor-bundle-'));
  try {
    execFileSync(bin, ['init', path.join(dir, 'site')], { stdio: 'ignore' });
    assert.ok(fs.readFileSync(path.join(dir, 'site', 'tavdialog.js'), 'utf8') === clientScript());
  } finally {
    fs.rmSync(dir, { recursive: true, force: true });
  }
});
