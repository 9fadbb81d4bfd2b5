// The message as an agent reads it: a 32-bit little-endian length, then that many bytes of UTF-16LE that end
// in a NUL.
"use strict";

const assert = require("node:assert/strict");

const lengthSize = 4;

/** The document in a whole message; throws where a byte is not as agreed. */
function decodeMessage(message) {
  assert.ok(message.length >= lengthSize, `a message of ${message.length} bytes has no length`);
  const size = message.readUInt32LE(0);
  assert.equal(message.length, lengthSize + size, "the length prefix counts every byte behind it");
  assert.equal(size % 2, 0, "UTF-16 has an even number of bytes");
  const text = new TextDecoder("utf-16le", { fatal: true, ignoreBOM: true }).decode(message.subarray(lengthSize));
  assert.equal(text.indexOf("\0"), text.length - 1, "one NUL, at the end");
  assert.notEqual(text.charCodeAt(0), 0xfeff, "no byte-order mark");
  return text.slice(0, -1);
}

module.exports = { decodeMessage };
