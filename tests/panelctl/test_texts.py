"""What panelctl says, letter for letter. Each file in texts/ is a session of a shell at a new panel:
commands behind "$ ", and what is seen of them.

test_texts.py PROGRAM --print FILE   carries the commands of a session out and prints it anew
"""

import os
import pathlib
import subprocess
import sys
import unittest

from panel_world import PROGRAM, WAIT_S, PanelTest

TEXTS = pathlib.Path(__file__).resolve().parent / "texts"
PROMPT = "$ "


def answer(command, folder):
    """What a command prints, to either stream, and its status unless that is 0."""
    result = subprocess.run(
        ["bash", "-c", command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT, cwd=folder, timeout=WAIT_S, check=False,
        env={**os.environ, "PATH": f"{pathlib.Path(PROGRAM).parent}:{os.environ['PATH']}"})
    text = result.stdout.decode(errors="backslashreplace")
    if text and not text.endswith("\n"):
        text += "(no line end)\n"
    return text + (f"(status {result.returncode})\n" if result.returncode else "")


def session(commands, folder):
    """The commands, each with its answer."""
    for command in commands:
        yield f"{PROMPT}{command}\n{answer(command, folder)}"


def entries(path):
    """The commands of a session in a file, each with its answer."""
    commands, texts = [], []
    for line in path.read_text().splitlines(keepends=True):
        if line.startswith(PROMPT):
            commands.append(line.removeprefix(PROMPT).rstrip("\n"))
            texts.append(line)
        else:
            texts[-1] += line
    return commands, texts


class Texts(PanelTest):
    def check(self, name):
        commands, texts = entries(TEXTS / name)
        self.assertGreater(len(commands), 10)
        for text, seen in zip(texts, session(commands, self.folder)):
            with self.subTest(command=text.splitlines()[0]):
                self.assertEqual(seen, text)

    def test_helps(self):
        self.check("helps.txt")

    def test_helps_are_those_of_all_commands(self):
        commands, _ = entries(TEXTS / "helps.txt")
        lines = self.output("--help").splitlines()
        names = [line.split("panelctl ")[1] for line in lines if line.startswith("  panelctl ")]
        self.assertGreater(len(names), 10)
        for name in names:
            words = [word for word in name.split()[:2] if word.isalpha() and word.islower()]
            self.assertIn(f"panelctl {' '.join(words)} --help", commands)

    def test_lists(self):
        self.check("lists.txt")

    def test_answers(self):
        self.check("answers.txt")

    def test_complaints(self):
        self.check("complaints.txt")


def print_anew(path):
    """In the folder that a test has, and with its panel."""
    world = Texts()
    world.setUp()
    print(*session(entries(path)[0], world.folder), sep="", end="")


if __name__ == "__main__":
    if sys.argv[1:2] == ["--print"]:
        print_anew(pathlib.Path(sys.argv[2]))
    else:
        unittest.main(verbosity=2)
