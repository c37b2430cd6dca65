// One small driver over two engines, so each browser flow is written once and runs in
// Debian's chromium (playwright-core) and Debian's Firefox ESR (puppeteer-core over WebDriver
// BiDi). Flows reach into frames by name from the top window with plain DOM calls, which both
// engines run alike, and click with the mouse at an element's centre: Firefox's element click
// refuses elements low on a quirks-mode page.
'use strict';
const fs = require('node:fs');
const path = require('node:path');
const assert = require('node:assert/strict');

const ENGINES = (process.env.TAVELOR_BROWSERS || 'chromium,firefox').split(',').filter(Boolean);
const SHOTS = process.env.TAVELOR_SHOTS || path.join(require('node:os').tmpdir(), 'tavelor-shots');
const pause = (ms) => new Promise((r) => setTimeout(r, ms));

// Polls `cond` (in node) until it holds; fails naming `what`.
async function until(cond, what, ms = 10000) {
  for (const end = Date.now() + ms; !(await cond());) {
    if (Date.now() > end) throw new Error('timed out waiting for ' + what);
    await pause(100);
  }
}

async function launchChromium() {
  const { chromium } = require('playwright-core');
  return chromium.launch({
    executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking',
      '--disable-component-update', '--disable-sync', '--lang=zh-CN'],
    // keep the popup blocker on, as users have it
    ignoreDefaultArgs: ['--disable-popup-blocking'],
  });
}

async function launchFirefox() {
  const puppeteer = require('puppeteer-core');
  return puppeteer.launch({
    browser: 'firefox',
    protocol: 'webDriverBiDi',
    executablePath: process.env.FIREFOX || '/usr/bin/firefox-esr',
    headless: true,
    defaultViewport: null,
    // No sound card on a test machine: Firefox's real audio output fails to start now and
    // then under load (a decode error with "OnMediaSinkAudioError"); its mock output keeps time.
    extraPrefsFirefox: { 'intl.accept_languages': 'zh-CN', 'media.cubeb.force_mock_context': true },
  });
}

// A page of either engine. Uncaught exceptions in any frame, console errors and dialog texts
// collect in `errors`, `console` and `alerts`; alerts and confirms are accepted, a prompt takes
// the next of `answers` (null cancels it).
class Page {
  constructor(engine, raw) {
    this.engine = engine;
    this.raw = raw;
    this.errors = [];
    this.alerts = [];
    this.console = [];
    this.answers = [];
    raw.on('pageerror', (e) => this.errors.push(String(e && e.message || e)));
    // errors the scripts report themselves on the console
    raw.on('console', (m) => { if (m.type() === 'error') this.console.push(m.text()); });
    raw.on('dialog', async (d) => {
      this.alerts.push(d.message());
      const answer = d.type() === 'prompt' && this.answers.length ? this.answers.shift() : undefined;
      try { await (answer === null ? d.dismiss() : d.accept(answer)); } catch (_) { /* closed with its page */ }
    });
  }

  // Uncaught exceptions and console errors, but for resources that failed to load (a page of
  // the site not written yet answers 404).
  problems(from = { errors: 0, console: 0 }) {
    return this.errors.slice(from.errors).concat(
      this.console.slice(from.console).filter((m) => !/^Failed to load resource/.test(m)));
  }

  mark() { return { errors: this.errors.length, console: this.console.length }; }

  async goto(url) {
    await this.raw.goto(url, { waitUntil: 'load' });
  }

  url() { return this.raw.url(); }

  // Runs `fn(win, arg)` in the window reached from the top by frame names (`path` '' or
  // 'dir' or 'detail/inner'; '@dialog' is the page in the topmost open dialog): same-origin
  // frames are plain objects to the top's script. Return plain data, not DOM nodes.
  async in(path, fn, arg) {
    return this.raw.evaluate(([p, src, a]) => {
      let w = window;
      for (const name of p ? p.split('/') : []) {
        if (name === '@dialog') {
          const d = Array.from(w.document.querySelectorAll('dialog[open] iframe')).pop();
          w = d && d.contentWindow;
        } else w = w.frames[name];
        if (!w) return undefined;
      }
      // eslint-disable-next-line no-new-func
      return new Function('win', 'arg', 'return (' + src + ')(win, arg);')(w, a);
    }, [path || '', fn.toString(), arg === undefined ? null : arg]);
  }

  // Polls `fn` in a frame until it returns something truthy; frames reloading in between
  // count as not yet.
  async waitIn(path, fn, arg, what, ms = 20000) {
    const end = Date.now() + ms;
    let last;
    for (;;) {
      try {
        const v = await this.in(path, fn, arg);
        if (v) return v;
        last = v;
      } catch (e) { last = e.message; }
      if (Date.now() > end) throw new Error('timed out waiting for ' + (what || fn.toString()) + ' (last: ' + last + ')');
      await pause(150);
    }
  }

  // Centre of the first element matching `selector` in a frame, in top window coordinates.
  async centre(path, selector) {
    return this.waitIn(path, (win, sel) => {
      const el = win.document.querySelector(sel);
      if (!el) return null;
      // a link of no height of its own around an image: the image
      const sized = (e) => { const q = e.getBoundingClientRect(); return q.width && q.height; };
      const hit = sized(el) ? el : Array.from(el.querySelectorAll('*')).find(sized);
      if (!hit) return null;
      const r = hit.getBoundingClientRect();
      let x = r.left + r.width / 2, y = r.top + r.height / 2;
      for (let w = win; w !== w.top; w = w.parent) {
        const fr = w.frameElement.getBoundingClientRect();
        x += fr.left + w.frameElement.clientLeft;
        y += fr.top + w.frameElement.clientTop;
      }
      return { x, y };
    }, selector, 'a visible ' + selector + ' in ' + (path || 'the top window'));
  }

  // The centre once the element has stopped moving (the outbar slides its folders) and lies
  // inside the window.
  async restingCentre(path, selector) {
    const vp = await this.in('', (w) => ({ w: w.innerWidth, h: w.innerHeight }));
    let last = null;
    const end = Date.now() + 20000;
    for (;;) {
      const c = await this.centre(path, selector);
      if (last && c.x === last.x && c.y === last.y && c.x >= 0 && c.y >= 0 && c.x < vp.w && c.y < vp.h) return c;
      if (Date.now() > end) throw new Error(selector + ' in ' + path + ' does not come to rest in the window: ' + JSON.stringify(c));
      last = c;
      await pause(120);
    }
  }

  async click(path, selector) {
    const { x, y } = await this.restingCentre(path, selector);
    await this.raw.mouse.click(x, y);
  }

  // Click that starts a navigation of the top window; waits for its load.
  async clickAndWait(path, selector) {
    const { x, y } = await this.restingCentre(path, selector);
    await Promise.all([this.raw.waitForNavigation({ waitUntil: 'load' }), this.raw.mouse.click(x, y)]);
  }

  // Types into a field as a user does: focus, clear, keys.
  async fill(path, selector, text) {
    await this.click(path, selector);
    await this.in(path, (win, sel) => { const el = win.document.querySelector(sel); el.value = ''; el.focus(); }, selector);
    await this.raw.keyboard.type(text);
  }

  // Waits for the top window's URL to match.
  async waitUrl(re, ms = 10000) {
    await until(() => re.test(this.url()), 'the URL ' + re + ' (at ' + this.url() + ')', ms);
  }

  // A field's value, and setting it directly (Chinese text is not typed key by key).
  value(frame, selector) { return this.in(frame, (w, s) => w.document.querySelector(s).value, selector); }
  set(frame, selector, value) { return this.in(frame, (w, [s, v]) => { w.document.querySelector(s).value = v; }, [selector, value]); }

  // Waits until the frame's text matches `re` and gives that text.
  waitText(frame, re, what) {
    return this.waitIn(frame, (w, p) => w.document.body && new RegExp(p).test(w.document.body.innerText) && w.document.body.innerText,
      re.source, what || (frame || 'the top window') + ' saying ' + re);
  }

  // The text of the reminder dialog once it is up in the top window; then its close box.
  reminder() {
    return this.waitIn('', (w) => {
      const d = w.document.querySelector('dialog.tav-dialog[open] iframe');
      const b = d && d.contentDocument && d.contentDocument.body;
      return b && /\u786e\u5b9a/.test(b.innerHTML) ? b.innerText : null;
    }, null, 'the reminder', 15000);
  }
  async closeDialog() {
    await this.click('', 'dialog.tav-dialog[open] .tav-dialog-x');
    await this.waitIn('', (w) => !w.document.querySelector('dialog.tav-dialog'), null, 'the dialog to close');
  }

  // Out as the top bar's logout button goes (target _top), without a click a dialog could meet.
  async logout() {
    await this.in('', (w) => { w.location.href = 'logout.asp'; });
    await this.waitUrl(/login\.asp$/);
    await this.waitIn('', (w) => w.document.readyState === 'complete' && !!w.document.querySelector('#username'), null, 'the login page');
  }

  // Signs in through the login form and waits for the desktop's frames.
  async login(base, user = 'admin', password = 'admin') {
    await this.goto(base + '/login.asp');
    await this.fill('', '#username', user);
    await this.fill('', '#password', password);
    await this.clickAndWait('', 'input[name=btnlogin]');
    assert.equal(this.url(), base + '/');
    for (const f of ['bottom', 'detail']) await this.waitIn(f, (w) => w.document.readyState === 'complete', null, 'the desktop');
  }

  // The text a user reads in a frame's body.
  text(frame = '') { return this.in(frame, (w) => w.document.body.innerText); }

  // Types into the rich text editor of a frame once it has started, replacing its text.
  async writeEditor(frame, text) {
    await this.waitIn(frame, (w) => w.YInitialized === true && w.document.getElementById('mytext').contentDocument.designMode === 'on', null, 'the editor');
    await this.click(frame, '#mytext');
    await this.in(frame, (w) => {
      const d = w.document.getElementById('mytext').contentDocument;
      d.body.innerHTML = '';
      d.defaultView.focus();
      const r = d.createRange();
      r.selectNodeContents(d.body);
      r.collapse(false);
      d.getSelection().removeAllRanges();
      d.getSelection().addRange(r);
    });
    await this.raw.keyboard.type(text);
  }

  // Waits until the frame shows a loaded page whose address matches `re` (a RegExp or its
  // source), and holding an element matching `selector` if one is given.
  async shows(frame, re, selector) {
    const src = re instanceof RegExp ? re.source : re;
    await this.waitIn(frame, (w, [p, sel]) => new RegExp(p, 'i').test(w.location.href) && w.document.readyState === 'complete' &&
      !!w.document.body && (!sel || !!w.document.querySelector(sel)), [src, selector], (frame || 'the top window') + ' at ' + src + ' ' + (selector || ''));
  }

  // Sends a frame to `url` and waits for it there (or for `re`).
  async open(frame, url, re) {
    await this.waitIn(frame, (w) => w.document.readyState === 'complete', null, frame);
    await this.in(frame, (w, u) => { w.location.href = u; }, url);
    await this.shows(frame, re || url.replace(/[?.]/g, '\\$&'));
  }

  // The file box `selector` in the first frame whose address matches `re` gets a file, as a
  // user picks one.
  async chooseFile(re, selector, file) {
    let frame;
    await until(() => (frame = this.raw.frames().find((f) => re.test(f.url()))), 'a frame at ' + re, 20000);
    const box = await frame.waitForSelector(selector);
    if (this.engine === 'chromium') await box.setInputFiles(file);
    else await box.uploadFile(file);
  }

  // Waits for an alert with exactly this text (its line breaks included), or matching a RegExp.
  async alerted(message) {
    const seen = () => this.alerts.some((a) => (message instanceof RegExp ? message.test(a) : a === message));
    await until(seen, String(message) + ' among ' + JSON.stringify(this.alerts));
  }

  // Picks an option of a select in the top window as a user does.
  async select(selector, value) {
    await (this.engine === 'chromium' ? this.raw.selectOption(selector, value) : this.raw.select(selector, value));
  }

  async back() {
    await this.raw.goBack({ waitUntil: 'load' });
  }

  async screenshot(name) {
    fs.mkdirSync(SHOTS, { recursive: true });
    const file = path.join(SHOTS, this.engine + '-' + name + '.png');
    await this.raw.screenshot({ path: file });
    return file;
  }

  async close() {
    try { await this.raw.close(); } catch (_) { /* browser gone */ }
  }
}

class Browser {
  constructor(engine, raw) { this.engine = engine; this.raw = raw; }

  // A page in a context of its own: cookies and history start empty.
  async newPage({ width = 1024, height = 768 } = {}) {
    const chromium = this.engine === 'chromium';
    const ctx = await (chromium ? this.raw.newContext({ viewport: { width, height }, locale: 'zh-CN' }) : this.raw.createBrowserContext());
    const raw = await ctx.newPage();
    if (!chromium) await raw.setViewport({ width, height });
    raw.close = ((close) => async () => { await close.call(raw); await ctx.close(); })(raw.close);
    return new Page(this.engine, raw);
  }

  // A page at `url` that closes when the test `t` ends.
  async open(t, url, size) {
    const page = await this.newPage(size);
    t.after(() => page.close());
    await page.goto(url);
    return page;
  }

  async close() { await this.raw.close(); }
}

async function launch(engine) {
  const raw = engine === 'chromium' ? await launchChromium() : await launchFirefox();
  return new Browser(engine, raw);
}

// Declares `body(browser, t)` once per engine as node:test tests named "<engine>: <name>".
// One browser per engine per file, launched on first use.
const browsers = {};
function flow(test, name, body, opts = {}) {
  for (const engine of ENGINES) {
    test(engine + ': ' + name, opts, async (t) => {
      if (!browsers[engine]) browsers[engine] = launch(engine);
      return body(await browsers[engine], t);
    });
  }
}
async function closeBrowsers() {
  for (const k of Object.keys(browsers)) {
    try { await (await browsers[k]).close(); } catch (_) { /* already gone */ }
    delete browsers[k];
  }
}

// A server on a fresh instance (options of startServer), `pages` pages of this browser and
// files of their own (name -> content) in a temporary folder; all go when the test ends.
async function session(browser, t, opts = {}, { pages = 1, files = {} } = {}) {
  const server = await require('./tavelor').startServer(opts);
  const list = [];
  for (let i = 0; i < pages; i++) list.push(await browser.newPage());
  const dir = fs.mkdtempSync(path.join(require('node:os').tmpdir(), 'tavelor-files-'));
  const paths = {};
  for (const [name, content] of Object.entries(files)) fs.writeFileSync(paths[name] = path.join(dir, name), content);
  t.after(async () => {
    for (const p of list) await p.close();
    await server.stop();
    fs.rmSync(dir, { recursive: true, force: true });
  });
  return { server, base: server.base, page: list[0], pages: list, files: paths };
}

// No uncaught exception in any frame and no script a browser refused or reported on its
// console.
function expectNoErrors(page) {
  assert.deepEqual(page.problems(), []);
}

module.exports = { ENGINES, launch, flow, closeBrowsers, expectNoErrors, session, until, SHOTS };
