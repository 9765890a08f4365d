#!/usr/bin/env python3
# compare.py MAP WALKED GOT: every item of a map, as "corvixctl get --format json" printed it to GOT, beside what
# net-snmp's tools printed to WALKED.
import json
import re
import sys
import xml.etree.ElementTree as ElementTree


PHYSICAL_ADDRESS = (1, 3, 6, 1, 2, 1, 2, 2, 1, 6)


def value_of(oid, text):
    kind, _, rest = text.partition(': ')
    if kind == 'OID':
        return rest[1:]
    if kind == 'Hex-STRING' or text == '""':
        octets = bytes.fromhex(rest)
        control = any(octet < 32 or octet == 127 for octet in octets)
        shown_as_bytes = control or oid[:len(PHYSICAL_ADDRESS)] == PHYSICAL_ADDRESS
        return octets.hex(' ').upper() if shown_as_bytes else octets.decode()
    number = int(rest or kind) & 0xFFFFFFFF  # a VARIANT's 32 bits, which have a sign
    return number - (number >> 31 << 32)


lines = open(sys.argv[2]).read().replace('\n.', '\0.').split('\0')
objects = {}
for name, _, text in (line.replace('\n', '').partition(' = ') for line in lines):
    oid = tuple(map(int, name[1:].split('.')))
    objects[oid] = value_of(oid, text)
items = list(ElementTree.parse(sys.argv[1]).getroot().find('OIDDataMap'))


def read(oid):
    return objects.get(tuple(map(int, oid.split('.'))))


def converted(item, value):
    for rule in item.findall('Conversion'):
        if rule.get('Equals').lower() == str(value).lower():
            return rule.get('Value')
    return value


def expected_of(item):
    name, oid = item.get('Name'), item.get('OID')
    if item.tag == 'StaticDataItem':
        return {name: item.text}
    if item.get('GroupID'):
        group = [other.get('OID') for other in items if other.get('GroupID') == item.get('GroupID')]
        return {name: converted(item, ','.join(str(read(member)) for member in group))}
    if item.tag == 'NextDataItem':
        column = tuple(map(int, oid.split('.')))
        values = [objects[key] for key in sorted(objects) if key[:len(column)] == column]
        return {f'{name}.{i:03}': converted(item, value) for i, value in enumerate(values, 1)}
    if item.tag == 'GetDataItems':
        elements, number = {}, int(item.get('N'))
        while (value := read(re.sub('N$', str(number), oid))) is not None:
            elements[f'{name}.{len(elements):03}'] = value
            number += 1
        return elements
    return {name: converted(item, read(oid))}


expected = {name: value for item in items for name, value in expected_of(item).items()}
got = {item['name']: item['value'] for item in json.load(open(sys.argv[3], encoding='utf-8'))['items']}
# Time goes on between the two readings of a running clock.
if got.get('device-uptime', -1) >= expected['device-uptime']:
    got['device-uptime'] = expected['device-uptime']
different = [name for name in {**expected, **got} if expected.get(name) != got.get(name)]
for name in different:
    print(f'{name}: expected {expected.get(name)!r}, not {got.get(name)!r}')
print(f'{len(expected)} values, {len(different)} of them different')
sys.exit(bool(different) or len(expected) < 100)
