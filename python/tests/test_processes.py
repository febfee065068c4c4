# SPDX-License-Identifier: MIT
"""Processes: children by fork, with or without threads at work in their parent, and an interpreter that ends while
daemon threads are at work. Each in a process of its own, which is ended when it takes too long."""

import os
import signal
import subprocess
import sys
import textwrap

import pytest

SECONDS = 120  # many times what any of these takes

COMMON = """
import multiprocessing, os, sys, threading, time
import numpy, narvoassem as na

def made(width, height):
    columns = numpy.arange(width)
    rows = numpy.arange(height)[:, None]
    grey = 110 + 40 * numpy.sin(2 * numpy.pi * columns / 32.5) * numpy.sin(2 * numpy.pi * rows / 24.25)
    for x in range(150, width, 400):
        grey[148:153, x - 2 : x + 3] += 60
    return numpy.clip(numpy.rint(grey), 0, 255).astype(numpy.uint8)

wide = made(4200, 300)  # wide enough for bands
recipe = na.Recipe({"version": 1, "pitch": {"x": 32.5, "y": 24.25}})

def found(inspect=na.inspect):
    return inspect(wide, recipe).blobs.tobytes()

def in_children(count, work):
    with multiprocessing.get_context("fork").Pool(count) as pool:
        return pool.map(work, range(2 * count))
"""


def run(script):
    """What the script printed. It must end by itself, with exit code 0, and complain of nothing."""
    command = [sys.executable, "-c", COMMON + textwrap.dedent(script)]
    with subprocess.Popen(
        command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, start_new_session=True
    ) as process:
        try:
            printed, complaints = process.communicate(timeout=SECONDS)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)  # its children, too
            raise
    assert (process.returncode, complaints) == (0, "")
    return printed.split()


def test_children_by_fork_find_what_their_parent_finds():
    assert run(
        """
        expected = found()
        assert len(na.inspect(wide, recipe).blobs) > 5

        def same(_):
            return found() == expected

        print(all(in_children(3, same)))
        """
    ) == ["True"]


def test_children_use_an_inspector_of_their_parent():
    # Its only lane is taken at the moment of the fork by a thread that the children do not have.
    assert run(
        """
        inspector = na.Inspector(lanes=1)
        expected = found(inspector.inspect)
        stop = threading.Event()

        def work():
            while not stop.is_set():
                found(inspector.inspect)

        worker = threading.Thread(target=work)
        worker.start()

        def same(_):
            return found(inspector.inspect) == expected and found() == expected

        for _ in range(5):
            print(all(in_children(2, same)))
        stop.set()
        worker.join()
        """
    ) == ["True"] * 5


def test_children_use_a_golden_model_and_an_explainer_of_their_parent():
    assert run(
        """
        small = made(400, 300)
        model = na.GoldenModel([small, small])
        explainer = na.Explainer(small, recipe)
        stop = threading.Event()

        def golden():
            return model.inspect(small).result.blobs.tobytes()

        def explained():
            return str(explainer.explain(150, 150))

        expected = golden(), explained()

        def work():
            while not stop.is_set():
                golden()
                explained()

        worker = threading.Thread(target=work)
        worker.start()

        def same(_):
            return (golden(), explained()) == expected

        print(all(in_children(2, same)))
        stop.set()
        worker.join()
        """
    ) == ["True"]


def test_children_read_and_write_images(tmp_path):
    assert run(
        f"""
        file = {str(tmp_path)!r} + "/image"
        na.write_image(file + ".png", wide)

        def same(number):
            image = na.read_image(file + ".png")
            na.write_image(f"{{file}}{{number}}.png", image)
            return bool((na.read_image(f"{{file}}{{number}}.png") == wide).all())

        print(all(in_children(2, same)))
        """
    ) == ["True"]


def test_a_process_pool_inspects():
    assert run(
        """
        from concurrent.futures import ProcessPoolExecutor

        expected = found()

        def same(_):
            return found() == expected

        with ProcessPoolExecutor(2, mp_context=multiprocessing.get_context("fork")) as pool:
            print(all(pool.map(same, range(6))))
        """
    ) == ["True"]


@pytest.mark.parametrize("call", ["na.inspect", "inspector.inspect"])
def test_the_interpreter_ends_while_daemon_threads_inspect(call):
    for delay in (0.0, 0.01, 0.1, 0.3):
        assert run(
            f"""
            inspector = na.Inspector(lanes=2)

            def work():
                while True:
                    found({call})

            for _ in range(3):
                threading.Thread(target=work, daemon=True).start()
            time.sleep({delay})
            print("ended")
            """
        ) == ["ended"]


def test_the_interpreter_ends_while_daemon_threads_do_anything_else():
    assert run(
        """
        small = made(400, 300)
        model = na.GoldenModel([small, small])
        explainer = na.Explainer(small, recipe)
        result = na.inspect(small, recipe)
        calls = [
            lambda: model.inspect(small),
            lambda: explainer.explain(150, 150),
            lambda: na.search_pitch(small),
            lambda: result.overlay(small),
        ]

        def work(call):
            while True:
                call()

        for call in calls:
            threading.Thread(target=work, args=(call,), daemon=True).start()
        time.sleep(0.2)
        print("ended")
        """
    ) == ["ended"]


def test_functions_left_to_atexit_inspect():
    assert run(
        """
        import atexit

        expected = found()
        atexit.register(lambda: print(found() == expected))
        """
    ) == ["True"]
