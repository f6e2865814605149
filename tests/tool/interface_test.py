"""Holds the tool's JSON against docs/json.md, its manual page and completions against its help, and its warnings.

interface_test.py TOOL SOURCES; run on systems whose shells are those of Debian.
"""
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import zlib

tool, sources = (os.path.abspath(path) for path in sys.argv[1:])
TYPES = {"text": str, "number": (int, float), "yes or no": bool}


def check(good, text):
    if not good:
        sys.exit(text)


def run(*arguments, status=0, **more):
    done = subprocess.run([tool, *arguments], capture_output=True, encoding="utf-8", **more)
    check(done.returncode == status, f"{arguments}: status {done.returncode}, {done.stderr}")
    return done.stdout or done.stderr


def expect_shape(place, documented, found):
    if isinstance(documented, dict):
        optional = ["TexelUV", "TileXY"] if place.endswith(".texel") else "GBA" if place.endswith(".channels") else ()
        keys = [key for key in found if key not in optional]
        check(keys == list(documented), f"{place}: {keys} instead of {list(documented)}")
        for key, value in documented.items():
            expect_shape(f"{place}.{key}", value, found[key])
    elif isinstance(documented, list):
        check(isinstance(found, list), f"{place}: no array")
        for entry in found:
            expect_shape(place + "[]", documented[0], entry)
    else:
        kind, _, null = documented.partition(" or null")
        good = isinstance(found, TYPES[kind]) or ("or null" in documented and found is None)
        check(good and isinstance(found, bool) == (kind == "yes or no"), f"{place}: {found} is no {documented}")


def check_json(directory):
    sample = os.path.join(sources, "samples", "moon.tga")
    packed = os.path.join(directory, "moon.dds")
    run("convert", "--mips", "--format", "Bc1Unorm", sample, packed)
    rows, tiled = (os.path.join(directory, name) for name in ("rows.bin", "tiled.bin"))
    with open(rows, "wb") as file:
        file.write(os.urandom(9 * 5 * 4))
    shape = ("--format", "rgba8", "--size", "9x5", "--tile-mode", "thin_2dthin")
    calls = {"assemble": ("assemble", "--pack", f"r={sample},a={sample}", os.path.join(directory, "packed.png")),
             "extract": ("extract", packed, os.path.join(directory, "{name}{mip}.png")),
             "compare": ("compare", sample, packed), "convert": ("convert", sample, packed),
             "info": ("info", packed), "report": ("report", packed, os.path.join(directory, "page.html")),
             "stats": ("stats", packed), "texel": ("texel", sample, "1", "2"),
             "tile": ("tile", rows, tiled, *shape), "untile": ("untile", tiled, rows + "2", *shape),
             "validate": ("validate", packed), "view": ("view", packed, os.path.join(directory, "moon.png")),
             "error": ("info", os.path.join(directory, "a\udcff.png"))}
    with open(os.path.join(sources, "docs", "json.md"), encoding="utf-8") as file:
        blocks = re.findall(r"^## (\w+)$.*?^```json\n(.*?)^```$", file.read(), re.MULTILINE | re.DOTALL)
    commands = set(re.findall(r"^  ([a-z]+) ", run("--help").split("Every command")[0], re.MULTILINE))
    documented = {name for name, _ in blocks}
    check(commands - {"completions", "manual"} == documented - {"error"}, f"{documented} are documented")
    for name, block in blocks:
        text = run(*calls.get(name, (name,)), "--json", status=3 if name == "error" else 0)
        expect_shape(name, json.loads(block), json.loads(text))
    with open(rows, "rb") as before, open(rows + "2", "rb") as after:
        check(before.read() == after.read(), "texels come back from their tiled order as others")
    return commands


def chunk(kind, data, damage=0):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data) ^ damage)


def check_warnings(directory):
    """A file that is read all the same calls for a warning, which ends no command but with --strict."""
    if not re.search(r"^\.PNG +read", run("version"), re.MULTILINE):
        print("no PNG in this build: warnings are not checked")
        return
    os.chdir(directory)
    for name, damage in (("odd.png", 1), ("plain.png", 0)):
        with open(name, "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 4, 4, 8, 0, 0, 0, 0)) +
                       chunk(b"tEXt", b"Title\0a", damage) + chunk(b"IDAT", zlib.compress(bytes(4 * 5))) +
                       chunk(b"IEND", b""))
    shutil.copy("plain.png", "wrong.tga")
    with open("strict.json", "w") as file:
        file.write('{"rules": [{"match": "odd*", "options": {"strict": true}}, {"match": "*"}]}')
    other = "wrong.tga: its name says TGA, and its first bytes PNG, which it is read as"
    for name, warning in (("odd.png", "odd.png: tEXt: CRC error"), ("wrong.tga", other), ("plain.png", "")):
        strictly = 4 if warning else 0
        for command, result in (("convert", "out.dds"), ("view", "out.png"), ("report", "out.html"), ("extract", "o.bmp")):
            told = run(command, name, result)
            check(told == (f"texsmith: warning: {warning}\n" if warning else ""), f"{command} {name} tells {told}")
            check(run(command, name, result, "--quiet") == "", f"{command} --quiet")
            os.remove(result)
            run(command, name, result, "--strict", status=strictly)
            check(os.path.exists(result) == (not warning), f"{command} {name} --strict wrote, or did not")
        for call in (["stats", name], ["texel", name, "1", "1"], ["compare", name, "plain.png"]):
            told = json.loads(run(*call, "--json"))["warnings"]
            check(told == ([warning] if warning else []), f"{call}: {told}")
            run(*call, "--strict", status=strictly)
    run("convert", "plain.png", "rgb.vxf", "--format", "rgba8 without alpha")
    check("R8G8B8A8Unorm without alpha" in run("info", "rgb.vxf"), "a format that has no name")
    told = json.loads(run("convert", "odd.png", "plain.png", ".tga", "-o", "all", "--json"))
    check(told["warnings"] == ["odd.png: tEXt: CRC error"], f"of several files: {told['warnings']}")
    run("convert", "odd.png", "plain.png", ".dds", "-o", "all", "--recipe", "strict.json", status=8)
    run("convert", "plain.png", "wrong.tga", ".dds", "-o", "all", "--recipe", "strict.json")
    check("odd.png: odd: tEXt" in run("validate", "odd.png"), "validate")
    run("validate", "--strict", "odd.png", status=1)
    check("fault: its name says TGA" in run("validate", "wrong.tga", status=1), "validate of a wrong name")


def check_completion(script, words, expected):
    line = f'source {script}; COMP_WORDS=(texsmith {words}); COMP_CWORD={len(words.split())}; ' \
           '_texsmith; echo "${COMPREPLY[@]}"'
    found = subprocess.run(["bash", "-c", line], capture_output=True, encoding="utf-8", check=True).stdout.strip()
    check(found == expected, f"bash completes '{words}' by '{found}'")


def check_descriptions(directory, commands):
    parsers = {"bash": ["bash", "-n"], "zsh": ["zsh", "-n"], "fish": ["fish", "--no-execute"],
               "manual": ["groff", "-man", "-ww", "-z", "-Tutf8", "-rLL=200n"]}
    texts = {}
    for name, parser in parsers.items():
        texts[name] = run("manual") if name == "manual" else run("completions", name)
        path = os.path.join(directory, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(texts[name])
        if shutil.which(parser[0]) is None:
            print(f"no {parser[0]} here: its syntax is not checked")
            continue
        done = subprocess.run([*parser, path], capture_output=True, encoding="utf-8")
        check(done.returncode == 0 and not done.stderr, f"{name}: {done.stderr}")
    for command in commands:
        for option in re.findall(r"^  (?:-\w, )?--([\w-]+)", run(command, "--help"), re.MULTILINE):
            for name, text in texts.items():
                spelt = {"manual": "\\-\\-" + option.replace("-", "\\-"), "fish": f"{command}' -l {option}"}
                check(spelt.get(name, "--" + option) in text, f"{name} lacks --{option} of {command}")
    script = os.path.join(directory, "bash")
    check_completion(script, "conv", "convert")
    check_completion(script, "convert --eff", "--effort")
    check_completion(script, "convert --effort = h", "high")
    check_completion(script, "convert --format Bc6", "Bc6Uf16 Bc6Sf16")


with tempfile.TemporaryDirectory() as folder:
    check_descriptions(folder, check_json(folder))
    check_warnings(folder)
