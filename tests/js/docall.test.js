'use strict';
// The compat part that lets `if (document.all)` hold: run against a stand-in for the browsers'
// collection, which V8 can make as falsy as theirs (an "undetectable" object).
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const vm = require('node:vm');
const v8 = require('node:v8');

v8.setFlagsFromString('--allow-natives-syntax');
// eslint-disable-next-line no-new-func
const undetectable = new Function('return %GetUndetectable()');

const src = fs.readFileSync(path.join(__dirname, '..', '..', 'site', 'compat', 'docall.js'), 'utf8');
const truthyDocumentAll = vm.runInNewContext(src + '\ntruthyDocumentAll', { root: undefined, hostOnly: false });

function fakeDocument() {
  const menu = { id: 'ie5menu' };
  const all = undetectable();
  all.length = 1;
  all[0] = menu;
  all.ie5menu = menu;
  all.item = function (i) { assert.equal(this, all, 'item() called on the real collection'); return this[i]; };
  const doc = { all, getElementsByTagName: (t) => ['<' + t + '>'] };
  return { doc, all, menu };
}

test('docall: a falsy collection becomes a true one that reaches the same elements', () => {
  const { doc, all, menu } = fakeDocument();
  assert.ok(!doc.all, 'the stand-in is as falsy as the browsers\' collection');
  assert.equal(truthyDocumentAll({ document: doc }), true);
  const a = doc.all;
  assert.deepEqual([!!a, typeof a, a.ie5menu, a[0], a.length, a.item(0), 'ie5menu' in a, a.tags('div')],
    [true, 'object', menu, menu, 1, menu, true, ['<div>']]);
  // the collection's own tags, where it has one, wins
  all.tags = function () { return 'own'; };
  assert.equal(doc.all.tags('div'), 'own');
  // a second run leaves it alone
  assert.equal(truthyDocumentAll({ document: doc }), false);
});

test('docall: documents without the collection, or with a true one, stay as they are', () => {
  const bare = {};
  const ie = { all: { x: 1 } };
  const before = ie.all;
  for (const win of [{ document: bare }, { document: ie }, {}]) assert.equal(truthyDocumentAll(win), false);
  assert.ok(!('all' in bare));
  assert.equal(ie.all, before);
});
