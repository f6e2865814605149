"""Reads files of the tool with Pillow, which knows nothing of this library.

other_readers_test.py TOOL SAMPLES; exits with 77 where Pillow is missing.
"""
import array
import filecmp
import glob
import math
import os
import random
import re
import subprocess
import sys
import tempfile

try:
    from PIL import Image, ImageChops
except ImportError:
    sys.exit(77)

SKIPPED_LANES = {"Bc5Unorm": "BA"}  # two channels have no blue, and opinions differ on what stands there
# Pillow cuts off what interpolation leaves behind the point; we round.
LARGEST_DIFFERENCE = {"Bc1Unorm": 2, "Bc3Unorm": 2, "Bc5Unorm": 2, "R8G8B8A8Unorm": 0}


def check(good, text):
    if not good:
        sys.exit(text)


def convert(source, destination, *options):
    subprocess.run([tool, "convert", *options, source, destination], check=True, stderr=subprocess.DEVNULL)
    return destination


def open_rgba(name):
    with Image.open(name) as image:
        return image.convert("RGBA")


def read_pfm(name):
    """For Pillow before 10.3, which reads none. Rows go up, as the format has them."""
    with open(name, "rb") as file:
        kind, width, height, scale = b" ".join(file.readline() for _ in range(3)).split()
        check(kind == b"PF" and float(scale) == -1, "not a colour file with the least significant bytes first")
        floats = array.array("f", file.read())
    if sys.byteorder == "big":
        floats.byteswap()
    size = int(width), int(height)
    image = Image.frombytes("RGB", size, bytes(round(value * 255) for value in floats))
    return image.transpose(Image.FLIP_TOP_BOTTOM).convert("RGBA")


def expect_same(what, expected, found, tolerance=0, skipped=""):
    check(expected.size == found.size, f"{what}: {found.size} instead of {expected.size}")
    ranges = ImageChops.difference(expected, found).getextrema()
    largest = {lane: high for lane, (_, high) in zip("RGBA", ranges) if lane not in skipped}
    check(max(largest.values()) <= tolerance, f"{what}: differs by {largest}")
    print(what, largest)


def check_dds(sample, format_name, options):
    dds = convert(sample, "picture.dds", "--mips", "--format", format_name, *options)
    tolerance = LARGEST_DIFFERENCE[format_name]
    # The TGA files are held against their originals below, so they may stand for what we see.
    ours = open_rgba(convert(dds, "decoded.tga"))
    skipped = SKIPPED_LANES.get(format_name, "")
    expect_same(f"{sample} {format_name} {options}", ours, open_rgba(dds), tolerance, skipped)
    if tolerance == 0:
        expect_same(f"{sample} {format_name} as made", open_rgba(sample), ours)


def check_sample(sample):
    original = open_rgba(sample)
    for extension in ("tga", "bmp", "png"):
        expect_same(f"{sample} {extension}", original, open_rgba(convert(sample, "picture." + extension)))
    expect_same(f"{sample} pfm", original, read_pfm(convert(sample, "picture.pfm")), 0, "A")
    for format_name in LARGEST_DIFFERENCE:
        check_dds(sample, format_name, ("--dds-version", "9"))
    for format_name in ("Bc5Unorm", "R8G8B8A8Unorm"):  # the others of this header are new to Pillow of this age
        check_dds(sample, format_name, ("--dds-version", "10"))


def check_steps(sample):
    """Steps on pictures give what Pillow gives."""
    original = open_rgba(sample)
    red, green, blue, alpha = original.split()
    opposite = green.point(lambda value: 255 - value)
    faded = Image.composite(red, Image.new("L", red.size, 0), green)
    wide, tall = original.size
    box = (20, 10, 52, 26)
    for options, expected, tolerance in (
            (("--crop", "32x16+20+10"), original.crop(box), 0),
            (("--flip", "vertical"), original.transpose(Image.FLIP_TOP_BOTTOM), 0),
            (("--flip", "both", "--crop", "32x16+20+10"), original.crop(box).transpose(Image.ROTATE_180), 0),
            (("--swizzle", "bg01"), Image.merge("RGBA", (blue, green, red.point(lambda _: 0), alpha)), 0),
            (("--invert", "g"), Image.merge("RGBA", (red, opposite, blue, alpha)), 0),
            (("--swizzle", "rrrg", "--premultiply"), Image.merge("RGBA", (faded, faded, faded, green)), 1),
            (("--max-size", str(wide // 2), "--filter", "box"), original.resize((wide // 2, tall // 2), Image.BOX), 1)):
        expect_same(f"{options}", expected, open_rgba(convert(sample, "step.png", "--data", *options)), tolerance)
    padded = open_rgba(convert(sample, "step.png", "--pad-to-multiple", "512"))
    check(padded.size == (512, 512), f"padded to {padded.size}")
    expect_same("padded", original, padded.crop((0, 0, wide, tall)))
    check(padded.getpixel((511, 511)) == original.getpixel((wide - 1, tall - 1)), "the corner is not repeated")


def make_picture(name, size, texel, mode="RGBA"):
    picture = Image.new(mode, size)
    picture.putdata([texel(x, y) for y in range(size[1]) for x in range(size[0])])
    picture.save(name)
    return name


def extract(source, pattern, count):
    for old in glob.glob(re.sub("{.*}", "*", pattern)):
        os.remove(old)
    subprocess.run([tool, "extract", source, pattern], check=True, stderr=subprocess.DEVNULL)
    names = [re.sub("{.*}", str(i), pattern) for i in range(count)]
    check(not os.path.exists(re.sub("{.*}", str(count), pattern)), f"{source}: more than {count} parts")
    return [open_rgba(name) for name in names]


def mips_of(source, count, *options):
    return extract(convert(source, "chain.dds", "--mips", *options), "mip{mip}.png", count)


def check_coverage():
    noise = random.Random(5)
    leaves = make_picture("leaves.png", (96, 64), lambda x, y: (
        x, y, 9, 255 if noise.random() < 0.2 else noise.randrange(90)))
    for threshold in (0.2, 0.5, 0.8):
        alphas = [list(mip.getchannel("A").getdata()) for mip in mips_of(
            leaves, 7, "--format", "rgba8", "--alpha-coverage", str(threshold))]
        coverages = [sum(alpha / 255 > threshold for alpha in mip) / len(mip) for mip in alphas]
        for mip, coverage in zip(alphas, coverages):
            check(abs(coverage - coverages[0]) <= max(0.01, 1 / len(mip)), f"{len(mip)} texels: {coverage}")


def check_normals():
    def bump(x, y):
        sides = 0.7 * math.sin(x / 5), 0.6 * math.cos(y / 4)
        return tuple(round(v * 127.5 + 127.5) for v in (*sides, math.sqrt(1 - sum(v * v for v in sides))))

    normals = make_picture("normals.png", (64, 64), bump, "RGB")
    two_channels = convert(normals, "two.dds", "--format", "R8G8Unorm", "--normal-map")
    swapped = convert(normals, "swapped.dds", "--format", "B8G8R8A8Unorm", "--data")
    signed = convert(normals, "signed.dds", "--format", "R8G8Snorm", "--normal-map")
    for source, count, options in ((signed, 7, ("--format", "rgba8")), (normals, 7, ()), (two_channels, 7, ("--format", "rgba8")), (swapped, 7, ()),
                                   (normals, 7, ("--mip-filter", "cubic", "--format", "rgba8")),
                                   (normals, 6, ("--resize", "32x32")),
                                   (two_channels, 5, ("--max-size", "16", "--format", "rgba8"))):
        mips = mips_of(source, count, "--normal-map", *options)
        if count == 7:  # Z amplifies the rounding of X and Y
            expect_same(f"normals of {source}", open_rgba(normals), mips[0], 3)
        for mip in mips:
            vectors = [[v / 127.5 - 1 for v in texel[:3]] for texel in mip.getdata()]
            worst = max(abs(math.dist((0, 0, 0), vector) - 1) for vector in vectors)
            check(worst <= 2 / 255 and min(v[2] for v in vectors) > 0, f"{source} {mip.size}: {worst}")


def check_filters(sample):
    means = {}
    for name in ("box", "lanczos"):
        mip = mips_of(sample, 9, "--data", "--mip-filter", name)[1]
        means[name] = mip, [sum(lane.getdata()) / (mip.width * mip.height) for lane in mip.split()]
    check(means["box"][0].tobytes() != means["lanczos"][0].tobytes(), "both filters are the same")
    for box, lanczos in zip(means["box"][1], means["lanczos"][1]):
        check(abs(box - lanczos) <= 1, f"means {box} and {lanczos}")


def check_assembled(mode):
    """What is put together can be taken apart again."""
    noise = random.Random(3)
    for kind, axis, extension in (("array", "slice", "dds"), ("array", "slice", "vxf"), ("cube", "face", "dds"),
                                  ("volume", "depth", "dds"), ("chain", "mip", "dds"), ("textures", "texture", "vxf")):
        sizes = [16 >> i if kind == "chain" else 16 for i in range(6 if kind == "cube" else 5)]
        names = [make_picture(f"part{i}.png", (size, size), lambda x, y: tuple(
            noise.randrange(256) for _ in mode), mode) for i, size in enumerate(sizes)]
        whole = f"{kind}.{extension}"
        subprocess.run([tool, "assemble", "--strict", "--as", kind, *names, whole], check=True)
        for name, found in zip(names, extract(whole, f"{kind}{{{axis}}}.png", len(names))):
            expect_same(f"{whole} {mode} {name}", open_rgba(name), found)
    subprocess.run([tool, "extract", "chain.dds", "largest.png", "--mip", "0"], check=True)
    check(filecmp.cmp(convert("chain.dds", "whole.png"), "largest.png", False), "extract says otherwise than convert")
    for arguments, status in ((("array.vxf", "array.vxf", "two.vxf"), 6), (("part0.png", "part1.png", "two.png"), 2)):
        run = subprocess.run([tool, "assemble", "--strict", "--mips", "--as", "array", *arguments],
                             stderr=subprocess.PIPE)
        check(run.returncode == status, f"{arguments}: {run.stderr}")


tool, samples = (os.path.abspath(path) for path in sys.argv[1:])
with tempfile.TemporaryDirectory() as directory:
    os.chdir(directory)
    for name in ("dusk.tga", "marbles.tga", "moon.tga"):
        check_sample(os.path.join(samples, name))
    check_steps(os.path.join(samples, "dusk.tga"))
    check_coverage()
    check_normals()
    check_filters(os.path.join(samples, "dusk.tga"))
    check_assembled("RGB")
    check_assembled("RGBA")
    os.chdir(samples)
