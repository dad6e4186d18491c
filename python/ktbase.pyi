"""ktbase: the preferences, identifiers and paths of libktbase.so, read and
changed through the library itself."""

import os
from types import TracebackType
from typing import ClassVar, Dict, List, Literal, Optional, Type, Union, overload

_Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

__version__: str

class Scope:
    """A preference scope. Reads look in USER, then PROJECT, then SITE; the
    first scope that holds the key wins, even with an empty value."""

    USER: ClassVar[Scope]
    PROJECT: ClassVar[Scope]
    SITE: ClassVar[Scope]
    ALL: ClassVar[Scope]
    __members__: ClassVar[Dict[str, Scope]]
    def __init__(self, value: int) -> None: ...
    @property
    def name(self) -> str: ...
    @property
    def value(self) -> int: ...
    def __int__(self) -> int: ...
    def __index__(self) -> int: ...

class Prefs:
    """A preference manager over the user, project and site files. A path
    given replaces that scope's file. Nothing is read until load(). The user
    scope is saved when the object is closed or collected, unless writable is
    False."""

    def __init__(
        self,
        user: Optional[_Path] = None,
        project: Optional[_Path] = None,
        site: Optional[_Path] = None,
        writable: bool = True,
    ) -> None: ...
    def load(self, scope: Scope = ...) -> None:
        """Reads a scope's file (ALL: all three); a loaded scope is not read again."""
    def save(self, scope: Scope) -> None:
        """Writes a scope's file (ALL: every scope that has a file)."""
    @overload
    def get(self, key: str, default: bool, site_only: bool = False) -> bool: ...
    @overload
    def get(self, key: str, default: int, site_only: bool = False) -> int: ...
    @overload
    def get(self, key: str, default: float, site_only: bool = False) -> float: ...
    @overload
    def get(self, key: str, default: str, site_only: bool = False) -> str: ...
    @overload
    def get(self, key: str, default: List[str], site_only: bool = False, *, sep: str) -> List[str]:
        """The value of key, of the default's type; the default when missing."""
    @overload
    def set(self, key: str, value: Union[bool, int, float, str], scope: Scope) -> None: ...
    @overload
    def set(self, key: str, value: List[str], scope: Scope, *, sep: str) -> None:
        """Stores value in one scope, in memory; save() writes the file."""
    def remove(self, key: str) -> None:
        """Blanks key in the first scope that holds it."""
    def close(self) -> None:
        """Saves the user scope (unless read-only) and releases the manager."""
    def __enter__(self) -> Prefs: ...
    def __exit__(
        self,
        exc_type: Optional[Type[BaseException]],
        exc: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> Literal[False]: ...

class UID:
    """A 128-bit identifier: UID(text) parses 8-4-4-4-12 hexadecimal digits
    strictly (ValueError naming what is wrong); str() gives the canonical
    upper-case text."""

    def __init__(self, text: str) -> None: ...
    def __eq__(self, other: object) -> bool: ...
    def __hash__(self) -> int: ...

def root_dir() -> str:
    """The installation root, two folders above libktbase.so."""

def bin_dir() -> str:
    """The folder that holds libktbase.so."""

def db_dir() -> str:
    """root_dir()/db."""

def app_data_dir(sub_path: str = "") -> str:
    """The temporary folder joined with sub_path."""

class SearchPath:
    """Folders searched for files by extension."""

    def __init__(self) -> None: ...
    def add(self, folder: _Path, recursive: bool = False) -> None:
        """Adds folder (recursive: and every folder below it)."""
    def find(self, extension: str) -> List[str]:
        """Files directly inside each folder whose extension (dot included) matches."""
