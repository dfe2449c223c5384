#!/usr/bin/env python3
"""What a framework that tests engines on many machines asks of this one, as its client does: a binary from
"make EXE=path", a last line of "bench" with nodes and rate, UCI options of the names that share/openbench/Vesk.json and
-params-list tell. Usage: framework_test.py ENGINE SOURCE_FOLDER [--build]; with --build a real one and nothing else,
otherwise "make" meets a stand-in for CMake."""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

ENGINE, SOURCE = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
DESCRIPTION = os.path.join(SOURCE, "share", "openbench", "Vesk.json")
TIMEOUT = 300

# Keys of the presets by kind. A preset named "default" is under each of its kind; what it leaves open they have to say.
OF_A_SIDE = ("branch", "bench", "network", "options", "time_control")
COMMON = {"book_name", "win_adj", "draw_adj", "syzygy_wdl", "syzygy_adj", "priority", "throughput", "workload_size",
          "upload_pgns", *(f"{side}_{what}" for side in ("dev", "base", "both") for what in OF_A_SIDE)}
SWITCHED_OFF = 20000  # default of a margin that prunes nothing
KINDS = {
    "test_presets": (COMMON | {"test_bounds", "test_confidence", "test_max_games"}, "both",
                     {"base_branch", "test_bounds", "test_confidence"}),
    "tune_presets": (COMMON | {"spsa_iterations", "spsa_pairs_per", "spsa_alpha", "spsa_gamma", "spsa_A_ratio",
                               "spsa_reporting_type", "spsa_distribution_type"}, "dev",
                     {"spsa_iterations", "spsa_pairs_per"}),
    "datagen_presets": (COMMON | {"datagen_max_games", "datagen_custom_genfens", "datagen_play_reverses"}, "both",
                        {"workload_size"}),
}
FORMS = {
    "test_bounds": r"\[-?\d+\.\d\d, -?\d+\.\d\d\]",
    "test_confidence": r"\[0\.\d+, 0\.\d+\]",
    "book_name": r"\S+\.(epd|pgn)",
    "win_adj": r"None|movecount=\d+ score=\d+",
    "draw_adj": r"None|movenumber=\d+ movecount=\d+ score=\d+",
    "time_control": r"\d+\.\d+\+\d+\.\d+|(N|D|MT)=\d+",
}


def check(condition, what):
    if not condition:
        raise AssertionError(what)


def without_doubles(pairs):
    check(len(dict(pairs)) == len(pairs), f"a key stands twice among {[key for key, _ in pairs]}")
    return dict(pairs)


def run_engine(arguments, folder, text=""):
    done = subprocess.run([ENGINE, *arguments], cwd=folder, input=text, text=True, capture_output=True, timeout=TIMEOUT)
    check(done.returncode == 0, f"{arguments}: status {done.returncode}, {done.stderr}")
    return done.stdout.splitlines()


def uci_options(arguments, folder):
    """Announced options: name -> (type, default, min, max), numbers where there are any."""
    options = {}
    for line in run_engine(arguments, folder, "uci\nquit\n"):
        match = re.fullmatch(r"option name (.+?) type (\w+)(?: default (\S*))?(?: min (-?\d+) max (-?\d+))?", line)
        check(match or not line.startswith("option"), f"cannot be read: {line}")
        if match:
            name, kind, *values = match.groups()
            check(name not in options, f"option {name} comes twice")
            options[name] = (kind, *(int(v) if kind == "spin" else v for v in values))
    return options


def check_preset(kind, name, preset, options):
    known, side, wanted = KINDS[kind]
    where = f"{kind}, {name}"
    check(preset.keys() <= known, f"{where}: unknown {preset.keys() - known}")
    wanted = wanted | {"book_name", "win_adj", "draw_adj", f"{side}_options", f"{side}_time_control"}
    check(wanted <= preset.keys(), f"{where}: missing {wanted - preset.keys()}")
    for key, value in preset.items():
        form = FORMS.get(key, FORMS["time_control"] if key.endswith("time_control") else r".+")
        check(value > 0 if isinstance(value, int) else re.fullmatch(form, value), f"{where}: {key} is {value}")
    if "test_bounds" in preset:
        low, high = json.loads(preset["test_bounds"])
        check(low < high, f"{where}: bounds {low}, {high}")
    settings = dict(word.split("=") for word in preset[f"{side}_options"].split())
    check({"Threads", "Hash"} <= settings.keys(), f"{where}: options {settings}")
    for option, value in settings.items():
        check(option in options, f"{where}: the engine has no option {option}")
        _, _, low, high = options[option]
        check(low <= int(value) <= high, f"{where}: {option} is {value}, beyond {low} to {high}")


def description_fits_the_engine(folder):
    with open(DESCRIPTION, encoding="ascii") as file:
        engine = json.load(file, object_pairs_hook=without_doubles)
    check(engine.keys() == {"private", "nps", "source", "build", *KINDS}, f"keys {engine.keys()}")
    check(engine["private"] is False and isinstance(engine["nps"], int) and engine["nps"] > 0, "private, nps")
    check(re.fullmatch(r"https://\S+[^/]", engine["source"]), f"source {engine['source']}")
    build = engine["build"]
    check(build.keys() == {"path", "compilers", "cpuflags", "systems"}, f"build {build.keys()}")
    check(os.path.isfile(os.path.join(SOURCE, build["path"], "Makefile")), f"no Makefile in '{build['path']}'")
    check(build["systems"] == ["Linux"] and build["cpuflags"] == [], "systems, flags of the processor")
    compilers = [re.fullmatch(r"([a-z]+\+\+)(?:>=\d+)?", compiler) for compiler in build["compilers"]]
    check(compilers and all(compilers), f"compilers {build['compilers']}")
    options = uci_options([], folder)
    for kind in KINDS:
        default = engine[kind]["default"]
        check(len(engine[kind]) > 1 and default.keys() <= KINDS[kind][0], f"{kind}: {engine[kind].keys()}")
        for name, preset in engine[kind].items():
            if name != "default":
                check_preset(kind, name, {**default, **preset}, options)
    return [compiler.group(1) for compiler in compilers]


def tuners_list_fits_the_options(folder):
    plain, with_weights = uci_options([], folder), uci_options(["-params"], folder)
    check(plain.items() <= with_weights.items(), "-params changes other options")
    listed = {}
    for line in run_engine(["-params-list", "-nolog"], folder):
        name, kind, *numbers = line.split(", ")
        check(kind == "int" and len(numbers) == 5 and name not in listed, line)
        default, low, high = map(int, numbers[:3])
        step, rate = map(float, numbers[3:])
        check(low <= default <= high and 0 < step <= (high - low) / 2 and 0 < rate < 1, line)
        listed[name] = ("spin", default, low, high)
    check(len(listed) > 10, f"only {len(listed)} weights")
    # What is switched off by its value is an option, but nothing to tune.
    weights = {name: option for name, option in with_weights.items() if name not in plain and option[1] != SWITCHED_OFF}
    check(weights == listed, f"listed and announced differ: {set(weights.items()) ^ set(listed.items())}")


def bench(engine, folder, copies):
    """Node total of the last lines; a client runs one benchmark on each of its processors at once, in one folder."""
    runs = [subprocess.Popen([engine, "bench"], cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, text=True) for _ in range(copies)]
    totals = set()
    for run in runs:
        output = run.communicate(timeout=TIMEOUT)[0]
        last = re.fullmatch(r"(\d+) nodes (\d+) nps", output.splitlines()[-1])
        check(run.returncode == 0 and last and int(last.group(2)) > 0, f"status {run.returncode}, ...{output[-300:]}")
        totals.add(int(last.group(1)))
    check(len(totals) == 1, f"totals differ: {totals}")
    return totals.pop()


def make(source, arguments, path):
    outer = ("MAKEFLAGS", "MFLAGS", "MAKELEVEL", "CC", "CXX")
    environment = {key: value for key, value in os.environ.items() if key not in outer}
    environment["PATH"] = path + os.pathsep + environment["PATH"]
    done = subprocess.run(["make", *arguments], cwd=source, env=environment, text=True, capture_output=True,
                          stdin=subprocess.DEVNULL, timeout=10 * TIMEOUT)
    check(done.returncode == 0, f"make {arguments}: status {done.returncode}, {done.stderr[-2000:]}")


def stand_in(folder, name, script):
    path = os.path.join(folder, name)
    with open(path, "w", encoding="ascii") as file:
        file.write(f"#!/bin/sh\n{script}\n")
    os.chmod(path, 0o755)


def files_below(folder):
    return {os.path.relpath(os.path.join(place, name), folder) for place, _, names in os.walk(folder) for name in names}


def make_obeys_path_and_compiler(folder, compilers):
    """With a CMake that only writes down how it is called."""
    tools, source, calls = (os.path.join(folder, name) for name in ("tools", "source", "calls"))
    os.mkdir(tools)
    os.mkdir(source)
    shutil.copy(os.path.join(SOURCE, "Makefile"), source)
    stand_in(tools, "cmake", f'echo "$CXX|$*" >>{calls}; mkdir -p build/exe; echo engine >build/exe/vesk')
    cases = [(f"CXX={name}", name) for name in compilers]
    cases += [("CC=gcc", "g++"), ("CC=/opt/bin/clang-14", "/opt/bin/clang++-14"), ("CC=clang++", "clang++")]
    cases += [("JOBS=1", "")]
    for i, (argument, compiler) in enumerate(cases):
        exe = os.path.join(folder, f"engine {i}")
        make(source, [f"EXE={exe}", argument, "-j2"], tools)
        with open(calls, encoding="utf-8") as file:
            configure, build = file.read().splitlines()
        os.remove(calls)
        check(configure.startswith(f"{compiler}|"), f"{argument}: {configure}")
        check("-DCMAKE_BUILD_TYPE=Release" in configure, f"{argument}: {configure}")
        check(build.endswith("|--build build/exe --target vesk"), f"{argument}: {build}")
        with open(exe, encoding="ascii") as file:
            check(file.read() == "engine\n", f"{argument}: not the engine at that path")
    check(files_below(source) == {"Makefile", "build/exe/vesk"}, f"more than that: {files_below(source)}")


def make_builds_the_engine(folder):
    tools, source, exe = (os.path.join(folder, name) for name in ("tools", "source", "an engine"))
    os.mkdir(tools)
    for name in ("apt-get", "dpkg", "sudo"):
        stand_in(tools, name, f"touch {folder}/installed")
    shutil.copytree(SOURCE, source, ignore=shutil.ignore_patterns("build", ".git"))
    before = files_below(source)
    make(source, [f"EXE={exe}", "-j2"], tools)
    made = files_below(source) - before
    check(all(name.startswith("build/exe/") for name in made), f"files beside the build: {made}")
    check(set(os.listdir(folder)) == {"tools", "source", "an engine"}, f"more than the engine: {os.listdir(folder)}")
    with tempfile.TemporaryDirectory() as work:
        check(bench(exe, work, 1) == bench(ENGINE, work, 1), "its benchmark has other nodes")


def main():
    with tempfile.TemporaryDirectory() as folder:
        if "--build" in sys.argv:
            make_builds_the_engine(folder)
            return
        compilers = description_fits_the_engine(folder)
        tuners_list_fits_the_options(folder)
        bench(ENGINE, folder, 2)
        os.mkdir(os.path.join(folder, "make"))
        make_obeys_path_and_compiler(os.path.join(folder, "make"), compilers)


if __name__ == "__main__":
    main()
