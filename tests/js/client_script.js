'use strict';
// tavdialog.js as `tavelor init` writes it into an instance, for tests that run without one:
// the parts under site/compat/ in the order of compat/order.txt.
const fs = require('node:fs');
const path = require('node:path');
const vm = require('node:vm');

const SITE = path.join(__dirname, '..', '..', 'site');
const COMPAT = path.join(SITE, 'compat');

// Runs a script of site/ (`rel` to it) as a page loads it: its top-level names become members
// of the returned context, which starts with `globals`.
function runSiteScript(rel, globals = {}) {
  const ctx = vm.createContext(globals);
  vm.runInContext(fs.readFileSync(path.join(SITE, rel), 'utf8'), ctx);
  return ctx;
}

function parts() {
  return fs.readFileSync(path.join(COMPAT, 'order.txt'), 'utf8').split('\n')
    .map((l) => l.replace(/\r$/, '')).filter((l) => l && !l.startsWith('#'));
}

function clientScript() {
  return parts().map((p) => {
    const text = fs.readFileSync(path.join(COMPAT, p + '.js'), 'utf8');
    return text.endsWith('\n') ? text : text + '\n';
  }).join('');
}

// The bundle's exports, evaluated as a module outside any browser.
function loadClientScript() {
  const module = { exports: {} };
  new Function('module', clientScript())(module);
  return module.exports;
}

module.exports = { COMPAT, parts, clientScript, loadClientScript, runSiteScript };
