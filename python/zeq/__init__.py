"""Reads and writes zeq media files as numpy arrays.

    import zeq
    picture = zeq.read("shot.0001.zeq", channels="RGBA")    # float32, 0 to 1
    zeq.write("graded.0001.zeq", picture, channels="RGBA", format="ZEQ-4224-HYBRID")

Arrays have the shape rows x columns x channels, the upper row first. Files may be named by str,
bytes or any os.PathLike. Other threads run while a file is read, written or converted. Every failure
is a zeq.Error, and a ValueError or an OSError as well.
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
