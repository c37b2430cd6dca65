// Starts a real tavelor server on a fresh site instance for browser tests,
// which driver.js then opens in chromium and Firefox ESR.
'use strict';
const { spawn, execFileSync } = require('node:child_process');
const fs = require('node:fs');
const net = require('node:net');
const os = require('node:os');
const path = require('node:path');
const http = require('node:http');

const repo = path.resolve(__dirname, '..', '..');
const bin = process.env.TAVELOR_BIN || path.join(repo, 'build', 'release', 'tavelor');

function freePort() {
  return new Promise((resolve, reject) => {
    const srv = net.createServer();
    srv.listen(0, '127.0.0.1', () => {
      const { port } = srv.address();
      srv.close(() => resolve(port));
    });
    srv.on('error', reject);
  });
}

// A server on a fresh instance. `sql` runs against its database before start; `args` go to
// the server's command line (e.g. ['--body-limit', '1048576']).
async function startServer({ sql = [], args = [] } = {}) {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'tavelor-e2e-'));
  const site = path.join(dir, 'site');
  execFileSync(bin, ['init', site], { stdio: 'ignore' });
  const db = path.join(site, 'datebase', 'office.mdb');
  for (const s of sql) execFileSync('sqlite3', [db, s]);
  const port = await freePort();
  const proc = spawn(bin, ['serve', site, '--port', String(port), '--log', path.join(dir, 'app.log'), ...args],
                     { stdio: ['ignore', 'ignore', 'inherit'] });
  const base = `http://127.0.0.1:${port}`;
  for (let i = 0; i < 100; i++) {
    try { if ((await fetch(base + '/login.asp')).status === 200) break; } catch (_) { /* not up yet */ }
    await new Promise((r) => setTimeout(r, 100));
  }
  return {
    base, dir, site, db,
    sql: (s) => execFileSync('sqlite3', [db, s]).toString().trim(),
    async stop() {
      proc.kill('SIGTERM');
      await new Promise((r) => proc.once('exit', r));
      fs.rmSync(dir, { recursive: true, force: true });
    },
  };
}

// Fixture pages are kept in UTF-8 and sent as GBK bytes, as the host sends its pages.
function gbk(text) { return execFileSync('iconv', ['-f', 'UTF-8', '-t', 'GBK'], { input: text }); }
function sendHtml(res, bytes) { res.writeHead(200, { 'Content-Type': 'text/html; charset=gb2312' }); res.end(bytes); }

// A server of the IE-era pages under fixtures/ (as gb2312) and of tavdialog.js as `tavelor init`
// joins it. `handle(req, res, url)` answers first when it returns true; `requests` keeps every URL.
function fixtureServer(handle = () => false) {
  const { clientScript } = require('../js/client_script.js');
  const requests = [];
  const server = http.createServer((req, res) => {
    requests.push(req.url);
    const url = new URL(req.url, 'http://x');
    if (handle(req, res, url)) return;
    if (url.pathname === '/tavdialog.js') {
      res.writeHead(200, { 'Content-Type': 'application/javascript' });
      res.end(clientScript());
      return;
    }
    const file = path.join(__dirname, 'fixtures', path.basename(url.pathname));
    if (url.pathname.endsWith('.html') && fs.existsSync(file)) { sendHtml(res, gbk(fs.readFileSync(file))); return; }
    res.writeHead(url.pathname === '/favicon.ico' ? 204 : 404);
    res.end();
  });
  return new Promise((resolve) => server.listen(0, '127.0.0.1', () => resolve({
    base: 'http://127.0.0.1:' + server.address().port, requests, close: () => server.close(),
  })));
}

module.exports = { startServer, fixtureServer, gbk, sendHtml };
