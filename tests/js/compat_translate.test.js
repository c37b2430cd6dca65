'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const vm = require('node:vm');
const { translate, createRuntime } = require('../../site/tavcompat.js');
const { fakeWindow } = require('./fakes.js');

// Translates and runs the block as global code of a context of its own (as the page's
// global scope), and returns a caller for its procedures.
function load(src, win, R) {
  win = win || fakeWindow().win;
  R = R || createRuntime(win);
  if (!R.context) R.context = vm.createContext({ __tav: R });
  const res = translate(src, { known: R.known() });
  assert.deepEqual(res.errors, [], 'unexpected translation errors');
  vm.runInContext(res.code, R.context);
  const call = (name, ...args) => {
    const p = R.procs.get(name.toLowerCase());
    assert.ok(p, 'no procedure ' + name);
    return p.fn(...args);
  };
  return { R, res, call, win };
}

test('Sub and Function: arguments, ByVal/ByRef, return by name, Exit Function, recursion', () => {
  const { call } = load(`
Function Fact(ByVal n)
  If n <= 1 Then
    Fact = 1
    Exit Function
  End If
  Fact = n * Fact(n - 1)
End Function
Function Pick(ByRef a, b)
  Pick = "first"
  If a = "" Then Exit Function
  Pick = a & b
End Function
Sub Nothing_Here()
End Sub`);
  assert.equal(call('fact', 5), 120);
  assert.equal(call('Pick', '', 'x'), 'first');
  assert.equal(call('Pick', 'a', 'b'), 'ab');
  assert.equal(call('nothing_here'), undefined);
});

test('block If/ElseIf/Else, single-line If with Else and colons, = as comparison', () => {
  const { call } = load(`
Function Grade(x)
  If x = 100 Then
    Grade = "full"
  ElseIf x >= 60 And x < 100 Then
    Grade = "pass"
  Else
    Grade = "fail"
  End If
End Function
Function One(x)
  If x = 1 Then One = "yes" : One = One & "!" Else One = "no"
End Function
Function Flag(a, b)
  Flag = a = b
End Function
Function Sign(x)
  If x > 0 Then
    Sign = "pos"
  Else If x < 0 Then
      Sign = "neg"
    Else
      Sign = "zero"
    End If
  End If
End Function`);
  assert.equal(call('Grade', 100), 'full');
  assert.equal(call('Grade', '75'), 'pass');
  assert.equal(call('Grade', 10), 'fail');
  assert.equal(call('One', 1), 'yes!');
  assert.equal(call('One', 2), 'no');
  assert.equal(call('Flag', 3, 3), true, '= in an expression compares');
  assert.equal(call('Flag', 'a', 'b'), false);
  assert.deepEqual([1, -1, 0].map((x) => call('Sign', x)), ['pos', 'neg', 'zero'], 'Else If nests an If');
});

test('loops: For/Step/Exit For, For Each, Do While, Loop Until, While/Wend, Exit Do inside For', () => {
  const { call } = load(`
Function Down()
  For i = 10 To 1 Step -3
    s = s & i & ","
  Next
  Down = s
End Function
Function FirstOver(lim)
  Dim k
  For k = 1 To 100
    If k * k > lim Then Exit For
  Next
  FirstOver = k
End Function
Function Sum(arr)
  For Each v In arr
    Sum = Sum + v
  Next
End Function
Function Count()
  n = 0
  Do While n < 5
    n = n + 1
  Loop
  Do
    n = n + 10
  Loop Until n > 30
  While n > 32
    n = n - 1
  Wend
  Count = n
End Function
Function Nested()
  For i = 1 To 3
    Do
      Exit Do
    Loop
    c = c + 1
  Next
  Nested = c
End Function`);
  assert.equal(call('Down'), '10,7,4,1,');
  assert.equal(call('FirstOver', 50), 8);
  assert.equal(call('Sum', [1, 2, 3]), 6);
  assert.equal(call('Count'), 32);
  assert.equal(call('Nested'), 3, 'Exit Do leaves only the Do loop');
});

test('Select Case with lists, ranges, Is and Else', () => {
  const { call } = load(`
Function Kind(x)
  Select Case x
    Case 1, 2
      Kind = "small"
    Case 3 To 5
      Kind = "mid"
    Case Is > 100
      Kind = "huge"
    Case Else
      Kind = "other"
  End Select
End Function`);
  assert.deepEqual([1, 2, 4, 500, 50].map((x) => call('Kind', x)), ['small', 'small', 'mid', 'huge', 'other']);
});

test('& concatenates, + adds numbers and numeric texts, comparisons of form texts are numeric', () => {
  const { call } = load(`
Function Cat(a, b) : Cat = a & b : End Function
Function Plus(a, b) : Plus = a + b : End Function
Function Less(a, b) : Less = a < b : End Function
Function Calc() : Calc = 7 \\ 2 & "," & 7 Mod 3 & "," & 2 ^ 3 & "," & -2 ^ 2 & "," & 10 / 4 : End Function`);
  assert.equal(call('Cat', '1', 2), '12');
  assert.equal(call('Cat', true, undefined), 'True');
  assert.equal(call('Plus', '1', 2), 3);
  assert.equal(call('Plus', 'a', 'b'), 'ab');
  assert.throws(() => call('Plus', 'abc', 1), /Type mismatch/);
  assert.equal(call('Less', '50', 60), true, 'a form value against a number compares numerically');
  assert.equal(call('Less', '100', '60'), true, 'two texts compare as texts');
  assert.equal(call('Calc'), '3,1,8,-4,2.5');
});

test('And/Or/Not: logical on comparisons, bitwise on numbers', () => {
  const { call } = load(`
Function L(a, b) : L = Not (a > 1 And b > 1) Or a = b : End Function
Function Bits() : Bits = (6 And 3) & "," & (4 Or 1) & "," & Not 0 : End Function`);
  assert.equal(call('L', 2, 2), true);
  assert.equal(call('L', 2, 3), false);
  assert.equal(call('L', 0, 3), true);
  assert.equal(call('Bits'), '2,5,-1');
});

test('built-in functions', () => {
  const { call } = load(`
Function T()
  s = "  Hello World  "
  T = Array(Len(s), UCase(Trim(s)), LCase(LTrim(s)), "[" & RTrim(s) & "]", Left("abcdef", 2), Right("abcdef", 2), _
            Mid("abcdef", 2, 3), Mid("abcdef", 4), InStr("abcabc", "c"), InStr(4, "abcabc", "c"), InStr("abc", "x"), _
            InStrRev("a\\b\\c.jpg", "\\"), Replace("a b c", " ", "_"), IsNumeric("12.5"), IsNumeric("x1"), IsNumeric(""), _
            IsEmpty(never_set), CInt("2.5"), CInt(3.5), CLng("12"), CDbl("1.5"), CStr(12), Int(-1.5), Chr(65), Asc("a"), _
            UBound(Split("a,b,c", ",")), Join(Split("a,b", ","), "-"), UBound(Split("", ",")))
End Function`);
  assert.deepEqual(call('T'), [15, 'HELLO WORLD', 'hello world  ', '[  Hello World]', 'ab', 'ef',
    'bcd', 'def', 3, 6, 0, 4, 'a_b_c', true, false, false, true, 2, 4, 12, 1.5, '12', -2, 'A', 97, 2, 'a-b', -1]);
});

test('Trim removes blanks only, Now and Date are dates that concatenate as text', () => {
  const { call } = load(`
Function T() : T = "[" & Trim(vbTab & " x ") & "]" : End Function
Function D() : D = Array(IsDate(Now), Len(Date & "") >= 8, Year(Now) > 2000) : End Function`);
  assert.equal(call('T'), '[\t x]');
  assert.deepEqual(call('D'), [true, true, true]);
});

test('MsgBox, alert and confirm reach the window', () => {
  const { win } = fakeWindow();
  win.confirmAnswer = false;
  const { call } = load(`
Function Ask()
  MsgBox "hello" & chr(13) & "there"
  alert("plain")
  Ask = MsgBox("sure?", vbYesNo) & "," & MsgBox("ok?", 1) & "," & confirm("js?")
End Function`, win);
  assert.equal(call('Ask'), '7,2,False');
  assert.deepEqual(win.alerts, ['hello\rthere', 'plain']);
  assert.deepEqual(win.confirms, ['sure?', 'ok?', 'js?']);
});

test('member names without case reach the real DOM members; assignment too', () => {
  const { win, form, inputs } = fakeWindow({ work_time: '90', user_text: '' });
  const { call } = load(`
Sub Go
  If Document.Form1.Work_Time.Value >= 60 Then
    FORM1.User_Text.VALUE = "ok " & document.forms(0).elements(0).value
    Form1.User_Text.Focus
    form1.Submit
  End If
  Window.Close
End Sub`, win);
  call('go');
  assert.equal(inputs[1].value, 'ok 90');
  assert.equal(inputs[1].focused, true);
  assert.equal(form.submitted, 1);
  assert.equal(win.closed, 1);
  assert.equal(form._value, undefined, 'no expando was made on the form');
});

test('calls with and without parentheses, Call, and statements that start with a parenthesis', () => {
  const { win } = fakeWindow();
  const { call } = load(`
Sub Note(a, b)
  log = log & a & "+" & b & ";"
End Sub
Sub Run
  Note 1, 2
  Note (3), 4
  Call Note(5, 6)
  MsgBox ("x") & "y"
  Note "a"":b", "c"   ' a quote inside a string, and a colon
End Sub
Function GetLog() : GetLog = log : End Function
Dim log`, win);
  call('run');
  assert.equal(call('GetLog'), '1+2;3+4;5+6;a":b+c;');
  assert.deepEqual(win.alerts, ['xy']);
});

test('comments, Rem, line continuation, colons and HTML comment markers', () => {
  const { call } = load(`<!--
Rem a remark
Function F() ' trailing comment
  x = "a" & _
      "b" : y = "c"
  F = x & y   ' "not a string"
End Function
-->`);
  assert.equal(call('F'), 'abc');
});

test('Dim arrays, ReDim Preserve, element assignment, With', () => {
  const { win, inputs } = fakeWindow({ a: '1' });
  const { call } = load(`
Function Arr()
  Dim a(2), m(1, 1)
  a(0) = "x" : a(2) = "z"
  m(1, 0) = 5
  ReDim Preserve a(3)
  a(3) = "w"
  Arr = Join(a, "") & UBound(a) & m(1, 0)
End Function
Sub W
  With document.form1.a
    .value = .value & "2"
  End With
End Sub`, win);
  assert.equal(call('Arr'), 'xzw35');
  call('W');
  assert.equal(inputs[0].value, '12');
});

test('script-level variables and code; procedures of an earlier block are found without case', () => {
  const { win } = fakeWindow();
  const R = createRuntime(win);
  load('Dim counter\ncounter = 2\nSub Bump : counter = counter + 1 : End Sub\nFunction Get_It : Get_It = counter : End Function', win, R);
  const { call } = load('Function Twice\n  BUMP\n  Twice = get_it() * 2\nEnd Function', win, R);
  assert.equal(call('twice'), 6);
});

test('script variables never land on window members; status set by bare name does', () => {
  const { win } = fakeWindow();
  win.location = 'page.asp';
  win.status = '';
  const R = createRuntime(win);
  R.context = vm.createContext({ __tav: R });
  const first = translate('Dim location, counter\nlocation = "mine"\nSub Show : status = "ready " & location : End Sub',
    { known: R.known(), nativeGlobal: (n) => n in win });
  assert.deepEqual(first.globals, ['vb_location', 'counter']);
  vm.runInContext(first.code, R.context);
  R.procs.get('show').fn();
  assert.equal(win.location, 'page.asp', 'the page did not navigate');
  assert.equal(win.status, 'ready mine');
  const { call } = load('Function Where : Where = LOCATION : End Function', win, R);
  assert.equal(call('where'), 'mine', 'a later block reads the same variable');
});

test('On Error Resume Next keeps going and fills Err', () => {
  const { call } = load(`
Function Safe()
  On Error Resume Next
  x = CInt("abc")
  Safe = Err.Number & ":" & (Len(Err.description) > 0)
  Err.Clear
  Safe = Safe & ":" & Err.Number
End Function`);
  assert.equal(call('Safe'), '13:True:0');
});

test('unknown syntax is reported with its line; the rest of the block still works', () => {
  const R = createRuntime(fakeWindow().win);
  const res = translate(`Sub Good
  x = 1
End Sub
Class Thing
Sub Bad
  y = = 2
End Sub
Sub Open
  If 1 Then
End Sub
Function Other() : Other = 3 : End Function`, { known: R.known() });
  const lines = res.errors.map((e) => e.line);
  assert.ok(lines.includes(4), 'Class on line 4: ' + JSON.stringify(res.errors));
  assert.ok(lines.includes(6), 'bad expression on line 6');
  assert.ok(lines.includes(9), 'If without End If on line 9');
  assert.match(res.errors.find((e) => e.line === 6).msg, /y = = 2/);
  new Function('__tav', res.code)(R);
  assert.equal(R.procs.get('other').fn(), 3);
  assert.doesNotThrow(() => R.procs.get('good').fn());
  assert.throws(() => R.procs.get('bad').fn(), /VBScript line 6/);
});

test('a stray closing word and an unknown character are reported', () => {
  const res = translate('x = 1\nEnd If\ny = 2 ? 3');
  assert.deepEqual(res.errors.map((e) => e.line), [2, 3]);
  assert.match(res.errors[1].msg, /\?/);
});

test('a procedure that opens a dialog becomes async and waits for it; so do its callers', async () => {
  const { win } = fakeWindow();
  let resolveDialog;
  win.showModalDialog = (url, args, features) => {
    win.opened = [url, args, features];
    return new Promise((r) => { resolveDialog = r; });
  };
  const { call, res } = load(`
Sub Pick
  r = window.showModalDialog("Select_user.asp", "", "dialogWidth:35em; dialogHeight:15em;status:0")
  If IsNull(r) Or IsEmpty(r) Then Exit Sub
  document.form1.title = r
End Sub
Sub Outer
  Pick
  done = "yes"
End Sub`, win);
  assert.deepEqual(res.procs.map((p) => [p.name, p.async]), [['Pick', true], ['Outer', true]]);
  const p = call('Outer');
  assert.equal(typeof p.then, 'function', 'Outer gives a promise');
  assert.deepEqual(win.opened, ['Select_user.asp', '', 'dialogWidth:35em; dialogHeight:15em;status:0']);
  resolveDialog('0,2,0');
  await p;
  assert.equal(win.form1.title, '0,2,0');
});

// The system-settings check as the page writes it: stops at the first fault, then submits.
test('page routine: settings form check', () => {
  const src = `
Sub do_submit()
  If Not IsNumeric(form1.work_time.value) Then
    alert "work_time not numeric"
    Exit Sub
  End If
  If form1.work_time.value < 60 Then
    alert "work_time short" & chr(13) & "60"
    Exit Sub
  End If
  If Not IsNumeric(form1.stat_time.value) Then
    alert "stat_time not numeric"
    Exit Sub
  End If
  If form1.stat_time.value < 10 Then
    alert "stat_time short"
    Exit Sub
  End If
  If form1.mfile.value <> "" And InStr(form1.mfile.value, ":") = 0 Then
    alert "no colon"
    Exit Sub
  End If
  If form1.mfile.value <> "" Then
    ext = UCase(Right(form1.mfile.value, 4))
    If ext <> ".WAV" And ext <> ".MP3" And ext <> ".MID" Then
      alert "not sound"
      Exit Sub
    End If
  End If
  form1.submit
End Sub`;
  const cases = [
    [{ work_time: 'x', stat_time: '10', mfile: '' }, 'work_time not numeric'],
    [{ work_time: '59', stat_time: '10', mfile: '' }, 'work_time short\r60'],
    [{ work_time: '60', stat_time: '', mfile: '' }, 'stat_time not numeric'],
    [{ work_time: '60', stat_time: '9', mfile: '' }, 'stat_time short'],
    [{ work_time: '60', stat_time: '10', mfile: 'song.mp3' }, 'no colon'],
    [{ work_time: '60', stat_time: '10', mfile: 'C:\\a\\song.ogg' }, 'not sound'],
    [{ work_time: '60', stat_time: '10', mfile: 'C:\\a\\song.mp3' }, null],
    [{ work_time: '600', stat_time: '30', mfile: '' }, null]
  ];
  for (const [fields, alert] of cases) {
    const { win, form } = fakeWindow(fields);
    load(src, win).call('do_submit');
    assert.deepEqual(win.alerts, alert ? [alert] : [], JSON.stringify(fields));
    assert.equal(form.submitted, alert ? 0 : 1, JSON.stringify(fields));
  }
});

// The picture dialog builds its tag, hands it back through returnValue, submits and closes.
test('page routine: picture dialog returns its tag', () => {
  const { win, form } = fakeWindow({ filepath: './Datas/email/', file_name: 'C:\\My Pics\\a b.JPG', demo: 'my cat', algin: 'left' });
  load(`
Sub do_submit()
  fname = form1.file_name.value
  If InStr(fname, ":") = 0 Then
    MsgBox "bad name"
    Exit Sub
  End If
  If UCase(Right(fname, 4)) <> ".JPG" And UCase(Right(fname, 4)) <> ".GIF" Then
    MsgBox "not a picture" & Chr(13) & "gif, jpg"
    Exit Sub
  End If
  tag = "<IMG border=0 SRC=" + form1.filepath.value + Mid(fname, InStrRev(fname, "\\") + 1)
  If form1.demo.value <> "" Then tag = tag + " ALT=" + Replace(form1.demo.value, " ", "_")
  tag = tag + " ALIGN=" + form1.algin.value + ">"
  window.returnValue = tag
  form1.submit
  window.close
End Sub`, win).call('do_submit');
  assert.deepEqual(win.alerts, []);
  assert.equal(win.returnValue, '<IMG border=0 SRC=./Datas/email/a b.JPG ALT=my_cat ALIGN=left>');
  assert.equal(form.submitted, 1);
  assert.equal(win.closed, 1);
});
