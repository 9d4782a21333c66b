# SPDX-License-Identifier: MIT
"""Checks with names, each printed as it is made."""


class Report:
    def __init__(self):
        self.passed = 0
        self.failed = 0

    def section(self, title):
        print(f"\n{title}", flush=True)

    def check(self, name, good, seen=""):
        """One check; what was seen is printed when it failed."""
        print(f"  {'ok' if good else 'FAILED'}: {name}", flush=True)
        if good:
            self.passed += 1
        else:
            self.failed += 1
            print("    seen: " + str(seen).replace("\n", "\n          "), flush=True)
        return good

    def same(self, name, seen, wanted):
        return self.check(name, seen == wanted, f"{seen}\n  wanted: {wanted}")

    def between(self, name, seen, low, high):
        return self.check(f"{name} ({seen})", low <= seen <= high, f"{seen}, not {low} to {high}")
