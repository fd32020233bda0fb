#!/usr/bin/env node
// Writes a version-one definition (.vmd) of one standard HL7 v2 version from the
// hl7-dictionary data set, in exactly the layout the engine's saver produces, so that a
// load and a save of a generated file give the same bytes back.
//
//   node gen-hl7-definitions.js DICTIONARY_DIR VERSION OUT.vmd [BUNDLED_VERSION...]
//
// The bundled versions, oldest first, are those whose trigger events an older version may take
// over (see borrowLaterEvents).
//
// Prints one line of counts (tab separated) for the manifest:
//   version, data-set messages, structures, data-set segments, stub segments, data types, tables,
//   trigger events taken over from later versions, composites (the data types and VARIES's)
'use strict';

const fs = require('fs');
const path = require('path');
const vmd = require('./vmd-writer');

const [dictionaryDir, version, outFile, ...bundledVersions] = process.argv.slice(2);
if (!dictionaryDir || !version || !outFile) {
  process.stderr.write('usage: gen-hl7-definitions.js DICTIONARY_DIR VERSION OUT.vmd [BUNDLED_VERSION...]\n');
  process.exit(2);
}
const dictionary = require(path.resolve(dictionaryDir));
const packageVersion = JSON.parse(fs.readFileSync(path.join(dictionaryDir, 'package.json'), 'utf8')).version;
const data = dictionary.definitions[version];
if (!data) {
  process.stderr.write(`the data set has no version ${version}\n`);
  process.exit(2);
}

// ---------------------------------------------------------------- text helpers

// Descriptions are kept to printable ASCII so that the file reads the same everywhere.
function plain(text) {
  return String(text || '')
    .normalize('NFKD')
    .replace(/[\u2018\u2019]/g, "'")
    .replace(/[\u201c\u201d]/g, '"')
    .replace(/[\u2013\u2014]/g, '-')
    .replace(/[^\x20-\x7e]/g, '')
    .replace(/\s+/g, ' ')
    .trim();
}

// "Set ID - PID" -> "SetIdPid": the names of fields, components and columns.
function camel(text) {
  const words = plain(text).replace(/'/g, '').split(/[^A-Za-z0-9]+/).filter(Boolean);
  let name = words.map((w) => w[0].toUpperCase() + w.slice(1).toLowerCase()).join('');
  if (!name) name = 'Field';
  if (/^[0-9]/.test(name)) name = 'F' + name;
  return name;
}

// Names unique within one owner: a repeated name takes the position as suffix.
function uniqueNames(descriptions) {
  const seen = new Set();
  return descriptions.map((d, i) => {
    let name = camel(d);
    if (seen.has(name)) name = `${name}${i + 1}`;
    while (seen.has(name)) name += '_';
    seen.add(name);
    return name;
  });
}

const compareText = (a, b) => (a < b ? -1 : a > b ? 1 : 0);

// ---------------------------------------------------------------- data types

// Every leaf of a composite is a plain string, numbers and times included: a column of type
// Double or DateTime gives its value back reformatted (1.50 as 1.5, a time stamp without
// fraction and zone), and a cell whose column and leaf types differ is invalid, so the tables
// would not hand back the text a message came with.
function componentsOf(code) {
  const type = data.fields[code];
  return (type && type.subfields) || [];
}

// One composite per data type. A type with components lists them; a primitive gets one
// component "Value", so that a table column mapped to the field as a whole reads it.
// Descriptions written here instead of the data set's: GTS is a timing pattern in free text.
const typeDescriptions = { GTS: 'General Timing Pattern' };

function buildComposites() {
  const codes = Object.keys(data.fields).sort(compareText);
  const composites = new Map();
  for (const code of codes) {
    const components = componentsOf(code);
    const composite = { name: code, description: typeDescriptions[code] || plain(data.fields[code].desc), fields: [] };
    if (components.length === 0) {
      composite.fields.push({ name: 'Value', maxLength: -1, required: false, restricted: false, type: 'String' });
    } else {
      const names = uniqueNames(components.map((c) => c.desc));
      components.forEach((c, i) => composite.fields.push(componentField(names[i], c)));
    }
    composites.set(code, composite);
  }
  addVariesComposites(composites, codes);
  return composites;
}

// A field of type VARIES (OBX-5, ...) takes the type its message names elsewhere (OBX-2), so
// it is laid out as wide as any type of the version: as many components as the widest type,
// component i with as many sub-components as the widest type that stands as component i of
// some type. A composite VARIES_n holds n sub-components.
const variesCode = 'VARIES';

function addVariesComposites(composites, codes) {
  const depths = [];
  for (const code of codes) {
    componentsOf(code).forEach((component, i) => {
      depths[i] = Math.max(depths[i] || 1, componentsOf(component.datatype).length || 1);
    });
  }
  const plain = (name) => ({ name, maxLength: -1, required: false, restricted: false, type: 'String' });
  const varies = { name: variesCode, description: 'Variable Datatype', fields: [] };
  depths.forEach((depth, i) => {
    if (depth === 1) {
      varies.fields.push(plain(`C${i + 1}`));
      return;
    }
    const part = `${variesCode}_${depth}`;
    if (!composites.has(part)) {
      const fields = [];
      for (let n = 1; n <= depth; n++) fields.push(plain(`S${n}`));
      composites.set(part, { name: part, description: `A component of a field of variable type`, fields });
    }
    varies.fields.push({ ...plain(`C${i + 1}`), type: 'Composite', composite: part });
  });
  composites.set(variesCode, varies);
}

// The fields of type VARIES. The data set of 2.7 and later types them ST, so a field that the
// latest earlier version of the data set with a VARIES type gives that type keeps it here.
function variesFields() {
  const versions = Object.keys(dictionary.definitions);
  const earlier = versions.slice(0, versions.indexOf(version) + 1).reverse()
    .find((v) => dictionary.definitions[v].fields[variesCode]);
  const fields = new Set();
  if (!earlier) return fields;
  for (const [name, segment] of Object.entries(dictionary.definitions[earlier].segments)) {
    segment.fields.forEach((field, index) => {
      const own = data.segments[name] && data.segments[name].fields[index];
      if (field.datatype === variesCode && own && ['ST', variesCode].includes(own.datatype)) fields.add(`${name}-${index}`);
    });
  }
  return fields;
}

function componentField(name, component) {
  const length = Number.isInteger(component.len) && component.len > 0 ? component.len : -1;
  const field = { name, required: component.opt === 2, maxLength: length, restricted: length > 0 };
  const inner = componentsOf(component.datatype);
  if (inner.length > 0 && data.fields[component.datatype]) {
    // A component with components of its own: the length of the whole is not checked.
    return { ...field, type: 'Composite', composite: component.datatype, maxLength: -1, restricted: false };
  }
  return { ...field, type: 'String' };
}

// Text splits no deeper than sub-components, and table filling finds no type for a column that
// ends on a composite it cannot step into. So a composite that only ever stands as a component
// (CN of 2.3.1, whose eighth component is an HD) takes its own composite components as plain
// strings: they are sub-components there.
function flattenComponentOnlyComposites(composites, segments) {
  const fieldTypes = new Set(segments.flatMap((segment) => segment.fields.map((field) => field.composite)));
  for (const composite of composites.values()) {
    if (fieldTypes.has(composite.name)) continue;
    composite.fields = composite.fields.map((field) => {
      if (field.type !== 'Composite') return field;
      const { composite: _inner, ...rest } = field;
      return { ...rest, type: 'String' };
    });
  }
}

// ---------------------------------------------------------------- segments

// The data set joins the alternatives of a choice with commas ("OBR,RQD,RQ1").
function choiceNames(name) {
  return name.split(',').map((n) => n.trim()).filter(Boolean);
}

function buildSegments() {
  const names = new Set(Object.keys(data.segments));
  const stubs = new Set();
  const visit = (nodes) => {
    for (const node of nodes) {
      if (node.children) visit(node.children);
      else for (const name of choiceNames(node.name)) if (!names.has(name)) stubs.add(name);
    }
  };
  for (const message of Object.values(data.messages)) visit(message.segments.segments);
  // MSH stands first: identifiers refer to segment 0.
  const ordered = [...names, ...stubs].sort((a, b) => (a === 'MSH' ? -1 : b === 'MSH' ? 1 : compareText(a, b)));
  const varies = variesFields();
  const segments = ordered.map((name) => {
    const source = data.segments[name];
    let fields = source ? source.fields : [];
    const fieldNames = uniqueNames(fields.map((f) => f.desc));
    return {
      name,
      stub: !source,
      description: source ? plain(source.desc) : 'Named by a message structure; its fields are not in the data set',
      firstNumber: 1,
      fields: fields.map((f, i) => ({
        name: fieldNames[i],
        description: plain(f.desc),
        maxRepeats: f.rep === 0 ? -1 : f.rep > 1 ? f.rep - 1 : 0,
        required: f.opt === 2,
        composite: varies.has(`${name}-${i}`) ? variesCode : data.fields[f.datatype] ? f.datatype : 'ST',
      })),
    };
  });
  return { segments, stubCount: stubs.size };
}

// ---------------------------------------------------------------- messages

// A node of a message grammar: { name, optional, repeating, maxRepeats, segment | children }.
function grammarNode(node) {
  const shape = {
    optional: node.min === 0,
    repeating: node.max !== 1,
    maxRepeats: node.max > 1 ? node.max - 1 : 0,
  };
  if (node.children) {
    const children = node.children.map(grammarNode).filter(Boolean);
    return children.length ? { name: node.name, ...shape, children } : null;
  }
  const alternatives = choiceNames(node.name);
  if (alternatives.length === 0) return null;
  if (alternatives.length === 1) return { name: alternatives[0], ...shape, segment: alternatives[0] };
  // A choice becomes a group of optional alternatives: any one of them is accepted.
  return {
    name: alternatives.join('_OR_'),
    ...shape,
    children: alternatives.map((a) => ({ name: a, optional: true, repeating: false, maxRepeats: 0, segment: a })),
  };
}

// Trigger events of one message type that have one grammar share one structure, named after
// the first of those events: ADT^A01, ADT^A04, ADT^A08 and ADT^A13 -> ADT_A01. The data set
// leaves the software and user-authentication segments out of the events that borrow another
// event's structure, so those two optional segments are not compared, and the structure keeps
// the grammar that has them.
const optionalHeaderSegments = new Set(['SFT', 'UAC']);

function countNodes(children) {
  return children.reduce((n, c) => n + 1 + (c.children ? countNodes(c.children) : 0), 0);
}

function buildStructures(source = data) {
  const byShape = new Map();
  for (const key of Object.keys(source.messages).sort(compareText)) {
    const entry = source.messages[key];
    const match = /^([A-Z0-9]{3})_([A-Z0-9]{3})$/.exec(key);
    const type = match ? match[1] : key;
    const event = match ? match[2] : null;
    const children = entry.segments.segments.map(grammarNode).filter(Boolean);
    const compared = children.filter((c) => !optionalHeaderSegments.has(c.segment));
    const shapeKey = `${type}\u0000${event === null}\u0000${JSON.stringify(compared)}`;
    let structure = byShape.get(shapeKey);
    if (!structure) {
      structure = { name: key, type, events: [], description: plain(entry.desc), children };
      byShape.set(shapeKey, structure);
    } else if (countNodes(children) > countNodes(structure.children)) {
      structure.children = children;
    }
    if (event) structure.events.push(event);
  }
  return [...byShape.values()].sort((a, b) => compareText(a.name, b.name));
}

// The data set lists some trigger events only in later versions although they share a
// structure that this version has too: 2.3.1 names SIU^S12 alone, where 2.4 gives S13 to S26
// the structure of S12. Such an event joins the structure of this version that holds the event
// the later structure is named after, taken from the nearest later bundled version that lists
// it. Returns the events added, as "SIU^S13 (2.4)".
function borrowLaterEvents(structures) {
  const later = bundledVersions.slice(bundledVersions.indexOf(version) + 1);
  const known = new Set(structures.flatMap((s) => s.events.map((e) => `${s.type}_${e}`)));
  const added = [];
  for (const laterVersion of later) {
    for (const other of buildStructures(dictionary.definitions[laterVersion])) {
      const [type, event] = other.name.split('_');
      const holder = structures.find((s) => s.type === type && s.events.includes(event));
      if (!holder || !event) continue;
      for (const missing of other.events) {
        if (known.has(`${type}_${missing}`)) continue;
        known.add(`${type}_${missing}`);
        holder.events.push(missing);
        added.push(`${type}^${missing} (${laterVersion})`);
      }
    }
  }
  for (const structure of structures) structure.events.sort(compareText);
  return added;
}

// ---------------------------------------------------------------- tables

// One table per segment with a column for every component and sub-component of its single
// fields, and one table per repeating field, a row per repeat, with a column for every
// component and sub-component of the field. The table fill reads no deeper than a
// sub-component. A segment's table addresses count from the segment, a field's from the field.
//
// Schema validators check a table's sequence of optional columns in time that grows with the
// cube of its width (xmllint takes seconds for 800 columns), so a segment whose single fields
// would give its table more than maxOwnColumns columns lays its widest composite fields on
// tables of their own too, with one row for the one occurrence.
const maxOwnColumns = 200;

function buildTables(segments, composites) {
  const tables = [];
  for (const segment of segments) {
    if (segment.fields.length === 0) continue;
    const laid = segment.fields.map((field, index) => ({
      field,
      index,
      number: `${segment.name}-${index + segment.firstNumber}`,
      leaves: fieldLeaves(composites.get(field.composite), composites),
      own: field.maxRepeats === 0,
    }));
    let width = laid.filter((f) => f.own).reduce((n, f) => n + f.leaves.length, 0);
    // A VARIES field stays (QPD-3): a table of its own would take each repeat a lenient parse let
    // through as a row, which generation then refuses for a field that may not repeat.
    const movable = laid.filter((f) => f.own && f.leaves.length > 1 && f.field.composite !== variesCode);
    for (const wide of movable.sort((a, b) => b.leaves.length - a.leaves.length)) {
      if (width <= maxOwnColumns) break;
      wide.own = false;
      width -= wide.leaves.length;
    }
    const own = { name: segment.name, description: segment.description, columns: [] };
    const fieldTables = [];
    for (const { field, index, number, leaves, own: onOwn } of laid) {
      if (onOwn) {
        for (const leaf of leaves) {
          own.columns.push(column([field.name, ...leaf.names], number, leaf.path, [index, ...leaf.path]));
        }
        continue;
      }
      fieldTables.push({
        field: index,
        table: {
          name: `${segment.name}_${field.name}`,
          description: `${number} ${field.description}, one row per repeat`,
          columns: leaves.map((leaf) => column(leaf.names.length ? leaf.names : [field.name], number, leaf.path,
            leaf.path.length ? leaf.path : [0])),
        },
      });
    }
    segment.ownTable = own.columns.length ? own.name : null;
    segment.fieldTables = fieldTables.map(({ field, table }) => ({ field, table: table.name }));
    if (own.columns.length) tables.push(own);
    for (const { table } of fieldTables) tables.push(table);
  }
  return tables;
}

function column(names, number, path, address) {
  return {
    name: names.join('_'),
    description: path.length ? `${number}.${path.map((i) => i + 1).join('.')}` : number,
    type: 'String',
    address,
  };
}

// The places of a field's text: { names, path }, where path holds the component and the
// sub-component index. A plain value is the field itself (empty path).
function fieldLeaves(composite, composites) {
  if (composite.fields.length <= 1 && composite.fields.every((f) => f.type !== 'Composite')) {
    return [{ names: [], path: [] }];
  }
  const leaves = [];
  composite.fields.forEach((component, c) => {
    const inner = component.type === 'Composite' ? composites.get(component.composite) : null;
    if (!inner || inner.fields.length === 0) {
      leaves.push({ names: [component.name], path: [c] });
      return;
    }
    inner.fields.forEach((sub, s) => leaves.push({ names: [component.name, sub.name], path: [c, s] }));
  });
  return leaves;
}

// A segment leaf of the table grammar becomes a group of the segment's own table and a table
// per repeating field, all rooted at the segment; a segment without repeating fields stays a
// leaf. Table XML finds a sub-table by its tag among its siblings, the first that matches, so a
// tag that stands twice among siblings (ADT_A24 has two PID) takes a number from its second
// time on: a group is renamed, a leaf is wrapped in a group of that name.
function expandSegmentItems(items, segmentsByName) {
  const seen = new Map();
  const unique = (name) => {
    const count = (seen.get(name) || 0) + 1;
    seen.set(name, count);
    return count === 1 ? name : `${name}${count}`;
  };
  return items.map((item) => {
    if (!item.table) {
      return { ...item, name: unique(item.node.name), children: expandSegmentItems(item.children, segmentsByName) };
    }
    const segment = segmentsByName.get(item.table);
    const name = unique(item.table);
    if (segment.fieldTables.length === 0 && name === item.table) return item;
    const children = [];
    if (segment.ownTable) children.push({ node: item.node, table: segment.ownTable });
    for (const { field, table } of segment.fieldTables) children.push({ node: item.node, table, field });
    return { node: item.node, name, children };
  });
}

// ---------------------------------------------------------------- the file

const configName = `HL7 v${version}`;
const mapSetName = 'AllFields';

function writeDefinition() {
  const composites = buildComposites();
  const { segments, stubCount } = buildSegments();
  flattenComponentOnlyComposites(composites, segments);
  const structures = buildStructures();
  const borrowed = borrowLaterEvents(structures);
  const tables = buildTables(segments, composites);
  const segmentsByName = new Map(segments.map((s) => [s.name, s]));
  const segmentIds = new Map(segments.map((s, i) => [s.name, i]));
  for (const structure of structures) {
    const items = vmd.tableGrammarItems(structure.children, (segment) => segmentsByName.get(segment).fields.length > 0);
    structure.items = expandSegmentItems(items, segmentsByName);
  }
  const w = new vmd.Writer();

  vmd.writeEngineStart(w, {
    strictGrammar: false,
    description: `HL7 v${version}: every message structure, segment and data type of the standard, generated ` +
      `from hl7-dictionary ${packageVersion}; every component of a segment laid out on the segment's table, a ` +
      'repeating field on a table of its own.',
  });
  vmd.writeGlobal(w, tables, structures);

  w.start('config', 'name', configName);
  writeComposites(w, composites);
  const msh = segments.find((s) => s.name === 'MSH');
  const typeParts = composites.get(msh.fields[8].composite).fields.length;
  writeSegments(w, segments, structures.some((s) => s.name === 'ACK') ? replyFunctions(typeParts) : {});
  vmd.writeMatch(w, matchOrder(structures).map((s) => s.name));
  vmd.writeTableConfig(w, tables, mapSetName);
  for (const structure of structures) writeMessageConfig(w, structure, segmentIds);
  writeAppSettings(w, structures);
  w.end('config');
  w.end('engine');

  fs.writeFileSync(outFile, w.text());
  const counts = [version, Object.keys(data.messages).length, structures.length,
    Object.keys(data.segments).length, stubCount, Object.keys(data.fields).length, tables.length, borrowed.length,
    composites.size];
  process.stdout.write(counts.join('\t') + '\n');
}

function writeComposites(w, composites) {
  for (const composite of composites.values()) {
    w.start('composite', 'name', composite.name);
    w.prop('description', composite.description);
    for (const field of composite.fields) vmd.writeCompositeField(w, field);
    w.end('composite');
  }
}

// ---------------------------------------------------------------- acknowledgements

// The configuration names ACK as its acknowledgement message. The engine reads only the header
// of the message it answers and generates ACK from an empty table, with the raw header at hand
// for scripts. The outgoing functions of MSH and MSA make the reply from it: MSH-3's, which runs
// first in every generation, reads the header when it is such a reply, the others take what it
// kept. No incoming function is needed, so parsing costs nothing more. Field k of MSH is field
// index k - 1.
const replyFields = [3, 4, 5, 6, 9, 10, 11, 12];

const replyReader = `# An acknowledgement (ACK) is generated from an empty table while the raw header of the
# message it answers is at hand: then the header's fields are kept here, split into their
# components, for the outgoing functions of MSH and MSA. Any other generation forgets them.
global msgbridge_reply
msgbridge_reply = None
try:
    msgbridge_header = environment.input_segment_iterator() if environment.output_table().count_of_row() == 0 else None
except Exception:
    msgbridge_header = None
if msgbridge_header is not None:
    # The raw header as text with the configured separators: its name, the message's field
    # separator as a field of its own (two empty ones when it is the configured one), MSH-2, ...
    msgbridge_fields = str(msgbridge_header).split(separator_char(environment, 1))
    msgbridge_shift = 1 if len(msgbridge_fields) > msgbridge_header.count_of_field() else 0
    msgbridge_reply = {}
    for msgbridge_index in (${replyFields.join(', ')}):
        msgbridge_at = msgbridge_index + msgbridge_shift
        msgbridge_text = msgbridge_fields[msgbridge_at] if msgbridge_at < len(msgbridge_fields) else ''
        msgbridge_reply[msgbridge_index] = msgbridge_text.split(separator_char(environment, 2))
`;

// The reply's field from the kept fields: "take" is a Python expression over "reply" that gives
// the list of components; empty components are left out.
function replyWriter(what, take, last) {
  return `# ${what}
reply = globals().get('msgbridge_reply')
if reply is not None:
    parts = ${take}
    for index in range(len(parts) - 1, 0, -1):
        if parts[index]:
            setsubfield(environment, index, 0, parts[index])
    if any(parts):
        value = parts[0]
${last ? "    globals()['msgbridge_reply'] = None\n" : ''}`;
}

// The functions of MSH (by field number) and MSA, for a version whose MSH-9 has typeParts components.
function replyFunctions(typeParts) {
  const structure = typeParts > 2 ? ", 'ACK'" : '';
  return {
    MSH: {
      in: {},
      out: {
        3: replyReader + replyWriter('A reply goes back to the sending application...', 'reply[5]'),
        4: replyWriter('... and facility.', 'reply[6]'),
        5: replyWriter('The receiver of a reply is the sending application...', 'reply[3]'),
        6: replyWriter('... and facility of the message.', 'reply[4]'),
        7: replyWriter('A reply is made now.', "[__import__('time').strftime('%Y%m%d%H%M%S')]"),
        9: replyWriter('ACK, with the trigger event of the message.',
          `['ACK', (reply[9] + [''])[1]${structure}]`),
        10: replyWriter('A reply carries the control id of its message.', 'reply[10]'),
        11: replyWriter('A reply is processed as its message is (production, training, debugging).', 'reply[11]'),
        12: replyWriter('A reply is in the version of its message.', 'reply[12]'),
      },
    },
    MSA: {
      in: {},
      out: {
        1: replyWriter('A reply accepts its message.', "['AA']"),
        2: replyWriter('The control id of the message accepted; the last field of the reply.', 'reply[10][:1]', true),
      },
    },
  };
}

function writeSegments(w, segments, functions) {
  segments.forEach((segment, id) => {
    const own = functions[segment.name] || { in: {}, out: {} };
    vmd.writeSegment(w, id, {
      ...segment,
      fields: segment.fields.map((field, index) => ({ ...field, in: own.in[index + 1], out: own.out[index + 1] })),
    });
  });
}

// Structures named by a trigger event are tried first; one that only names a message type
// (ACK) comes after them, so that it takes what no event-specific structure took.
function matchOrder(structures) {
  return [...structures.filter((s) => s.events.length), ...structures.filter((s) => !s.events.length)];
}

// The parsed MSH keeps its field separator as field 0, so MSH-9 is field 8: component 0
// the message type, component 1 the trigger event.
const messageTypeField = 8;

function writeMessageConfig(w, structure, segmentIds) {
  const identifiers = [[`^${structure.type}$`, 0]];
  if (structure.events.length === 1) identifiers.push([`^${structure.events[0]}$`, 1]);
  else if (structure.events.length > 1) identifiers.push([`^(${structure.events.join('|')})$`, 1]);
  vmd.writeMessageConfig(w, {
    name: structure.name,
    ignoreUnknownSegments: true,
    identifiers: identifiers.map(([value, component]) => (
      { segmentRef: segmentIds.get('MSH'), value, address: [messageTypeField, component] })),
    children: structure.children,
    items: structure.items,
    segmentIds,
    mapSetName,
  });
}

function writeAppSettings(w, structures) {
  const ack = structures.find((s) => s.name === 'ACK');
  // Segment, field and repeat, component, sub-component: CR, | and ~, ^, &, with the
  // positions of the delimiters in MSH and the letters of their escapes.
  vmd.writeAppSettings(w, {
    ack_message: ack ? 'ACK' : '', escape_default: 92, escape_escape_char: 69, escape_position: 6,
    stub_file_prefix: 'HL7', preset_config: 'True', header_fields_to_skip: 3, header_segment: 'MSH',
    escape_data_for_xml_to_hl7: 'True',
  }, [
    [13, 0, 0, 0, -1, -1],
    [124, 126, 70, 82, 3, 5],
    [94, 0, 83, 0, 4, -1],
    [38, 0, 84, 0, 7, -1],
  ]);
}

writeDefinition();
