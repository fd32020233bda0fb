#!/usr/bin/env node
// Writes the X12 definition (.vmd, version-one text) from the compact descriptions in
// tools/x12/: segments with their elements and composites, transaction sets with their
// loops.  A message is a whole interchange (ISA ... IEA) holding sets of one kind.
//
//   node gen-x12-definitions.js SEGMENTS.txt TRANSACTIONS.txt OUT.vmd
'use strict';

const fs = require('fs');

const [segmentsFile, transactionsFile, outFile] = process.argv.slice(2);
if (!segmentsFile || !transactionsFile || !outFile) {
  process.stderr.write('usage: gen-x12-definitions.js SEGMENTS.txt TRANSACTIONS.txt OUT.vmd\n');
  process.exit(2);
}

function fail(text) {
  process.stderr.write(`gen-x12-definitions: ${text}\n`);
  process.exit(1);
}

function escapeData(text) {
  return text.replace(/[&<>"']/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&apos;' })[c]);
}

// ---------------------------------------------------------------- output in the saver's layout

class Writer {
  constructor() {
    this.lines = [];
    this.depth = 0;
  }
  indent() {
    return '   '.repeat(this.depth);
  }
  start(name, key, value) {
    const attribute = key === undefined ? '' : ` ${key}="${escapeData(String(value))}"`;
    this.lines.push(`${this.indent()}<${name}${attribute}>`);
    this.depth++;
  }
  end(name) {
    this.depth--;
    this.lines.push(`${this.indent()}</${name}>`);
  }
  prop(name, value) {
    this.lines.push(`${this.indent()}<${name}>${escapeData(String(value))}</${name}>`);
  }
  flag(name, value) {
    this.prop(name, value ? 'True' : 'False');
  }
  index(name, value) {
    this.prop(name, value === undefined || value === null ? -1 : value);
  }
  address(steps) {
    this.start('node_address');
    for (const node of steps) {
      this.start('pair');
      this.index('node_index', node);
      this.index('repeat_index', 0);
      this.end('pair');
    }
    this.end('node_address');
  }
  text() {
    return this.lines.join('\n') + '\n';
  }
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
      columns.push({ name: `${segment.id}${number}_${element.name}`, description: `${segment.id}-${number} ${element.name}`, address: [index] });
      return;
    }
    element.components.forEach((component, c) => {
      const part = String(c + 1).padStart(2, '0');
      columns.push({
        name: `${segment.id}${number}_${part}_${component}`,
        description: `${segment.id}-${number}-${part} ${element.name}: ${component}`,
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
  const w = new Writer();

  w.start('engine', 'version', '1.0');
  w.flag('strict_grammar_checking', true);
  w.flag('java_use_native_double', false);
  w.flag('use_passthrough_mapping', false);
  w.index('current_config', 0);
  w.index('incoming_config', 0);
  w.index('outgoing_config', 0);
  w.prop('vmd_description',
    'X12 interchanges (ISA to IEA) of the transaction sets ' + transactions.map((t) => t.code).join(', ') +
    ', generated from tools/x12; every element laid out on one table per segment, as text.');
  w.flag('use_dotnet_properties', true);

  w.start('global', 'name', 'global');
  for (const table of tables) {
    w.start('table', 'name', table.name);
    w.prop('description', table.description);
    w.index('action', 1);
    for (const column of table.columns) {
      w.start('column', 'name', column.name);
      w.prop('description', column.description);
      w.prop('type', 'String');
      w.end('column');
    }
    w.end('table');
  }
  for (const t of transactions) {
    w.start('message', 'name', t.name);
    w.prop('description', t.description);
    writeTableGrammarGlobal(w, t.name, t.children);
    w.end('message');
  }
  w.end('global');

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
  ordered.forEach((segment, id) => {
    w.start('segment', 'id', id);
    w.prop('name', segment.id);
    w.prop('description', segment.description);
    w.flag('has_delimiters', true);
    for (const element of segment.elements) {
      w.start('field', 'name', element.name);
      w.index('max_repeats', -1);
      w.flag('is_required', false);
      w.index('width', -1);
      w.prop('in_equation', '');
      w.prop('out_equation', '');
      w.prop('composite_ref', element.composite || textComposite);
      w.end('field');
    }
    w.end('segment');
  });
  w.start('match');
  for (const t of transactions) w.prop('msg', t.name);
  w.end('match');
  for (const table of tables) {
    w.start('table', 'name', table.name);
    for (const column of table.columns) {
      w.start('column', 'name', column.name);
      w.flag('is_key', false);
      w.prop('in_equation', '');
      w.prop('out_equation', '');
      w.end('column');
    }
    w.start('config_mapset', 'name', mapSetName);
    for (const column of table.columns) {
      w.start('mapset');
      w.address(column.address);
      w.end('mapset');
    }
    w.end('config_mapset');
    w.end('table');
  }
  for (const t of transactions) writeMessageConfig(w, t, segmentIds);
  writeAppSettings(w);
  w.end('config');
  w.end('engine');
  fs.writeFileSync(outFile, w.text());
}

function writeTextField(w, name) {
  w.start('field', 'name', name);
  w.index('max_length', -1);
  w.flag('is_required', false);
  w.flag('is_length_restricted', false);
  w.prop('data_type', 'String');
  w.end('field');
}

// The table grammar mirrors the message grammar: a group per loop, a table per segment.
function tableGrammarChildren(children) {
  return children.map((node) => (node.segment ? { node, table: node.segment } : { node, children: tableGrammarChildren(node.children) }));
}

function writeTableGrammarGlobal(w, name, children) {
  const walk = (items) => {
    for (const item of items) {
      if (item.table) {
        w.start('table_grammar', 'name', item.table);
        w.prop('type', 'table');
        w.prop('table_ref', item.table);
      } else {
        w.start('table_grammar', 'name', item.node.name);
        w.prop('type', 'group');
        walk(item.children);
      }
      w.end('table_grammar');
    }
  };
  w.start('table_grammar', 'name', name);
  w.prop('type', 'group');
  walk(tableGrammarChildren(children));
  w.end('table_grammar');
}

function writeMessageConfig(w, t, segmentIds) {
  w.start('message', 'name', t.name);
  w.flag('ignore_unknown_segments', false);
  w.flag('ignore_segment_order', false);
  w.prop('in_equation', '');
  w.prop('out_equation', '');
  const identifiers = [['ST', `^${t.code}$`, 0]];
  if (t.group !== '-') identifiers.push(['GS', `(${t.group})`, 7]);
  for (const [segment, value, field] of identifiers) {
    w.start('identifier');
    w.index('segment_ref', segmentIds.get(segment));
    w.prop('value', value);
    w.address([field]);
    w.end('identifier');
  }
  w.start('segment_list_function_hook');
  w.prop('name', '');
  w.prop('module', '');
  w.end('segment_list_function_hook');
  const ids = new Map();
  let next = 0;
  const writeNode = (node) => {
    const id = next++;
    ids.set(node, id);
    w.start('message_grammar', 'id', id);
    w.prop('name', node.name);
    w.flag('is_optional', node.optional);
    w.flag('is_repeating', node.repeating);
    w.flag('ignore_segment_order', false);
    w.index('max_repeats', 0);
    if (node.segment) {
      w.prop('type', 'segment');
      w.index('segment_ref', segmentIds.get(node.segment));
    } else {
      w.prop('type', 'group');
      node.children.forEach(writeNode);
    }
    w.end('message_grammar');
  };
  writeNode({ name: t.name, optional: false, repeating: false, children: t.children });
  w.index('grammar_root_ref', 0);
  const walk = (items) => {
    for (const item of items) {
      w.start('table_grammar', 'name', item.table || item.node.name);
      w.index('grammar_root_ref', ids.get(item.node));
      if (item.table) {
        w.prop('type', 'table');
        w.index('grammar_field_index', -1);
        w.prop('mapset_ref', mapSetName);
      } else {
        w.prop('type', 'group');
        walk(item.children);
      }
      w.end('table_grammar');
    }
  };
  w.start('table_grammar', 'name', t.name);
  w.prop('type', 'group');
  walk(tableGrammarChildren(t.children));
  w.end('table_grammar');
  w.end('message');
}

function writeAppSettings(w) {
  const settings = [
    ['ack_message', ''], ['eom_char', 0], ['octal_escape_char', 48], ['escape_default', 0],
    ['escape_escape_char', 0], ['escape_position', -1], ['stub_file_dir', 'c:\\temp'], ['stub_file_language', ''],
    ['stub_file_prefix', 'X12'], ['output_trailing_separators', 'False'], ['parse_separator_chars', 'True'],
    ['lowest_unescaped_char', 32], ['highest_unescaped_char', 255], ['preset_config', 'False'],
    ['main_equation', ''], ['postprocess_equation', ''], ['main_out_equation', ''], ['postprocess_out_equation', ''],
    ['output_segment_line_feed', 'False'], ['xml_delimiter', 46], ['xml_translation_type', 'TABLE - Long Tags'],
    ['use_segment_checker3', 'False'], ['xml_schema_single_file', 'True'], ['header_fields_to_skip', 1],
    ['disable_untyped_tree_in_exception', 'False'], ['maximum_repeat_mapping_limit', 2],
    ['database_equation_on', 'False'], ['disable_python_none', 'True'], ['header_segment', 'ISA'],
    ['last_message_matches_all', 'False'], ['parser_version', 2], ['escape_data_for_xml_to_hl7', 'False'],
    ['validate_data_for_xml_to_hl7', 'True'],
  ];
  w.start('app_settings');
  for (const [name, value] of settings) w.prop(name, value);
  // Segment "~"; element "*" with repetition "^"; component ":".  The positions mark the
  // separators the interchange header declares (behind "ISA", ISA-11, ISA-16): read from each
  // interchange, written by --fromxml as they stand here.
  const levels = [
    [126, 0, 0, 0, -1, -1],
    [42, 94, 0, 0, 3, 82],
    [58, 0, 0, 0, 104, -1],
  ];
  for (const level of levels) {
    w.start('separator_info');
    ['sep_char_default', 'repeat_char_default', 'sep_char_escape', 'repeat_char_escape', 'sep_char_position',
      'repeat_char_position'].forEach((name, i) => w.prop(name, level[i]));
    w.end('separator_info');
  }
  w.end('app_settings');
}

writeDefinition();
