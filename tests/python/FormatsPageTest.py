"""A reader written from docs/formats.md alone, compared with the module bit by bit: whoever writes
another reader from that page gets the same floats."""

import os
import pathlib
import struct
import tempfile
import unittest

import numpy
import zeq

DOUBLE, FLOAT = numpy.float64, numpy.float32

# The format of a code, and the rows, columns and bytes of a group.
GROUPS = {
    0x00000008: ("YUYV-422", 1, 2, 4),
    0x00000040: ("ZEQ-420", 2, 2, 6),
    0x00000200: ("RGB", 1, 1, 3),
    0x00000202: ("BGR", 1, 1, 3),
    0x00000204: ("RGBA", 1, 1, 4),
    0x00000206: ("BGRA", 1, 1, 4),
    0x00001108: ("ZEQ-422", 1, 2, 5),
    0x00001200: ("RGB-DPX-FILLED", 1, 1, 4),
    0x00001202: ("BGR-DPX-FILLED", 1, 1, 4),
    0x0001100C: ("ZEQ-4224-HYBRID", 1, 2, 8),
    0x00010200: ("RGB-SMPTE-2110", 1, 2, 9),
    0x00010202: ("BGR-SMPTE-2110", 1, 2, 9),
    0x20000000: ("YCoCg-DXT5", 4, 4, 16),
}


def read(path):
    """The frame of a media file as float32, rows x columns x red, green, blue and alpha."""
    file = path.read_bytes()
    assert file[:4] in (b"zeq ", b"zeqZ")
    start = 40 if file[6] > 1 else 20
    (code,) = struct.unpack_from("<I", file, 8)
    width, _, height = struct.unpack_from("<HHH", file, start)
    name, rows, columns, size = GROUPS[code]
    shape = height // rows, width // columns, size
    groups = numpy.frombuffer(file, numpy.uint8, numpy.prod(shape), start + 8)
    decode = rgb if name[0] in "RB" else ycocg if name == "YCoCg-DXT5" else ycbcr
    # Rows of groups, groups, rows and columns in the group, channels.
    pixels = decode(name, groups.reshape(shape).astype(numpy.int64))
    return pixels.swapaxes(1, 2).reshape(height, width, 4)


def words(groups):
    """Little-endian words of 32 bits."""
    return sum(groups[..., byte::4] << 8 * byte for byte in range(4))


def rgb(name, groups):
    if name.endswith("-DPX-FILLED"):
        codes = numpy.stack([words(groups) >> shift & 1023 for shift in (22, 12, 2)], -1)
        values = (codes / DOUBLE(1023)).astype(FLOAT)
    elif name.endswith("-SMPTE-2110"):
        three = groups.reshape(*groups.shape[:2], 3, 3)
        first, second, third = (three[..., byte] for byte in range(3))
        pair = numpy.stack([first << 4 | second >> 4, (second & 15) << 8 | third], -1)
        codes = pair.reshape(*groups.shape[:2], 2, 3)
        values = (codes / DOUBLE(4095)).astype(FLOAT)
    else:
        values = bytes_as_floats(groups[:, :, None])
    pixels = numpy.ones((*values.shape[:-1], 4), FLOAT)
    for place, letter in enumerate(name.split("-")[0]):
        pixels[..., "RGBA".index(letter)] = values[..., place]
    return pixels[:, :, None]


def bytes_as_floats(codes):
    return codes.astype(FLOAT) * FLOAT(0.003921569)


def ycbcr(name, groups):
    luma_scale, scale = {"ZEQ-422": (1023, 1023), "ZEQ-4224-HYBRID": (4095, 1023)}.get(
        name, (255, 255))
    alpha = scale
    if name == "YUYV-422":
        luma, cb, cr = groups[..., [[0, 2]]], groups[..., 1], groups[..., 3]
    elif name == "ZEQ-420":
        luma, cb, cr = groups[..., [[2, 3], [4, 5]]], groups[..., 0], groups[..., 1]
    elif name == "ZEQ-422":
        cb, left, cr, right = (groups[..., byte] << 2 | groups[..., 4] >> 6 - 2 * byte & 3
                               for byte in range(4))
        luma = numpy.stack([left, right], -1)[:, :, None]
    else:
        word0, word1 = numpy.moveaxis(words(groups), -1, 0)
        cr, cb = word0 >> 22, word1 & 1023
        luma = numpy.stack([word1 >> 10 & 4095, word0 >> 10 & 4095], -1)[:, :, None]
        alpha = numpy.stack([word1 >> 22, word0 & 1023], -1)[:, :, None]
    y = luma / DOUBLE(luma_scale)
    cb, cr = (chroma[:, :, None, None] / DOUBLE(scale) - 0.5 for chroma in (cb, cr))
    pixels = numpy.empty((*y.shape, 4))
    pixels[..., 0] = y + 1.402 * cr
    pixels[..., 1] = (y + -0.34414 * cb) + -0.71414 * cr
    pixels[..., 2] = y + 1.772 * cb
    pixels[..., 3] = alpha / DOUBLE(scale)
    return pixels.clip(0, 1).astype(FLOAT)


def ycocg(_, blocks):
    def word(first, last):
        return sum(blocks[..., byte] << 8 * (byte - first) for byte in range(first, last + 1))

    def chosen(palette, indices, bits):
        of_pixels = indices[..., None] >> bits * numpy.arange(16) & (1 << bits) - 1
        return numpy.take_along_axis(numpy.stack(palette, -1), of_pixels, -1)

    y0, y1 = blocks[..., 0], blocks[..., 1]
    black, white = numpy.zeros_like(y0), numpy.full_like(y0, 255)
    six = [y0, y1] + [((7 - k) * y0 + k * y1) // 7 for k in range(1, 7)]
    four = [y0, y1] + [((5 - k) * y0 + k * y1) // 5 for k in range(1, 5)] + [black, white]
    y = chosen([numpy.where(y0 > y1, *both) for both in zip(six, four)], word(2, 7), 3)

    def colour(shift, bits):
        t = [255 * (code >> shift & (1 << bits) - 1) + (1 << bits - 1)
             for code in (word(8, 9), word(10, 11))]
        c0, c1 = (code + (code >> bits) >> bits for code in t)
        return chosen([c0, c1, (2 * c0 + c1) // 3, (c0 + 2 * c1) // 3], word(12, 15), 2)

    scale = colour(0, 5) // 8 + 1
    co, cg = (numpy.trunc((code - 128) / scale).astype(int) for code in (colour(11, 5), colour(5, 6)))
    codes = numpy.stack([y + co - cg, y + cg, y - co - cg, numpy.full_like(y, 255)], -1)
    return bytes_as_floats(codes.clip(0, 255)).reshape(*blocks.shape[:2], 4, 4, 4)


class FormatsPageTest(unittest.TestCase):
    def expect_same(self, path):
        ours, page = zeq.read(path, channels="RGBA"), read(path)
        self.assertEqual(ours.shape, page.shape)
        different = numpy.argwhere(ours.view(numpy.uint32) != page.view(numpy.uint32))
        self.assertEqual(len(different), 0, f"{path.name}: first at {different[:1]}")

    def test_reads_the_samples(self):
        samples = sorted(pathlib.Path(os.environ["SAMPLES"]).glob("*.zeq"))
        self.assertEqual(len(samples), len(GROUPS))
        for sample in samples:
            self.expect_same(sample)

    def test_reads_groups_of_any_bytes(self):
        random = numpy.random.default_rng(3)
        with tempfile.TemporaryDirectory() as folder:
            for code, (name, rows, columns, size) in GROUPS.items():
                for width, height in ((1, 1), (19, 7), (257, 61)):
                    path = pathlib.Path(folder, name + ".zeq")
                    header = struct.pack("<4s4xIHHHHHHHH", b"zeq ", code, width, 0, height, 0,
                                         width * columns, 0, height * rows, 0)
                    path.write_bytes(header + random.bytes(width * height * size))
                    self.expect_same(path)


if __name__ == "__main__":
    unittest.main()
