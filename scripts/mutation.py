#!/usr/bin/env python3
"""Applies one small fault after the other to a copy of the sources, builds the tests of the area and runs
them: a fault that no test notices shows what is not tested. Called by scripts/mutation.sh."""

import argparse
import os
import pathlib
import random
import re
import subprocess
import sys

# Files, and the test programs that have to notice a fault in them.
AREAS = [
    (["datastorage/units/UnitTables_p.h", "datastorage/units/ParameterTables_p.h", "datastorage/units/OldUnits_p.h",
      "datastorage/units/ConverterFactors.cpp", "datastorage/units/ConverterLookup.cpp",
      "datastorage/units/ConverterParameters.cpp", "datastorage/units/UsualUnit.cpp"],
     ["test_units", "test_units_internal"]),
    (["json/JsonUtils.cpp", "json/JsonTranslator.cpp", "json/Utf8Buffer.cpp"], ["json_test"]),
    (["datastorage/config/ConfigDataArrayManager.cpp", "datastorage/config/ConfigDataArray.cpp",
      "datastorage/config/DynamicEnum.cpp", "datastorage/config/DynamicEnumHandler.cpp"], ["config_test"]),
    (["datastorage/cache/CacheFileHeader_p.cpp"], ["test_cache_file_header"]),
    (["datastorage/cache/CacheFileName_p.cpp"], ["test_cache_file_name"]),
]

# A pattern in a line of code, and what it becomes.
FAULTS = [
    (r" == ", " != "), (r" != ", " == "), (r" <= ", " < "), (r" >= ", " > "),
    (r" < ", " <= "), (r" > ", " >= "), (r" && ", " || "), (r" \|\| ", " && "),
    (r"\btrue\b", "false"), (r"\bfalse\b", "true"), (r" \+ 1\b", " - 1"), (r" - 1\b", " + 1"),
    (r" \+ ", " - "), (r" \* ", " / "), (r" / ", " * "), (r"\+\+", "--"), (r"if \(!", "if ("), (r"if \((?!!|const)", "if (!"),
    (r"return (?!true|false|nullptr|0;|\{)([^;]+);", "return {};"),
    (r"(?<![\w.])0(?![\w.])", "1"), (r"(?<![\w.-])1(?![\w.])", "2"),
    (r"\b(\d+)e(-?)(\d+)F", lambda m: m[1] + "e" + ("" if m[2] else "-") + m[3] + "F"),
    (r'u"([^"]*)([^"\\])"', lambda m: 'u"' + m[1] + ("x" if m[2] != "x" else "y") + '"'),
    (r"OperatorMultiply\b", "OperatorDivide"), (r"OperatorDivide\b", "OperatorMultiply"),
    (r"\bUnitKilogram\b", "UnitGram"), (r"\bUnitSecond\b", "UnitHour"), (r"\bUnitMeter\b", "UnitCentimeter"),
    (r"\bParameterTime\b", "ParameterMass"), (r"\bParameterMass\b", "ParameterVolume"),
    (r"\bParameterArea\b", "ParameterVolume"), (r"\bParameterElectricCurrent\b", "ParameterVoltage"),
    (r"^(    +)[\w.>-]+\([^;{}]*\);$", r"\1;"),
    (r"^(    +[\w.>-]+) = [^;{}]+;$", r"\1 = {};"),
]

# Of faults that leave the program as it is, those that can be told from the line:
NOTHING = r"(std::nullopt|nullptr|false|\b0|\w+Unknown|OperatorNone);$"  # that is what "{};" stands for
CAPACITY = r"^ *\w+\.reserve\(.*|std::max\(needed, .*|^ *;$"  # how much memory is taken before it is needed
# Faults that the compiler refuses: "!" in front of one side of a comparison.
REFUSED = r"if \(![^&|]* ([=!]=|[<>]=?) "


def is_code(line):
    text = line.strip()
    return text and not text.startswith(("//", "#", "///", "static_assert", "using ", "namespace", "template"))


def meaning(code):
    return re.sub(CAPACITY, "", re.sub(NOTHING, "{};", code))


def is_fault(code, changed):
    if re.search(REFUSED, changed) and not re.search(REFUSED, code):
        return False
    return meaning(code) != meaning(changed)


def faults_of(path, lines):
    """Every fault that can be applied to a file: (path, line number, line, new line)."""
    found = []
    inside_assertion = False
    for number, line in enumerate(lines):
        # What the compiler checks is no code that runs.
        inside_assertion = inside_assertion or line.startswith("static_assert(")
        if inside_assertion:
            inside_assertion = not line.endswith(");")
            continue
        if not is_code(line) or "Q_ASSERT" in line or "qC" in line:
            continue
        code = line.split(" //")[0].rstrip("\n")
        for pattern, replacement in FAULTS:
            for match in re.finditer(pattern, code):
                changed = code[:match.start()] + re.sub(pattern, replacement, match[0], count=1) + code[match.end():]
                if re.search(pattern, match[0]) and is_fault(code, changed):
                    found.append((path, number, code, changed))
    return found


class Copy:
    def __init__(self, source, build):
        self.source = source
        self.build = build

    def make(self, targets):
        run = subprocess.run(["cmake", "--build", self.build, "--parallel", os.environ.get("VXDATASTORAGE_JOBS", "2"),
                              "--target", *targets], capture_output=True, text=True)
        return run.returncode == 0, run.stdout + run.stderr

    def tests_pass(self, targets):
        for target in targets:
            program = next(pathlib.Path(self.build, "tests").glob("*/" + target))
            try:
                run = subprocess.run([program, "--gtest_brief=1", "--gtest_fail_fast"], capture_output=True, timeout=120)
            except subprocess.TimeoutExpired:
                return False
            if run.returncode != 0:
                return False
        return True

    def verdict(self, fault, targets):
        path, number, _, changed = fault
        file = pathlib.Path(self.source, path)
        original = file.read_text()
        lines = original.splitlines(keepends=True)
        lines[number] = changed + "\n"
        file.write_text("".join(lines))
        try:
            built, output = self.make(targets)
            if not built:
                return "caught" if "static assertion failed" in output else "does not compile"
            return "survived" if self.tests_pass(targets) else "caught"
        finally:
            file.write_text(original)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("source")
    parser.add_argument("build")
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    copy = Copy(arguments.source, arguments.build)

    every = [(fault, targets) for paths, targets in AREAS for path in paths
             for fault in faults_of(path, pathlib.Path(arguments.source, path).read_text().splitlines())]
    chosen = random.Random(arguments.seed).sample(every, min(arguments.count, len(every)))
    # One area after the other, so that less is built.
    chosen.sort(key=lambda entry: (entry[1], entry[0][0], entry[0][1]))
    print(f"{len(chosen)} of {len(every)} faults, seed {arguments.seed}", flush=True)

    everything = sorted({target for _, targets in AREAS for target in targets})
    built, output = copy.make(everything)
    if not built or not copy.tests_pass(everything):
        sys.exit(output[-3000:] + "\nthe tests do not pass without any fault")
    count = {"caught": 0, "survived": 0, "does not compile": 0}
    for fault, targets in chosen:
        verdict = copy.verdict(fault, targets)
        count[verdict] += 1
        path, number, before, after = fault
        if verdict == "survived":
            print(f"SURVIVED {path}:{number + 1}\n    {before.strip()}\n    {after.strip()}", flush=True)
    tried = count["caught"] + count["survived"]
    share = 100.0 * count["caught"] / max(tried, 1)
    print(f"{count['caught']} of {tried} faults caught, {share:.1f} %; {count['does not compile']} did not compile")
    return 0 if share >= 90.0 else 1


if __name__ == "__main__":
    sys.exit(main())
