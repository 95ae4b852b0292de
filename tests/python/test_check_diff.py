"""kov.check and kov.diff on libraries of rule files, compared with kov check and kov diff."""

import json
import shutil

import pytest

import kov
from conftest import kov_json, run_kov

CHECK_FIELDS = ("path", "ok", "bytes", "error", "attributes", "rules")


@pytest.fixture
def library(files, tmp_path):
    """Good files in two folders, a cut one and the one that would end the process."""
    root = tmp_path / "library"
    (root / "houses" / "old").mkdir(parents=True)
    for name in ("building.tkb", "minimal.tkb", "generated-20.tkb", "fatal.tkb"):
        shutil.copy(files / name, root / name)
    shutil.copy(files / "every-kind.tkb", root / "houses" / "old" / "Every.CLASS")
    (root / "houses" / "cut.tkb").write_bytes((files / "building.tkb").read_bytes()[:300])
    (root / "houses" / "notes.txt").write_text("not a rule file")
    return root


def test_check_yields_what_kov_check_prints(library):
    lines = run_kov("check", "--json", "-j", "2", str(library), check_status=1).splitlines()
    expected = [{k: json.loads(line)[k] for k in CHECK_FIELDS} for line in lines[:-1]]
    results = list(kov.check([library], jobs=2))
    assert [{k: r.to_dict()[k] for k in CHECK_FIELDS} for r in results] == expected
    assert [r.path.rsplit("/", 1)[1] for r in results if not r.ok] == ["fatal.tkb", "cut.tkb"]
    assert all(r.error is None and r.milliseconds >= 0 for r in results if r.ok)

    single = list(kov.check(str(library / "minimal.tkb")))
    assert len(single) == 1 and single[0].ok and single[0].rules == 1
    with pytest.raises(kov.Error, match="cannot read .*No such file or directory"):
        kov.check([library / "missing"])
    with pytest.raises(ValueError):
        kov.check([library], jobs=0)


def versions(files, tmp_path):
    old, new = tmp_path / "old", tmp_path / "new"
    for side in (old, new):
        (side / "sub").mkdir(parents=True)
    shutil.copy(files / "building.tkb", old / "house.tkb")
    shutil.copy(files / "minimal.tkb", new / "house.tkb")
    shutil.copy(files / "generated-3.tkb", old / "sub" / "same.tkb")
    shutil.copy(files / "generated-3.tkb", new / "sub" / "same.tkb")
    shutil.copy(files / "generated-20.tkb", old / "gone.tkb")
    shutil.copy(files / "generated-3.tkb", new / "sub" / "added.tkb")
    return old, new


def test_diff_lists_the_changes_of_kov_diff(files, tmp_path):
    old, new = versions(files, tmp_path)
    changes = kov.diff(old, new)
    expected = kov_json("diff", "--json", str(old), str(new))
    assert [c.to_dict() for c in changes] == expected["changes"]
    assert len(changes.breaking) == expected["breaking"] > 0
    assert all(c.breaking == (c.change_class is kov.ChangeClass.BREAKING) for c in changes)
    presence = [(c.name, c.kind, c.change_class) for c in changes if c.section == "files"]
    assert presence == [("gone.tkb", "removed", kov.ChangeClass.BREAKING),
                        ("sub/added.tkb", "added", kov.ChangeClass.COMPATIBLE)]

    two_files = kov.diff(old / "house.tkb", new / "house.tkb")
    assert [c.to_dict() for c in two_files] == kov_json(
        "diff", "--json", str(old / "house.tkb"), str(new / "house.tkb"))["changes"]
    assert kov.diff(old / "sub" / "same.tkb", new / "sub" / "same.tkb") == []


def test_diff_fails_on_files_that_do_not_decode(files, tmp_path):
    old, new = versions(files, tmp_path)
    shutil.copy(files / "fatal.tkb", new / "sub" / "same.tkb")
    with pytest.raises(kov.DecodeError) as error:
        kov.diff(old, new)
    assert error.value.path == str(new / "sub" / "same.tkb")
    with pytest.raises(kov.Error, match="both be rule files or both be directories"):
        kov.diff(old, new / "house.tkb")
    with pytest.raises(kov.Error, match="No such file or directory"):
        kov.diff(old, tmp_path / "missing")
