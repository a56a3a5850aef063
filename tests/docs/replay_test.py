"""The replay tool itself: it must not take a wrong document for a right one.

    replay_test.py REPLAY AGENT
"""
import subprocess
import sys
import tempfile
from pathlib import Path

REPLAY, AGENT = sys.argv[1:]

# (document, whether it is right, what is said of it)
DOCUMENTS = [
    ("```console\n$ echo a; echo b >&2\na\nb\n```\n", True, ""),
    ("```console\n$ seq 5\n1\n...\n5\n$ echo pid $$ here\npid <number> h…\n```\n", True, ""),
    ("```console\n$ cd /\n```\ntext\n```console\n$ pwd\n/\n```\n", True, ""),
    ("```python hello.py\nprint('hello')\n```\n```console\n$ python3 hello.py\nhello\n```\n", True, ""),
    ("```console\n$ echo a \\\n    b\na b\n```\n", True, ""),
    ("```console\n$ false\n$ echo $?\n1\n```\n", True, ""),
    ("```console\n$ (sleep 0.1; echo late > file) & touch file\n$ cat file\nlate\n```\n", True, ""),
    ("```console\n$ test -S ${VELMCTL_ADDRESS#unix:} && ls\nexamples\nproto\n```\n", True, ""),
    ("```sh\nmake it so\n```\n", True, ""),
    ("```console\n$ echo a\nb\n```\n", False, "-b\n+a"),
    ("```console\n$ echo a\n```\n", False, "+a"),
    ("```console\n$ true\na\n```\n", False, "-a"),
    ("```console\n$ echo a.b\na?b\n```\n", False, "-a?b\n+a.b"),
    ("```console\n$ false\n$ true\n```\n", False, "'false' failed with status 1"),
    ("```console\n$ exit\n```\n", False, "'exit' ended the session"),
    ("```console\n$ kill -9 $(pgrep -P $PPID VelmSdkRpc)\n```\n", False, "the agent ended"),
    ("```sh\nrm -rf /\n```\n", False, "'rm -rf /' is neither run here nor elsewhere"),
    ("```\n$ echo a\n```\n", False, "a block of ''"),
    ("```console\n$ echo a\n", False, "never closed"),
]


def replay(folder, text, *options):
    document = Path(folder, "document.md")
    document.write_text(text)
    Path(folder, "not_run").write_text("make it so\n")
    tried = subprocess.run([REPLAY, *options, "--agent", AGENT, "--source", folder, "--not-run", f"{folder}/not_run",
                            str(document)], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return tried.returncode == 0, tried.stdout, document.read_text()


with tempfile.TemporaryDirectory() as home:
    for source, right, said in DOCUMENTS:
        held, output, _ = replay(home, source)
        assert held == right and said in output, f"{source}\nsays:\n{output}"
    # Recording mends what is wrong and leaves what is right as it is written.
    wrong = "```console\n$ seq 2\n1\n3\n$ echo same as before\n…as before\n```\n"
    assert replay(home, wrong, "--record")[2] == wrong.replace("1\n3", "1\n2")
