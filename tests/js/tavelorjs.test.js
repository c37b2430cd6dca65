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

test('IsAccount: letters, digits and underscore only; empty and missing values are no account', () => {
  const cases = [
    ...['admin', 'Wang_Li', '_', '007', 'a1_B2', 'x'.repeat(13), 12345].map((v) => [v, true]),
    ...['wang li', 'a-b', "o'brien", 'a.b', '王力', 'abc王', 'tab\t', 'x;drop', 'é', ' admin',
      '', null, undefined, -1].map((v) => [v, false]),
  ];
  for (const [value, want] of cases) assert.strictEqual(IsAccount(value), want, JSON.stringify(value));
});

test('Str1CharAllInStr2: 1 when every character is allowed (by character, with case), else 0', () => {
  const cases = [
    ['abc_123', PASSWORD_CHARS, 1],
    ["pass'word", PASSWORD_CHARS, 0],
    ['密码', PASSWORD_CHARS, 0],
    ['abc ', PASSWORD_CHARS, 0],
    ['ABC', 'abc', 0],
    ['cab', 'abc', 1],
    ['办公', '网络办公系统', 1],
    ['办公室', '网络办公系统', 0],
    // an empty password passes the login form on purpose; nothing is allowed by an empty set
    ['', PASSWORD_CHARS, 1],
    [null, PASSWORD_CHARS, 1],
    ['a', '', 0],
    ['a', undefined, 0],
  ];
  for (const [value, allowed, want] of cases) {
    assert.strictEqual(Str1CharAllInStr2(value, allowed), want, JSON.stringify([value, allowed]));
  }
});
