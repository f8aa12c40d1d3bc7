// Tokenizes the example scripts with the TSL grammar through the editor's
// own tokenizer (vscode-textmate with the Oniguruma regular expressions)
// and checks the scopes of a few lines; checks that the grammar is the one
// the keyword table gives; and runs the problem matcher over the console
// errors that the script tests expect from tslrun.
// Run by tools/editor-test.sh, which installs the two packages into the
// build tree and points NODE_PATH there.
'use strict';
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const textmate = require('vscode-textmate');
const oniguruma = require('vscode-oniguruma');
const { buildGrammar, render, GRAMMAR } = require('../tools/generate-grammar.js');

const ROOT = path.join(__dirname, '..', '..', '..');
const EXAMPLES = path.join(ROOT, 'examples');

async function loadGrammar() {
  const wasm = fs.readFileSync(require.resolve('vscode-oniguruma/release/onig.wasm'));
  await oniguruma.loadWASM(wasm.buffer.slice(wasm.byteOffset, wasm.byteOffset + wasm.byteLength));
  const registry = new textmate.Registry({
    onigLib: Promise.resolve({
      createOnigScanner: (sources) => new oniguruma.OnigScanner(sources),
      createOnigString: (s) => new oniguruma.OnigString(s),
    }),
    loadGrammar: async () => textmate.parseRawGrammar(fs.readFileSync(GRAMMAR, 'utf8'), GRAMMAR),
  });
  return registry.loadGrammar('source.tsl');
}

// Every token of a file's lines: {line, text, scopes}.
function tokenize(grammar, file) {
  const lines = fs.readFileSync(path.join(EXAMPLES, file), 'latin1').split(/\r?\n/);
  let state = textmate.INITIAL;
  return lines.map((line) => {
    const r = grammar.tokenizeLine(line, state);
    state = r.ruleStack;
    return { line, tokens: r.tokens.map((t) => ({ text: line.slice(t.startIndex, t.endIndex), scopes: t.scopes })) };
  });
}

// The rows: in `file`, the first line that starts with `starts`; the token
// `text` (its n-th occurrence) carries `scope`.
const rows = [
  { file: 'basics.tsl', starts: 'Exclusive(@on)', text: 'Exclusive', scope: 'support.function.tsl' },
  { file: 'basics.tsl', starts: 'Exclusive(@on)', text: '@on', scope: 'constant.language.tsl' },
  { file: 'basics.tsl', starts: 'Exclusive(@on)', text: '; no pause between lines: this script only computes', scope: 'comment.line.semicolon.tsl' },
  { file: 'basics.tsl', starts: 'if i <= 10', text: 'if', scope: 'keyword.control.tsl' },
  { file: 'basics.tsl', starts: 'if i <= 10', text: '<=', scope: 'keyword.operator.tsl' },
  { file: 'basics.tsl', starts: 'if i <= 10', text: '10', scope: 'constant.numeric.decimal.tsl' },
  { file: 'basics.tsl', starts: 'if i <= 10', text: 'then', scope: 'keyword.control.tsl' },
  { file: 'basics.tsl', starts: 'if i <= 10', text: 'goto', scope: 'keyword.control.goto.tsl' },
  { file: 'basics.tsl', starts: 'if i <= 10', text: 'next', scope: 'entity.name.label.tsl' },
  { file: 'basics.tsl', starts: 'if i <= 10', text: 'i', scope: 'variable.other.tsl' },
  { file: 'tour.tsl', starts: ':sum', text: 'sum', scope: 'entity.name.label.tsl' },
  { file: 'tour.tsl', starts: ':sum', text: ':', scope: 'punctuation.definition.label.tsl' },
  { file: 'substitution.tsl', starts: 'Echo("100%%', text: '%%', scope: 'constant.character.escape.percent.tsl' },
  { file: 'substitution.tsl', starts: 'Echo("100%%', text: 'name', scope: 'variable.other.substitution.tsl' },
  { file: 'substitution.tsl', starts: 'Echo("100%%', text: ' of the ', scope: 'string.quoted.double.tsl' },
  { file: 'substitution.tsl', starts: 'Echo("100%%', text: '; %% is one percent sign', scope: 'comment.line.semicolon.tsl' },
  { file: 'substitution.tsl', starts: '%cmd%(', text: 'cmd', scope: 'variable.other.substitution.tsl' },
  { file: 'quotes.tsl', starts: "Echo('it''s')", text: "''", scope: 'constant.character.escape.tsl' },
  { file: 'quotes.tsl', starts: "Echo('it''s')", text: 's', scope: 'string.quoted.single.tsl' },
  { file: 'quotes.tsl', starts: "Echo('say", text: 'say "hi"', scope: 'string.quoted.single.tsl' },
  { file: 'quotes.tsl', starts: 'Echo("a;b")', text: 'a;b', scope: 'string.quoted.double.tsl' },
  { file: 'quotes.tsl', starts: 'Echo("a;b")', text: '; the ; inside quotes is text, this one starts a comment', scope: 'comment.line.semicolon.tsl' },
];

test('example lines carry their scopes', async () => {
  const grammar = await loadGrammar();
  const files = {};
  for (const r of rows) {
    files[r.file] = files[r.file] || tokenize(grammar, r.file);
    const line = files[r.file].find((l) => l.line.trimStart().startsWith(r.starts));
    assert.ok(line, `${r.file}: no line starts with ${r.starts}`);
    const token = line.tokens.find((t) => t.text === r.text);
    assert.ok(token, `${r.file}: "${r.text}" is no token of ${JSON.stringify(line.tokens.map((t) => t.text))}`);
    assert.ok(token.scopes.includes(r.scope), `${r.file}: "${r.text}" has ${token.scopes.join(' ')}, not ${r.scope}`);
  }
});

test('a doubled quote ends a literal after its first four characters', async () => {
  const grammar = await loadGrammar();
  const r = grammar.tokenizeLine('x = "abcd""e"', textmate.INITIAL);
  const texts = r.tokens.map((t) => 'x = "abcd""e"'.slice(t.startIndex, t.endIndex));
  assert.deepStrictEqual(texts.slice(-6), ['"', 'abcd', '"', '"', 'e', '"'], 'two literals, "abcd" and "e"');
});

test('the grammar is the one the keyword table gives', () => {
  assert.strictEqual(fs.readFileSync(GRAMMAR, 'utf8'), render(buildGrammar()),
    'syntaxes/tsl.tmLanguage.json is out of date: run node editors/vscode/tools/generate-grammar.js');
});

test('the problem matcher reads the console errors tslrun writes', () => {
  const pkg = JSON.parse(fs.readFileSync(path.join(__dirname, '..', 'package.json'), 'utf8'));
  const pattern = pkg.contributes.problemMatchers[0].pattern;
  const regexp = new RegExp(pattern.regexp);
  const dir = path.join(ROOT, 'tests', 'scripts');
  let seen = 0;
  for (const group of fs.readdirSync(dir)) {
    for (const name of fs.readdirSync(path.join(dir, group)).filter((n) => n.endsWith('.err'))) {
      for (const line of fs.readFileSync(path.join(dir, group, name), 'latin1').split(/\r?\n/)) {
        const want = /^(\S.*\.tsl)\((\d+)\): error (\d+): (.+)$/.exec(line);
        if (!want) continue;
        const m = regexp.exec(line);
        assert.ok(m, `${group}/${name}: ${line}`);
        assert.deepStrictEqual([m[pattern.file], m[pattern.line], m[pattern.code], m[pattern.message]], want.slice(1, 5));
        seen++;
      }
    }
  }
  assert.ok(seen >= 10, `only ${seen} error lines found in the script tests`);
});

test('the extension carries the product version of src/resources/version.h', () => {
  const header = fs.readFileSync(path.join(ROOT, 'src', 'resources', 'version.h'), 'latin1');
  const part = (name) => new RegExp(`#define TSL_VERSION_${name} (\\d+)`).exec(header)[1];
  const pkg = JSON.parse(fs.readFileSync(path.join(__dirname, '..', 'package.json'), 'utf8'));
  assert.strictEqual(pkg.version, `${part('MAJOR')}.${part('MINOR')}.${part('PATCH')}`);
});
