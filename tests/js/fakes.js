'use strict';
// Small stand-ins for the DOM objects the translated VBScript touches.

class FakeElement {
  constructor(tag, attrs) {
    this.tagName = tag.toUpperCase();
    this.nodeType = 1;
    this._attrs = Object.assign({}, attrs);
    this.focused = false;
  }
  getAttribute(n) { return Object.prototype.hasOwnProperty.call(this._attrs, n) ? this._attrs[n] : null; }
  focus() { this.focused = true; }
}

class FakeInput extends FakeElement {
  constructor(attrs, value) {
    super('input', attrs);
    this._value = value === undefined ? '' : value;
    this.checked = false;
  }
  get value() { return this._value; }
  set value(v) { this._value = String(v); }
}

class FakeForm extends FakeElement {
  constructor(name, inputs) {
    super('form', { name });
    this.elements = inputs;
    this.submitted = 0;
    // named access, as browsers give it
    for (const el of inputs) {
      const n = el.getAttribute('name');
      if (n) this[n] = el;
    }
  }
  submit() { this.submitted++; }
}

class FakeDocument {
  constructor(forms) {
    this.nodeType = 9;
    this.forms = forms;
    this.title = '';
    for (const f of forms) this[f.getAttribute('name')] = f;
  }
  querySelectorAll() {
    const out = [];
    for (const f of this.forms) { out.push(f); out.push(...f.elements); }
    return out;
  }
}

// A window with a form `form1` holding the given inputs ({name: value}).
function fakeWindow(fields) {
  const inputs = Object.entries(fields || {}).map(([n, v]) => new FakeInput({ name: n }, v));
  const form = new FakeForm('form1', inputs);
  const doc = new FakeDocument([form]);
  const win = {
    alerts: [],
    confirms: [],
    confirmAnswer: true,
    closed: 0,
    document: doc,
    frames: { length: 0 },
    form1: form,
    // constructors whose names differ from the globals only in case
    Document: function Document() {},
    Event: function Event() {},
    alert(m) { this.alerts.push(String(m)); },
    confirm(m) { this.confirms.push(String(m)); return this.confirmAnswer; },
    prompt() { return null; },
    close() { this.closed++; },
    escape, unescape
  };
  win.window = win;
  win.self = win;
  return { win, form, doc, inputs };
}

module.exports = { FakeElement, FakeInput, FakeForm, FakeDocument, fakeWindow };
