"""Runs what may crash or move a process in one of its own."""

import multiprocessing
import os
import tempfile
from collections.abc import Callable
from concurrent.futures import ProcessPoolExecutor
from typing import TypeVar

Result = TypeVar("Result")


def in_a_process(task: Callable[[], Result]) -> tuple[Result, bool]:
    """What the task gives in a process and a folder of its own, and whether it leaves the process in that folder.

    A crash of the process is an exception here.
    """
    fork = multiprocessing.get_context("fork")
    with tempfile.TemporaryDirectory() as folder, ProcessPoolExecutor(1, fork) as pool:
        return pool.submit(_in_a_folder, folder, task).result()


def _in_a_folder(folder: str, task: Callable[[], Result]) -> tuple[Result, bool]:
    os.chdir(folder)
    tempfile.tempdir = folder
    try:
        result = task()
    except Exception as failure:  # FMPy's own ones can't be handed from process to process
        raise RuntimeError(str(failure)) from None
    return result, os.readlink("/proc/self/cwd") == os.path.realpath(folder)
