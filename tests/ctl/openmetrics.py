# SPDX-License-Identifier: MIT
"""What a strict reader of OpenMetrics 1.0 takes: families, each with its metadata in front."""
import re

NAME = r"[a-zA-Z_:][a-zA-Z0-9_:]*"
VALUE = r'"((?:[^"\\\n]|\\[\\"n])*)"'
SAMPLE = re.compile(rf"({NAME})(?:{{({NAME}={VALUE}(?:,{NAME}={VALUE})*)}})? (-?\d+(?:\.\d+)?)")
SUFFIXES = {"gauge": "", "counter": "_total"}


def expect(holds, what):
    if not holds:
        raise ValueError(what)


def read(text):
    """{(sample's name, label's value...): value}; ValueError for what is not allowed."""
    lines = text.split("\n")
    expect(lines[-2:] == ["# EOF", ""] and lines.count("# EOF") == 1, "no end")
    families, samples, family = {}, {}, None
    for line in lines[:-2]:
        if line.startswith("# "):
            _, what, name, value = line.split(" ", 3)
            expect(name == family or name not in families, f"{name} comes twice")
            family = name
            known = families.setdefault(name, {})
            expect(what in {"TYPE", "UNIT", "HELP"} - known.keys() and "samples" not in known, line)
            expect(what != "UNIT" or name.endswith("_" + value), f"the name has not its unit: {line}")
            known[what] = value
            continue
        sample = SAMPLE.fullmatch(line)
        expect(sample and family, line)
        known["samples"] = True
        expect(sample[1] == family + SUFFIXES[known["TYPE"]], f"{sample[1]} is no sample of {family}")
        labels = re.findall(rf"({NAME})={VALUE}", sample[2] or "")
        expect(len(dict(labels)) == len(labels), f"a label comes twice: {line}")
        identity = (sample[1], *(value for _, value in labels))
        expect(identity not in samples, f"a sample comes twice: {line}")
        samples[identity] = float(sample[5])
        expect(known["TYPE"] != "counter" or samples[identity] >= 0, line)
    return samples
