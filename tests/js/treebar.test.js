// The pure parts of site/TreeBar.html (entry parsing, button placement,
// slide steps) and its recovery of the folder script, run in a vm context
// whose fake document has no createElement, so nothing is drawn.
const test = require('node:test');
const assert = require('node:assert');
const vm = require('node:vm');
const { runSiteScript } = require('./client_script.js');

const load = (globals) => runSiteScript('TreeBar.html', Object.assign({ document: {} }, globals || {}));
const tb = load();
const plain = (v) => JSON.parse(JSON.stringify(v));

test('entries: as left.asp writes them, with blanks, backquotes and broken tails', () => {
  const E = (icon, label, url, target) => ({ icon, label, url, target });
  const cases = [
    ["'images/arrow1.gif',' 录入数据','Data_Input.asp?m=menu31', 'detail'," +
     "'images/arrow1.gif',' 类别维护','Data_type.asp?m_id=31&xm=sjzx', 'detail',",
      [E('images/arrow1.gif', ' 录入数据', 'Data_Input.asp?m=menu31', 'detail'),
        E('images/arrow1.gif', ' 类别维护', 'Data_type.asp?m_id=31&xm=sjzx', 'detail')]],
    // blanks and line breaks between values do not matter, blanks inside a value stay
    ["  'a.gif' ,  ' 甲' ,\r\n 'x.asp?a=1&b=2'  ,'detail' ,\n'b.gif','乙 丙','y.asp','_blank',  ",
      [E('a.gif', ' 甲', 'x.asp?a=1&b=2', 'detail'), E('b.gif', '乙 丙', 'y.asp', '_blank')]],
    // backquotes as the database stores them
    ['`images/arrow1.gif`,` 通知`,`Data_list.asp?sub_menu=4102`, `detail`,',
      [E('images/arrow1.gif', ' 通知', 'Data_list.asp?sub_menu=4102', 'detail')]],
    ['', []], [undefined, []], [null, []], ['   ,, ', []],
    // three values only: the incomplete entry is dropped
    ["'a.gif',' x','x.asp',", []],
    // an unterminated quote ends parsing; complete entries before it stay
    ["'a','b','c','d','e','f", [E('a', 'b', 'c', 'd')]],
    // an empty value is a value: an entry without a target
    ["'a.gif',' x','x.asp','',", [E('a.gif', ' x', 'x.asp', '')]],
  ];
  for (const [text, want] of cases) assert.deepStrictEqual(plain(tb.TB_ParseEntries(text)), want, JSON.stringify(text));
});

test('buttons up to the open folder stack at the top, the rest at the bottom; slides never overshoot', () => {
  // [folders, open, bar height, button height] -> tops: the second open, the first, the last, none
  const tops = [[[4, 2, 400, 22], [0, 0, 22, 356, 378]], [[3, 1, 300, 20], [0, 0, 260, 280]], [[3, 3, 300, 20], [0, 0, 20, 40]],
    [[0, 1, 300, 20], [0]]];
  for (const [args, want] of tops) assert.deepStrictEqual(plain(tb.TB_ButtonTops(...args)), want, String(args));
  // [from, to, speed] -> next position
  for (const [args, want] of [[[0, 100, 3], 24], [[100, 0, 3], 76], [[90, 100, 3], 100], [[50, 50, 3], 50]]) {
    assert.strictEqual(tb.TB_Step(...args), want, String(args));
  }
  assert.ok(tb.TB_Step(0, 100, 0) > 0, 'a speed of 0 still moves');
  let pos = 0, n = 0;
  while (pos !== 377 && n < 1000) { pos = tb.TB_Step(pos, 377, 2); n++; }
  assert.strictEqual(pos, 377);
});

test('folder script that stopped at "menuNN.value" is run again with the fields reachable', () => {
  const folderScript = "MenuItem=MenuItem+1;strSQL=menu31.value;OutBarFolder[MenuItem]= new Array('0','数据中心', 'images/arrow1.gif', '1',strSQL);" +
                       "MenuItem=MenuItem+1;strSQL=menu32.value;OutBarFolder[MenuItem]= new Array('0','空', 'images/arrow1.gif', '1',strSQL);";
  const params = 'OutBarFolder=new Array(10);MenuItem=0;';
  const inputs = [
    { name: 'menu31', value: "'i.gif',' 录入','a.asp', 'detail'," },
    { name: 'menu32', value: '' },
    { name: 'other', value: 'x' },
  ];
  const doc = {
    getElementsByTagName: (t) => (t === 'input' ? inputs : [{ text: params }, { text: folderScript }]),
  };
  const ctx = load({ document: doc });
  vm.runInContext(params, ctx);
  assert.throws(() => vm.runInContext(folderScript, ctx), /menu31 is not defined/);
  assert.strictEqual(ctx.MenuItem, 1);

  const g = vm.runInContext('this', ctx);
  assert.strictEqual(ctx.TB_RecoverFolders(doc, g), 1);
  assert.strictEqual(ctx.MenuItem, 2);
  assert.strictEqual(ctx.OutBarFolder[1][1], '数据中心');
  assert.strictEqual(ctx.TB_ParseEntries(ctx.OutBarFolder[1][4])[0].url, 'a.asp');
  assert.strictEqual(ctx.OutBarFolder[2][4], '');
  assert.strictEqual(g.other, undefined);          // only menuNN fields are exposed
  // with every folder present nothing runs again
  assert.strictEqual(ctx.TB_RecoverFolders(doc, g), 0);
  assert.strictEqual(ctx.MenuItem, 2);
});
