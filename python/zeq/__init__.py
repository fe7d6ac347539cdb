"""Reads and writes zeq media files as numpy arrays.

    import zeq
    picture = zeq.read("shot.0001.zeq", channels="RGBA")    # float32, 0 to 1
    zeq.write("graded.0001.zeq", picture, channels="RGBA", format="ZEQ-4224-HYBRID")

Arrays have the shape rows x columns x channels, the upper row first. Values are as they are stored:
no colour conversion, no multiplication by alpha. Files may be named by str, bytes or any os.PathLike.
Other threads run while a file is read, written or converted.

What is wrong with a file or an array raises a zeq.Error: a DataError, which is a ValueError, or a
FileError, which is an OSError. An argument of the wrong kind raises a TypeError, and too little memory
a MemoryError.
"""

from ._zeq import (
    DataError,
    Error,
    FileError,
    FilePermissionError,
    MissingFileError,
    __version__,
    convert,
    formats,
    info,
    keep_memory,
    read,
    write,
)

__all__ = [
    "DataError",
    "Error",
    "FileError",
    "FilePermissionError",
    "MissingFileError",
    "convert",
    "formats",
    "info",
    "keep_memory",
    "read",
    "write",
]
