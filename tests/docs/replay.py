#!/usr/bin/python3
"""Runs a document: what it shows of a terminal must be what happens.

    replay.py [--record] --agent PROGRAM --source FOLDER --not-run FILE [--path FOLDER]... DOCUMENT

A block with the fence ```console is a terminal. A line that begins with "$ " is a command, continued on the next line
after a trailing backslash; the lines after it are what it prints, on stdout and stderr together. In them a line
"..." stands for any number of lines, and "…" or a name in angle brackets inside a line, as in <pid>, for any text. A
command that fails must be followed by `echo $?`, so that no failure passes unseen. Runs of blanks are all alike.

The switch carries requests out a moment later. So a command that only looks (LOOKS, below) is repeated for a while
until it prints what it should.

A block whose fence has a name after the language, as in ```python client.py, is written to a file of that name.

A block with the fence ```sh holds what cannot be run here: each of its lines must stand in the file of --not-run, which
is kept short and whose lines other tests run (those of packages, or make). Blocks of other languages are shown only;
one without a language is an error, for nobody could tell what becomes of it.

A document is one session of bash in an empty folder. Links there stand for the project's folders `proto` and
`examples`. An agent of its own serves it, in memory, at the address in VELMCTL_ADDRESS, so that documents can be run
beside each other. Further agents that a document starts listen on Unix sockets in the folder, in the background with
their stderr in a file, and end with the session.

With --record the document is rewritten with what was printed where that does not match.
"""
import argparse
import difflib
import os
import re
import select
import signal
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass, field
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[1] / "support"))
from agent import Agent  # noqa: E402

DEADLINE = 60  # seconds for each command
LOOKS = re.compile(r"velmctl (-\S+ |--output \S+ )*(show |[a-z]+ list)|(cat|grep|tail|sort) ")
LOOKING = 10  # seconds for what a command that looks is to see
SHOWN_ONLY = {"text", "json", "cpp", "cmake", "proto", "ini", "go", "java", "rust", "python"}


@dataclass
class Command:
    text: str
    first: int  # index of the line after the command
    expected: list = field(default_factory=list)


@dataclass
class File:
    name: str
    text: str


class Mistake(Exception):
    """The document itself is wrong."""


# ---- The document


def blocks(lines):
    """The fenced blocks: (info string, index of the first line inside, lines)."""
    start = None
    for i, line in enumerate(lines):
        if start is None and line.startswith("```"):
            info, start = line[3:].strip(), i + 1
        elif start is not None and line.strip() == "```":
            yield info, start, lines[start:i]
            start = None
    if start is not None:
        raise Mistake(f"line {start}: the block is never closed")


def commands(first, lines):
    continued = False
    command = None
    for i, line in enumerate(lines, first):
        if continued:
            command.text += "\n" + line
            command.first = i + 1
        elif line.startswith("$ "):
            command = Command(line[2:], i + 1)
            yield command
        elif command is None:
            raise Mistake(f"line {i + 1}: a terminal begins with a command")
        else:
            command.expected.append(line)
            continue
        continued = line.endswith("\\")


def steps(lines, not_run):
    """What is to be done for a document, in order."""
    for info, first, body in blocks(lines):
        language, _, name = info.partition(" ")
        if language == "console":
            yield from list(commands(first, body))
        elif language == "sh":
            for line in body:
                if line.strip() not in not_run:
                    raise Mistake(f"line {first}: '{line.strip()}' is neither run here nor elsewhere")
        elif name:
            yield File(name, "\n".join(body) + "\n")
        elif language not in SHOWN_ONLY:
            raise Mistake(f"line {first}: a block of '{language}'")


def matches(expected, printed):
    if not expected:
        return not printed
    if expected[0] == "...":
        return any(matches(expected[1:], printed[i:]) for i in range(len(printed) + 1))
    return bool(printed) and line_matches(expected[0], printed[0]) and matches(expected[1:], printed[1:])


def line_matches(expected, printed):
    parts = re.split(r"…|<[a-z][a-z ]*>", " ".join(expected.split()))
    return re.fullmatch(".*".join(map(re.escape, parts)), " ".join(printed.split())) is not None


# ---- The session


class Session:
    """One bash, given its commands one by one."""

    def __init__(self, folder, environment):
        script, self.script = os.pipe()
        self.bash = subprocess.Popen(
            ["bash", "--norc", f"/dev/fd/{script}"], cwd=folder, env=environment, pass_fds=[script],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
        os.close(script)
        self.mark = f"replay-{os.getpid()}"
        self.printed = b""  # and not yet given out

    def run(self, command):
        """(What it printed as lines, its status)."""
        text = f"{command}\nreplay=$?; printf '%s %s.\\n' {self.mark} $replay; (exit $replay)\n"
        os.write(self.script, text.encode())
        end = time.monotonic() + DEADLINE
        while not (mark := re.search(rf"{self.mark} (\d+)\.\n".encode(), self.printed)):
            readable, _, _ = select.select([self.bash.stdout], [], [], max(0, end - time.monotonic()))
            got = os.read(self.bash.stdout.fileno(), 65536) if readable else b""
            if not got:
                raise Mistake(f"'{command}' {'ended the session' if readable else 'goes on for ever'}:\n"
                              + self.printed.decode(errors="replace"))
            self.printed += got
        output, self.printed = self.printed[: mark.start()], self.printed[mark.end() :]
        return output.decode(errors="replace").splitlines(), int(mark[1])

    def end(self):
        """With all that it started."""
        os.killpg(self.bash.pid, signal.SIGKILL)
        self.bash.wait()


def environment(options, address):
    path = os.pathsep.join([*options.path, os.path.dirname(options.agent), "/usr/bin", "/bin"])
    kept = {name: os.environ[name] for name in ("TSAN_OPTIONS", "ASAN_OPTIONS", "UBSAN_OPTIONS") if name in os.environ}
    return {"PATH": path, "LC_ALL": "C.UTF-8", "HOME": "/nonexistent", "TERM": "dumb", "VELMCTL_ADDRESS": address,
            **kept}


def run(session, command, looking):
    end = time.monotonic() + looking
    while True:
        printed, status = session.run(command.text)
        if matches(command.expected, printed) or not LOOKS.match(command.text) or time.monotonic() > end:
            return printed, status


def play(plan, session, folder, looking):
    """Runs the steps; yields (command, what it printed) for each that did not print what it should."""
    commands_only = [step for step in plan if isinstance(step, Command)]
    following = dict(zip(map(id, commands_only), commands_only[1:]))
    for step in plan:
        if isinstance(step, File):
            Path(folder, step.name).write_text(step.text)
            continue
        printed, status = run(session, step, looking)
        after = following.get(id(step))
        if status != 0 and (after is None or after.text != "echo $?"):
            raise Mistake("\n".join([f"'{step.text}' failed with status {status}:", *printed]))
        if not matches(step.expected, printed):
            yield step, printed


def replay(options, plan):
    with tempfile.TemporaryDirectory() as home, tempfile.TemporaryFile() as log:
        folder = Path(home, "session")
        folder.mkdir()
        for name in ("proto", "examples"):
            (folder / name).symlink_to(Path(options.source, name))
        agent = Agent(options.agent, home, output=log)
        session = Session(folder, environment(options, agent.address))
        try:
            yield from play(plan, session, folder, 1 if options.record else LOOKING)
            try:
                agent.stop()
            except AssertionError as failure:
                log.seek(0)
                raise Mistake(f"{failure}:\n{log.read().decode()}") from failure
        finally:
            session.end()
            agent.process.kill()


# ---- The program


def report(document, command, printed):
    print(f"{document}:{command.first}: $ {command.text}")
    print(*difflib.unified_diff(command.expected, printed, "the document", "printed", lineterm=""), "", sep="\n")


def main():
    parser = argparse.ArgumentParser(description="Runs the commands of a document.")
    parser.add_argument("--agent", required=True)
    parser.add_argument("--source", required=True)
    parser.add_argument("--not-run", required=True)
    parser.add_argument("--path", action="append", default=[])
    parser.add_argument("--record", action="store_true")
    parser.add_argument("document")
    options = parser.parse_args()
    not_run = {line.strip() for line in Path(options.not_run).read_text().splitlines()}
    lines = Path(options.document).read_text().splitlines()
    try:
        wrong = list(replay(options, list(steps(lines, not_run))))
    except Mistake as mistake:
        print(f"{options.document}: {mistake}")
        return 1
    if options.record:
        for command, printed in reversed(wrong):
            lines[command.first : command.first + len(command.expected)] = printed
        Path(options.document).write_text("\n".join(lines) + "\n")
        return 0
    for command, printed in wrong:
        report(options.document, command, printed)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
