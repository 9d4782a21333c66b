# SPDX-License-Identifier: MIT
"""What a strict reader of OpenMetrics 1.0 takes: families, each with its metadata in front."""
import re

NAME = r"[a-zA-Z_:][a-zA-Z0-9_:]*"
VALUE = r'"((?:[^"\\\n]|\\[\\"n])*)"'
SAMPLE = re.compile(rf"({NAME})(?:{{({NAME}={VALUE}(?:,{NAME}={VALUE})*)}})? (-?\d+(?:\.\d+)?)")
SUFFIXES = {"gauge": "", "counter": "_total"}


def read(text):
    """{(sample's name, label's value...): value}; ValueError for what is not allowed."""
    lines = text.split("\n")
    if lines[-2:] != ["# EOF", ""] or lines.count("# EOF") != 1:
        raise ValueError("no end")
    families, samples, family = {}, {}, None
    for line in lines[:-2]:
        if line.startswith("# "):
            _, what, name, value = line.split(" ", 3)
            if name != family and name in families:
                raise ValueError(f"{name} comes twice")
            family = name
            known = families.setdefault(name, {})
            if what not in ("TYPE", "UNIT", "HELP") or what in known or "samples" in known:
                raise ValueError(line)
            if what == "UNIT" and not name.endswith("_" + value):
                raise ValueError(f"the name has not its unit: {line}")
            known[what] = value
            continue
        sample = SAMPLE.fullmatch(line)
        if not sample or family is None:
            raise ValueError(line)
        families[family]["samples"] = True
        if sample[1] != family + SUFFIXES[families[family]["TYPE"]]:
            raise ValueError(f"{sample[1]} is no sample of {family}")
        labels = re.findall(rf"({NAME})={VALUE}", sample[2] or "")
        if len({label for label, _ in labels}) != len(labels):
            raise ValueError(f"a label comes twice: {line}")
        identity = (sample[1], *(value for _, value in labels))
        if identity in samples:
            raise ValueError(f"a sample comes twice: {line}")
        if families[family]["TYPE"] == "counter" and float(sample[5]) < 0:
            raise ValueError(line)
        samples[identity] = float(sample[5])
    return samples
