"""Loading rule files: the runtime, the sources, the typed view, the exact texts, failures and
threads."""

import io
import json
import os
import pathlib
import sys
import threading
import time

import pytest

import kov
from conftest import EXAMPLES, golden, kov_json, run_kov

BUILDING = os.path.join(EXAMPLES, "building.tkb")


def test_runtime_lists_its_extensions_and_outlives_its_rule_files():
    with kov.Runtime() as runtime:
        extensions = {e.id: e for e in runtime.extensions()}
        rule_file = runtime.load(BUILDING)
    decoder = extensions["com.velmor.kov.core.TKBDecoder"]
    assert decoder.type is kov.ExtensionType.DECODER and decoder.merit == 1.0
    adaptor = extensions["com.velmor.kov.adaptors.FileSystemAdaptor"]
    assert adaptor.type is kov.ExtensionType.STREAM_ADAPTOR and adaptor.description
    assert runtime.closed and "closed" in repr(runtime)
    with pytest.raises(kov.Error, match="closed"):
        runtime.load(BUILDING)
    # Its rule files keep the library loaded.
    assert len(rule_file.attributes) == 12 and rule_file.xml().startswith("<rulefileinfo>")


def test_probing_skips_plugins_that_kill_their_probe(capfd):
    deadly = pathlib.Path(os.environ.get("KOVTEST_DEADLY_PLUGINS", "build/tests/loader/deadly-plugins"))
    if not deadly.is_dir():
        pytest.skip("the loader tests' plug-ins are not built")
    with kov.Runtime(plugin_paths=[deadly], probe_plugins=True) as runtime:
        ids = [e.id for e in runtime.extensions()]
    assert "test.probed.Decoder" in ids and "com.velmor.kov.core.TKBDecoder" in ids
    assert "skipping plug-in" in capfd.readouterr().err


def test_type_stubs_declare_every_public_name():
    stub = pathlib.Path(kov.__file__).with_name("__init__.pyi").read_text()
    assert (pathlib.Path(kov.__file__).with_name("py.typed")).exists()
    missing = [name for name in kov.__all__
               if f"class {name}" not in stub and f"def {name}(" not in stub]
    assert missing == []


def test_every_kind_of_source_decodes_to_the_same_file(runtime):
    expected = runtime.load(BUILDING).to_dict()
    with open(BUILDING, "rb") as f:
        data = f.read()
    with open(BUILDING, "rb") as f:
        from_file = runtime.load(f)
    sources = [pathlib.Path(BUILDING), "file:" + os.path.abspath(BUILDING), data,
               bytearray(data), memoryview(data), io.BytesIO(data)]
    for source in sources:
        assert runtime.load(source).to_dict() == expected, type(source)
    assert from_file.path == BUILDING and from_file.to_dict() == expected
    assert runtime.load(data).path is None
    with open(BUILDING, "r", encoding="latin-1") as text_file:
        with pytest.raises(TypeError, match="binary"):
            runtime.load(text_file)
    with pytest.raises(TypeError):
        runtime.load(42)


def test_entries_carry_types_parameters_and_presentation_annotations(runtime):
    rule_file = runtime.load(BUILDING)
    height = rule_file.attributes[0]
    assert (height.name, height.type, height.group, height.group_order, height.order) == (
        "height", kov.ValueType.FLOAT, "Massing", 1.0, 1.0)
    assert height.annotation("@Range")["min"] == 6.0 and height.annotation("@Nope") is None
    roof = next(a for a in rule_file.attributes if a.name == "roofType")
    assert roof.annotation("@Enum")["restricted"] is True and roof.type is kov.ValueType.STRING
    door = next(r for r in rule_file.rules if r.name == "Door")
    assert [(p.name, p.type) for p in door.parameters] == [
        ("width", kov.ValueType.FLOAT), ("style", kov.ValueType.STRING)]
    assert door.type is kov.ValueType.VOID and door.group is None and door.order is None
    assert rule_file.start_rule.name == "Lot" and not door.is_start_rule
    version = next(a for a in rule_file.annotations if a.name == "@Version")
    assert (version["major"], version["minor"]) == (1.0, 2.0)
    assert repr(rule_file) == "<kov.RuleFile 'examples/building.tkb': 12 attributes, 20 rules>" \
        or "12 attributes, 20 rules" in repr(rule_file)


@pytest.mark.parametrize("name", ["building", "minimal", "generated-3", "generated-20",
                                  "every-kind"])
def test_texts_match_what_kov_prints(runtime, files, name):
    path = str(files / f"{name}.tkb")
    rule_file = runtime.load(path)
    assert rule_file.xml().encode("utf-8", "surrogateescape") + b"\n" == golden(f"{name}.xml")
    assert rule_file.to_dict() == kov_json("json", path)
    assert (rule_file.dump() + "\n").encode("utf-8", "surrogateescape") == golden(
        f"{name}.dump.txt")
    expected = json.loads(golden(f"{name}.constants.json"))["constants"]
    assert [constant_json(c) for c in rule_file.constants] == expected


def constant_json(constant):
    """A typed constant back in the form of kov constants --json."""
    if constant is None:
        return None
    kind, value = constant.kind, constant.value
    if kind is kov.ConstantKind.RULE:
        return {"kind": "method", "poolIndex": value.pool_index,
                "methodPosition": value.method_position, "undefined": value.undefined,
                "maxStack": value.max_stack, "paramCount": value.param_count,
                "localSlots": value.local_slots, "localTypes": list(value.local_types),
                "code": value.code.hex(), "isPublic": value.is_public, "name": value.name,
                "baseName": value.base_name, "descriptor": value.descriptor}
    if kind is kov.ConstantKind.UNKNOWN:
        return {"kind": "unknown", "code": value}
    if kind is kov.ConstantKind.ENUM_VALUE:
        return {"kind": "enum", "value": value.value, "name": value.name}
    if kind is kov.ConstantKind.CREATE_SHAPE:
        return {"kind": kind.value}
    key = {kov.ConstantKind.BUILTIN: "id", kov.ConstantKind.ENUM_TYPE: "index"}.get(kind, "value")
    return {"kind": kind.value, key: value}


def test_failures_raise_decode_error_with_the_readers_message(runtime, files, tmp_path):
    with pytest.raises(kov.DecodeError) as missing:
        runtime.load(tmp_path / "missing.tkb")
    assert missing.value.path == str(tmp_path / "missing.tkb")
    assert "No such file or directory" in missing.value.message
    assert str(missing.value) == f"{missing.value.path}: {missing.value.message}"
    assert isinstance(missing.value, kov.Error)

    with pytest.raises(kov.DecodeError, match="not a regular file"):
        runtime.load(tmp_path)
    data = (files / "building.tkb").read_bytes()
    with pytest.raises(kov.DecodeError) as cut:
        runtime.load(data[:200])
    assert cut.value.path is None and cut.value.message

    # The reader's check would end the process: the helper's message comes back instead.
    fatal = str(files / "fatal.tkb")
    expected = json.loads(run_kov("check", "--json", fatal).splitlines()[0])["error"]
    for source in (fatal, (files / "fatal.tkb").read_bytes()):
        with pytest.raises(kov.DecodeError) as error:
            runtime.load(source)
        assert error.value.message == expected
    assert runtime.load(files / "minimal.tkb").rules


def test_decodes_release_the_interpreter_lock(runtime, files):
    path = str(files / "generated-1000.tkb")
    ticks, stop = [0], threading.Event()

    def tick():
        while not stop.is_set():
            ticks[0] += 1
            time.sleep(0)  # lets go of the lock, so that the decoding thread gets it back

    # Without a timed switch, the ticker runs only while a decode lets go of the lock.
    interval = sys.getswitchinterval()
    sys.setswitchinterval(100)
    ticker = threading.Thread(target=tick)
    ticker.start()
    try:
        progress = 0
        for _ in range(10):
            before = ticks[0]
            runtime.load(path)
            progress += ticks[0] - before
    finally:
        stop.set()
        ticker.join()
        sys.setswitchinterval(interval)
    assert progress > 0


def test_threads_decode_the_same_file_alike(runtime, files):
    paths = [str(files / name) for name in ("generated-1000.tkb", "building.tkb")]
    expected = [runtime.load(p).to_dict() for p in paths]
    results = []

    def decode():
        for _ in range(10):
            results.append([runtime.load(p).to_dict() for p in paths])

    threads = [threading.Thread(target=decode) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(results) == 40 and all(r == expected for r in results)
