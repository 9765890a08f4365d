#!/usr/bin/env python3
# compare.py MAP REPORTED GOT: every item of a map, as "corvixctl get --format json" printed it to GOT, beside what
# ipptool reports of the item's attribute, NAME<tab>TEXT a line of REPORTED.
import json
import sys
import xml.etree.ElementTree as ElementTree

# What the map makes of the values of this printer that it converts.
converted = {
    'status.state': 'idle', 'status.attention': 'no', 'status.accepting': 'yes', 'supply.levels': '61,-3',
    'print.color': 'yes', 'print.duplex': 'yes', 'print.default-quality': 'normal',
    'print.default-orientation': 'portrait',
}
unsupported = {'counter.total', 'device.geo-location', 'device.organization', 'status.alert-descriptions', 'status.alerts'}

reported = dict(line.rstrip('\n').split('\t', 1) for line in open(sys.argv[2], encoding='utf-8'))
items = {item.get('Name'): item for item in ElementTree.parse(sys.argv[1]).getroot().find('IPPDataMap') if item.get('Name')}
expected = {name: (item.text or '').strip() or converted.get(name) or reported.get(item.get('AttributeID')) or None
            for name, item in items.items()}
got = {item['name']: item['value'] for item in json.load(open(sys.argv[3], encoding='utf-8'))['items']}
running = [name for name, item in items.items() if item.get('AttributeID') == 'printer-up-time']
for name in running:  # time goes on between the two readings
    if int(got[name]) >= int(expected[name]):
        got[name] = expected[name]
different = [name for name in {**expected, **got} if expected.get(name) != got.get(name)]
for name in different:
    print(f'{name}: expected {expected.get(name)!r}, not {got.get(name)!r}')
absent = {name for name, value in expected.items() if value is None}
print(f'{len(expected)} values, {len(different)} of them different, not supported: {absent}')
sys.exit(bool(different) or absent != unsupported or len(expected) < 60)
