// document.all: the pages test `if (document.all ...)` before they hook their right-click
// menus and mouse handlers. Today's browsers keep the collection but make it test false (and
// typeof "undefined"); here it becomes a stand-in that tests true and reaches the same elements,
// by id or name, by index, through item() and namedItem(), and through IE's tags().
function truthyDocumentAll(win) {
  var doc = win && win.document;
  if (!doc || typeof Proxy !== 'function' || !('all' in doc)) return false;
  var real = doc.all;
  // tests true already (or was replaced): leave it
  if (real || real === null || typeof real === 'object') return false;
  var own = {
    tags: function (tag) { return doc.getElementsByTagName(tag); }
  };
  var stand = new Proxy({}, {
    get: function (t, key) {
      var v = real[key];
      if (v === undefined && typeof key === 'string' && Object.prototype.hasOwnProperty.call(own, key)) return own[key];
      return typeof v === 'function' ? v.bind(real) : v;
    },
    has: function (t, key) { return key in real || Object.prototype.hasOwnProperty.call(own, key); }
  });
  try {
    Object.defineProperty(doc, 'all', { configurable: true, enumerable: true, get: function () { return stand; } });
  } catch (e) {
    return false;
  }
  return true;
}

if (typeof module === 'undefined' && root && root.document && !hostOnly) truthyDocumentAll(root);
