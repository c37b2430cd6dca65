'use strict';
// The stand-in for the conferencing control: which objects get it, and what each call tells
// the user, run on the part alone with a small document.
const test = require('node:test');
const assert = require('node:assert/strict');
const { runSiteScript } = require('./client_script.js');

const CLSID = 'CLSID:3E9BAF2D-7A79-11d2-9334-0000F875AE17';

class El {
  constructor(tag, attrs = {}) {
    Object.assign(this, { tagName: tag.toUpperCase(), nodeType: 1, attrs, parentNode: null, children: [], style: {} });
  }
  getAttribute(n) { return n in this.attrs ? this.attrs[n] : null; }
  insertBefore(node, ref) {
    this.children.splice(ref ? this.children.indexOf(ref) : this.children.length, 0, node);
    node.parentNode = this;
  }
  get nextSibling() { const s = this.parentNode.children; return s[s.indexOf(this) + 1] || null; }
}

// A parsed page (or one still loading) holding the given objects in its body; alerts collect.
// The part runs on it at once.
function page(objects, { readyState = 'complete', hostOnly = false } = {}) {
  const body = new El('body');
  for (const o of objects) body.insertBefore(o, null);
  const listeners = {};
  const alerts = [];
  const win = { alert: (m) => alerts.push(m), document: {
    readyState, body,
    createElement: (t) => new El(t),
    getElementsByTagName: (t) => body.children.filter((c) => c.tagName === t.toUpperCase()),
    addEventListener: (ev, fn) => { (listeners[ev] = listeners[ev] || []).push(fn); },
  } };
  const run = () => runSiteScript('compat/netmeeting.js', { root: win, hostOnly });
  run();
  return { alerts, body, run, fire: (ev) => (listeners[ev] || []).forEach((f) => f()) };
}

test('netmeeting: only objects of the control get the calls, whatever the case and spacing of the class id', () => {
  const cases = [
    [CLSID, true], [CLSID.toLowerCase(), true], ['  clsid: 3e9baf2d-7a79-11D2-9334-0000f875ae17 ', true],
    ['CLSID:6BF52A52-394A-11d3-B153-00C04F79FAA6', false], ['3E9BAF2D-7A79-11d2-9334-0000F875AE17x', false], [null, false],
  ];
  for (const [classid, want] of cases) {
    const o = new El('object', classid === null ? {} : { classid });
    page([o]);
    assert.equal(typeof o.CallTo === 'function' && typeof o.LeaveConference === 'function', want, String(classid));
  }
});

test('netmeeting: every call says in Chinese why it cannot be done, naming the address when there is one', () => {
  const o = new El('object', { id: 'NetMeeting', classid: CLSID });
  const { alerts, body, run } = page([o]);
  assert.equal(o.CallTo('10.0.0.7'), undefined);
  o.CallTo('');
  o.CallTo(undefined);
  o.LeaveConference();
  o.UnDock();
  assert.equal(alerts.length, 5);
  assert.match(alerts[0], /^\u65e0\u6cd5\u547c\u53eb 10\.0\.0\.7\uff1a.*NetMeeting/);
  assert.match(alerts[1], /\u6ca1\u6709\u767b\u8bb0 IP \u5730\u5740/);
  assert.equal(alerts[2], alerts[1]);
  for (const a of alerts) assert.match(a, /\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting/);
  assert.notEqual(alerts[3], alerts[0]);
  // one visible line right behind the object, put there once
  run();
  const notes = body.children.filter((c) => c.className === 'tav-netmeeting');
  assert.equal(notes.length, 1);
  assert.equal(body.children.indexOf(notes[0]), body.children.indexOf(o) + 1);
  assert.match(notes[0].textContent, /NetMeeting/);
  assert.equal(o.style.display, 'none');
});

test('netmeeting: waits for a loading page, leaves a real control and the dialog host alone', () => {
  const late = new El('object', { classid: CLSID });
  const loading = page([late], { readyState: 'loading' });
  assert.equal(late.CallTo, undefined);
  loading.fire('DOMContentLoaded');
  assert.equal(typeof late.CallTo, 'function');

  const real = new El('object', { classid: CLSID });
  const own = () => 'dialled';
  real.CallTo = own;
  page([real]);
  assert.equal(real.CallTo, own);
  assert.equal(real.LeaveConference, undefined);

  const hosted = new El('object', { classid: CLSID });
  page([hosted], { hostOnly: true });
  assert.equal(hosted.CallTo, undefined);
});
