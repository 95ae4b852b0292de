"""Shared fixtures: the kov command, the examples, and rule files written for the tests."""

import json
import os
import shutil
import subprocess

import pytest

import kov

KOV = os.environ.get("KOVTEST_KOV", "build/bin/kov")
EXAMPLES = os.environ.get("KOVTEST_EXAMPLES_DIR", "examples")
GOLDEN = os.environ.get("KOVTEST_GOLDEN_DIR", "tests/tools/golden")


def run_kov(*args, check_status=None):
    """kov's standard output for args; check_status, when given, is the status it must end with."""
    run = subprocess.run([KOV, *args], capture_output=True)
    if check_status is not None:
        assert run.returncode == check_status, run.stderr.decode()
    return run.stdout


def kov_json(*args):
    return json.loads(run_kov(*args))


def golden(name):
    with open(os.path.join(GOLDEN, name), "rb") as f:
        return f.read()


@pytest.fixture(scope="session")
def files(tmp_path_factory):
    """A directory with the examples and the generated files (generated-3, generated-20,
    generated-1000, every-kind, and fatal, which ends the process in the reader's check)."""
    directory = tmp_path_factory.mktemp("rule-files")
    subprocess.run([os.environ.get("KOVTEST_MAKE_RULE_FILES", "build/bin/make-rule-files"),
                    str(directory)], check=True, capture_output=True)
    for name in ("building.tkb", "minimal.tkb"):
        shutil.copy(os.path.join(EXAMPLES, name), directory / name)
    return directory


@pytest.fixture(scope="module")
def runtime():
    with kov.Runtime() as r:
        yield r
