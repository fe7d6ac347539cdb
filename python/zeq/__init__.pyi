from collections.abc import Mapping
from os import PathLike
from typing import Any, Literal, TypedDict, Union

import numpy
from numpy.typing import NDArray

__version__: str

FileName = Union[str, bytes, PathLike[str], PathLike[bytes]]
Format = Literal[
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
SampleType = Literal["uint8", "uint16", "float32"]

class FormatFacts(TypedDict):
    bits: int
    hasAlpha: bool
    dtype: SampleType
    rowsPerGroup: int
    columnsPerGroup: int

class FileFacts(TypedDict):
    format: Format | None
    formatCode: str
    bits: int | None
    hasAlpha: bool | None
    dtype: SampleType | None
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
    filename: FileName | None

class FileError(Error, OSError): ...
class MissingFileError(FileError, FileNotFoundError): ...
class FilePermissionError(FileError, PermissionError): ...

formats: Mapping[Format, FormatFacts]

def read(
    file: FileName,
    *,
    dtype: Any = "float32",
    channels: str | None = None,
) -> NDArray[Any]: ...
def write(
    file: FileName,
    array: NDArray[Any],
    *,
    format: Format,
    channels: str | None = None,
    header: Mapping[str, Any] | None = None,
) -> None: ...
def convert(source: FileName, destination: FileName, *, format: Format) -> None: ...
def info(file: FileName) -> FileFacts: ...
def keep_memory(byte_count: int) -> None: ...
