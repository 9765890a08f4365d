#!/usr/bin/env python3
# objects.py FILE: answers snmpd's pass_persist requests from the objects of a file. What is set is kept in memory.
import bisect
import sys

objects = {}
for line in open(sys.argv[1], encoding='utf-8'):
    if line.startswith('.'):
        column, kind, rows = line.rstrip('\n').split(' ', 2)
        for row in rows.split('|'):
            index, value = row.split('=', 1)
            objects[tuple(map(int, f'{column[1:]}.{index}'.split('.')))] = (kind, value)
names = sorted(objects)


def answer(name):
    kind, value = objects[name]
    return '.' + '.'.join(map(str, name)) + f'\n{kind}\n{value}'


def respond(command, ask):
    if command == 'PING':
        return 'PONG'
    name = tuple(map(int, ask()[1:].split('.')))
    if command == 'set':
        kind, value = ask().split(' ', 1)
        if name not in objects:
            return 'not-writable'
        if kind != objects[name][0]:
            return 'wrong-type'
        objects[name] = kind, value.strip('"')
        return 'DONE'
    if command == 'getnext':
        name = next(iter(names[bisect.bisect_right(names, name):]), None)
    return answer(name) if name in objects else 'NONE'


for line in sys.stdin:
    if line.strip():  # one that is empty follows the value of a set
        print(respond(line.strip(), lambda: sys.stdin.readline().strip()), flush=True)
