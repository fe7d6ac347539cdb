"""The module as its users see it. Expected values are written down or computed from the layouts in
docs/formats.md; whatever numpy can do to an array is compared with numpy's own answer."""

import _thread
import ast
import errno
import gc
import itertools
import os
import pathlib
import pickle
import resource
import struct
import subprocess
import sys
import tempfile
import threading
import unittest
import weakref

import numpy
import zeq

SAMPLES = pathlib.Path(os.environ["SAMPLES"])
RGB_FORMATS = [name for name in zeq.formats if name.startswith(("RGB", "BGR"))]


def media_file(code, width, height, data, magic=b"zeq ", revision=0, picture=None):
    """The bytes of a media file."""
    columns, rows = picture or (width, height)
    extension = bytes(20) if revision > 1 else b""
    header = struct.pack("<4s4BIHHHH", magic, 7, 8, revision, 9, code, columns, 0, rows, 0)
    return header + extension + struct.pack("<HHHH", width, 0xA1A2, height, 0) + data


def rgb_of(y, cb, cr):
    """The colours of fractions of full scales."""
    blue, red = cb - 0.5, cr - 0.5
    return (
        y + 1.402 * red,
        y - (0.114 * 1.772 * blue + 0.299 * 1.402 * red) / 0.587,
        y + 1.772 * blue,
    )


# The red, green, blue and alpha of the upper left pixel of some group of each format.
CASES = [
    # name, code, pixels and bytes of a group, colours, native type
    ("YUYV-422", 0x8, (2, 1), bytes([100, 140, 0, 178]),
     (*rgb_of(100 / 255, 140 / 255, 178 / 255), 1), "float32"),
    ("ZEQ-420", 0x40, (2, 2), bytes([140, 178, 100, 0, 0, 0]),
     (*rgb_of(100 / 255, 140 / 255, 178 / 255), 1), "float32"),
    ("RGB-U8", 0x200, (1, 1), bytes([10, 20, 30]), (10 / 255, 20 / 255, 30 / 255, 1), "uint8"),
    ("BGR-U8", 0x202, (1, 1), bytes([30, 20, 10]), (10 / 255, 20 / 255, 30 / 255, 1), "uint8"),
    ("RGBA-U8", 0x204, (1, 1), bytes([10, 20, 30, 40]),
     (10 / 255, 20 / 255, 30 / 255, 40 / 255), "uint8"),
    ("BGRA-U8", 0x206, (1, 1), bytes([30, 20, 10, 40]),
     (10 / 255, 20 / 255, 30 / 255, 40 / 255), "uint8"),
    ("ZEQ-422", 0x1108, (2, 1), bytes([560 >> 2, 400 >> 2, 700 >> 2, 0, 0]),
     (*rgb_of(400 / 1023, 560 / 1023, 700 / 1023), 1), "float32"),
    ("RGB-DPX-FILLED", 0x1200, (1, 1), struct.pack("<I", 100 << 22 | 200 << 12 | 300 << 2),
     (100 / 1023, 200 / 1023, 300 / 1023, 1), "uint16"),
    ("BGR-DPX-FILLED", 0x1202, (1, 1), struct.pack("<I", 300 << 22 | 200 << 12 | 100 << 2),
     (100 / 1023, 200 / 1023, 300 / 1023, 1), "uint16"),
    ("RGB-SMPTE-2110", 0x10200, (2, 1), (0x123456789 << 36).to_bytes(9, "big"),
     (0x123 / 4095, 0x456 / 4095, 0x789 / 4095, 1), "uint16"),
    ("BGR-SMPTE-2110", 0x10202, (2, 1), (0x789456123 << 36).to_bytes(9, "big"),
     (0x123 / 4095, 0x456 / 4095, 0x789 / 4095, 1), "uint16"),
    ("ZEQ-4224-HYBRID", 0x1100C, (2, 1), struct.pack("<II", 700 << 22, 600 << 22 | 2000 << 10 | 560),
     (*rgb_of(2000 / 4095, 560 / 1023, 700 / 1023), 600 / 1023), "float32"),
    ("YCoCg-DXT5", 0x20000000, (4, 4), bytes([100] + [0] * 7) + struct.pack("<HHI", 16 << 11 | 32 << 5, 0, 0),
     (102 / 255, 102 / 255, 94 / 255, 1), "uint8"),
]
FULL_SCALE = {"uint8": 255, "uint16": 65535, "float32": 1}


class ModuleTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def file(self, name, content=None):
        name = os.path.join(self.folder, name)
        if content is not None:
            pathlib.Path(name).write_bytes(content)
        return name

    def expect(self, kind, text, operation, *arguments, **named):
        with self.assertRaises(kind) as caught:
            operation(*arguments, **named)
        self.assertIs(type(caught.exception), kind)
        self.assertEqual(str(caught.exception), text)
        return caught.exception


class Reading(ModuleTest):
    def test_every_format_as_floats_and_as_native_samples(self):
        self.assertEqual([case[0] for case in CASES], list(zeq.formats))
        for name, code, (columns, rows), group, colours, native in CASES:
            with self.subTest(name):
                file = self.file("a.zeq", media_file(code, 3 * columns, 2 * rows, group * 6))
                facts = zeq.info(file)
                self.assertEqual((facts["format"], facts["dtype"]), (name, native))
                self.assertEqual(zeq.formats[name]["dtype"], native)
                self.assertEqual(zeq.formats[name]["columnsPerGroup"], columns)

                array = zeq.read(file)
                self.assertEqual(array.dtype, numpy.float32)
                self.assertEqual(array.shape, (2 * rows, 3 * columns, 4))
                numpy.testing.assert_allclose(array[0, 0, [2, 1, 0, 3]], colours, rtol=0, atol=2e-6)

                array = zeq.read(file, dtype="native")
                self.assertEqual(array.dtype, native)
                self.assertEqual(array.shape[2], 4 if facts["hasAlpha"] else 3)
                expected = [colours[place] * FULL_SCALE[native] for place in (2, 1, 0, 3)]
                numpy.testing.assert_allclose(
                    array[0, 0], expected[: array.shape[2]], rtol=0,
                    atol=2e-6 if native == "float32" else 0.501)

    def test_any_channels_in_any_order(self):
        choices = [
            "".join(order) for count in range(1, 5) for order in itertools.permutations("BGRA", count)
        ]
        for file in sorted(SAMPLES.glob("*.zeq")):
            for dtype in ("float32", "native"):
                every = zeq.read(file, dtype=dtype, channels="BGRA")
                for channels in choices:
                    with self.subTest(file=file.name, dtype=dtype, channels=channels):
                        array = zeq.read(file, dtype=dtype, channels=channels)
                        places = ["BGRA".index(channel) for channel in channels]
                        self.assertEqual(array.dtype, every.dtype)
                        self.assertTrue(numpy.array_equal(array, every[:, :, places]))
                        self.assertFalse(array.flags.owndata)
                        self.assertTrue(array.flags.writeable)

    def test_an_array_keeps_its_frame_and_nothing_else_does(self):
        file = self.file("a.zeq", media_file(0x200, 64, 64, bytes(range(256)) * 48))
        arrays = [zeq.read(file, dtype=dtype) for dtype in ("float32", "native") * 20]
        copies = [array.copy() for array in arrays]
        for array in arrays[:4]:
            array[0, 0] = 1
        for number, (array, copy) in enumerate(zip(arrays, copies)):
            self.assertEqual(numpy.array_equal(array, copy), number >= 4)
        frames = [weakref.ref(array.base.obj) for array in arrays]
        part = arrays[-1][5:6, ::2]
        del array, arrays
        gc.collect()
        self.assertEqual([frame() is not None for frame in frames], [False] * 39 + [True])
        self.assertTrue(numpy.array_equal(part, copies[-1][5:6, ::2]))

    def test_memory_does_not_grow(self):
        def resident():
            return int(pathlib.Path("/proc/self/statm").read_text().split()[1]) * resource.getpagesize()

        file = self.file("a.zeq", media_file(0x204, 1024, 1024, bytes(1 << 22)))
        before = resident()
        for _ in range(100):
            zeq.read(file, channels="RGBA")
        self.assertLess(resident() - before, 512 << 20)  # of 1.6 GB in all

    def test_several_threads_read_while_the_interpreter_does_not_take_turns(self):
        files = sorted(SAMPLES.glob("*.zeq"))
        expected = [zeq.read(file).copy() for file in files]
        results = {}

        def read(number):
            for _ in range(10):
                results[number] = [zeq.read(file) for file in files]

        interval = sys.getswitchinterval()
        self.addCleanup(sys.setswitchinterval, interval)
        sys.setswitchinterval(1000)  # seconds: nobody is asked to let others go on
        done = []
        _thread.start_new_thread(done.append, (True,))
        for _ in range(2000):
            if not done:
                zeq.read(files[0])
        self.assertTrue(done)
        sys.setswitchinterval(interval)

        threads = [threading.Thread(target=read, args=(number,)) for number in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for arrays in results.values():
            for array, original in zip(arrays, expected):
                self.assertTrue(numpy.array_equal(array, original))

    def test_the_first_arrays_may_be_made_by_several_threads(self):
        program = (
            "import sys, threading, zeq\n"
            "assert 'numpy' not in sys.modules\n"
            "assert 'OpenImageIO' not in open('/proc/self/maps').read()\n"
            "threads = [threading.Thread(target=zeq.read, args=(sys.argv[1],)) for _ in range(8)]\n"
            "for thread in threads: thread.start()\n"
            "for thread in threads: thread.join()\n"
        )
        file = SAMPLES / "coffee.rgb-u8.zeq"
        subprocess.run([sys.executable, "-c", program, file], check=True, timeout=100)


class Writing(ModuleTest):
    def test_what_was_read_gives_the_same_file(self):
        for name in RGB_FORMATS:
            _, code, (columns, _), group, *_ = next(case for case in CASES if case[0] == name)
            sample = (SAMPLES / f"coffee.{name.lower()}.zeq").read_bytes()
            pixels = sample[-(300 // columns * 200 * len(group)) :]
            for magic, revision in ((b"zeq ", 0), (b"zeqZ", 2)):
                content = media_file(code, 300, 200, pixels, magic, revision, (310, 190))
                file = self.file("a.zeq", content)
                for dtype, channels in (("float32", "BGRA"), ("native", None), ("native", "RGBA"),
                                        ("float32", "GRB")):
                    if dtype == "float32" and channels == "GRB" and zeq.formats[name]["hasAlpha"]:
                        continue
                    with self.subTest(name, dtype=dtype, channels=channels):
                        array = zeq.read(file, dtype=dtype, channels=channels)
                        copy = self.file("b.zeq")
                        zeq.write(copy, array, format=name, channels=channels, header=zeq.info(file))
                        self.assertEqual(pathlib.Path(copy).read_bytes(), content)
                zeq.convert(file, file, format=name)
                self.assertEqual(pathlib.Path(file).read_bytes(), content)

    def test_arrays_of_any_layout(self):
        generator = numpy.random.default_rng(1)
        for dtype, count in itertools.product(FULL_SCALE, (3, 4)):
            plain = (generator.random((6, 8, count)) * FULL_SCALE[dtype]).astype(dtype)
            wide = numpy.zeros((12, 24, count), dtype)
            wide[::2, ::3] = plain
            unaligned = numpy.frombuffer(b"x" + plain.tobytes(), dtype, offset=1).reshape(plain.shape)
            read_only = plain.copy()
            read_only.flags.writeable = False
            wider = numpy.zeros((6, 8, 5), dtype)
            wider[:, :, :count] = plain
            layouts = {
                "columns first": numpy.asfortranarray(plain),
                "a part of a wider one": wide[::2, ::3],
                "some rows": numpy.repeat(plain, 2, axis=0)[::2],
                "backwards": plain[::-1, ::-1, ::-1].copy()[::-1, ::-1, ::-1],
                "upside down": plain[::-1].copy()[::-1],
                "unaligned": unaligned,
                "other byte order": plain.astype(plain.dtype.newbyteorder()),
                "read-only": read_only,
                "with a gap behind each pixel": wider[:, :, :count],
            }
            for name, group in itertools.product(layouts, ("RGB-U8", "RGB-DPX-FILLED", "ZEQ-422")):
                with self.subTest(name, dtype=dtype, channels=count, format=group):
                    zeq.write(self.file("plain"), plain, format=group)
                    zeq.write(self.file("other"), layouts[name], format=group)
                    expected = pathlib.Path(self.file("plain")).read_bytes()
                    self.assertEqual(pathlib.Path(self.file("other")).read_bytes(), expected)
            for order in map("".join, itertools.permutations("BGRA"[:count])):
                places = ["BGRA".index(channel) for channel in order]
                zeq.write(self.file("other"), plain[:, :, places], format="BGRA-U8", channels=order)
                zeq.write(self.file("plain"), plain, format="BGRA-U8")
                self.assertEqual(pathlib.Path(self.file("other")).read_bytes(),
                                 pathlib.Path(self.file("plain")).read_bytes(), order)
            repeated = numpy.broadcast_to(plain[:1, :1], plain.shape)
            zeq.write(self.file("repeated"), repeated, format="RGB-SMPTE-2110")
            array = zeq.read(self.file("repeated"))
            self.assertTrue((array == array[0, 0]).all())

    def test_every_format_holds_every_type(self):
        # Greys, for which chroma that is shared by several pixels loses nothing.
        grey = numpy.linspace(0, 1, 64).reshape(8, 8, 1)
        for name, (dtype, scale), count in itertools.product(
                zeq.formats, FULL_SCALE.items(), (3, 4)):
            with self.subTest(name, dtype=dtype, channels=count):
                exact = numpy.repeat(grey * scale + (0.5 if scale > 1 else 0), count, axis=2)
                array = exact.astype(dtype)
                zeq.write(self.file("a.zeq"), array, format=name)
                read = zeq.read(self.file("a.zeq"))
                step = 8 if name == "YCoCg-DXT5" else 1.5
                numpy.testing.assert_allclose(
                    read[:, :, :3], array[:, :, :3] / scale, rtol=0, atol=step / 255)
                alpha = array[:, :, 3] / scale if count == 4 and zeq.formats[name]["hasAlpha"] else 1
                numpy.testing.assert_allclose(
                    read[:, :, 3], numpy.broadcast_to(alpha, (8, 8)), rtol=0, atol=1.5 / 255)

    def test_floats_that_no_file_holds_are_cut_off(self):
        for name in zeq.formats:
            for value, held in ((1e30, 1), (numpy.inf, 1), (1.5, 1), (-2, 0), (-numpy.inf, 0),
                                (numpy.nan, 0)):
                with self.subTest(name, value=value):
                    zeq.write(self.file("a.zeq"), numpy.full((4, 4, 4), value, "f"), format=name)
                    read = zeq.read(self.file("a.zeq"))[:, :, :3]
                    numpy.testing.assert_allclose(read, held, rtol=0, atol=1 / 255)

    def test_converting_keeps_what_the_headers_say(self):
        file = self.file("a.zeq", media_file(0x200, 4, 4, bytes(range(48)), b"zeqZ", 2, (3, 5)))
        expected = zeq.read(file).copy()
        facts = dict(zeq.info(file))
        zeq.convert(file, self.file("b.zeq"), format="BGRA-U8")
        facts |= {"format": "BGRA-U8", "formatCode": "0x0206", "hasAlpha": True}
        self.assertEqual(zeq.info(self.file("b.zeq")), facts)
        self.assertTrue(numpy.array_equal(zeq.read(self.file("b.zeq")), expected))


class Failures(ModuleTest):
    def test_of_files_that_are_not_to_be_read(self):
        end = "Media file has unexpectedly reached End-Of-File"
        sound = media_file(0x200, 2, 2, bytes(12))
        self.assertEqual(zeq.read(self.file("sound", sound)).shape, (2, 2, 4))
        cases = [(sound[:size], "Media file is corrupt" if size < 4 else end)
                 for size in range(len(sound))] + [
            (b"x" + sound[1:], "Media file is corrupt"),
            (media_file(0x201, 2, 2, bytes(12)),
             "Frame reading is not supported for media header format 0x0201"),
            (media_file(0x40, 2, 3, bytes(99)),
             "Frame format row pixel packing of 2 pixels is incompatible with supplied image rows of 3"),
            (media_file(0x200, 0, 2, b""), "no image data in frame"),
            (media_file(0x206, 32768, 32768, b""), "Expecting input data byte count 4294967296, got 0"),
        ]
        for content, text in cases:
            file = self.file("bad.zeq", content)
            quoted = f"{text}: {file!r}"
            for dtype in ("float32", "native"):
                with self.subTest(text, size=len(content), dtype=dtype):
                    error = self.expect(zeq.DataError, quoted, zeq.read, file, dtype=dtype)
                    self.assertIsInstance(error, ValueError)
                    self.assertEqual(error.filename, file)
            self.expect(zeq.DataError, quoted, zeq.convert, file, self.file("b"), format="RGB-U8")
        self.assertEqual(sorted(os.listdir(self.folder)), ["bad.zeq", "sound"])

    def test_of_files_that_once_were_found_by_trying(self):
        corpus = SAMPLES.parent / "fuzz" / "corpora" / "mediaFileReader"
        for file in corpus.iterdir():
            with self.subTest(file.name):
                try:
                    array = zeq.read(file)
                except zeq.DataError:
                    self.assertRaises(zeq.DataError, zeq.read, file, dtype="native")
                else:
                    self.assertEqual(zeq.read(file, dtype="native").shape[:2], array.shape[:2])

    def test_of_files_that_cannot_be_opened(self):
        os.mkfifo(self.file("pipe"))
        cases = [
            ("missing", zeq.MissingFileError, FileNotFoundError, errno.ENOENT),
            ("", zeq.FileError, OSError, errno.EISDIR),
            ("pipe", zeq.FileError, OSError, errno.EINVAL),
        ]
        if os.getuid() != 0:
            os.chmod(self.file("secret", b""), 0)
            cases.append(("secret", zeq.FilePermissionError, PermissionError, errno.EACCES))
        for name, kind, of_python, number in cases:
            file = self.file(name)
            for operation in (zeq.read, zeq.info):
                text = f"[Errno {number}] Failed to open file: {file!r}"
                error = self.expect(kind, text, operation, file)
                self.assertIsInstance(error, (of_python, zeq.FileError))
                self.assertEqual((error.errno, error.filename), (number, file))
                self.assertEqual(str(pickle.loads(pickle.dumps(error))), text)

    def test_of_outputs_leave_what_was_there(self):
        array = numpy.zeros((64, 64, 3), numpy.uint8)
        limits = resource.getrlimit(resource.RLIMIT_FSIZE)
        file = self.file("old.zeq", b"old")
        resource.setrlimit(resource.RLIMIT_FSIZE, (100, limits[1]))
        try:
            self.expect(zeq.FileError,
                        f"[Errno {errno.EFBIG}] Failed to write file: File too large: {file!r}",
                        zeq.write, file, array, format="RGB-U8")
        finally:
            resource.setrlimit(resource.RLIMIT_FSIZE, limits)
        for name, kind, text in (
                ("none/a", zeq.MissingFileError, "[Errno 2] Failed to create file: No such file or directory"),
                ("", zeq.FileError, "[Errno 21] Failed to create file: Is a directory")):
            name = self.file(name)
            self.expect(kind, f"{text}: {name!r}", zeq.write, name, array, format="RGB-U8")
        self.assertEqual(os.listdir(self.folder), ["old.zeq"])
        self.assertEqual(pathlib.Path(file).read_bytes(), b"old")

    def test_of_arguments(self):
        def zeros(*shape, dtype="f"):
            return numpy.zeros(shape, dtype)

        file = self.file("a.zeq")
        named = f": {file!r}"
        shapes = "; rows x columns x 3 or 4 channels are needed"
        types = "; uint8, uint16 or float32 is needed"
        cases = [
            (zeros(4, 4), {}, "array is of shape (4, 4)" + shapes),
            (zeros(4, 4, 2), {}, "array is of shape (4, 4, 2)" + shapes),
            (zeros(1, 4, 4, 4), {}, "array is of shape (1, 4, 4, 4)" + shapes),
            (zeros(4, 4, 3, dtype="d"), {}, "array is of type float64" + types),
            (zeros(4, 4, 3, dtype=bool), {}, "array is of type bool" + types),
            (zeros(4, 4, 3, dtype=">i2"), {}, "array is of type int16" + types),
            (zeros(4, 4, 3, dtype=object), {}, "array is of type object" + types),
            (zeros(0, 4, 3), {}, "Frame has no pixels" + named),
            (zeros(4, 0, 3), {}, "Frame has no pixels" + named),
            (numpy.broadcast_to(zeros(1, 1, 3), (1, 65536, 3)), {},
             "Media file cannot hold a frame of 65536x1 pixels" + named),
            (numpy.broadcast_to(zeros(1, 1, 3), (1 << 40, 2, 3)), {},
             "Media file cannot hold a frame of 2x1099511627776 pixels" + named),
            (zeros(4, 3, 3), {"format": "ZEQ-422"},
             "Frame format column pixel packing of 2 pixels is incompatible with supplied image columns of 3" + named),
            (zeros(4, 4, 3), {"format": "RGB"},
             "format is 'RGB'; one of " + ", ".join(zeq.formats) + " is needed"),
            (zeros(4, 4, 3), {"channels": "RGBA"}, "channels are 'RGBA', and array has 3"),
            (zeros(4, 4, 3), {"channels": "RGA"}, "channels are 'RGA', and array has 3"),
            (zeros(4, 4, 4), {"header": {"headerByte0": 256}},
             "headerByte0 is 256, which has no place in a header"),
            (zeros(4, 4, 4), {"header": {"width": "wide"}},
             "width is 'wide', which has no place in a header"),
            (zeros(4, 4, 4), {"header": {"magic": "zip "}}, "magic is 'zip ', which begins no media file"),
        ]
        for array, named_arguments, text in cases:
            with self.subTest(text):
                self.expect(zeq.DataError, text, zeq.write, file, array,
                            **{"format": "RGB-U8"} | named_arguments)
        for channels in ("", "RGBX", "RR", "rgb", "RGBAR"):
            self.expect(zeq.DataError, f"channels are '{channels}'; one or several of R, G, B and A"
                        " are needed, each once at most", zeq.read, file, channels=channels)
        self.expect(zeq.DataError, "dtype is 'uint8'; 'float32' or 'native' is needed",
                    zeq.read, file, dtype="uint8")
        self.expect(zeq.DataError, "embedded null byte", zeq.read, "a\0b")
        self.expect(TypeError, "array is of type list; numpy.ndarray is needed",
                    zeq.write, file, [[[1, 2, 3]]], format="RGB-U8")
        self.assertRaises(TypeError, zeq.read, 3)
        self.assertEqual(os.listdir(self.folder), [])


class Names(ModuleTest):
    def test_of_any_bytes_and_kind(self):
        array = numpy.zeros((1, 1, 3), numpy.uint8)
        for name in (b"plain", "ä€😀".encode(), b"\xff\xc3(\xed\xa0\x80", b"a\nb '\""):
            file = os.path.join(os.fsencode(self.folder), name)
            for given in (file, os.fsdecode(file), pathlib.Path(os.fsdecode(file))):
                zeq.write(given, array, format="RGB-U8")
                self.assertEqual(os.listdir(os.fsencode(self.folder)), [name])
                self.assertEqual(zeq.info(given)["width"], 1)
                zeq.convert(given, given, format="BGR-U8")
                os.remove(file)
                error = self.expect(zeq.MissingFileError,
                                    f"[Errno 2] Failed to open file: {given!r}", zeq.read, given)
                self.assertEqual(error.filename, given)

    def test_of_the_stub_are_those_of_the_module(self):
        stub = ast.parse((pathlib.Path(zeq.__file__).parent / "__init__.pyi").read_text())
        public = set()
        for node in stub.body:
            if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
                public.add(node.name)
            elif isinstance(node, ast.Assign) and node.targets[0].id == "_Format":
                self.assertEqual([each.value for each in node.value.slice.elts], list(zeq.formats))
        self.assertLessEqual(set(zeq.__all__) - {"formats"}, public)
        facts = zeq.info(SAMPLES / "coffee.rgb-u8.zeq")
        for node in stub.body:
            if isinstance(node, ast.ClassDef) and node.name == "_FileFacts":
                self.assertEqual([each.target.id for each in node.body], list(facts))


if __name__ == "__main__":
    unittest.main()
