#!/usr/bin/env python3
"""transcript.py FILE [--program NAME=COMMAND]... [--var NAME=VALUE]... [--show]

Runs the commands of a transcript and compares what they print with what the transcript says:

    # A comment; it ends the output that stands before it.
    $ corvixsim --set location=Annex &
    $ curl -s http://$address:$port_80/status.xml |
    > grep Location
    <Location>...</Location>
    $ corvixctl get --device nowhere
    ...
    exit 2

Each command is a bash command of its own, in a scratch folder that all share; both outputs count, and "exit N" unless N
is 0. "..." in a line stands for any text, a line of "..." for any lines, ${NAME} for a variable. A command that ends in
"&" goes on to the end of the transcript: it gets options that make it take free ports and end with its input, says where
it serves in a line "ready NAME=VALUE ..." (variables of the commands after it: $address, $control, $port_80, ...) and
must end with exit code 0. Of FILE.md the blocks fenced as ```console count. --show prints the outputs that came.
"""
import argparse
import difflib
import os
import re
import shlex
import subprocess
import sys
import tempfile

PATIENCE = 100  # seconds after which a command is ended, with exit code 124


def read_steps(path):
    """The commands with the outputs expected, and the comments between them with no command."""
    lines = open(path, encoding="utf-8").read().split("\n")
    if path.endswith(".md"):
        fenced, marked = False, []
        for line in lines:
            fenced = line == "```console" or (fenced and not line.startswith("```"))
            marked.append(line if fenced and line != "```console" else "# " + line)
        lines = marked
    steps = []
    for line in lines:
        if line.startswith("$ "):
            steps.append([line[2:], []])
        elif line.startswith("> ") and steps and not steps[-1][1] and steps[-1][0]:
            steps[-1][0] += "\n" + line[2:]
        elif line.startswith("#") or not steps:
            steps.append([None, [line]])
        else:
            steps[-1][1].append(line)
    return steps


def strip_end(lines):
    while lines and not lines[-1]:
        lines = lines[:-1]
    return lines


def pattern(lines):
    return "".join("(?:.*\n)*?" if line == "..." else
                   ".*".join(map(re.escape, line.split("..."))) + "\n" for line in lines)


def differences(expected, actual):
    """A readable diff: a line with "..." counts as the line that it stands for."""
    same = [next((a for a in actual if "..." in e and e != "..." and re.fullmatch(pattern([e]), a + "\n")), e)
            for e in expected]
    return "\n".join(list(difflib.unified_diff(same, actual, "expected", "actual", lineterm="", n=99))[2:])


class Transcript:
    def __init__(self, scratch, options):
        self.scratch, self.running = scratch, []
        self.environment = dict(os.environ, LC_ALL="C.UTF-8", **dict(v.split("=", 1) for v in options.var))
        programs = os.path.join(scratch, ".programs")
        os.mkdir(programs)
        for name, command in (program.split("=", 1) for program in options.program):
            with open(os.path.join(programs, name), "w", encoding="utf-8") as script:
                script.write(f'#!/bin/sh\nexec {command} "$@"\n')
            os.chmod(script.name, 0o755)
        self.environment["PATH"] = programs + ":" + self.environment["PATH"]

    def start(self, command, **streams):
        return subprocess.Popen(command, cwd=self.scratch, env=self.environment, text=True, encoding="utf-8",
                                errors="replace", stdout=subprocess.PIPE, **streams)

    def run(self, command):
        if command.endswith("&"):
            return self.serve(command[:-1].strip())
        process = self.start(["timeout", str(PATIENCE), "bash", "-c", command], stdin=subprocess.DEVNULL,
                             stderr=subprocess.STDOUT)
        lines = strip_end(process.communicate()[0].replace("\r\n", "\n").split("\n"))
        return lines + ["exit %d" % process.returncode] * (process.returncode != 0)

    def serve(self, command):
        errors = tempfile.TemporaryFile("w+", dir=self.scratch)
        process = self.start(["bash", "-c", "exec " + command + " --until-eof --port-base 0"], stdin=subprocess.PIPE,
                             stderr=errors)
        self.running.append((command, process, errors))
        ready = process.stdout.readline()
        if not ready.startswith("ready "):
            return ["(not ready: %s)" % ready.strip()]
        for name, value in (word.split("=", 1) for word in shlex.split(ready)[1:]):
            self.environment[name.replace("-", "_")] = value
            for port in value.split(",") if name == "port-map" else []:
                self.environment["port_" + re.match(r"\d+", port)[0]] = port.split("=")[1]
        return []

    def end(self):
        """Ends what still runs; what it said where that went wrong."""
        faults = []
        for command, process, errors in self.running:
            process.communicate()
            errors.seek(0)
            said = errors.read()
            if process.wait() != 0 or said:
                faults.append("$ %s &\n%s(ended with exit code %d)" % (command, said, process.returncode))
        return faults


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("file")
    parser.add_argument("--show", action="store_true")
    for name in ("bin", "program", "var", "before"):
        parser.add_argument("--" + name, action="append", default=[])
    options = parser.parse_args()
    faults = []
    with tempfile.TemporaryDirectory(prefix="transcript-") as scratch:
        transcript = Transcript(scratch, options)
        for command, written in [[command, ["..."]] for command in options.before] + read_steps(options.file):
            actual = transcript.run(command) if command is not None else written
            if actual[-1:] == ["exit 77"]:
                transcript.end()
                sys.exit(77)
            expected = [re.sub(r"\$\{(\w+)\}", lambda name: transcript.environment.get(name[1], name[0]), line)
                        for line in strip_end(written)]
            fits = re.fullmatch(pattern(expected), "".join(line + "\n" for line in strip_end(actual)))
            if command is not None and not fits:
                faults.append("$ %s\n%s" % (command, differences(expected, actual)))
            if options.show:
                shown = written if fits else actual + [""] * (len(written) - len(expected))
                print("\n".join((["$ " + command.replace("\n", "\n> ")] if command is not None else []) + shown))
        faults += transcript.end()
    sys.stdout.flush()
    print("\n\n".join(faults), file=sys.stderr)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
