"""Saves the whole X display ($DISPLAY) as a PNG: python3 screenshot.py out.png

Uses only libX11 through ctypes and the standard library, so the test machines need no image tools.
"""
import ctypes
import struct
import sys
import zlib


class XImage(ctypes.Structure):
    _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int), ("xoffset", ctypes.c_int),
                ("format", ctypes.c_int), ("data", ctypes.POINTER(ctypes.c_ubyte)),
                ("byte_order", ctypes.c_int), ("bitmap_unit", ctypes.c_int),
                ("bitmap_bit_order", ctypes.c_int), ("bitmap_pad", ctypes.c_int),
                ("depth", ctypes.c_int), ("bytes_per_line", ctypes.c_int),
                ("bits_per_pixel", ctypes.c_int)]


def main(path):
    x = ctypes.CDLL("libX11.so.6")
    x.XOpenDisplay.restype = ctypes.c_void_p
    x.XOpenDisplay.argtypes = [ctypes.c_char_p]
    x.XDefaultRootWindow.restype = ctypes.c_ulong
    x.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
    x.XGetImage.restype = ctypes.POINTER(XImage)
    x.XGetImage.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int,
                            ctypes.c_uint, ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]
    x.XDisplayWidth.argtypes = x.XDisplayHeight.argtypes = [ctypes.c_void_p, ctypes.c_int]

    display = x.XOpenDisplay(None) or sys.exit("no display")
    width, height = x.XDisplayWidth(display, 0), x.XDisplayHeight(display, 0)
    image = x.XGetImage(display, x.XDefaultRootWindow(display), 0, 0, width, height, 0xFFFFFFFF, 2).contents
    raw = ctypes.string_at(image.data, image.bytes_per_line * height)

    rows = bytearray()
    for y in range(height):
        line = raw[y * image.bytes_per_line: y * image.bytes_per_line + width * 4]
        rows.append(0)
        for i in range(0, len(line), 4):  # BGRX -> RGB
            rows += bytes((line[i + 2], line[i + 1], line[i]))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF)

    with open(path, "wb") as out:
        out.write(b"\x89PNG\r\n\x1a\n")
        out.write(chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)))
        out.write(chunk(b"IDAT", zlib.compress(bytes(rows), 6)))
        out.write(chunk(b"IEND", b""))


if __name__ == "__main__":
    main(sys.argv[1])
