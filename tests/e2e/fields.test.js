// Named form fields reachable by bare name through tavdialog.js, in both browsers: the menu
// page's folder script reads each folder's hidden field as `menuNN.value` before the outbar
// script loads, which today's browsers answer with a ReferenceError.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const http = require('node:http');
const fs = require('node:fs');
const path = require('node:path');
const { execFileSync } = require('node:child_process');
const { flow, closeBrowsers } = require('./driver');
const { clientScript } = require('../js/client_script.js');

let server, base;

test.before(() => new Promise((resolve) => {
  server = http.createServer((req, res) => {
    const name = path.basename(new URL(req.url, 'http://x').pathname);
    if (name === 'tavdialog.js') {
      res.writeHead(200, { 'Content-Type': 'application/javascript' });
      res.end(clientScript());
    } else if (name === 'menu.html') {
      res.writeHead(200, { 'Content-Type': 'text/html; charset=gb2312' });
      res.end(execFileSync('iconv', ['-f', 'UTF-8', '-t', 'GBK'], { input: fs.readFileSync(path.join(__dirname, 'fixtures', name)) }));
    } else {
      res.writeHead(404);
      res.end();
    }
  });
  server.listen(0, '127.0.0.1', () => { base = 'http://127.0.0.1:' + server.address().port; resolve(); });
}));
test.after(async () => { await closeBrowsers(); server.close(); });

flow(test, 'hidden fields of the menu page are read by bare name; window members keep their names', async (browser, t) => {
  const page = await browser.newPage();
  t.after(() => page.close());
  await page.goto(base + '/menu.html');
  const seen = await page.in('', (w) => ({
    count: w.MenuItem,
    first: w.OutBarFolder[1] && w.OutBarFolder[1][4],
    second: w.OutBarFolder[2] && w.OutBarFolder[2][4],
    byScript: w.seenByScript,
    status: typeof w.status,
    top: w.top === w,
  }));
  assert.deepEqual(page.errors, []);
  assert.equal(seen.count, 2);
  assert.match(seen.first, /Data_Input\.asp\?m=menu41/);
  assert.equal(seen.second, '');
  assert.equal(seen.byScript, '\u793a\u8303\u5355\u4f4d', 'a field inside a form too');
  assert.deepEqual([seen.status, seen.top], ['string', true], 'fields named like window members leave them alone');
});
