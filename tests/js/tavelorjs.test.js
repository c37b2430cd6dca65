// Form checks of site/TavelorJS.js, loaded as the browser would: as plain globals.
const test = require('node:test');
const assert = require('node:assert');
const { runSiteScript } = require('./client_script.js');

const { IsAccount, Str1CharAllInStr2, IsPhoneNumber, IsValidEmail } = runSiteScript('TavelorJS.js');
const PASSWORD_CHARS = '0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_';

// The values fn accepts and those it refuses.
function table(fn, good, bad) {
  for (const v of good) assert.strictEqual(fn(v), true, JSON.stringify(v));
  for (const v of bad) assert.strictEqual(fn(v), false, JSON.stringify(v));
}

test('IsAccount: letters, digits and underscore only; empty and missing values are no account', () => {
  table(IsAccount, ['admin', 'Wang_Li', '_', '007', 'a1_B2', 'x'.repeat(13), 12345],
    ['wang li', 'a-b', "o'brien", 'a.b', '王力', 'abc王', 'tab\t', 'x;drop', 'é', ' admin', '', null, undefined, -1]);
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

test('IsValidEmail: one @, a plain local part, a domain of two or more labels ending in letters', () => {
  const good = ['li4@office.example.com', 'x_y@mail.gov.cn', 'a@b.cn', 'wang.li@audit.gov.cn', 'x_y-z+tag@mail-1.example.com', 'A1@B2.ORG', '%x@y.info'];
  const bad = [
    '', null, undefined, 'plain', '@b.cn', 'a@', 'a@b', 'a@@b.cn', 'a@b@c.cn', 'a b@c.cn', ' a@b.cn', 'a@b.cn ',
    '.a@b.cn', 'a.@b.cn', 'a..b@c.cn', 'a@.b.cn', 'a@b..cn', 'a@b.cn.', 'a@-b.cn', 'a@b-.cn', 'a@b.c', 'a@b.c1',
    'a@b.123', '\u5f20@b.cn', 'a@\u5ba1\u8ba1.cn', "o'brien@x.cn", 'a@b.cn<script>', 'a@b_c.cn',
    'x'.repeat(65) + '@b.cn', 'a@' + 'b'.repeat(64) + '.cn',
  ];
  table(IsValidEmail, good, bad);
});

test('IsPhoneNumber: digits in groups, one leading area code in parentheses or a +, 5 to 20 digits', () => {
  const good = ['(0571) 8765 4321', '13900000000', '0571-88886666', '0571-8888 6666-123', '(0571)88886666', '(0571) 8888-6666',
    '+86 139 0000 0000', '+8613900000000', '12345', '1'.repeat(20), 88886666];
  const bad = ['', null, undefined, '1234', '1'.repeat(21), '0571--8888', '0571 -8888', '-0571', '13*5', '1*',
    '(0571', '0571)8888', '8888(0571)', '((0571))8888', '+(0571)', '++86 1390000',
    '86+13900000000', '0571-8888x12', '\uff10\uff15\uff17\uff11\u2014\uff18\uff18\uff18\uff18', ' 88886666', '88886666 ',
    '0571.8888.6666', '1 or 1=1', '-', 'abc', '138;1'];
  table(IsPhoneNumber, good, bad);
});
