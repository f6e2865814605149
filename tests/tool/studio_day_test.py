"""A studio's day: a folder of pictures with a recipe, and all that goes wrong meanwhile.

studio_day_test.py TOOL SAMPLES; exits with 77 where Pillow is missing. The results are read by Pillow, which knows
nothing of this library. TEXSMITH_SLOW=1 kills the tool 1,000 times.
"""
import json
import math
import os
import random
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

try:
    from PIL import Image, ImageChops, ImageStat
except ImportError:
    sys.exit(77)

KILLS = 1000 if os.environ.get("TEXSMITH_SLOW") == "1" else 24
SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGKILL)
UNWRITABLE, PART_FAILED = 5, 8
RECIPE = """{ // of the studio
  "schema": 1,
  "rules": [
    {"match": "*_n.png", "to": ".dds", "options": {"format": "Bc5Unorm", "mips": true}},
    {"match": "sky/**", "to": ".dds", "options": {"format": "Bc6Uf16"}},
    {"match": "old/*", "skip": true},
    {"match": "*.png", "to": ".dds", "options": {"format": "Bc7UnormSrgb", "mips": true, "effort": "fast"}}
  ]
}
"""
CONVERT_ALL = ("-r", "art", "-o", "out", "--recipe", "studio.json")
BC5, BC6H, BC7 = 83, 95, 99  # numbers of DXGI


def check(good, *what):
    if not good:
        sys.exit("failed: " + " ".join(str(part) for part in what))


def run(*arguments, status=0, **options):
    done = subprocess.run([tool, "convert", *arguments], capture_output=True, text=True, **options)
    check(done.returncode == status, arguments, "ended with", done.returncode, done.stdout, done.stderr)
    return done


def files_below(folder):
    return sorted(os.path.join(root, name) for root, _, names in os.walk(folder) for name in names)


def contents(folder):
    found = {}
    for name in files_below(folder):
        with open(name, "rb") as file:
            found[name] = file.read()
    return found


def check_no_leftovers(folder, what):
    left = [name for name in files_below(folder) if os.path.basename(name).startswith(".texsmith-")]
    check(all(os.path.basename(name) == ".texsmith-record" for name in left), what, "left", left)


def write(name, data):
    with open(name, "wb") as file:
        file.write(data)


def make_studio():
    for folder in ("art/props", "art/sky", "art/old"):
        os.makedirs(folder)
    for name in ("dusk", "marbles", "moon"):
        with Image.open(os.path.join(samples, name + ".tga")) as picture:
            picture.convert("RGB").resize((128, 96)).save(f"art/props/{name}.png")
    blue, slopes = Image.new("L", (64, 64), 255), Image.linear_gradient("L").resize((64, 64))
    Image.merge("RGB", (slopes, slopes.rotate(90), blue)).save("art/props/wall_n.png")
    lights = [(128 + x, 128, 128 + y, 128) for y in range(64) for x in range(64)]  # shared exponent 128: 1/256 each
    header = b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 64 +X 64\n"
    write("art/sky/glow.hdr", header + b"".join(bytes(texel) for texel in lights))
    shutil.copy("art/props/moon.png", "art/old/moon.png")
    write("studio.json", RECIPE.encode())


def psnr(a, b):
    squares = ImageStat.Stat(ImageChops.difference(a, b)).sum2
    mean = sum(squares) / len(squares) / (a.width * a.height)
    return 99 if mean == 0 else 10 * math.log10(255 * 255 / mean)


def check_dds(name, dxgi, bands, source, least):
    with open(name, "rb") as file:
        header = file.read(148)
    mips, four = struct.unpack_from("<I", header, 28)[0], header[84:88]
    found = struct.unpack_from("<I", header, 128)[0] if four == b"DX10" else four
    check(found == dxgi or (dxgi == BC5 and found in (b"ATI2", b"BC5U")), name, "holds", found)
    with Image.open(name) as ours:
        check(mips in (0, 1) if dxgi == BC6H else mips == 1 + int(math.log2(max(ours.size))), name, mips, "mips")
        pairs = zip(source.split()[:bands], ours.convert("RGB").split()[:bands])
        worst = min(psnr(a, b) for a, b in pairs)
    check(worst >= least, name, "is", worst, "dB from its source")


def check_results():
    for name in ("dusk", "marbles", "moon"):
        with Image.open(f"art/props/{name}.png") as source:
            check_dds(f"out/props/{name}.dds", BC7, 3, source, 36)
    with Image.open("art/props/wall_n.png") as source:
        check_dds("out/props/wall_n.dds", BC5, 2, source, 40)
    with open("art/sky/glow.hdr", "rb") as file:
        texels = file.read()[-64 * 64 * 4:]
    # (mantissa / 256) * 2^(128 - 128), as Pillow shows it: times 255.
    glow = Image.frombytes("RGBX", (64, 64), bytes(round(byte * 255 / 256) for byte in texels)).convert("RGB")
    check_dds("out/sky/glow.dds", BC6H, 3, glow, 36)
    check(not os.path.exists("out/old"), "a skipped file was converted")


def check_updates():
    """A second run does nothing; what changed, and only that, is made again."""
    first = contents("out")
    times = {name: os.stat(name).st_mtime_ns for name in first}

    def written():
        run(*CONVERT_ALL, "--update")
        changed = [name for name in times if os.stat(name).st_mtime_ns != times[name] and ".texsmith" not in name]
        times.update({name: os.stat(name).st_mtime_ns for name in times})
        return changed

    check(written() == [], "the second run wrote")
    told = run(*CONVERT_ALL, "--update", "--dry-run").stdout
    check("; is up to date" in told and "\n0 to write" in told, "a dry run:", told)
    for source in files_below("art"):
        os.utime(source)
    check(written() == [], "the same contents at another time were converted")
    Image.new("RGB", (32, 32), (10, 200, 30)).save("art/props/moon.png")
    check(written() == ["out/props/moon.dds"], "a changed source")
    write("out/props/dusk.dds", b"damaged")
    check(written() == ["out/props/dusk.dds"], "a changed result")
    check(contents("out")["out/props/dusk.dds"] == first["out/props/dusk.dds"], "it came out otherwise")
    write("studio.json", RECIPE.replace("Bc5Unorm", "Bc5Snorm").encode())
    check(written() == ["out/props/wall_n.dds"], "a changed recipe")
    write("studio.json", RECIPE.encode())
    check(run("-r", "art", "--recipe", "studio.json", "-o", "out", "--no-clobber").returncode == 0, "no-clobber")
    check("left as they were" in run(*CONVERT_ALL, "--no-clobber").stdout, "no-clobber tells nothing")


def check_refusals():
    write("bad.json", RECIPE.replace('"format": "Bc5Unorm"', '"fromat": "Bc5Unorm"').encode())
    line = run("-r", "art", "-o", "new", "--recipe", "bad.json", status=2).stderr
    check("bad.json:4:52: unknown option 'fromat'; did you mean 'format'?" in line, line)
    write("bad.json", b'{"rules": [\n {"match": "*",}\n]}')
    check("bad.json:2:16: " in run("-r", "art", "-o", "new", "--recipe", "bad.json", status=2).stderr, "a comma")
    line = run("art/props/moon.png", "art/old/moon.png", ".dds", "-o", "new", status=2).stderr
    check("would both be written as" in line, line)
    check("is a folder; -r" in run("art", ".dds", status=2).stderr, "a folder without -r")
    shown = run(*CONVERT_ALL[:2], "-o", "new", "--recipe", "studio.json", "--dry-run").stdout
    check("art/props/dusk.png -> new/props/dusk.dds: 128 x 96, 8 mips, Bc7UnormSrgb" in shown, shown)
    shown = run("-r", "art", ".dds", "-o", "new", "--max-size", "64", "--mips", "2", "--dry-run").stdout
    check("new/props/dusk.dds: 64 x 48, 2 mips" in shown, "options of pictures in a batch:", shown)
    check(not os.path.exists("new"), "something was written all the same")
    for kind in ("ninja", "jsonl"):
        check("not for the standard input" in run("-", "a.dds", "--plan", kind, status=2).stderr, "a plan of streams")
    os.mkdir("beside")
    shutil.copy("art/props/moon.png", "beside")
    for _ in range(2):  # whose own results the second run leaves alone
        run("-r", "beside", ".dds", "--name", "{name}_c")
    check(sorted(os.listdir("beside")) == ["moon.png", "moon_c.dds"], os.listdir("beside"))
    shutil.copytree("art", "mixed")
    write("mixed/props/broken.png", b"\x89PNG\r\n\x1a\n")
    done = run("-r", "mixed", ".dds", "-o", "new", status=PART_FAILED)
    first = run("mixed/props/broken.png", "mixed/props/moon.png", "mixed/props/dusk.png", ".dds", "-o", "first", "-j", "1",
                "--fail-fast", status=PART_FAILED).stdout
    check("1 failed, 2 not tried" in first, "--fail-fast:", first)
    check("mixed/props/broken.png: " in done.stderr and "1 of 7 files failed" in done.stderr, done.stderr)
    check(len(files_below("new")) == 6, "one bad file ended the others", files_below("new"))
    for kind, make in (("pipe", os.mkfifo), ("folder", os.mkdir), ("link", lambda name: os.symlink("/dev/null", name))):
        make(kind + ".dds")
        before = os.lstat(kind + ".dds")
        check("only files are replaced" in run("art/props/moon.png", kind + ".dds", "--force",
                                               status=2 if kind == "folder" else UNWRITABLE).stderr
              or kind == "folder", kind)
        check(os.lstat(kind + ".dds").st_ino == before.st_ino, kind, "was replaced")


def as_nobody():
    if os.geteuid() == 0:
        os.setgid(65534)
        os.setuid(65534)


def check_read_only():
    before = contents("out")
    os.chmod("out/props/moon.dds", 0o444)
    check("read-only; --force" in run("art/props/dusk.png", "out/props/moon.dds", status=UNWRITABLE).stderr, "0444")
    run("art/props/moon.png", "out/props/moon.dds", "--force")
    check(os.stat("out/props/moon.dds").st_mode & 0o777 == 0o444, "--force changed the permissions")
    write_back(before)
    for folder in ("out", "out/props", "out/sky"):
        os.chmod(folder, 0o555)
    done = run(*CONVERT_ALL, status=PART_FAILED, preexec_fn=as_nobody)
    check("5 of 5 files failed" in done.stderr, done.stderr)
    for folder in ("out", "out/props", "out/sky"):
        os.chmod(folder, 0o755)
    check(contents("out") == before, "a read-only tree changed")


def write_back(files):
    for name, data in files.items():
        os.path.exists(name) and os.remove(name)
        write(name, data)


def check_full_disk():
    """By a limit on the sizes of files, and in a small file system where one can be had."""
    before = contents("out")
    limit = 2000
    done = run(*CONVERT_ALL, status=PART_FAILED,
               preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
    check("failed" in done.stderr, done.stderr)
    check(contents("out") == before, "a limit on sizes lost results")
    os.mkdir("small")
    script = ('mount -t tmpfs -o size=32k none small && cp out/props/wall_n.dds small/old.dds || exit 99\n'
              '"$0" convert art/props/dusk.png small/old.dds --format R8G8B8A8Unorm; echo $?\n'
              'cmp small/old.dds out/props/wall_n.dds && ls -A small')
    done = subprocess.run(["unshare", "--map-root-user", "--mount", "sh", "-c", script, tool], capture_output=True,
                          text=True)
    if done.returncode == 99 or "unshare" in done.stderr:
        print("skipped: no small file system can be made here")
    else:
        check(done.stdout.split() == [str(UNWRITABLE), "old.dds"], "a full disk", done.stdout, done.stderr)


def check_kills():
    """At any moment there is the old file or the whole new one, and no temporary after signals that are caught."""
    randoms = random.Random(KILLS)
    Image.frombytes("RGB", (256, 256), randoms.randbytes(3 * 256 * 256)).save("noise.png")
    one = ("noise.png", "kill/a.dds", "--format", "Bc7Unorm", "--mips")
    os.mkdir("kill")
    started = time.monotonic()
    run(*one)
    span = time.monotonic() - started
    old, new = b"old", contents("kill")["kill/a.dds"]
    counts = {"old": 0, "new": 0}
    for _ in range(KILLS):
        write("kill/a.dds", old)
        number = randoms.choice(SIGNALS)
        process = subprocess.Popen([tool, "convert", *one], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(randoms.uniform(0, span))
        process.send_signal(number)
        status = process.wait()
        check(status in (0, -number), "a process killed by", number, "ended with", status)
        found = contents("kill")["kill/a.dds"]
        check(found in (old, new), "a kill left", len(found), "bytes")
        check(found == new or status != 0, "it ended well and wrote nothing")
        counts["new" if found == new else "old"] += 1
        span *= 0.8 if found == new else 1.1  # so that many come close to the end of the work
        if number == signal.SIGKILL:
            for name in files_below("kill"):
                name != "kill/a.dds" and os.remove(name)
        check(files_below("kill") == ["kill/a.dds"], number, "left", files_below("kill"))
    print(f"{KILLS} kills: {counts['old']} times the old file, {counts['new']} times the new one")
    for number in (signal.SIGINT, signal.SIGKILL):  # many files, most of them killed before their end
        process = subprocess.Popen([tool, "convert", *CONVERT_ALL, "-j", "2"], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True)
        process.stdout.readline()
        process.send_signal(number)
        check("texsmith:" not in process.communicate()[1], "an interrupted batch tells of failures")
        if number == signal.SIGINT:
            check_no_leftovers("out", "an interrupted batch")
    for name in files_below("out"):
        if os.path.basename(name).startswith(".texsmith-") and not name.endswith("-record"):
            os.remove(name)


def check_plans(expected):
    shutil.rmtree("out")
    for line in run(*CONVERT_ALL, "--plan", "jsonl").stdout.splitlines():
        subprocess.run(json.loads(line)["arguments"], check=True)
    check(contents("out") == expected, "the lines of JSON made something else")
    if shutil.which("ninja") is None:
        print("skipped: Ninja is not here")
        return
    shutil.rmtree("out")

    def ninja():
        return subprocess.run(["ninja"], capture_output=True, text=True, check=True).stdout

    run(*CONVERT_ALL, "--plan", "ninja")
    ninja()
    check(contents("out") == expected, "Ninja made something else")
    check("no work to do" in ninja(), "Ninja's second run did something")
    time.sleep(0.01)
    shutil.copy("art/props/marbles.png", "art/props/moon.png")
    told = ninja()
    check("[1/1] out/props/moon.dds" in told, "a changed source:", told)
    write("studio.json", RECIPE.replace("fast", "normal").encode())
    told = ninja()
    check("[3/3] out/props/" in told and "wall_n" not in told, "a changed recipe:", told)
    check("no work to do" in ninja(), "Ninja does not come to rest")
    write("build.ninja", b"rule mine\n")
    check("stays" in run(*CONVERT_ALL, "--plan", "ninja", status=UNWRITABLE).stderr, "a Ninja file of somebody else")


tool, samples = (os.path.abspath(path) for path in sys.argv[1:])
with tempfile.TemporaryDirectory() as directory:
    os.chmod(directory, 0o755)
    os.chdir(directory)
    make_studio()
    run(*CONVERT_ALL, "--update", "-j", "3")
    check_results()
    check_updates()
    check_refusals()
    run(*CONVERT_ALL, "-j", "1")
    os.remove("out/props/.texsmith-record")
    os.remove("out/sky/.texsmith-record")
    check_read_only()
    check_full_disk()
    results = contents("out")
    check_kills()
    run(*CONVERT_ALL, "-j", "2")
    check(contents("out") == results, "another number of threads gave other bytes")
    check_plans(results)
    os.chdir(samples)
