#!/usr/bin/env python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Makes the trial kit, which lays what After Effects renders beside what `veltra` renders.

usage: trial/make_kit.py VELTRA FOLDER

VELTRA is the program for this machine: it draws the kit's frame and layer and tells the names of
the effect's controls. FOLDER, which must not exist yet, becomes the kit. Its script, its scenes and
its batch file all follow from trial/settings.json. Numbers in there are such that no host has to
round them: points in whole pixels, and keyframes whose steps from frame to frame are whole.
"""

import html
import json
import pathlib
import shutil
import subprocess
import sys

TRIAL = pathlib.Path(__file__).resolve().parent
DEPTHS = {8: "8", 16: "16", 32: "float"}


def read_table():
    """The table of settings, each with everything that the table leaves to its defaults."""
    table = json.loads((TRIAL / "settings.json").read_text(encoding="utf-8"))
    for place, setting in enumerate(table["settings"]):
        controls = {**table["defaults"]["controls"], **setting.get("controls", {})}
        table["settings"][place] = {**table["defaults"], **setting, "controls": controls}
        table["settings"][place]["ending"] = ".exr" if setting.get("depth") == 32 else ".png"
        table["settings"][place]["tolerance"] = table["tolerances"][str(setting.get("depth", 8))]
    return table


# ---- After Effects ----

def effect_facts(program):
    """What the script has to know of the effect: its match name, and each control's name, type and
    choices by the short name that the table has."""
    about = subprocess.run([program, "about"], check=True, capture_output=True, text=True).stdout
    names = dict(line.split("  ", 1) for line in about.splitlines() if "  " in line)
    told = subprocess.run([program, "controls", "--json"], check=True, capture_output=True, text=True)
    controls = {}
    for control in json.loads(told.stdout)["controls"]:
        for option in control["options"]:
            controls[option] = {"name": control["name"], "type": control["type"],
                                "choices": [name.lower() for name in control.get("choices", [])]}
    return {"matchName": names["match name"].strip(), "controls": controls}


def script_settings(program, table):
    """veltra-settings.jsxinc: the table for the script."""
    facts = effect_facts(program)
    used = ["layer", *table["defaults"]["controls"]]
    effect = {"matchName": facts["matchName"],
              "controls": {name: facts["controls"][name] for name in used}}
    rows = ",\n    ".join(json.dumps(setting) for setting in table["settings"])
    return ("// What the trial renders; made from the same table as the scenes.\n"
            f"var VELTRA_RATE = {table['rate']};\n"
            f"var VELTRA_EFFECT = {json.dumps(effect)};\n"
            f"var VELTRA_SETTINGS = [\n    {rows}\n];\n")


# ---- The program ----

def scene_of(setting, rate):
    """The scene of a setting, for `veltra render`."""
    controls = {"layer": "../layer.png", **setting["controls"]}
    for name, keys in setting["keys"].items():
        controls[name] = {"keys": [{"frame": frame, "value": value} for frame, value in keys]}
    scene = {"version": 1, "frame": "../frame.png",
             "output": f"../headless/{setting['name']}.####{setting['ending']}",
             "frames": f"0-{setting['frames'] - 1}" if setting["frames"] > 1 else "0",
             "rate": str(rate), "depth": DEPTHS[setting["depth"]], "controls": controls}
    if setting["depth"] == 32:
        scene["output-depth"] = "float"
    if setting["resolution"] != 1:
        scene["downsample"] = setting["resolution"]
    if setting["region"]:
        scene["region"] = ",".join(map(str, setting["region"]))
    return scene


def render_arguments(name):
    return ["render", f"scenes/{name}.json", "--quiet"]


def compare_arguments(name, ending, tolerance):
    return ["compare", f"after-effects/{name}.####{ending}", f"headless/{name}.####{ending}",
            "--threshold", tolerance, "--difference", f"report/{name}.####.png"]


# ---- The report ----

STYLE = ("body { font: 16px/1.5 system-ui, sans-serif; margin: 2rem auto; max-width: 75rem; "
         "padding: 0 1rem; color: #1c1c1c; background: #fff } "
         "section { border-top: 1px solid #ccc; padding: 1rem 0 } "
         "h2 { font-size: 1.1rem; margin: 0 } pre { white-space: pre-wrap; font-size: .85rem } "
         ".pass { color: #1a6b2f } .FAIL { color: #a5130a } "
         "div { display: grid; gap: .75rem; grid-template-columns: repeat(auto-fill, minmax(17rem, 1fr)) } "
         "figure { margin: 0 } figcaption { font-size: .85rem; color: #555 } "
         "img { max-width: 100%; min-height: 3rem; background: #ddd }")


def figures(setting):
    """The pictures of a setting, frame by frame; browsers show no OpenEXR."""
    for frame in range(setting["frames"]):
        stem = f"{setting['name']}.{frame:04}"
        number = f", frame {frame}" if setting["frames"] > 1 else ""
        if setting["ending"] == ".png":
            yield f"after-effects/{stem}.png", "After Effects" + number
            yield f"headless/{stem}.png", "veltra" + number
        yield f"report/{stem}.png", f"difference{number} (its worst is white)"


def page_parts(table):
    """The report: ("text", line), ("verdict", name, line) and ("passed", line), where {} stands for
    pass or FAIL and for how many passed, and ("file", name), whose text goes in when it is there."""
    yield "text", "<!DOCTYPE html>"
    yield "text", "<html lang='en'><head><meta charset='utf-8'><title>Veltra trial report</title>"
    yield "text", f"<style>{STYLE}</style></head><body>"
    yield "text", "<h1>Veltra trial report</h1>"
    yield "passed", f"<p>{{}} of {len(table['settings'])} settings pass.</p>"
    for setting in table["settings"]:
        name, about = setting["name"], html.escape(setting["about"])
        yield "verdict", name, f"<section><h2 class='{{}}'>{{}}: {name}, {about}</h2>"
        yield "text", f"<p>May differ by {setting['tolerance']} of full scale.</p><pre>"
        yield "file", f"report/{name}.txt"
        yield "text", "</pre><div>"
        for source, caption in figures(setting):
            yield "text", (f"<figure><img loading='lazy' src='{source}' alt='{caption}'>"
                           f"<figcaption>{caption}</figcaption></figure>")
        yield "text", "</div></section>"
    yield "text", "<section><h2>What rendered them</h2><pre>"
    yield "file", "report/program.txt"
    yield "file", "after-effects/log.txt"
    yield "text", "</pre></section></body></html>"


def echo(line):
    """A line of the page as the batch file writes it."""
    if '"' in line:
        raise ValueError(f"a quote would hide what follows it from cmd: {line}")
    for special in "^&|<>":
        line = line.replace(special, "^" + special)
    return f">>report.html echo {line}"


def batch_page(table):
    """The lines of the batch file that write the page."""
    yield "if exist report.html del report.html"
    for kind, *rest in page_parts(table):
        line = echo(rest[-1].replace("%", "%%"))
        if kind == "verdict":
            line = line.replace("{}", f"%VERDICT_{rest[0]}%")
        elif kind == "passed":
            line = line.replace("{}", "%PASSED%")
        elif kind == "file":
            name = rest[0].replace("/", "\\")
            line = f"if exist {name} type {name} >>report.html"
        yield line


def batch(table):
    """compare.bat."""
    calls = "\n".join(f"call :compare {setting['name']} {setting['ending']} {setting['tolerance']}"
                      for setting in table["settings"])
    page = "\n".join(batch_page(table))
    render = " ".join(render_arguments("%1"))
    compare = " ".join(compare_arguments("%1", "%2", "%3"))
    count = len(table["settings"])
    text = (TRIAL / "compare.template.bat").read_text(encoding="utf-8")
    for mark, value in (("@CALLS@", calls), ("@PAGE@", page), ("@RENDER@", render),
                        ("@COMPARE@", compare), ("@COUNT@", str(count))):
        text = text.replace(mark, value)
    return text


# ---- The kit ----

def write_for_windows(path, text):
    path.write_text(text.replace("\n", "\r\n"), encoding="utf-8", newline="")


def make_kit(program, folder):
    """Writes the whole kit into a new folder."""
    table = read_table()
    folder.mkdir(parents=True)
    (folder / "scenes").mkdir()
    size = "x".join(map(str, table["size"]))
    subprocess.run([program, "sample", folder / "sample", "--size", size], check=True,
                   stdout=subprocess.DEVNULL)
    for name in ("frame.png", "layer.png"):
        (folder / "sample" / name).rename(folder / name)
    shutil.rmtree(folder / "sample")
    for setting in table["settings"]:
        scene = json.dumps(scene_of(setting, table["rate"]), indent=2) + "\n"
        (folder / "scenes" / f"{setting['name']}.json").write_text(scene, encoding="utf-8")
    write_for_windows(folder / "veltra-settings.jsxinc", script_settings(program, table))
    write_for_windows(folder / "compare.bat", batch(table))
    for name in ("veltra-trial.jsx", "README.txt"):
        write_for_windows(folder / name, (TRIAL / name).read_text(encoding="utf-8"))


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: trial/make_kit.py VELTRA FOLDER")
    folder = pathlib.Path(sys.argv[2])
    if folder.exists():
        sys.exit(f"make_kit.py: {folder}: exists already (expected a new folder)")
    make_kit(sys.argv[1], folder)


if __name__ == "__main__":
    main()
