#!/usr/bin/env node
// Joins the parts of the client compatibility script under site/compat/ into the two files
// the server puts into pages:
//   site/tavcompat.js   everything: VBScript translator, runtime, dialogs, binding
//   site/tavdialog.js   dialogs and binding only, for pages that need no translator
// The output depends on the parts alone (no dates, no paths), so a build repeats byte for byte.
//   node tools/build-compat.js           write both files
//   node tools/build-compat.js --check   exit 1 when a written file differs from its parts
'use strict';
const fs = require('node:fs');
const path = require('node:path');

const site = path.resolve(__dirname, '..', 'site');

const BUNDLES = {
  'tavcompat.js': {
    parts: ['names', 'lexer', 'parser', 'emitter', 'runtime', 'dialogs', 'netmeeting', 'docall', 'binding', 'media', 'uploadprogress'],
    about: [
      'Lets the pages\' Internet Explorer client code run in current browsers: translates the',
      'VBScript blocks (which arrive as text/vbscript and never run) to JavaScript and runs them',
      'in the page\'s global scope, binds Sub window_onload and Sub <id>_on<event>, makes',
      'bare-name handlers call, and supplies showModalDialog as a <dialog> in the top window.',
      'Identifiers and member names are resolved without case at run time, as VBScript does.',
      'Player objects become <audio>/<video> with their playlists; uploads with a file show progress.',
      'Syntax outside the translated subset is reported on the console with its line.',
      'Stands in for the NetMeeting control, saying plainly that no call can be placed.',
    ],
  },
  'tavdialog.js': {
    parts: ['dialogs', 'netmeeting', 'docall', 'binding', 'media', 'uploadprogress'],
    about: [
      'showModalDialog as a <dialog> in the top window, dialogArguments, returnValue and',
      'close() inside it, and named form fields reachable by bare name, for pages whose',
      'scripts are JavaScript, and the NetMeeting stand-in. The VBScript translator is in',
      'tavcompat.js. Player objects become <audio>/<video>; uploads with a file show progress.',
    ],
  },
};

function indent(text) {
  return text.split('\n').map((l) => (l ? '  ' + l : l)).join('\n');
}

function bundle(name) {
  const b = BUNDLES[name];
  const out = [
    '/*',
    ' * ' + name + ': built by tools/build-compat.js from site/compat/' + '{' + b.parts.join(',') + '}.js.',
    ' * Edit the parts, not this file.',
    ' *',
    ...b.about.map((l) => ' * ' + l),
    ' */',
    '(function tavcompatFactory(root, hostOnly) {',
    '  \'use strict\';',
  ];
  for (const p of b.parts) {
    const text = fs.readFileSync(path.join(site, 'compat', p + '.js'), 'utf8').replace(/\s+$/, '');
    out.push('', '  // ==== ' + p, '', indent(text));
  }
  out.push('', '  return api;', '})(typeof window !== \'undefined\' ? window : this);', '');
  return out.join('\n');
}

function main() {
  const check = process.argv.includes('--check');
  let stale = 0;
  for (const name of Object.keys(BUNDLES)) {
    const file = path.join(site, name);
    const text = bundle(name);
    if (check) {
      const have = fs.existsSync(file) ? fs.readFileSync(file, 'utf8') : '';
      if (have !== text) { console.error(name + ' differs from its parts: run node tools/build-compat.js'); stale++; }
    } else if (!fs.existsSync(file) || fs.readFileSync(file, 'utf8') !== text) {
      fs.writeFileSync(file, text);
    }
  }
  process.exit(stale ? 1 : 0);
}

if (require.main === module) main();
module.exports = { bundle, BUNDLES };
