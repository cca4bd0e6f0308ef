#!/usr/bin/python3
"""Reads one JSON text a line and writes what the pattern matches in it as one JSON array a line: sorted, each once."""
import json
import re
import sys

PATTERN = re.compile(r'''/(?:[^\n\r\"']+?)\.(?:jpe?g|png|webp|gif|mp4|mov|m4v|webm)''', re.IGNORECASE | re.ASCII)

with open(sys.argv[1], encoding='utf-8') as texts, open(sys.argv[2], 'w', encoding='utf-8') as matches:
    for line in texts:
        found = {match.strip() for match in PATTERN.findall(json.loads(line))}
        # By bytes, which is the order of code points and not that of any language.
        matches.write(json.dumps(sorted(found, key=lambda path: path.encode('utf-8'))) + '\n')
