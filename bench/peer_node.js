// A peer for compare.sh: parses every message of a log with one npm HL7 v2 parser, reads
// MSH-9, PID-3 and PID-5 and writes the message back to text, the way a user of that parser
// would.  Prints "messages seconds" for the parse loop alone.
// Usage: node peer_node.js hl7parser|medplum|hl7-standard LOG [MODULE_DIR]
'use strict';
const fs = require('fs');
const path = require('path');

const [kind, logPath, moduleDir] = process.argv.slice(2);
const load = (name) => require(moduleDir ? path.join(moduleDir, 'node_modules', name) : name);

// Each returns true when the three fields were there and the message came back as text.
const parsers = {
  hl7parser() {
    const hl7parser = load('hl7parser');
    return (text) => {
      const message = hl7parser.create(text);
      const read = message.get('MSH.9').toString().length + message.get('PID.3').toString().length +
                   message.get('PID.5').toString().length;
      return read > 0 && message.toRaw().length > 0;
    };
  },
  medplum() {
    const { Hl7Message } = load('@medplum/core');
    return (text) => {
      const message = Hl7Message.parse(text);
      const pid = message.getSegment('PID');
      // MSH counts its field separator as field 1, so the message type is field 9 here as well.
      const read = message.getSegment('MSH').getField(9).toString().length + pid.getField(3).toString().length +
                   pid.getField(5).toString().length;
      return read > 0 && message.toString().length > 0;
    };
  },
  'hl7-standard'() {
    const HL7 = load('hl7-standard');
    return (text) => {
      const message = new HL7(text);
      message.transform();
      const read = String(message.get('MSH.9')).length + String(message.get('PID.3')).length +
                   String(message.get('PID.5')).length;
      return read > 0 && message.build().length > 0;
    };
  },
};

const parse = parsers[kind]();
const messages = fs.readFileSync(logPath, 'latin1').split('\r\n').filter((m) => m.length > 0);
const start = process.hrtime.bigint();
let seen = 0;
for (const message of messages) if (parse(message)) ++seen;
const seconds = Number(process.hrtime.bigint() - start) / 1e9;
if (seen !== messages.length) {
  console.error(`only ${seen} of ${messages.length} messages gave MSH-9, PID-3, PID-5 and their text`);
  process.exit(1);
}
console.log(`${messages.length} ${seconds.toFixed(6)}`);
