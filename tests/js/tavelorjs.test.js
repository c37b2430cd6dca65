// Form checks of site/TavelorJS.js, loaded as the browser would: as plain globals.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('node:fs');
const path = require('node:path');
const vm = require('node:vm');

const src = fs.readFileSync(path.join(__dirname, '../../site/TavelorJS.js'), 'utf8');
const ctx = vm.createContext({});
vm.runInContext(src, ctx);
const { IsAccount, Str1CharAllInStr2 } = ctx;
const PASSWORD_CHARS = '0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_';

test('IsAccount accepts letters, digits and underscore only', () => {
  for (const ok of ['admin', 'Wang_Li', '_', '007', 'a1_B2', 'x'.repeat(13)]) {
    assert.strictEqual(IsAccount(ok), true, ok);
  }
  for (const bad of ['wang li', 'a-b', "o'brien", 'a.b', '王力', 'abc王', 'tab\t', 'x;drop', 'é', ' admin']) {
    assert.strictEqual(IsAccount(bad), false, JSON.stringify(bad));
  }
});

test('IsAccount: empty, null and undefined are no account names', () => {
  assert.strictEqual(IsAccount(''), false);
  assert.strictEqual(IsAccount(null), false);
  assert.strictEqual(IsAccount(undefined), false);
});

test('IsAccount works on what a form field gives (numbers too)', () => {
  assert.strictEqual(IsAccount(12345), true);
  assert.strictEqual(IsAccount(-1), false);
});

test('Str1CharAllInStr2 gives 0 on the first character not allowed, else 1', () => {
  assert.strictEqual(Str1CharAllInStr2('abc_123', PASSWORD_CHARS), 1);
  assert.strictEqual(Str1CharAllInStr2("pass'word", PASSWORD_CHARS), 0);
  assert.strictEqual(Str1CharAllInStr2('密码', PASSWORD_CHARS), 0);
  assert.strictEqual(Str1CharAllInStr2('abc ', PASSWORD_CHARS), 0);
  // the check is by character, case matters
  assert.strictEqual(Str1CharAllInStr2('ABC', 'abc'), 0);
  assert.strictEqual(Str1CharAllInStr2('cab', 'abc'), 1);
  // allowed may hold Chinese characters as well
  assert.strictEqual(Str1CharAllInStr2('办公', '网络办公系统'), 1);
  assert.strictEqual(Str1CharAllInStr2('办公室', '网络办公系统'), 0);
});

test('Str1CharAllInStr2: empty value passes, empty allowed refuses everything', () => {
  assert.strictEqual(Str1CharAllInStr2('', PASSWORD_CHARS), 1);
  assert.strictEqual(Str1CharAllInStr2(null, PASSWORD_CHARS), 1);
  assert.strictEqual(Str1CharAllInStr2('a', ''), 0);
  assert.strictEqual(Str1CharAllInStr2('a', undefined), 0);
});
