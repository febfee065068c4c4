# SPDX-License-Identifier: MIT
"""Starts the program with guards of memory and processor time, and measures what it took."""
import dataclasses
import os
import resource
import subprocess
import sys
import tempfile

PROCESSOR_SECONDS = 60  # ends a loop; no figure
SECONDS = 100
ADDRESS_BYTES = 8 << 30  # protects the machine


@dataclasses.dataclass
class Run:
    code: int  # of the signal, negative, where one ended it
    text: str  # what it said, on both streams
    kib: int  # largest resident size


def _guard():
    resource.setrlimit(resource.RLIMIT_CPU, (PROCESSOR_SECONDS, PROCESSOR_SECONDS))
    resource.setrlimit(resource.RLIMIT_AS, (ADDRESS_BYTES, ADDRESS_BYTES))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def run(narvo, folder, arguments, prefix=(), before=None):
    """`prefix` is a command that starts the program, as unshare; `before` is called in the child."""
    def prepare():
        _guard()
        if before:
            before()

    with tempfile.TemporaryFile() as said:
        process = subprocess.Popen(["timeout", "-s", "KILL", str(SECONDS), *prefix, narvo, *arguments], cwd=folder,
                                   stdin=subprocess.DEVNULL, stdout=said, stderr=said, preexec_fn=prepare)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        said.seek(0)
        return Run(process.returncode, said.read().decode(errors="surrogateescape"), usage.ru_maxrss)


def expect(narvo, folder, arguments, codes, words, kib, longest=1 << 16):
    """A run that ends with one of the codes, says the words in at most `longest` bytes and stays within the memory."""
    codes = codes if isinstance(codes, tuple) else (codes,)
    done = run(narvo, folder, arguments)
    shown = done.text[:300].encode("ascii", "backslashreplace").decode()
    print([str(one)[:80] for one in arguments], done.code, done.kib, "KiB:", shown, flush=True)
    if done.code not in codes or words not in done.text or done.kib > kib or len(done.text) > longest:
        fail(f"{arguments}: code {done.code}, {len(done.text)} bytes, {done.kib} KiB: {shown}\n"
             f"  expected code {codes}, {words!r} in {longest} bytes, at most {kib} KiB")
    return done


def draw_panel(narvo, folder, kib):
    """panel.png with its recipe and truth."""
    expect(narvo, folder, ["synth", "--width", "256", "--height", "320", "--pitch-x", "40.5", "--pitch-y", "48.25",
                           "--quiet"], 0, "", kib)


_failures = []


def fail(text):
    _failures.append(text)


def finish():
    """Ends the check: with all that failed, if anything did."""
    if _failures:
        sys.exit("\n".join(_failures))
