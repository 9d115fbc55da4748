#!/usr/bin/env python3
"""Lists the RGB16 colours whose Y differs between the two luma groupings.

Single-precision arithmetic is emulated exactly: each +, - or x of two
single-precision values is done in double precision (exact enough to round
correctly) and then rounded to single precision.

  blue first: (B x 0.114 + G x 0.587) + R x 0.299  (rgb16_yuv420 tables)
  red first:  (R x 0.299 + G x 0.587) + B x 0.114  (convertRGB162YUV420)

The output is pasted into rgb_to_yuv_test.cpp.
"""
import struct


def f32(x):
    return struct.unpack("<f", struct.pack("<f", x))[0]


K_R, K_G, K_B = f32(0.299), f32(0.587), f32(0.114)


def product(i, k):
    return f32(float(i) * k)


def main():
    found = []
    for pixel in range(65536):
        r = (pixel >> 8) & 0xF8
        g = (pixel >> 3) & 0xFC
        b = (pixel << 3) & 0xF8
        blue_first = int(f32(f32(product(b, K_B) + product(g, K_G)) + product(r, K_R)))
        red_first = int(f32(f32(product(r, K_R) + product(g, K_G)) + product(b, K_B)))
        if blue_first != red_first:
            found.append((pixel, blue_first, red_first))
    print(len(found), "colours")
    for pixel, blue_first, red_first in found:
        print("  {0x%04X, %d, %d}," % (pixel, blue_first, red_first))


if __name__ == "__main__":
    main()
