# SPDX-License-Identifier: MIT
"""check_image_bombs.py NARVO: small files that ask for much: images that unpack to more or less than their header says,
compressed side information, sizes without pixels, JPEGs of many scans. Each is read or refused within stated memory, with
a guard of processor time."""
import os
import pathlib
import struct
import sys
import tempfile
import zlib

from measured_run import draw_panel, expect, finish

SMALL_KIB = 256 * 1024  # a refusal by the header, or an image of 512 by 640 pixels
SIDE = 16384  # the largest square without --max-pixels: 256 MiB of grey
SIDE_KIB = 640 * 1024  # decoding it, and inspecting it
COEFFICIENT_KIB = 1024 * 1024  # a progressive JPEG of that size is held as coefficients of two bytes
WIDTH, HEIGHT = 512, 640
DAMAGED = "not an image, or damaged; allowed: an image file"
LESS = "less than its "


def zeros(count):
    packer = zlib.compressobj(9)
    piece = bytes(1 << 20)
    return b"".join(packer.compress(piece[:min(len(piece), count - at)]) for at in range(0, count, 1 << 20)) + packer.flush()


def png(width, height, pixels, between=(), interlaced=0):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    head = struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, interlaced)
    between = b"".join(chunk(kind, data) for kind, data in between)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + between + chunk(b"IDAT", pixels) + chunk(b"IEND", b"")


def tiff(width, height, pixels, compression, size=None, tile=None):
    size = len(pixels) if size is None else size
    entries = {254: 0, 256: width, 257: height, 258: 8, 259: compression, 262: 1, 277: 1}
    entries.update({322: tile, 323: tile, 324: 8, 325: size} if tile else {273: 8, 278: height, 279: size})
    directory = b"".join(struct.pack("<HHII", tag, 4, 1, value) for tag, value in sorted(entries.items()))
    return (b"II*\0" + struct.pack("<I", 8 + len(pixels)) + pixels + struct.pack("<H", len(entries)) + directory +
            struct.pack("<I", 0))


def bmp(width, height, pixels, packing=0, colours=256):
    return (b"BM" + struct.pack("<IHHI", 0, 0, 0, 1078) +
            struct.pack("<IiiHHIIiiII", 40, width, height, 1, 8, packing, 0, 0, 0, colours, 0) + bytes(1024) + pixels)


def segment(marker, data):
    return bytes([0xff, marker]) + struct.pack(">H", len(data) + 2) + data


def jpeg_head(frame, width, height):
    return b"\xff\xd8" + segment(0xdb, b"\0" + bytes([16] * 64)) + segment(
        frame, struct.pack(">BHHB", 8, height, width, 1) + b"\x01\x11\x00")


def code_of_one_bit(table, value):
    """A Huffman table whose only code is a zero bit."""
    return segment(0xc4, bytes([table, 1] + [0] * 15 + [value]))


def blocks(width, height):
    return (width + 7) // 8 * ((height + 7) // 8)


def jpeg(width, height, data):
    """Grey, of equal blocks: two zero bits each."""
    return (jpeg_head(0xc0, width, height) + code_of_one_bit(0, 0) + code_of_one_bit(0x10, 0) +
            segment(0xda, b"\x01\x01\x00\x00\x3f\x00") + data + b"\xff\xd9")


def progressive_jpeg(width, height, scans):
    """Scans that hold nothing but runs of 16384 blocks at their end."""
    run = segment(0xda, b"\x01\x01\x00\x01\x3f\x00") + bytes((15 * (blocks(width, height) // 16384 + 1) + 7) // 8)
    return (jpeg_head(0xc2, width, height) + code_of_one_bit(0, 0) + code_of_one_bit(0x10, 0xe0) +
            segment(0xda, b"\x01\x01\x00\x00\x00\x00") + bytes(blocks(width, height) // 8 + 1) +
            run * (scans - 1) + b"\xff\xd9")


def images():
    """By file name: the bytes, the exit code, what is said, the most memory."""
    much = zeros(256 << 20)
    some = zeros(1 << 20)
    first = zeros((WIDTH + 1) * HEIGHT)
    return {
        "more.png": (png(WIDTH, HEIGHT, much), 0, "", SMALL_KIB),
        "less.png": (png(SIDE, SIDE, some), 2, DAMAGED, SIDE_KIB),
        "interlaced.png": (png(SIDE, SIDE, some, (), 1), 2, DAMAGED, SIDE_KIB),
        "text.png": (png(WIDTH, HEIGHT, first, [(b"zTXt", b"a\0\0" + much)]), 0, "", SMALL_KIB),
        "profile.png": (png(WIDTH, HEIGHT, first, [(b"iCCP", b"a\0\0" + much)]), 0, "", SMALL_KIB),
        "huge.png": (png(1 << 20, 1 << 20, some), 2, "1048576 by 1048576 pixels; allowed: at most ", SMALL_KIB),
        "more.tif": (tiff(WIDTH, HEIGHT, much, 8), 0, "", SMALL_KIB),
        "less.tif": (tiff(SIDE, SIDE, some, 8), 2, LESS, SMALL_KIB),
        "less-lzw.tif": (tiff(SIDE, SIDE, b"\x80\0\0\0", 5), 2, LESS, SMALL_KIB),
        "less-bits.tif": (tiff(SIDE, SIDE, b"\x81\0" * 1000, 32773), 2, LESS, SMALL_KIB),
        "plain.tif": (tiff(SIDE, SIDE, b"abcd", 1), 2, DAMAGED, SIDE_KIB),
        "size.tif": (tiff(WIDTH, HEIGHT, some, 8, 0xfffffff0), 2, LESS, SMALL_KIB),
        "tiles.tif": (tiff(WIDTH, HEIGHT, some, 8, None, 1 << 30), 2, "tiles of 1152921504606846976 pixels", SMALL_KIB),
        "less.bmp": (bmp(SIDE, SIDE, b""), 2, DAMAGED, SIDE_KIB),
        "runs.bmp": (bmp(SIDE, SIDE, b"\xff\x07" * 100, 1), 2, DAMAGED, SIDE_KIB),
        "colours.bmp": (bmp(WIDTH, HEIGHT, b"", 0, 0x7fffffff), 2, DAMAGED, SMALL_KIB),
        "less.pgm": (b"P5 16384 16384 255\nABC", 2, DAMAGED, SIDE_KIB),
        "text.pgm": (b"P2 16384 16384 255\n1 2 3", 2, DAMAGED, SIDE_KIB),
        "digits.pgm": (b"P5 " + b"1" * 10000 + b" 4 255\n", 2, DAMAGED, SMALL_KIB),
        "full.jpg": (jpeg(SIDE, SIDE, bytes(blocks(SIDE, SIDE) // 4)), 0, "", SIDE_KIB),
        "less.jpg": (jpeg(SIDE, SIDE, bytes(10)), 2, LESS, SMALL_KIB),
        "cut.jpg": (jpeg(WIDTH, HEIGHT, bytes(300))[:-2], 2, LESS, SMALL_KIB),
        "scans.jpg": (progressive_jpeg(SIDE, SIDE, 20), 0, "", COEFFICIENT_KIB),
        "many-scans.jpg": (progressive_jpeg(SIDE, SIDE, 5000), 2, "more than 100 scans", SMALL_KIB),
    }


def main():
    narvo = os.path.abspath(sys.argv[1])
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        draw_panel(narvo, folder, SMALL_KIB)
        for image, (content, code, words, kib) in images().items():
            (folder / image).write_bytes(content)
            expect(narvo, folder, ["inspect", image, "-r", "panel.recipe.json", "-o", "o", "--no-overlay", "-q"], code,
                   words, kib)
        finish()


if __name__ == "__main__":
    main()
