import enum
import os
from typing import (Any, BinaryIO, Iterable, Iterator, List, Optional, Tuple, Union)

_Path = Union[str, os.PathLike[str]]
Source = Union[_Path, bytes, bytearray, memoryview, BinaryIO]

class Error(Exception): ...

class DecodeError(Error):
    path: Optional[str]
    message: str
    def __init__(self, path: Optional[str], message: str) -> None: ...

class ValueType(enum.IntEnum):
    VOID = 0
    BOOL = 1
    FLOAT = 2
    STRING = 3
    INTEGER = 4
    UNKNOWN = 5
    @property
    def word(self) -> str: ...

class ExtensionType(enum.IntEnum):
    STREAM_ADAPTOR = 1
    ENCODER = 2
    DECODER = 3

class Extension:
    id: str
    type: ExtensionType
    merit: float
    description: str
    def __init__(self, id: str, type: ExtensionType, merit: float, description: str) -> None: ...

class Argument:
    key: str
    type: ValueType
    value: Union[bool, float, str, None]
    def __init__(self, key: str, type: ValueType, value: Union[bool, float, str, None]) -> None: ...

class Annotation:
    name: str
    arguments: Tuple[Argument, ...]
    def __init__(self, name: str, arguments: Tuple[Argument, ...]) -> None: ...
    def __getitem__(self, key: Union[int, str]) -> Union[bool, float, str, None]: ...

class Parameter:
    name: str
    type: ValueType
    annotations: Tuple[Annotation, ...]
    def __init__(self, name: str, type: ValueType,
                 annotations: Tuple[Annotation, ...] = ...) -> None: ...

class Entry:
    name: str
    type: ValueType
    parameters: Tuple[Parameter, ...]
    annotations: Tuple[Annotation, ...]
    group: Optional[str]
    group_order: Optional[float]
    order: Optional[float]
    is_start_rule: bool
    def __init__(self, name: str, type: ValueType, parameters: Tuple[Parameter, ...],
                 annotations: Tuple[Annotation, ...], group: Optional[str],
                 group_order: Optional[float], order: Optional[float],
                 is_start_rule: bool) -> None: ...
    def annotation(self, name: str) -> Optional[Annotation]: ...

class ConstantKind(enum.Enum):
    STRING = "string"
    DOUBLE = "double"
    INTEGER = "integer"
    RULE = "method"
    BUILTIN = "builtin"
    CREATE_SHAPE = "createShape"
    ENUM_TYPE = "enumType"
    ENUM_VALUE = "enum"
    UNKNOWN = "unknown"

class Rule:
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

class EnumValue:
    value: Optional[int]
    name: Optional[str]

class Constant:
    index: int
    kind: ConstantKind
    value: Any

class RuleFile:
    @property
    def path(self) -> Optional[str]: ...
    @property
    def attributes(self) -> Tuple[Entry, ...]: ...
    @property
    def rules(self) -> Tuple[Entry, ...]: ...
    @property
    def annotations(self) -> Tuple[Annotation, ...]: ...
    @property
    def constants(self) -> Tuple[Optional[Constant], ...]: ...
    @property
    def start_rule(self) -> Optional[Entry]: ...
    def to_dict(self) -> dict[str, Any]: ...
    def xml(self) -> str: ...
    def dump(self) -> str: ...

class Runtime:
    def __init__(self, plugin_paths: Iterable[_Path] = ..., probe_plugins: bool = ...) -> None: ...
    def __enter__(self) -> Runtime: ...
    def __exit__(self, *exc_info: object) -> None: ...
    def close(self) -> None: ...
    @property
    def closed(self) -> bool: ...
    def extensions(self) -> List[Extension]: ...
    def load(self, source: Source) -> RuleFile: ...

class CheckResult:
    path: str
    ok: bool
    bytes: int
    milliseconds: float
    error: Optional[str]
    attributes: int
    rules: int
    def to_dict(self) -> dict[str, Any]: ...

def check(paths: Union[_Path, Iterable[_Path]], jobs: Optional[int] = ...,
          plugin_paths: Iterable[_Path] = ...) -> Iterator[CheckResult]: ...

class ChangeClass(enum.Enum):
    BREAKING = "breaking"
    COMPATIBLE = "compatible"
    PRESENTATION = "presentation"

class ArgumentChange:
    key: str
    position: int
    old: Optional[str]
    new: Optional[str]

class Change:
    file: str
    section: str
    name: str
    kind: str
    change_class: ChangeClass
    description: str
    old: Optional[str]
    new: Optional[str]
    arguments: Tuple[ArgumentChange, ...]
    @property
    def breaking(self) -> bool: ...
    def to_dict(self) -> dict[str, Any]: ...

class Changes(List[Change]):
    @property
    def breaking(self) -> List[Change]: ...

def diff(old: _Path, new: _Path, plugin_paths: Iterable[_Path] = ...) -> Changes: ...
