// A peer for compare.sh: parses every message of a log with one npm HL7 v2 parser and reads
// PID-3 and PID-5, the way a user of that parser would.  Prints "messages seconds" for the
// parse loop alone.  Usage: node peer_node.js medplum|hl7-standard LOG [MODULE_DIR]
'use strict';
const fs = require('fs');
const path = require('path');

const [kind, logPath, moduleDir] = process.argv.slice(2);
const load = (name) => require(moduleDir ? path.join(moduleDir, 'node_modules', name) : name);

const parsers = {
  medplum() {
    const { Hl7Message } = load('@medplum/core');
    return (text) => {
      const pid = Hl7Message.parse(text).getSegment('PID');
      return (pid.getField(3).toString().length + pid.getField(5).toString().length) > 0;
    };
  },
  'hl7-standard'() {
    const HL7 = load('hl7-standard');
    return (text) => {
      const message = new HL7(text);
      message.transform();
      return (String(message.get('PID.3')).length + String(message.get('PID.5')).length) > 0;
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
  console.error(`only ${seen} of ${messages.length} messages gave PID-3 and PID-5`);
  process.exit(1);
}
console.log(`${messages.length} ${seconds.toFixed(6)}`);
