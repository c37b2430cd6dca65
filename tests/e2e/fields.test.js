// Named form fields reachable by bare name through tavdialog.js, in both browsers: the menu
// page's folder script reads each folder's hidden field as `menuNN.value` before the outbar
// script loads, which today's browsers answer with a ReferenceError.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { fixtureServer } = require('./tavelor');
const { flow, closeBrowsers } = require('./driver');

let fixtures;
test.before(async () => { fixtures = await fixtureServer(); });
test.after(async () => { await closeBrowsers(); fixtures.close(); });

flow(test, 'hidden fields of the menu page are read by bare name; window members keep their names', async (browser, t) => {
  const page = await browser.open(t, fixtures.base + '/menu.html');
  const seen = await page.in('', (w) => [w.MenuItem, w.OutBarFolder[1] && w.OutBarFolder[1][4], w.OutBarFolder[2] && w.OutBarFolder[2][4],
    w.seenByScript, typeof w.status, w.top === w]);
  assert.deepEqual(page.errors, []);
  assert.match(seen[1], /Data_Input\.asp\?m=menu41/);
  // a field inside a form too; fields named like window members leave them alone
  assert.deepEqual([seen[0], seen[2], seen[3], seen[4], seen[5]], [2, '', '\u793a\u8303\u5355\u4f4d', 'string', true]);
});
