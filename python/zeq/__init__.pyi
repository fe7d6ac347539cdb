from collections.abc import Mapping
from os import PathLike
from typing import Any, Literal, TypedDict, Union, overload

import numpy
from numpy.typing import NDArray

__version__: str

_FileName = Union[str, bytes, PathLike[str], PathLike[bytes]]
_Format = Literal[
    "YUYV-422",
    "ZEQ-420",
    "RGB-U8",
    "BGR-U8",
    "RGBA-U8",
    "BGRA-U8",
    "ZEQ-422",
    "RGB-DPX-FILLED",
    "BGR-DPX-FILLED",
    "RGB-SMPTE-2110",
    "BGR-SMPTE-2110",
    "ZEQ-4224-HYBRID",
    "YCoCg-DXT5",
]
_SampleType = Literal["uint8", "uint16", "float32"]

class _FormatFacts(TypedDict):
    bits: int
    hasAlpha: bool
    dtype: _SampleType
    rowsPerGroup: int
    columnsPerGroup: int

class _FileFacts(TypedDict):
    format: _Format | None
    formatCode: str
    bits: int | None
    hasAlpha: bool | None
    dtype: _SampleType | None
    width: int
    height: int
    frameWidth: int
    frameHeight: int
    magic: Literal["zeq ", "zeqZ"]
    headerByte0: int
    headerByte1: int
    headerRevision: int
    headerByte3: int
    frameField1: int

class Error(Exception): ...

class DataError(Error, ValueError):
    filename: _FileName | None

class FileError(Error, OSError): ...
class MissingFileError(FileError, FileNotFoundError): ...
class FilePermissionError(FileError, PermissionError): ...

formats: Mapping[_Format, _FormatFacts]

@overload
def read(
    file: _FileName,
    *,
    dtype: Literal["float32"] | type[numpy.float32] = "float32",
    channels: str | None = None,
) -> NDArray[numpy.float32]: ...
@overload
def read(
    file: _FileName,
    *,
    dtype: Literal["native"],
    channels: str | None = None,
) -> NDArray[Any]: ...
def write(
    file: _FileName,
    array: NDArray[Any],
    *,
    format: _Format | str,
    channels: str | None = None,
    header: Mapping[str, Any] | None = None,
) -> None: ...
def convert(source: _FileName, destination: _FileName, *, format: _Format | str) -> None: ...
def info(file: _FileName) -> _FileFacts: ...
def keep_memory(byte_count: int) -> None: ...
