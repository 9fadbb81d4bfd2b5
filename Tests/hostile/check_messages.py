#!/usr/bin/env python3
"""Reads what kx_hostile writes to its standard output, and judges every document by a parser that is not ours.

    check_messages.py SEED < frames
    check_messages.py --self-test

A document must be UTF-16 without a lone surrogate and well-formed XML 1.0 (Expat), with one of the two roots
that the agent knows and no document type; hold the healthy GPO's policy once, unless it is a migration command;
and hold nothing of the files outside of the GPOs, nor of a file that declares a document type.
"""
import re
import struct
import sys
import xml.parsers.expat

FRAME = struct.Struct('<IQI')
FORBIDDEN = {'nightingale-5f1c': 'a file outside of the GPO',
             'mockingbird-77aa': 'a file with a document type'}
SENTINEL = 'sentinel-stands'

# Expat knows the names of XML 1.0's first four editions, the parser under Wine those of the fifth. What the fifth
# has added is spelt in ASCII before a second try.
NAME_START = ('\\xC0-\\xD6\\xD8-\\xF6\\xF8-\\u02FF\\u0370-\\u037D\\u037F-\\u1FFF\\u200C-\\u200D\\u2070-\\u218F'
              '\\u2C00-\\u2FEF\\u3001-\\uD7FF\\uF900-\\uFDCF\\uFDF0-\\uFFFD\\U00010000-\\U000EFFFF')
FIFTH_EDITION = re.compile(f'[{NAME_START}]|[\\xB7\\u0300-\\u036F\\u203F-\\u2040]')


def in_ascii(text):
    def spelt(match):
        starts = re.match(f'[{NAME_START}]', match.group())
        return ('u' if starts else '-') + format(ord(match.group()), 'x')
    return FIFTH_EDITION.sub(spelt, text)


class Document:
    """What one document says: its root, its policies, and every text in it."""

    def __init__(self, text):
        self.root = None
        self.sentinels = 0
        self.gpos = 0
        self.texts = []
        self.has_doctype = False
        parser = xml.parsers.expat.ParserCreate('utf-8')
        parser.buffer_text = True
        parser.StartElementHandler = self._element
        parser.CharacterDataHandler = self.texts.append
        parser.CommentHandler = self.texts.append
        parser.ProcessingInstructionHandler = lambda target, data: self.texts.extend((target, data))
        parser.StartDoctypeDeclHandler = self._doctype
        parser.Parse(text.encode('utf-8'), True)

    def _element(self, name, attributes):
        self.root = self.root or name
        self.sentinels += name == 'Policy' and attributes.get('name') == SENTINEL
        self.gpos += name == 'Policies'
        self.texts.append(name)
        for attribute in attributes.items():
            self.texts.extend(attribute)

    def _doctype(self, *_):
        self.has_doctype = True


def fault(payload):
    """Why the document is wrong, or None; and what it is."""
    try:
        text = payload.decode('utf-16-le')
        try:
            document = Document(text)
        except xml.parsers.expat.ExpatError:
            text = in_ascii(text)
            document = Document(text)
    except UnicodeDecodeError as error:
        return f'no UTF-16: {error.reason}', None
    except xml.parsers.expat.ExpatError as error:
        line = text.split('\n')[error.lineno - 1]
        around = line[max(0, error.offset - 60):error.offset + 60]
        return f'not well-formed: {error}, in {around!a}', None
    if document.has_doctype:
        return 'a document type', document
    whole = '\0'.join(document.texts)
    for token, source in FORBIDDEN.items():
        if token in whole or token in text:
            return f'something of {source}', document
    if document.root == 'AgentParameters':
        return None, document
    if document.root != 'GPUpdate':
        return f'the root {document.root}', document
    if document.sentinels != 1:
        return f'the healthy GPO is there {document.sentinels} times', document
    return None, document


def read(size):
    data = sys.stdin.buffer.read(size)
    return data if len(data) == size else None


SELF_TEST = [  # document, whether it is faulty
    ('<GPUpdate><Policy name="sentinel-stands"/></GPUpdate>', False),
    ('<AgentParameters/>', False),
    ('<GPUpdate><Policy name="sentinel-stands"/><\U0001f600/></GPUpdate>', False),
    ('<GPUpdate><Policy name="sentinel-stands"/><\U0001f600></\U0001f601></GPUpdate>', True),
    ('<GPUpdate/>', True),
    ('<GpUpdate/>', True),
    ('<AgentParameters a="1" a="2"/>', True),
    ('<AgentParameters xmlns:a="<"/>', True),
    ('<AgentParameters>\ud800</AgentParameters>', True),
    ('<AgentParameters>\x01</AgentParameters>', True),
    ('<AgentParameters>&e;</AgentParameters>', True),
    ('<AgentParameters/>\0', True),
    ('<!DOCTYPE x><AgentParameters/>', True),
    ('<AgentParameters>nightingale-5f1c</AgentParameters>', True),
    ('<AgentParameters>nightin&#103;ale-5f1c</AgentParameters>', True),
    ('<AgentParameters a="mocking&#x62;ird-77aa"/>', True),
    ('', True),
]


def self_test():
    wrong = [text for text, faulty in SELF_TEST
             if (fault(text.encode('utf-16-le', 'surrogatepass'))[0] is not None) != faulty]
    for text in wrong:
        print(f'FAILED: misjudged {text!a}')
    return 1 if wrong else 0


def main():
    if sys.argv[1] == '--self-test':
        return self_test()
    seed = sys.argv[1]
    running = None
    counts = {'documents': 0, 'migrations': 0, 'taken': 0, 'faults': 0}
    while True:
        head = read(FRAME.size)
        if head is None:
            print(f'FAILED case {running} of seed {seed}: the program ended in it\n'
                  f'  replay: ./kx hostile --seed {seed} --only {running}')
            return 1
        kind, number, size = FRAME.unpack(head)
        if chr(kind) == 'E':
            break
        running = number
        payload = read(size)
        if chr(kind) != 'M' or payload is None:
            continue
        why, document = fault(payload)
        counts['documents'] += 1
        if document:
            counts['migrations'] += document.root == 'AgentParameters'
            counts['taken'] += document.gpos > 1
        if why:
            counts['faults'] += 1
            print(f'FAILED case {number} of seed {seed}: {why}\n'
                  f'  replay: ./kx hostile --seed {seed} --only {number}')
    print('{documents} documents checked, {faults} faulty; {taken} took policies of a mutated GPO, '
          '{migrations} are migration commands'.format(**counts))
    return 1 if counts['faults'] or not counts['documents'] else 0


if __name__ == '__main__':
    sys.exit(main())
