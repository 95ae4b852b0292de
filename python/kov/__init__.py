"""Rule files of the kov runtime in Python scripts.

Load the loader library with its extensions, decode compiled rule files (.tkb) the way the
runtime's core does, and read their attributes, rules and annotations; check whole libraries
of rule files and compare the interfaces of two releases.

    with kov.Runtime() as runtime:
        rule_file = runtime.load("examples/building.tkb")
        for attribute in rule_file.attributes:
            print(attribute.name, attribute.type.name, attribute.group)
"""

from __future__ import annotations

import enum
import os
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from functools import cached_property
from typing import Any, Iterable, Iterator, List, Optional, Sequence, Tuple, Union

__all__ = [
    "Annotation", "Argument", "ArgumentChange", "Change", "ChangeClass", "Changes",
    "CheckResult", "Constant", "ConstantKind", "DecodeError", "EnumValue", "Entry", "Error",
    "Extension", "ExtensionType", "Parameter", "Rule", "RuleFile", "Runtime", "ValueType",
    "check", "diff",
]


class Error(Exception):
    """A failure of the kov runtime: the loader library, an extension or a path."""


class DecodeError(Error):
    """A rule file that cannot be read or decoded.

    path is the file as it was given (None for bytes without a name); message is the
    decoder's or the class file reader's own text.
    """

    def __init__(self, path: Optional[str], message: str) -> None:
        super().__init__(path, message)
        self.path = path
        self.message = message

    def __str__(self) -> str:
        return f"{self.path}: {self.message}" if self.path is not None else self.message


from . import _kov  # noqa: E402  (the native half raises the two classes above)

_kov._set_error_classes(Error, DecodeError)


class ValueType(enum.IntEnum):
    """The type of an attribute's value, a rule's result, a parameter or an argument."""

    VOID = 0
    BOOL = 1
    FLOAT = 2
    STRING = 3
    INTEGER = 4
    UNKNOWN = 5

    @property
    def word(self) -> str:
        """The word that kov's outputs use: "void", "bool", "float", "string", ..."""
        return _TYPE_WORDS[self]


_TYPE_WORDS = {ValueType.VOID: "void", ValueType.BOOL: "bool", ValueType.FLOAT: "float",
               ValueType.STRING: "string", ValueType.INTEGER: "integer",
               ValueType.UNKNOWN: "unknown"}
_TYPES_BY_WORD = {word: value_type for value_type, word in _TYPE_WORDS.items()}


class ExtensionType(enum.IntEnum):
    """What an extension does for the runtime."""

    STREAM_ADAPTOR = 1
    ENCODER = 2
    DECODER = 3


@dataclass(frozen=True)
class Extension:
    """One extension that the manager registered."""

    id: str
    type: ExtensionType
    merit: float
    description: str


@dataclass(frozen=True)
class Argument:
    """One argument of an annotation; key is "" when it has none."""

    key: str
    type: ValueType
    value: Union[bool, float, str, None]

    def __str__(self) -> str:
        if isinstance(self.value, bool):
            text = "true" if self.value else "false"
        elif isinstance(self.value, float):
            text = f"{self.value:g}"
        elif isinstance(self.value, str):
            text = '"' + self.value.replace("\\", "\\\\").replace('"', '\\"') + '"'
        else:
            text = "?"
        return f"{self.key}={text}" if self.key else text

    def __repr__(self) -> str:
        return f"<kov.Argument {self} ({self.type.word})>"


@dataclass(frozen=True)
class Annotation:
    """An annotation such as @Range(min=0, max=10), with its arguments in order."""

    name: str
    arguments: Tuple[Argument, ...]

    def __str__(self) -> str:
        if not self.arguments:
            return self.name
        return f"{self.name}({', '.join(map(str, self.arguments))})"

    def __repr__(self) -> str:
        return f"<kov.Annotation {self}>"

    def __getitem__(self, key: Union[int, str]) -> Union[bool, float, str, None]:
        """The value of the argument at a position or with a key."""
        if isinstance(key, int):
            return self.arguments[key].value
        for argument in self.arguments:
            if argument.key == key:
                return argument.value
        raise KeyError(key)


@dataclass(frozen=True)
class Parameter:
    """One parameter of a rule."""

    name: str
    type: ValueType
    annotations: Tuple[Annotation, ...] = ()

    def __str__(self) -> str:
        return f"{self.type.word} {self.name}"

    def __repr__(self) -> str:
        return f"<kov.Parameter {self}>"


@dataclass(frozen=True)
class Entry:
    """An attribute or a rule of a rule file.

    type is the attribute's value type or the rule's return type. group, group_order and order
    come from the $Group and $Order annotations (None without them); is_start_rule from
    $StartRule. annotations keep every annotation, the compiler's markers included.
    """

    name: str
    type: ValueType
    parameters: Tuple[Parameter, ...]
    annotations: Tuple[Annotation, ...]
    group: Optional[str]
    group_order: Optional[float]
    order: Optional[float]
    is_start_rule: bool

    def annotation(self, name: str) -> Optional[Annotation]:
        """The first annotation of that name, such as "@Range", or None."""
        return next((a for a in self.annotations if a.name == name), None)

    def __str__(self) -> str:
        return f"{self.type.word} {self.name}({', '.join(map(str, self.parameters))})"

    def __repr__(self) -> str:
        shown = " ".join(str(a) for a in self.annotations if not a.name.startswith("_$"))
        return f"<kov.Entry {self}{' ' + shown if shown else ''}>"


class ConstantKind(enum.Enum):
    """What a slot of the rule program's constant table holds."""

    STRING = "string"
    DOUBLE = "double"
    INTEGER = "integer"
    RULE = "method"
    BUILTIN = "builtin"
    CREATE_SHAPE = "createShape"
    ENUM_TYPE = "enumType"
    ENUM_VALUE = "enum"
    UNKNOWN = "unknown"


@dataclass(frozen=True)
class Rule:
    """A rule or function of the file that the constant table refers to, with its code."""

    name: str
    base_name: str
    descriptor: str
    pool_index: int
    method_position: int
    undefined: bool
    max_stack: int
    param_count: int
    local_slots: int
    local_types: Tuple[int, ...]
    code: bytes
    is_public: bool

    def __repr__(self) -> str:
        return f"<kov.Rule {self.name}{self.descriptor}: {len(self.code)} code bytes>"


@dataclass(frozen=True)
class EnumValue:
    """A member of an enumeration: its position in its type (-1 when unknown) and its name."""

    value: Optional[int]
    name: Optional[str]


@dataclass(frozen=True)
class Constant:
    """One translated constant, typed by its kind.

    value is a str (STRING), float (DOUBLE), int (INTEGER, BUILTIN id, ENUM_TYPE index),
    a Rule (RULE), an EnumValue (ENUM_VALUE), or None (CREATE_SHAPE); for UNKNOWN it is the
    kind's code as stored.
    """

    index: int
    kind: ConstantKind
    value: Any

    def __repr__(self) -> str:
        return f"<kov.Constant [{self.index}] {self.kind.value} {self.value!r}>"


def _argument(data: dict) -> Argument:
    return Argument(data["key"], _TYPES_BY_WORD[data["type"]], data["value"])


def _annotations(data: list) -> Tuple[Annotation, ...]:
    return tuple(Annotation(a["name"], tuple(_argument(x) for x in a["arguments"]))
                 for a in data)


def _number(annotation: Optional[Annotation], position: int) -> Optional[float]:
    if annotation is None or len(annotation.arguments) <= position:
        return None
    value = annotation.arguments[position].value
    return value if isinstance(value, float) else None


def _entry(data: dict) -> Entry:
    annotations = _annotations(data["annotations"])
    by_name = {}
    for annotation in annotations:
        by_name.setdefault(annotation.name, annotation)
    group = by_name.get("$Group")
    group_name = group.arguments[0].value if group and group.arguments else None
    return Entry(
        name=data["name"],
        type=_TYPES_BY_WORD[data["type"]],
        parameters=tuple(Parameter(p["name"], _TYPES_BY_WORD[p["type"]],
                                   _annotations(p["annotations"]))
                         for p in data["parameters"]),
        annotations=annotations,
        group=group_name if isinstance(group_name, str) else None,
        group_order=_number(group, 1),
        order=_number(by_name.get("$Order"), 0),
        is_start_rule="$StartRule" in by_name)


def _constant(index: int, data: dict) -> Constant:
    kind = ConstantKind(data["kind"])
    if kind is ConstantKind.RULE:
        value: Any = Rule(
            name=data["name"], base_name=data["baseName"], descriptor=data["descriptor"],
            pool_index=data["poolIndex"], method_position=data["methodPosition"],
            undefined=data["undefined"], max_stack=data["maxStack"],
            param_count=data["paramCount"], local_slots=data["localSlots"],
            local_types=tuple(data["localTypes"]), code=data["code"],
            is_public=data["isPublic"])
    elif kind is ConstantKind.ENUM_VALUE:
        value = EnumValue(data["value"], data["name"])
    elif kind is ConstantKind.BUILTIN:
        value = data["id"]
    elif kind is ConstantKind.ENUM_TYPE:
        value = data["index"]
    elif kind is ConstantKind.UNKNOWN:
        value = data["code"]
    else:
        value = data.get("value")
    return Constant(index, kind, value)


class RuleFile:
    """A decoded rule file. Made by Runtime.load; its objects are built when first asked for."""

    def __init__(self, native: "_kov.RuleFile") -> None:
        self._native = native

    @property
    def path(self) -> Optional[str]:
        """The path or URI it was loaded from, or the name given with its bytes."""
        return self._native.path

    @cached_property
    def _info(self) -> dict:
        return self._native.to_dict()

    @cached_property
    def attributes(self) -> Tuple[Entry, ...]:
        """The attributes, in the order the rule file info keeps them."""
        return tuple(_entry(e) for e in self._info["attributes"])

    @cached_property
    def rules(self) -> Tuple[Entry, ...]:
        """The rules, in the order the rule file info keeps them."""
        return tuple(_entry(e) for e in self._info["rules"])

    @cached_property
    def annotations(self) -> Tuple[Annotation, ...]:
        """The file's own annotations, such as @Version."""
        return _annotations(self._info["annotations"])

    @cached_property
    def constants(self) -> Tuple[Optional[Constant], ...]:
        """The rule program's constant table, by pool index; None for an untranslated slot."""
        return tuple(None if c is None else _constant(i, c)
                     for i, c in enumerate(self._native.program()["constants"]))

    @property
    def start_rule(self) -> Optional[Entry]:
        """The rule marked $StartRule, or None."""
        return next((r for r in self.rules if r.is_start_rule), None)

    def to_dict(self) -> dict:
        """The object that `kov json` prints: attributes, rules and annotations."""
        return self._native.to_dict()

    def xml(self) -> str:
        """The rule file info's XML text, exactly as the library writes it."""
        return self._native.xml()

    def dump(self) -> str:
        """The class model's text form with the code of every method."""
        return self._native.dump()

    def __repr__(self) -> str:
        return (f"<kov.RuleFile {self.path!r}: {self._native.attribute_count} attributes, "
                f"{self._native.rule_count} rules>")


Source = Union[str, "os.PathLike[str]", bytes, bytearray, memoryview, Any]


class Runtime:
    """The loader library with its extensions, loaded the way the runtime's core loads it.

    The extensions of the default extension directory are loaded, then those of every path in
    plugin_paths (a directory or a .so file). probe_plugins tries each plug-in in a helper
    process first and skips those that kill it. Use it as a context manager, or call close();
    rule files loaded through it stay usable after it closes.
    """

    def __init__(self, plugin_paths: Iterable[Union[str, "os.PathLike[str]"]] = (),
                 probe_plugins: bool = False) -> None:
        self._plugin_paths = tuple(os.fspath(p) for p in plugin_paths)
        self._native = _kov.Runtime(list(self._plugin_paths), probe_plugins)

    def __enter__(self) -> "Runtime":
        return self

    def __exit__(self, *exc_info: object) -> None:
        self.close()

    def close(self) -> None:
        """Lets go of the library; it is unloaded when the last rule file of it is gone."""
        self._native.close()

    @property
    def closed(self) -> bool:
        return self._native.closed

    def extensions(self) -> List[Extension]:
        """Every registered extension, in the manager's order."""
        return [Extension(e.id, ExtensionType(e.type), e.merit, e.description)
                for e in self._native.extensions()]

    def load(self, source: Source) -> RuleFile:
        """Decodes a rule file: a path, a URI (file:, or a scheme that an extension serves),
        bytes, or a binary file object. Raises DecodeError when it cannot."""
        if isinstance(source, (bytes, bytearray, memoryview)):
            return RuleFile(self._native.load_bytes(bytes(source), None))
        if isinstance(source, (str, os.PathLike)):
            return RuleFile(self._native.load(os.fspath(source)))
        if hasattr(source, "read"):
            data = source.read()
            if not isinstance(data, (bytes, bytearray)):
                raise TypeError("the file object must be opened in binary mode")
            name = getattr(source, "name", None)
            return RuleFile(self._native.load_bytes(
                bytes(data), os.fspath(name) if isinstance(name, (str, os.PathLike)) else None))
        raise TypeError(f"cannot load a rule file from {type(source).__name__}")

    def __repr__(self) -> str:
        state = "closed" if self.closed else f"{len(self._native.extensions())} extensions"
        return f"<kov.Runtime {state}>"


@dataclass(frozen=True)
class CheckResult:
    """What checking one rule file found, as one line of `kov check --json`."""

    path: str
    ok: bool
    bytes: int
    milliseconds: float
    error: Optional[str]
    attributes: int
    rules: int

    def __repr__(self) -> str:
        state = "ok" if self.ok else f"failed: {self.error}"
        return f"<kov.CheckResult {self.path!r} {state}>"

    def to_dict(self) -> dict:
        """The result as a line of `kov check --json` holds it."""
        return {"path": self.path, "ok": self.ok, "bytes": self.bytes,
                "milliseconds": self.milliseconds, "error": self.error,
                "attributes": self.attributes, "rules": self.rules}


def _check_targets(paths: Iterable[Union[str, "os.PathLike[str]"]]) -> List[str]:
    targets = []
    for path in map(os.fspath, paths):
        try:
            is_directory = os.path.isdir(path)
            os.stat(path)
        except OSError as e:
            raise Error(f"cannot read '{path}': {e.strerror}") from None
        if is_directory:
            targets.extend(os.path.join(path, f) for f in _kov.rule_files_below(path))
        else:
            targets.append(path)
    return targets


def check(paths: Union[str, "os.PathLike[str]", Iterable[Union[str, "os.PathLike[str]"]]],
          jobs: Optional[int] = None,
          plugin_paths: Iterable[Union[str, "os.PathLike[str]"]] = ()) -> Iterator[CheckResult]:
    """Decodes every rule file under the paths and yields one CheckResult per file, in order.

    Directories are searched recursively for .tkb and .class files. The files decode on jobs
    threads (one per core by default). A file that would end the process in the class file
    reader's check is decoded in a helper process and reported with the reader's message.
    """
    if isinstance(paths, (str, os.PathLike)):
        paths = [paths]
    if jobs is not None and not 1 <= jobs <= 1024:
        raise ValueError(f"jobs takes a number of threads from 1 to 1024, got {jobs}")
    targets = _check_targets(paths)
    runtime = Runtime(plugin_paths)
    workers = jobs or os.cpu_count() or 1

    def results() -> Iterator[CheckResult]:
        with runtime, ThreadPoolExecutor(max_workers=workers) as pool:
            for fields in pool.map(runtime._native.check_file, targets):
                yield CheckResult(*fields)

    return results()


class ChangeClass(enum.Enum):
    """How a change touches those who call a rule file."""

    BREAKING = "breaking"
    COMPATIBLE = "compatible"
    PRESENTATION = "presentation"


@dataclass(frozen=True)
class ArgumentChange:
    """One argument of a changed annotation, by key or, without one, by position (from 1)."""

    key: str
    position: int
    old: Optional[str]
    new: Optional[str]


@dataclass(frozen=True)
class Change:
    """One difference between two interfaces, as `kov diff --json` lists it.

    file is the path below the two directories ("" for two files); section is "attributes",
    "rules", "annotations" or "files".
    """

    file: str
    section: str
    name: str
    kind: str
    change_class: ChangeClass
    description: str
    old: Optional[str]
    new: Optional[str]
    arguments: Tuple[ArgumentChange, ...] = ()

    @property
    def breaking(self) -> bool:
        """Whether the change breaks those who call the rule file."""
        return self.change_class is ChangeClass.BREAKING

    def to_dict(self) -> dict:
        """The change as `kov diff --json` writes it."""
        data = {"file": self.file, "section": self.section, "name": self.name,
                "kind": self.kind, "class": self.change_class.value,
                "description": self.description, "old": self.old, "new": self.new}
        if self.arguments:
            data["arguments"] = [{"key": a.key, "position": a.position, "old": a.old,
                                  "new": a.new} for a in self.arguments]
        return data

    def __str__(self) -> str:
        where = f"{self.file}: " if self.file else ""
        return f"{where}{self.section} {self.name}: {self.description} ({self.change_class.value})"

    def __repr__(self) -> str:
        return f"<kov.Change {self}>"


class Changes(List[Change]):
    """The changes of a comparison, in the order `kov diff --json` lists them."""

    @property
    def breaking(self) -> List[Change]:
        """Only the breaking changes."""
        return [c for c in self if c.breaking]

    def __repr__(self) -> str:
        return f"<kov.Changes {len(self)} changes, {len(self.breaking)} breaking>"


def _changes(file: str, native: Sequence[tuple]) -> List[Change]:
    return [Change(file, section, name, kind, ChangeClass(change_class), description, old, new,
                   tuple(ArgumentChange(*a) for a in arguments))
            for section, name, kind, change_class, description, old, new, arguments in native]


def diff(old: Union[str, "os.PathLike[str]"], new: Union[str, "os.PathLike[str]"],
         plugin_paths: Iterable[Union[str, "os.PathLike[str]"]] = ()) -> Changes:
    """Compares the interfaces of two rule files or two directories of them.

    Files of two directories are paired by their path below them; a file on one side only is
    an added (compatible) or removed (breaking) file. Raises DecodeError for a file that does
    not decode, on either side.
    """
    old, new = os.fspath(old), os.fspath(new)
    old_is_directory, new_is_directory = os.path.isdir(old), os.path.isdir(new)
    if old_is_directory or new_is_directory:
        for path in (old, new):
            if not os.path.exists(path):
                raise Error(f"cannot read '{path}': No such file or directory")
    if old_is_directory != new_is_directory:
        raise Error("old and new must both be rule files or both be directories")
    changes = Changes()
    with Runtime(plugin_paths) as runtime:
        if not old_is_directory:
            changes.extend(_changes("", runtime._native.diff_files(old, new)))
            return changes
        before = set(_kov.rule_files_below(old))
        after = set(_kov.rule_files_below(new))
        for path in sorted(before | after):
            if path not in after:
                runtime.load(os.path.join(old, path))
                changes.append(Change("", "files", path, "removed", ChangeClass.BREAKING,
                                      "removed", path, None))
            elif path not in before:
                runtime.load(os.path.join(new, path))
                changes.append(Change("", "files", path, "added", ChangeClass.COMPATIBLE,
                                      "added", None, path))
        for path in sorted(before & after):
            changes.extend(_changes(path, runtime._native.diff_files(
                os.path.join(old, path), os.path.join(new, path))))
    return changes
