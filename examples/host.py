#!/usr/bin/env python3
"""A console host: `host.py PLUGIN PPM-FILE` captures the main display."""
import sys
from ctypes import (CDLL, CFUNCTYPE, POINTER, Structure, addressof, c_bool, c_char_p, c_int32,
                    c_long, c_uint8, c_uint32, c_void_p, cast)

class Method(Structure):  # records and names are those of screenshotqrv/host.h
    _fields_ = [("function", c_void_p), ("setterFunction", c_void_p), ("declaration", c_char_p)]

class Description(Structure):
    _fields_ = [("pixelType", c_int32), ("container", c_void_p), ("width", c_int32),
                ("height", c_int32), ("hostValue", c_int32), ("hostFlag", c_uint8)]

class ConsoleImage(Structure):  # fields that the plug-in does not read are counted, not named
    _fields_ = [("pixels", c_void_p), ("sx", c_int32), ("sy", c_int32), ("colors", c_int32 * 1026),
                ("polygon", c_void_p * 2), ("tools", c_void_p * 2), ("maps", c_int32 * 514),
                ("style", c_void_p), ("alpha", c_int32 * 258), ("trueColor", c_int32),
                ("tpixels", POINTER(c_void_p))]

methods, pictures = {}, {}  # by declaration; by address: [image, pixels, references]

def register(method):
    methods[method[0].declaration.decode()] = method[0].function

def new_picture(width, height, _depth):
    pixels = (c_uint32 * width * height)()
    rows = (c_void_p * height)(*map(addressof, pixels))
    image = ConsoleImage(sx=width, sy=height, trueColor=1, tpixels=rows)
    pictures[addressof(image)] = [image, pixels, 1]
    return addressof(image)

def lock_pixels(picture, out, pixel_type):
    if pixel_type == 10:  # a console image
        out[0] = Description(10, picture, pictures[picture][0].sx, pictures[picture][0].sy)
    return pixel_type == 10

def count(picture, change):
    pictures[picture][2] += change
    return pictures[picture][2] or pictures.pop(picture) and 0

ENTRY_POINTS = {  # kept here for good: the plug-in has only their addresses
    b"PluginRegisterMethod": CFUNCTYPE(None, POINTER(Method))(register),
    b"newPicture": CFUNCTYPE(c_void_p, c_long, c_long, c_long)(new_picture),
    b"REALLockObject": CFUNCTYPE(None, c_void_p)(lambda picture: count(picture, 1)),
    b"REALUnlockObject": CFUNCTYPE(None, c_void_p)(lambda picture: count(picture, -1)),
    b"REALLockPictureDescription": CFUNCTYPE(c_bool, c_void_p, POINTER(Description),
                                             c_long)(lock_pixels)}
resolve = CFUNCTYPE(c_void_p, c_char_p)(lambda name: cast(ENTRY_POINTS.get(name), c_void_p).value)

plugin = CDLL(sys.argv[1])
plugin.REALPluginMain(resolve)
picture = CFUNCTYPE(c_void_p)(methods["ScreenshotQRV as picture"])()
if not picture:
    plugin.QRVFailureMessage.restype = c_char_p  # of screenshotqrv/platform.h
    sys.exit(plugin.QRVFailureMessage().decode())
image, pixels, _ = pictures[picture]
bgra, rgb = bytes(pixels), bytearray(image.sx * image.sy * 3)
rgb[0::3], rgb[1::3], rgb[2::3] = bgra[2::4], bgra[1::4], bgra[0::4]
with open(sys.argv[2], "wb") as file:
    file.write(b"P6\n%d %d\n255\n" % (image.sx, image.sy) + rgb)
ENTRY_POINTS[b"REALUnlockObject"](picture)
