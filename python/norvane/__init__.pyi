from os import PathLike
from typing import Iterable, Iterator, Mapping, Optional, Sequence, Tuple, Union

Path = Union[str, PathLike[str]]
Value = Union[bool, int, float, str, None]

class Report:
    severity: str
    name: str
    file: str
    line: int
    column: int
    end_line: int
    end_column: int
    message: str
    description: str

class Place:
    file: str
    line: int
    column: int
    end_line: int
    end_column: int

class Note:
    place: Place
    text: str

class Replacement:
    place: Place
    text: str
    is_certain: bool

class Fault:
    severity: str
    name: str
    message: str
    place: Place
    notes: list[Note]
    hint: str
    replacements: list[Replacement]

class ModelError(ValueError):
    reports: list[Report]

class InternalError(RuntimeError): ...

class Expression:
    kind: str
    operator: Optional[str]
    args: list[Expression]
    path: list[Tuple[str, list[Expression]]]
    value: Value
    loop_variable: Optional[str]

class Type:
    kind: str
    name: Optional[str]
    labels: list[str]
    bound: Optional[Expression]
    element: Optional[Type]

class Variable:
    name: str
    is_public: bool
    type: Type
    fields: list[Variable]
    file: str
    line: int

class Rule:
    expression: Expression
    comment: Optional[str]
    file: str
    line: int

class FlatRules(Sequence[Tuple[Expression, Optional[Rule]]]): ...

class Model:
    file: str
    constants: dict[str, Expression]
    types: dict[str, Type]
    variables: list[Variable]
    rules: list[Rule]
    def check(self) -> list[Report]: ...
    def flat(self) -> FlatRules: ...
    def simplify(self) -> Model: ...

class Function:
    namespace: str
    name: str
    type: str
    arguments: list[Tuple[str, str]]
    file: str
    line: int

class Calculation:
    functions: list[Function]
    def check(self, model: Model) -> list[Report]: ...

class Project:
    name: str
    model: Optional[str]
    defines: dict[str, str]
    include_dirs: list[str]
    model_files: list[str]
    calculations: list[str]
    presentations: list[str]
    orders: list[str]

class Workspace:
    projects: list[Project]

class Package:
    members: list[str]
    def read(self, member: str) -> bytes: ...

def load(path: Path, *, defines: Optional[Mapping[str, Union[str, int, None]]] = ...,
         undefines: Iterable[str] = ..., include_dirs: Iterable[Path] = ...) -> Model: ...
def faults(path: Path, *, calculation: Optional[Path] = ...,
           defines: Optional[Mapping[str, Union[str, int, None]]] = ..., undefines: Iterable[str] = ...,
           include_dirs: Iterable[Path] = ..., warnings: Union[str, Iterable[str]] = ...) -> list[Fault]: ...
def write(model: Model, path: Path) -> None: ...
def load_calculation(path: Path, model: Optional[str] = ...) -> Calculation: ...
def load_presentation(path: Path) -> dict[str, dict[str, str]]: ...
def load_order(path: Path) -> list[str]: ...
def load_workspace(path: Path) -> Workspace: ...
def open_package(path: Path) -> Package: ...
def walk(expression: Expression) -> Iterator[Expression]: ...
