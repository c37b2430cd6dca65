'use strict';
// The two script files the server puts into pages are joined from site/compat/: they must be
// current, readable in any page charset, and the dialog file must do without the translator.
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const vm = require('node:vm');
const { bundle, BUNDLES } = require('../../tools/build-compat.js');

const site = path.join(__dirname, '..', '..', 'site');

test('bundles: written files match their parts, ASCII only, each part compiles on its own', () => {
  for (const name of Object.keys(BUNDLES)) {
    const have = fs.readFileSync(path.join(site, name), 'utf8');
    assert.ok(have === bundle(name), name + ' is stale: run node tools/build-compat.js');
    // pages load them without a charset, so GBK pages would misread anything but ASCII
    assert.doesNotMatch(have, /[^\x00-\x7f]/, name + ' holds a non-ASCII character');
  }
  for (const f of fs.readdirSync(path.join(site, 'compat'))) {
    assert.doesNotThrow(() => new vm.Script(fs.readFileSync(path.join(site, 'compat', f), 'utf8'), { filename: f }), f);
  }
});

test('bundles: the dialog file carries dialogs and binding, the full file the translator too', () => {
  const full = require('../../site/tavcompat.js');
  const dialog = require('../../site/tavdialog.js');
  assert.equal(typeof full.translate, 'function');
  assert.equal(dialog.translate, undefined);
  assert.equal(dialog.createRuntime, undefined);
  for (const api of [full, dialog]) {
    assert.equal(typeof api.install, 'function');
    assert.equal(api.parseFeatures('dialogWidth:25em').width, 400);
  }
  // What a dialog page saves: the translator's parts, whole.
  const size = (f) => fs.statSync(path.join(site, f)).size;
  const translator = ['names', 'lexer', 'parser', 'emitter', 'runtime'].reduce((n, p) => n + size('compat/' + p + '.js'), 0);
  assert.ok(size('tavcompat.js') - size('tavdialog.js') >= translator * 0.9);
});
