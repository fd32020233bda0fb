// The parts of a version-one definition (.vmd) that both definition generators write alike,
// in exactly the layout the engine's saver produces, so that a load and a save of a generated
// file give the same bytes back. The generators keep what they model differently.
'use strict';

function escapeData(text) {
  return text.replace(/[&<>"']/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&apos;' })[c]);
}

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
  // A script, as the saver writes it: one CDATA section, nothing for no script.
  code(name, text) {
    this.lines.push(`${this.indent()}<${name}>${text ? `<![CDATA[${text}]]>` : ''}</${name}>`);
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

// Opens <engine> and writes its properties; the caller closes it.
function writeEngineStart(w, { strictGrammar, description }) {
  w.start('engine', 'version', '1.0');
  w.flag('strict_grammar_checking', strictGrammar);
  w.flag('java_use_native_double', false);
  w.flag('use_passthrough_mapping', false);
  w.index('current_config', 0);
  w.index('incoming_config', 0);
  w.index('outgoing_config', 0);
  w.prop('vmd_description', description);
  w.flag('use_dotnet_properties', true);
}

// The global part: tables of { name, description, columns: [{ name, description, type }] } and
// messages of { name, description, items } (items from tableGrammarItems).
function writeGlobal(w, tables, messages) {
  w.start('global', 'name', 'global');
  for (const table of tables) {
    w.start('table', 'name', table.name);
    w.prop('description', table.description);
    w.index('action', 1);
    for (const column of table.columns) {
      w.start('column', 'name', column.name);
      w.prop('description', column.description);
      w.prop('type', column.type);
      w.end('column');
    }
    w.end('table');
  }
  for (const message of messages) {
    w.start('message', 'name', message.name);
    w.prop('description', message.description);
    writeTableGrammar(w, message.name, message.items, (item) => w.prop('table_ref', item.table));
    w.end('message');
  }
  w.end('global');
}

// The table grammar mirrors the message grammar: a group per group, a table per segment that
// has a table. A group left without tables is dropped.
function tableGrammarItems(children, hasTable) {
  const result = [];
  for (const node of children) {
    if (node.segment) {
      if (hasTable(node.segment)) result.push({ node, table: node.segment });
    } else {
      const sub = tableGrammarItems(node.children, hasTable);
      if (sub.length) result.push({ node, children: sub });
    }
  }
  return result;
}

// A table grammar rooted at a group called name. "before" writes what an item carries ahead of
// its type, "detail" what a table carries after it. A group item is named after its node unless
// it names itself.
function writeTableGrammar(w, name, items, detail, before) {
  const walk = (list) => {
    for (const item of list) {
      w.start('table_grammar', 'name', item.table || item.name || item.node.name);
      if (before) before(item);
      w.prop('type', item.table ? 'table' : 'group');
      if (item.table) detail(item);
      else walk(item.children);
      w.end('table_grammar');
    }
  };
  w.start('table_grammar', 'name', name);
  w.prop('type', 'group');
  walk(items);
  w.end('table_grammar');
}

// A component of a composite: { name, maxLength, required, restricted, type, composite?, dateTime? }.
function writeCompositeField(w, field) {
  w.start('field', 'name', field.name);
  w.index('max_length', field.maxLength);
  w.flag('is_required', field.required);
  w.flag('is_length_restricted', field.restricted);
  w.prop('data_type', field.type);
  if (field.type === 'Composite') w.prop('composite_ref', field.composite);
  if (field.type === 'DateTime') w.prop('datetime_ref', field.dateTime);
  w.end('field');
}

// A segment of the configuration: { name, description, fields: [{ name, maxRepeats, required,
// composite, in?, out? }] }, where in and out are the field's scripts, if any.
function writeSegment(w, id, segment) {
  w.start('segment', 'id', id);
  w.prop('name', segment.name);
  w.prop('description', segment.description);
  w.flag('has_delimiters', true);
  for (const field of segment.fields) {
    w.start('field', 'name', field.name);
    w.index('max_repeats', field.maxRepeats);
    w.flag('is_required', field.required);
    w.index('width', -1);
    w.code('in_equation', field.in);
    w.code('out_equation', field.out);
    w.prop('composite_ref', field.composite);
    w.end('field');
  }
  w.end('segment');
}

function writeMatch(w, names) {
  w.start('match');
  for (const name of names) w.prop('msg', name);
  w.end('match');
}

// The tables of the configuration: every column mapped by one map set to its { address }.
function writeTableConfig(w, tables, mapSetName) {
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
}

// A message of the configuration. identifiers: [{ segmentRef, value, address }]; children: the
// grammar below the root, nodes of { name, optional, repeating, maxRepeats?, segment | children };
// items: tableGrammarItems of those same nodes; a table item may name a field of its segment.
function writeMessageConfig(w, { name, ignoreUnknownSegments, identifiers, children, items, segmentIds, mapSetName }) {
  w.start('message', 'name', name);
  w.flag('ignore_unknown_segments', ignoreUnknownSegments);
  w.flag('ignore_segment_order', false);
  w.prop('in_equation', '');
  w.prop('out_equation', '');
  for (const identifier of identifiers) {
    w.start('identifier');
    w.index('segment_ref', identifier.segmentRef);
    w.prop('value', identifier.value);
    w.address(identifier.address);
    w.end('identifier');
  }
  w.start('segment_list_function_hook');
  w.prop('name', '');
  w.prop('module', '');
  w.end('segment_list_function_hook');

  // Ids are positions in a pre-order walk, as the saver numbers them.
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
    w.index('max_repeats', node.maxRepeats || 0);
    if (node.segment) {
      w.prop('type', 'segment');
      w.index('segment_ref', segmentIds.get(node.segment));
    } else {
      w.prop('type', 'group');
      node.children.forEach(writeNode);
    }
    w.end('message_grammar');
  };
  writeNode({ name, optional: false, repeating: false, maxRepeats: 0, children });
  w.index('grammar_root_ref', 0);
  writeTableGrammar(w, name, items, (item) => {
    // A table rooted at a field of its segment has a row per repeat of that field.
    w.index('grammar_field_index', item.field === undefined ? -1 : item.field);
    w.prop('mapset_ref', mapSetName);
  }, (item) => w.index('grammar_root_ref', ids.get(item.node)));
  w.end('message');
}

// The application settings in the saver's order, with the defaults both formats share; a
// generator names what differs for its format.
const appSettingDefaults = [
  ['ack_message', ''], ['eom_char', 0], ['octal_escape_char', 48], ['escape_default', 0],
  ['escape_escape_char', 0], ['escape_position', -1], ['stub_file_dir', 'c:\\temp'], ['stub_file_language', ''],
  ['stub_file_prefix', ''], ['output_trailing_separators', 'False'], ['parse_separator_chars', 'True'],
  ['lowest_unescaped_char', 32], ['highest_unescaped_char', 255], ['preset_config', 'False'],
  ['main_equation', ''], ['postprocess_equation', ''], ['main_out_equation', ''], ['postprocess_out_equation', ''],
  ['output_segment_line_feed', 'False'], ['xml_delimiter', 46], ['xml_translation_type', 'TABLE - Long Tags'],
  ['use_segment_checker3', 'False'], ['xml_schema_single_file', 'True'], ['header_fields_to_skip', 0],
  ['disable_untyped_tree_in_exception', 'False'], ['maximum_repeat_mapping_limit', 2],
  ['database_equation_on', 'False'], ['disable_python_none', 'True'], ['header_segment', ''],
  ['last_message_matches_all', 'False'], ['parser_version', 2], ['escape_data_for_xml_to_hl7', 'False'],
  ['validate_data_for_xml_to_hl7', 'True'],
];

// settings: the values that differ from the defaults, by name. separatorLevels: one row per
// level, outermost first, of [separator, repeat separator, separator escape, repeat escape,
// separator position, repeat position].
function writeAppSettings(w, settings, separatorLevels) {
  const known = new Set(appSettingDefaults.map(([name]) => name));
  for (const name of Object.keys(settings)) {
    // A misspelt name would silently leave the default in the file.
    if (!known.has(name)) throw new Error(`no application setting ${name}`);
  }
  w.start('app_settings');
  for (const [name, value] of appSettingDefaults) w.prop(name, name in settings ? settings[name] : value);
  for (const level of separatorLevels) {
    w.start('separator_info');
    ['sep_char_default', 'repeat_char_default', 'sep_char_escape', 'repeat_char_escape', 'sep_char_position',
      'repeat_char_position'].forEach((name, i) => w.prop(name, level[i]));
    w.end('separator_info');
  }
  w.end('app_settings');
}

module.exports = {
  Writer,
  writeEngineStart,
  writeGlobal,
  tableGrammarItems,
  writeCompositeField,
  writeSegment,
  writeMatch,
  writeTableConfig,
  writeMessageConfig,
  writeAppSettings,
};
