#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Mutation testing of the library outside its vector files: builds it once with all mutants, finds out which tests come
by each, and runs these until one fails.

The mutants are tried in a random order that a seed fixes, so that a part of them says something of all. Results are
kept, and the next run goes on behind them.

Usage: run_mutants.py SOURCE_ROOT WORK_FOLDER [--minutes N] [--jobs N] [--report SURVIVORS]
"""

import argparse
import concurrent.futures
import json
import os
import random
import re
import shutil
import subprocess
import sys
import time

import mutate

FOLDERS = {"checks and pool": ["narvoassem/engine"], "drivers": ["narvoassem/compare"],
           "pairing and bounds of a scan": ["narvoassem/fast/pair", "narvoassem/fast/scan", "narvoassem/fast/bound",
                                            "narvoassem/fast/source"],
           "filters": ["narvoassem/storage/filters"], "blob steps": ["narvoassem/storage/blobs"],
           "stores": ["narvoassem/storage/stores"], "geometry": ["narvoassem/geometry", "narvoassem/freeform"],
           "arithmetic": ["narvoassem/base"]}
SEED = 20260101
LEAST_SECONDS = 2.0  # that a test may take beyond ten times its own time


def files_of(root):
    """Sources and headers that are mutated; vector code and what it includes is left out."""
    found = []
    for group, folders in FOLDERS.items():
        for folder in folders:
            for name in sorted(os.listdir(os.path.join(root, folder))):
                if name.endswith((".cpp", ".h")) and not name.endswith("-inl.h"):
                    found.append((group, os.path.join(folder, name)))
    return found


class MutantBuild:
    def __init__(self, root, work):
        self.root, self.work = root, work
        self.source = os.path.join(work, "source")
        self.build = os.path.join(work, "build")
        self.mutants = []  # mutate.Mutant
        self.groups = {}

    def write_sources(self, left_out):
        """A copy of the tree with every mutant in it."""
        tracked = subprocess.run(["git", "ls-files", "-z"], cwd=self.root, check=True, capture_output=True).stdout
        for name in tracked.decode().split("\0"):
            if not name:
                continue
            target = os.path.join(self.source, name)
            os.makedirs(os.path.dirname(target), exist_ok=True)
            copy_if_other(os.path.join(self.root, name), target)
        arguments = self.arguments()
        number = 1
        self.mutants = []
        for group, name in files_of(self.root):
            here = os.path.join(self.root, name)
            mutants, text = mutate.mutate(here, arguments, number, left_out.get(name, set()))
            for one in mutants:
                one.path = name
                self.groups[one.number] = group
            number += len(mutants)
            self.mutants += mutants
            write_if_other(os.path.join(self.source, name), text)
        print(f"{len(self.mutants)} mutants in {len(files_of(self.root))} files", flush=True)

    def arguments(self):
        include = subprocess.run(["pkg-config", "--cflags", "pixman-1"], check=True, capture_output=True, text=True)
        gcc = subprocess.run(["clang++", "-print-resource-dir"], check=True, capture_output=True, text=True)
        return ["-std=c++20", f"-I{self.root}", f"-I{self.root}/include", "-DNARVOASSEM_STATIC", "-fopenmp",
                f"-I{gcc.stdout.strip()}/include", *include.stdout.split()]

    def compile(self):
        """Builds; lines that do not compile with their mutants are left out of the next attempt.
        @return whether it compiled, and the lines by file"""
        header = os.path.join(self.root, "tests/mutation/mutant.h")
        if not os.path.exists(os.path.join(self.build, "build.ninja")):
            launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
            subprocess.run(["cmake", "-G", "Ninja", "-S", self.source, "-B", self.build, "-DCMAKE_BUILD_TYPE=None",
                            f"-DCMAKE_CXX_FLAGS=-O1 -w -include {header}", "-DNARVO_BUILD_TOOLS=OFF",
                            "-DNARVO_BUILD_BENCH=OFF", "-DNARVO_BUILD_EXAMPLES=OFF", *launcher], check=True,
                           stdout=subprocess.DEVNULL)
        programs = self.test_targets()
        done = subprocess.run(["ninja", "-k", "0", "-C", self.build, *programs], capture_output=True, text=True,
                              check=False)
        if done.returncode == 0:
            return True, {}
        bad = {}
        for path, line in re.findall(r"^(\S+?):(\d+):\d+: (?:error|.*required from)", done.stdout, re.M):
            name = os.path.relpath(os.path.normpath(os.path.join(self.build, path)), self.source)
            if not name.startswith(".."):
                bad.setdefault(name, set()).add(int(line))
        if not bad:
            sys.exit(done.stdout[-3000:])
        return False, bad

    def test_targets(self):
        listed = subprocess.run(["ninja", "-C", self.build, "-t", "targets", "all"], capture_output=True, text=True,
                                check=True).stdout
        return sorted(set(re.findall(r"^(tests/(?:base|engine|compare|fast|storage|geometry|freeform|memory|modes|properties)/"
                                     r"[a-z_]+_test): ", listed, re.M)))

    def tests(self):
        """[(name, command)]: a suite of a test program each."""
        found = []
        for program in sorted(self.test_targets()):
            path = os.path.join(self.build, program)
            if not os.path.exists(path):
                continue
            listed = subprocess.run([path, "--gtest_list_tests"], capture_output=True, text=True, check=True).stdout
            for line in listed.splitlines():
                suite = re.match(r"(\S+\.)(\s|$)", line)
                if suite:
                    found.append((f"{program} {suite[1]}",
                                  [path, f"--gtest_filter={suite[1]}*", "--gtest_fail_fast", "--gtest_brief=1"]))
        return found

    def reach(self, jobs):
        """Runs every test once. @return [(seconds, name, command, numbers that it comes by)], fastest first"""
        place = os.path.join(self.work, "reached")
        shutil.rmtree(place, ignore_errors=True)
        os.makedirs(place)

        def run(numbered):
            index, (name, command) = numbered
            file = os.path.join(place, str(index))
            begin = time.monotonic()
            done = subprocess.run(command, env={**os.environ, "NARVO_MUTANTS_REACHED": file},
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
            seconds = time.monotonic() - begin
            if done.returncode != 0 or not os.path.exists(file):
                print(f"left out: {name} fails without a mutant", flush=True)
                return None
            with open(file, encoding="ascii") as text:
                return seconds, name, command, {int(line) for line in text}

        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            runs = [one for one in pool.map(run, enumerate(self.tests())) if one]
        return sorted(runs, key=lambda one: one[0])


def copy_if_other(source, target):
    with open(source, "rb") as file:
        write_if_other(target, file.read())
    shutil.copymode(source, target)


def write_if_other(target, data):
    """Keeps the time of a file that does not change, so that it is not compiled again."""
    if os.path.exists(target):
        with open(target, "rb") as file:
            if file.read() == data:
                return
    with open(target, "wb") as file:
        file.write(data)


def fails(command, number, most_seconds):
    """@return whether the command fails with the mutant; None where it does not end in time"""
    try:
        done = subprocess.run(command, env={**os.environ, "NARVO_MUTANT": str(number)}, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False, timeout=most_seconds)
        return done.returncode != 0
    except subprocess.TimeoutExpired:
        return None


def try_mutant(mutant, runs):
    """@return "killed by TEST", "survived", or "not reached" """
    came = False
    for seconds, name, command, numbers in runs:
        if mutant.number not in numbers:
            continue
        came = True
        failed = fails(command, mutant.number, 10 * seconds + LEAST_SECONDS)
        if failed is None:  # the machine may have been busy with other things
            failed = fails(command, mutant.number, 30 * seconds + 3 * LEAST_SECONDS)
        if failed is None:
            return f"killed by the time of {name}"
        if failed:
            return f"killed by {name}"
    return "survived" if came else "not reached"


def read_reasons(file):
    """{key: reason} of the mutants that no test can or need notice."""
    reasons = {}
    if file and os.path.exists(file):
        with open(file, encoding="utf-8") as text:
            for line in text:
                key, arrow, reason = line.rstrip("\n").partition(" => ")
                if arrow:
                    reasons[key] = reason
    return reasons


def is_open(one, reasons):
    return not one["status"].startswith("killed") and one["key"] not in reasons


def report(results, survivors_file):
    """The table by group, and survivors without a reason."""
    groups = {}
    for one in results:
        counts = groups.setdefault(one["group"], {"killed": 0, "survived": 0, "not reached": 0})
        counts["killed" if one["status"].startswith("killed") else one["status"]] += 1
    print(f"{'':<32} {'tried':>6} {'killed':>7} {'survived':>9} {'not reached':>12} {'share killed':>13}")
    for group, counts in [*groups.items(), ("all", {key: sum(one[key] for one in groups.values())
                                                    for key in ("killed", "survived", "not reached")})]:
        tried = sum(counts.values())
        print(f"{group:<32} {tried:>6} {counts['killed']:>7} {counts['survived']:>9} {counts['not reached']:>12} "
              f"{100 * counts['killed'] / max(tried, 1):>11.1f} %")
    reasons = read_reasons(survivors_file)
    open_ones = [one for one in results if is_open(one, reasons)]
    for one in sorted(open_ones, key=lambda one: (one["path"], one["line"])):
        print(f"{one['status']}: line {one['line']}, {one['key']}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("root")
    parser.add_argument("work")
    parser.add_argument("--minutes", type=float, default=60.0)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--survivors")
    parser.add_argument("--again", action="store_true", help="try those first that survived and have no reason")
    parser.add_argument("--report", action="store_true", help="print the table of the results that there are")
    options = parser.parse_args()
    os.makedirs(options.work, exist_ok=True)
    kept = os.path.join(options.work, "results.jsonl")
    results = []
    if os.path.exists(kept):
        with open(kept, encoding="utf-8") as file:
            results = [json.loads(line) for line in file]
    if options.report:
        return report(results, options.survivors)

    end = time.monotonic() + 60 * options.minutes
    built = MutantBuild(os.path.abspath(options.root), os.path.abspath(options.work))
    left_out_file = os.path.join(options.work, "left_out.json")
    left_out = {}
    if os.path.exists(left_out_file):
        with open(left_out_file, encoding="utf-8") as file:
            left_out = {name: set(lines) for name, lines in json.load(file).items()}
    for _ in range(20):
        built.write_sources(left_out)
        compiled, bad = built.compile()
        if compiled:
            break
        print("left out, since they do not compile: " +
              ", ".join(f"{name}:{line}" for name, lines in bad.items() for line in sorted(lines)), flush=True)
        if all(lines <= left_out.get(name, set()) for name, lines in bad.items()):
            sys.exit("the same lines again")
        for name, lines in bad.items():
            left_out[name] = left_out.get(name, set()) | lines
        with open(left_out_file, "w", encoding="utf-8") as file:
            json.dump({name: sorted(lines) for name, lines in left_out.items()}, file)
    else:
        sys.exit("it does not compile")
    runs = built.reach(options.jobs)
    print(f"{len(runs)} test suites, {sum(one[0] for one in runs):.0f} s in all", flush=True)

    again = set()
    if options.again:
        reasons = read_reasons(options.survivors)
        again = {one["key"] for one in results if is_open(one, reasons)}
        results = [one for one in results if one["key"] not in again]
        write_if_other(kept, "".join(json.dumps(one) + "\n" for one in results).encode())
    done = {one["key"] for one in results}
    order = [one for one in built.mutants if one.key() not in done]
    random.Random(SEED).shuffle(order)
    order.sort(key=lambda one: one.key() not in again)

    def run(mutant):
        return None if time.monotonic() > end else try_mutant(mutant, runs)

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool, open(kept, "a", encoding="utf-8") as file:
        for mutant, status in zip(order, pool.map(run, order)):
            if status is None:
                continue
            one = {"group": built.groups[mutant.number], "path": mutant.path, "line": mutant.line,
                   "key": mutant.key(), "status": status}
            results.append(one)
            file.write(json.dumps(one) + "\n")
            file.flush()
    print(f"{len(results)} of {len(built.mutants)} mutants tried")
    report(results, options.survivors)
    return None


if __name__ == "__main__":
    main()
