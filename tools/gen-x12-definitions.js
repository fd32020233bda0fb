#!/usr/bin/env node
// Writes the X12 definition (.vmd, version-one text) from the compact descriptions in
// tools/x12/: segments with their elements and composites, transaction sets with their
// loops.  A message is a whole interchange (ISA ... IEA) holding sets of one kind.
//
//   node gen-x12-definitions.js SEGMENTS.txt TRANSACTIONS.txt OUT.vmd
'use strict';

const fs = require('fs');
const vmd = require('./vmd-writer');

const [segmentsFile, transactionsFile, outFile] = process.argv.slice(2);
if (!segmentsFile || !transactionsFile || !outFile) {
  process.stderr.write('usage: gen-x12-definitions.js SEGMENTS.txt TRANSACTIONS.txt OUT.vmd\n');
  process.exit(2);
}

function fail(text) {
  process.stderr.write(`gen-x12-definitions: ${text}\n`);
  process.exit(1);
}

// ---------------------------------------------------------------- segments

function contentLines(file) {
  return fs.readFileSync(file, 'utf8').split('\n').map((l) => l.replace(/\s+$/, '')).filter((l) => l && !l.startsWith('#'));
}

// "[A B(C001:x,y)]x3" -> A1 B1(...) A2 B2(...) A3 B3(...); composites keep their names.
function expandElements(text) {
  const tokens = text.match(/\[[^\]]*\]x\d+|\S+/g) || [];
  const out = [];
  for (const token of tokens) {
    const group = /^\[(.*)\]x(\d+)$/.exec(token);
    if (!group) {
      out.push(token);
      continue;
    }
    const inner = group[1].split(/\s+/).filter(Boolean);
    for (let n = 1; n <= Number(group[2]); n++) {
      for (const element of inner) out.push(element.replace(/^([A-Za-z0-9]+)/, `$1${n}`));
    }
  }
  return out;
}

function parseElement(text, segment) {
  const composite = /^([A-Za-z0-9]+)\((C\d{3}):([A-Za-z0-9,]+)\)$/.exec(text);
  if (composite) return { name: composite[1], composite: composite[2], components: composite[3].split(',') };
  if (!/^[A-Za-z][A-Za-z0-9]*$/.test(text)) fail(`segment ${segment}: bad element "${text}"`);
  return { name: text };
}

function readSegments() {
  const segments = new Map();
  const composites = new Map();
  for (const line of contentLines(segmentsFile)) {
    const [id, description, elements] = line.split('|').map((p) => p.trim());
    if (!id || !description || !elements) fail(`bad segment line: ${line}`);
    if (segments.has(id)) fail(`segment ${id} twice`);
    const parsed = expandElements(elements).map((e) => parseElement(e, id));
    const seen = new Set();
    for (const element of parsed) {
      if (seen.has(element.name)) fail(`segment ${id}: element name ${element.name} twice`);
      seen.add(element.name);
      if (!element.composite) continue;
      const known = composites.get(element.composite);
      if (known && known.join(',') !== element.components.join(',')) fail(`composite ${element.composite} differs`);
      composites.set(element.composite, element.components);
    }
    segments.set(id, { id, description, elements: parsed });
  }
  return { segments, composites };
}

// ---------------------------------------------------------------- transaction sets

function parseBody(text, where) {
  const tokens = text.match(/[A-Za-z][A-Za-z0-9]*[?*+]?\{|[A-Z0-9]+[?*+]?|\}/g) || [];
  let at = 0;
  const shape = (mark) => ({ optional: mark === '?' || mark === '*', repeating: mark === '*' || mark === '+' });
  const list = () => {
    const nodes = [];
    while (at < tokens.length && tokens[at] !== '}') {
      const token = tokens[at++];
      const loop = /^([A-Za-z][A-Za-z0-9]*)([?*+]?)\{$/.exec(token);
      if (loop) {
        const children = list();
        if (tokens[at++] !== '}') fail(`${where}: loop ${loop[1]} not closed`);
        if (!children.length || !children[0].segment) fail(`${where}: loop ${loop[1]} must start with a segment`);
        nodes.push({ name: loop[1], ...shape(loop[2]), children });
      } else {
        const segment = /^([A-Z0-9]+)([?*+]?)$/.exec(token);
        nodes.push({ name: segment[1], ...shape(segment[2]), segment: segment[1] });
      }
    }
    return nodes;
  };
  const nodes = list();
  if (at !== tokens.length) fail(`${where}: unbalanced "}"`);
  return nodes;
}

function readTransactions() {
  const transactions = [];
  let current = null;
  for (const line of contentLines(transactionsFile)) {
    const head = /^transaction\s+(\d{3})\s+([A-Za-z]+)\s*\|\s*(.*?)\s*\|\s*(\S+)$/.exec(line);
    if (head) {
      current = { code: head[1], name: `${head[2]}_${head[1]}`, description: head[3], group: head[4], body: '' };
      continue;
    }
    if (line.trim() === 'end') {
      current.children = parseBody(current.body, current.name);
      transactions.push(current);
      current = null;
      continue;
    }
    if (!current) fail(`line outside a transaction: ${line}`);
    current.body += ` ${line}`;
  }
  return transactions;
}

// The interchange around the set: the envelope is part of every message.
function interchange(transaction) {
  const set = { name: 'TransactionSet', optional: false, repeating: true, children: [
    { name: 'ST', optional: false, repeating: false, segment: 'ST' },
    ...transaction.children,
    { name: 'SE', optional: false, repeating: false, segment: 'SE' },
  ] };
  const group = { name: 'FunctionalGroup', optional: false, repeating: true, children: [
    { name: 'GS', optional: false, repeating: false, segment: 'GS' },
    set,
    { name: 'GE', optional: false, repeating: false, segment: 'GE' },
  ] };
  return [
    { name: 'ISA', optional: false, repeating: false, segment: 'ISA' },
    { name: 'TA1', optional: true, repeating: false, segment: 'TA1' },
    group,
    // Some senders put the interchange acknowledgments behind the groups; a table grammar
    // name stands once in a group, so these get one of their own.
    { name: 'AcknowledgmentsAfterGroups', optional: true, repeating: false, children: [
      { name: 'TA1', optional: false, repeating: false, segment: 'TA1' },
    ] },
    { name: 'IEA', optional: false, repeating: false, segment: 'IEA' },
  ];
}

// ---------------------------------------------------------------- the file

// Every value is kept as text: X12 numbers and dates come back as they were written.
const textComposite = 'AN';

function columnsOf(segment) {
  const columns = [];
  segment.elements.forEach((element, index) => {
    const number = String(index + 1).padStart(2, '0');
    // ISA-11 (from 00501 on) and ISA-16 are separators, not data: the tool writes the ones
    // of the configuration there.
    if (segment.id === 'ISA' && (number === '11' || number === '16')) return;
    if (!element.composite) {
      columns.push({
        name: `${segment.id}${number}_${element.name}`,
        description: `${segment.id}-${number} ${element.name}`,
        type: 'String',
        address: [index],
      });
      return;
    }
    element.components.forEach((component, c) => {
      const part = String(c + 1).padStart(2, '0');
      columns.push({
        name: `${segment.id}${number}_${part}_${component}`,
        description: `${segment.id}-${number}-${part} ${element.name}: ${component}`,
        type: 'String',
        address: [index, c],
      });
    });
  });
  return columns;
}

const mapSetName = 'AllElements';

function writeDefinition() {
  const { segments, composites } = readSegments();
  const transactions = readTransactions();
  const used = new Set();
  const visit = (nodes, where) => {
    for (const node of nodes) {
      if (node.children) visit(node.children, where);
      else if (!segments.has(node.segment)) fail(`${where}: no segment ${node.segment}`);
      else used.add(node.segment);
    }
  };
  for (const t of transactions) {
    t.children = interchange(t);
    visit(t.children, t.name);
  }
  const ordered = [...segments.values()].filter((s) => used.has(s.id));
  const segmentIds = new Map(ordered.map((s, i) => [s.id, i]));
  const tables = ordered.map((s) => ({ name: s.id, description: s.description, columns: columnsOf(s) }));
  // Every segment in a grammar has its table.
  for (const t of transactions) t.items = vmd.tableGrammarItems(t.children, () => true);
  const w = new vmd.Writer();

  vmd.writeEngineStart(w, {
    strictGrammar: true,
    description: 'X12 interchanges (ISA to IEA) of the transaction sets ' + transactions.map((t) => t.code).join(', ') +
      ', generated from tools/x12; every element laid out on one table per segment, as text.',
  });
  vmd.writeGlobal(w, tables, transactions);

  w.start('config', 'name', 'X12');
  w.start('composite', 'name', textComposite);
  w.prop('description', 'An element kept as written');
  writeTextField(w, 'Value');
  w.end('composite');
  for (const [name, components] of [...composites.entries()].sort()) {
    w.start('composite', 'name', name);
    w.prop('description', `Composite ${name}`);
    for (const component of components) writeTextField(w, component);
    w.end('composite');
  }
  // No element described here repeats: a column holds one value, so a repeat in the data is
  // refused by the segment check (naming the element) rather than cut to its first value.
  ordered.forEach((segment, id) => vmd.writeSegment(w, id, {
    name: segment.id,
    description: segment.description,
    fields: segment.elements.map((element) => (
      { name: element.name, maxRepeats: 0, required: false, composite: element.composite || textComposite })),
  }));
  vmd.writeMatch(w, transactions.map((t) => t.name));
  vmd.writeTableConfig(w, tables, mapSetName);
  for (const t of transactions) writeMessageConfig(w, t, segmentIds);
  writeAppSettings(w);
  w.end('config');
  w.end('engine');
  fs.writeFileSync(outFile, w.text());
}

function writeTextField(w, name) {
  vmd.writeCompositeField(w, { name, maxLength: -1, required: false, restricted: false, type: 'String' });
}

function writeMessageConfig(w, t, segmentIds) {
  const identifiers = [['ST', `^${t.code}$`, 0]];
  if (t.group !== '-') identifiers.push(['GS', `(${t.group})`, 7]);
  vmd.writeMessageConfig(w, {
    name: t.name,
    ignoreUnknownSegments: false,
    identifiers: identifiers.map(([segment, value, field]) => (
      { segmentRef: segmentIds.get(segment), value, address: [field] })),
    children: t.children,
    items: t.items,
    segmentIds,
    mapSetName,
  });
}

function writeAppSettings(w) {
  // Segment "~"; element "*" with repetition "^"; component ":".  The positions mark the
  // separators the interchange header declares (behind "ISA", ISA-11, ISA-16): read from each
  // interchange, written by --fromxml as they stand here.
  vmd.writeAppSettings(w, { stub_file_prefix: 'X12', header_fields_to_skip: 1, header_segment: 'ISA' }, [
    [126, 0, 0, 0, -1, -1],
    [42, 94, 0, 0, 3, 82],
    [58, 0, 0, 0, 104, -1],
  ]);
}

writeDefinition();
