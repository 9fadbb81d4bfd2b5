#!/usr/bin/env python3
"""Reads what gcov counted and prints line and branch figures a file, and which goals are met.

coverage.py SOURCE_DIR MISSING_FILE GCOV=BUILD_DIR...

Each BUILD_DIR was built with KX_COVERAGE, and GCOV is the gcov of its compiler. What was never run goes to
MISSING_FILE, a line of the source each. Ends in 1 when a goal is missed.
"""
import collections
import json
import pathlib
import re
import subprocess
import sys

ENGINE = "Agent/engine/kx_gpext/"
TRACE = "Common_CPP/trace/"
UTIL = "Common_CPP/util/"

# The goals: lines of whole folders, and every branch where a wrong turn sends a wrong policy.
LINE_GOALS = [("the extension", ENGINE, 95.0), ("the trace library", TRACE, 95.0)]
BRANCH_GOALS = [
    ("order", [ENGINE + "policy_order.h"]),
    ("merge and version check", [ENGINE + "gp_xml_merge.cpp"]),
    ("targeting decision", [ENGINE + "gp_xml_targeting.cpp", ENGINE + "targeting_verdict.h"]),
    ("pipe send", [ENGINE + "gp_pipe.cpp", ENGINE + "pipe_message.h"]),
    ("number parsing", [UTIL + "number_text.cpp", UTIL + "number_text.h", TRACE + "config_number.cpp"]),
]

# Shown file by file; of the others only the folder's sum.
SHOWN = ("Agent/", "Common_CPP/")
COUNTED = SHOWN + ("Tools/host/", "Tools/rsop_store/", "Tools/targeting/")

# A trace statement begins with the branch on whether it prints. That is one decision of the trace library,
# call_site.h, and is counted there.
TRACE_STATEMENT = re.compile(r".*\bKXT_OUT\(")
STATEMENT_BRANCHES = 2

# Where an exception is caught its type is compared: edges of exceptions too.
HANDLER = re.compile(r"\s*(\} )?catch \(")


def branches_of(line):
    """How often each branch of a line was taken. A call that may throw has two edges, the one into the
    exception's handling (listed second) and the one on: neither is a decision of the source."""
    taken = []
    for branch in line["branches"]:
        if branch["throw"]:
            taken.pop()
        else:
            taken.append(branch["count"])
    return taken


class SourceFile:
    def __init__(self, source_dir, name):
        self.name = name
        self.lines = collections.Counter()
        # (line, number of branches) -> counts. Instances of a template that differ in form stay apart.
        self.branches = {}
        text = (source_dir / name).read_text(encoding="utf-8").splitlines()
        self.handlers = {i for i, line in enumerate(text, 1) if HANDLER.match(line)}
        self.statements = {i for i, line in enumerate(text, 1) if TRACE_STATEMENT.match(line)}

    def add(self, line):
        number = line["line_number"]
        self.lines[number] += line["count"]
        taken = branches_of(line)
        if number in self.statements:
            taken = taken[STATEMENT_BRANCHES:]
        if not taken or number in self.handlers:
            return
        counts = self.branches.setdefault((number, len(taken)), [0] * len(taken))
        for i, count in enumerate(taken):
            counts[i] += count

    def line_figures(self):
        return sum(count > 0 for count in self.lines.values()), len(self.lines)

    def branch_figures(self):
        counts = [count for branch in self.branches.values() for count in branch]
        return sum(count > 0 for count in counts), len(counts)

    def missing(self):
        for number in sorted(number for number, count in self.lines.items() if count == 0):
            yield f"{self.name}:{number}: line"
        for (number, _), counts in sorted(self.branches.items()):
            never = [str(i) for i, count in enumerate(counts) if count == 0]
            if never and self.lines[number] > 0:
                yield f"{self.name}:{number}: branch {', '.join(never)} of {len(counts)}"


def counted_lines(gcov, build_dir):
    """Every line that the compiler instrumented, also of what never ran, as (file, line)."""
    for notes in sorted(build_dir.rglob("*.gcno")):
        if not any(notes.with_suffix(kind).exists() for kind in (".o", ".obj")):
            continue  # of a compilation that was broken off
        run = subprocess.run([gcov, "--json-format", "--stdout", "--branch-probabilities", str(notes)],
                             cwd=build_dir, capture_output=True, check=True)
        for report in run.stdout.splitlines():
            for file in json.loads(report)["files"]:
                for line in file["lines"]:
                    yield file["file"], line


def read_files(source_dir, builds):
    files = {}
    for gcov, build_dir in builds:
        for name, line in counted_lines(gcov, build_dir):
            if not name.startswith(COUNTED):
                continue
            if name not in files:
                files[name] = SourceFile(source_dir, name)
            files[name].add(line)
    return [files[name] for name in sorted(files)]


def total(figures):
    reached, of = 0, 0
    for one, all_of_it in figures:
        reached, of = reached + one, of + all_of_it
    return reached, of


def percent(figures):
    reached, of = figures
    return 100.0 * reached / of if of else 100.0


def text(figures):
    return f"{percent(figures):6.1f} % {f'{figures[0]}/{figures[1]}':>13}" if figures[1] else f"{'-':>22}"


def print_row(name, files):
    print(f"{name:<58}{text(total(f.line_figures() for f in files))}"
          f"{text(total(f.branch_figures() for f in files))}")


def print_table(files):
    print(f"{'':<58}{'lines':>22}{'branches':>22}")
    for file in files:
        if file.name.startswith(SHOWN):
            print_row(file.name, [file])
    print()
    folders = collections.defaultdict(list)
    for file in files:
        folders[file.name.rpartition("/")[0]].append(file)
    for folder in sorted(folders):
        print_row(folder, folders[folder])
    print_row("total", files)
    print()


def print_goal(what, figures, goal):
    met = figures[1] > 0 and percent(figures) >= goal
    print(f"{'met   ' if met else 'MISSED'} {what}: {text(figures).strip()}, goal {goal:g} %")
    return met


def check_goals(files):
    by_name = {file.name: file for file in files}
    met = True
    for what, folder, goal in LINE_GOALS:
        inside = [file for file in files if file.name.startswith(folder)]
        met &= print_goal(f"lines of {what}", total(f.line_figures() for f in inside), goal)
    for what, names in BRANCH_GOALS:
        # A file without one instrumented line has no branch either.
        parts = [by_name[name] for name in names if name in by_name]
        met &= print_goal(f"branches of {what}", total(f.branch_figures() for f in parts), 100.0)
    return met


def main():
    source_dir, missing = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    builds = [(gcov, pathlib.Path(folder).resolve()) for gcov, folder in (word.split("=", 1) for word in sys.argv[3:])]
    files = read_files(source_dir, builds)
    missing.write_text("".join(f"{line}\n" for file in files for line in file.missing()), encoding="utf-8")
    print_table(files)
    return 0 if check_goals(files) else 1


sys.exit(main())
