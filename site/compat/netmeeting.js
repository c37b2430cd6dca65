// A stand-in for the NetMeeting conferencing control, which no current browser has. The meeting
// pages call CallTo(address) and LeaveConference() on the object; here each call tells the user,
// in the pages' language, that no call can be placed from this browser, and a line next to the
// object says so before anyone clicks. Nothing fails silently and no script error is raised.

var NETMEETING_CLSID = '3e9baf2d-7a79-11d2-9334-0000f875ae17';

// Texts (escaped: the bundles stay ASCII for pages of any charset).
var NETMEETING_TEXT = {
  // "Cannot call <address>: this browser has no NetMeeting control; a meeting cannot start here."
  callHead: '\u65e0\u6cd5\u547c\u53eb ',
  callTail: '\uff1a\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6\uff0c\u7f51\u7edc\u4f1a\u8bae\u4e0d\u80fd\u4ece\u8fd9\u4e2a\u6d4f\u89c8\u5668\u53d1\u8d77\u3002',
  // the same, for a colleague without a registered address
  callNoAddress: '\u65e0\u6cd5\u547c\u53eb\uff1a\u6240\u9009\u7528\u6237\u6ca1\u6709\u767b\u8bb0 IP \u5730\u5740\uff0c\u800c\u4e14\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6\uff0c\u7f51\u7edc\u4f1a\u8bae\u4e0d\u80fd\u4ece\u8fd9\u4e2a\u6d4f\u89c8\u5668\u53d1\u8d77\u3002',
  // "No meeting to leave: ..."
  leave: '\u6ca1\u6709\u53ef\u4ee5\u53d6\u6d88\u7684\u4f1a\u8bae\uff1a\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6\uff0c\u7f51\u7edc\u4f1a\u8bae\u4e0d\u80fd\u4ece\u8fd9\u4e2a\u6d4f\u89c8\u5668\u8fdb\u884c\u3002',
  // "... cannot bring up the local window."
  undock: '\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6\uff0c\u65e0\u6cd5\u5524\u9192\u672c\u5730\u754c\u9762\u3002',
  // the line beside the object
  note: '\uff08\u5f53\u524d\u6d4f\u89c8\u5668\u6ca1\u6709 NetMeeting \u7f51\u7edc\u4f1a\u8bae\u63a7\u4ef6\uff0c\u4e0d\u80fd\u5728\u8fd9\u91cc\u547c\u53eb\u6216\u63a5\u542c\u3002\uff09'
};

function isNetMeetingObject(el) {
  if (!el || el.nodeType !== 1 || String(el.tagName).toUpperCase() !== 'OBJECT') return false;
  var id = String(el.getAttribute('classid') || '').replace(/^\s*clsid:\s*/i, '').replace(/\s+$/, '');
  return id.toLowerCase() === NETMEETING_CLSID;
}

// The text CallTo shows for an address as the page's select gives it.
function netMeetingCallText(address) {
  var a = address === null || address === undefined ? '' : String(address).replace(/^\s+|\s+$/g, '');
  return a ? NETMEETING_TEXT.callHead + a + NETMEETING_TEXT.callTail : NETMEETING_TEXT.callNoAddress;
}

// Gives one object the control's calls. A real control (its own CallTo) is left alone.
function standInNetMeeting(win, el) {
  if (el.__tavNetMeeting || el.CallTo !== undefined) return false;
  el.__tavNetMeeting = true;
  var say = function (text) { win.alert(text); };
  el.CallTo = function (address) { say(netMeetingCallText(address)); };
  el.LeaveConference = function () { say(NETMEETING_TEXT.leave); };
  el.UnDock = function () { say(NETMEETING_TEXT.undock); };
  // The object shows nothing; some engines still give it the size of a plugin box.
  if (el.style) el.style.display = 'none';
  var doc = win.document;
  if (el.parentNode && doc.createElement) {
    var note = doc.createElement('span');
    note.className = 'tav-netmeeting';
    note.textContent = NETMEETING_TEXT.note;
    el.parentNode.insertBefore(note, el.nextSibling);
  }
  return true;
}

// Every NetMeeting object of the page, once it is parsed.
function armNetMeeting(win) {
  var doc = win.document;
  function scan() {
    var list = doc.getElementsByTagName('object');
    for (var i = 0; i < list.length; i++) if (isNetMeetingObject(list[i])) standInNetMeeting(win, list[i]);
  }
  if (doc.readyState === 'loading') doc.addEventListener('DOMContentLoaded', scan);
  else scan();
}

if (typeof module === 'undefined' && typeof root !== 'undefined' && root && root.document &&
    !(typeof hostOnly !== 'undefined' && hostOnly)) {
  armNetMeeting(root);
}
