// Names shared by the translator and the runtime: VBScript built-ins and constants, the
// window members IE scripts reach in any case, and the words JavaScript reserves.

// Built-in functions the translator maps to runtime helpers (runtime object `b`).
var BUILTINS = [
  'len', 'ucase', 'lcase', 'left', 'right', 'mid', 'instr', 'instrrev', 'trim', 'ltrim', 'rtrim',
  'replace', 'isnumeric', 'isempty', 'isnull', 'isobject', 'isarray', 'isdate', 'cint', 'clng',
  'cdbl', 'csng', 'cbyte', 'cbool', 'cstr', 'cdate', 'int', 'fix', 'abs', 'sgn', 'sqr', 'round',
  'chr', 'chrw', 'asc', 'ascw', 'split', 'join', 'ubound', 'lbound', 'array', 'msgbox', 'inputbox',
  'now', 'date', 'time', 'timer', 'year', 'month', 'day', 'hour', 'minute', 'second', 'weekday',
  'space', 'string', 'strreverse', 'strcomp', 'hex', 'oct', 'typename', 'vartype', 'escape',
  'unescape', 'rnd', 'randomize', 'err', 'createobject', 'getref'
];
var BUILTIN_SET = Object.create(null);
BUILTINS.forEach(function (n) { BUILTIN_SET[n] = true; });

// Constants, as JavaScript source.
var CONSTS = {
  'true': 'true', 'false': 'false', 'nothing': 'null', 'null': 'null', 'empty': 'undefined',
  'vbcrlf': '"\\r\\n"', 'vbnewline': '"\\r\\n"', 'vbcr': '"\\r"', 'vblf': '"\\n"', 'vbtab': '"\\t"',
  'vbnullstring': '""', 'vbnullchar': '"\\u0000"', 'vbback': '"\\b"', 'vbformfeed': '"\\f"',
  'vbverticaltab': '"\\u000b"',
  'vbok': '1', 'vbcancel': '2', 'vbabort': '3', 'vbretry': '4', 'vbignore': '5', 'vbyes': '6', 'vbno': '7',
  'vbokonly': '0', 'vbokcancel': '1', 'vbabortretryignore': '2', 'vbyesnocancel': '3', 'vbyesno': '4',
  'vbretrycancel': '5', 'vbcritical': '16', 'vbquestion': '32', 'vbexclamation': '48',
  'vbinformation': '64', 'vbdefaultbutton1': '0', 'vbdefaultbutton2': '256', 'vbdefaultbutton3': '512',
  'vbtrue': '-1', 'vbfalse': '0', 'vbusedefault': '-2', 'vbbinarycompare': '0', 'vbtextcompare': '1',
  'vbempty': '0', 'vbnull': '1', 'vbinteger': '2', 'vblong': '3', 'vbsingle': '4', 'vbdouble': '5',
  'vbstring': '8', 'vbobject': '9', 'vbboolean': '11', 'vbarray': '8192'
};

// Names IE scripts write in any case that must reach these members (window has constructors
// such as Document, Event and Location whose names differ only in case).
var IE_GLOBALS = {
  document: 'document', window: 'window', navigator: 'navigator', location: 'location',
  history: 'history', screen: 'screen', event: 'event', frames: 'frames', parent: 'parent',
  top: 'top', self: 'self', opener: 'opener', external: 'external', status: 'status',
  name: 'name', alert: 'alert', confirm: 'confirm', prompt: 'prompt', close: 'close',
  open: 'open', focus: 'focus', settimeout: 'setTimeout', setinterval: 'setInterval',
  cleartimeout: 'clearTimeout', clearinterval: 'clearInterval', showmodaldialog: 'showModalDialog',
  showmodelessdialog: 'showModelessDialog', returnvalue: 'returnValue',
  dialogarguments: 'dialogArguments', print: 'print', moveto: 'moveTo', resizeto: 'resizeTo'
};
// Members that may not exist yet when a page assigns them.
var IE_MEMBERS = { returnvalue: 'returnValue', dialogarguments: 'dialogArguments' };
var IE_ASSIGNABLE = { status: 1, defaultstatus: 1, returnvalue: 1, location: 1 };

var JS_RESERVED = {};
('break case catch class const continue debugger default delete do else enum export extends false ' +
 'finally for function if import in instanceof new null return super switch this throw true try ' +
 'typeof var void while with yield let static implements interface package private protected ' +
 'public await arguments eval undefined NaN Infinity').split(' ').forEach(function (w) { JS_RESERVED[w] = true; });

var RT = '__tav';

