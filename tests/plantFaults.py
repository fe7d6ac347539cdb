"""Plants one fault after the other in a copy of the tree and sees whether a test notices.

    scripts/plant-faults            all faults of tests/planted-faults.txt
    scripts/plant-faults NAME...    those whose name contains one of the words

Prints which test noticed each fault. Fails when a fault survives all tests, no longer fits the
source, or does not compile.
"""
import argparse
import pathlib
import re
import shutil
import subprocess
import sys
import time

root = pathlib.Path(__file__).resolve().parent.parent
copy = root / "build/planted-faults"


class Fault:
    def __init__(self, record):
        head, self.file, *lines = record.splitlines()
        self.name, self.preset, self.target, self.tests = head.split()
        self.old = "\n".join(line[2:] for line in lines if line[0] == "-")
        self.new = "\n".join(line[2:] for line in lines if line[0] == "+")

    def planted_in(self, source):
        if source.count(self.old) != 1 or self.old == self.new:
            sys.exit(f"{self.name}: no longer fits {self.file}: what it replaces stands there "
                     f"{source.count(self.old)} times")
        return source.replace(self.old, self.new)


def all_faults():
    text = (root / "tests/planted-faults.txt").read_text()
    text = re.sub(r"^#.*\n", "", text, flags=re.M)
    return [Fault(record) for record in re.split(r"\n\n+", text.strip())]


def copy_tree():
    """Brings the copy up to date; what has not changed keeps its time and is not built again."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            cwd=root, check=True, capture_output=True, text=True).stdout
    for name in filter(None, listed.split("\0")):
        source, target = root / name, copy / name
        if not source.is_file():
            target.unlink(missing_ok=True)
        elif not target.is_file() or source.read_bytes() != target.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)


class DoesNotCompile(Exception):
    pass


def build(preset, target="all"):
    built = subprocess.run(["cmake", "--build", "--preset", preset, "--target", target], cwd=copy,
                           capture_output=True, text=True)
    if built.returncode != 0:
        errors = [line for line in built.stdout.splitlines() if "error: " in line]
        raise DoesNotCompile(errors[0] if errors else built.stdout)


def noticed_by(preset, tests):
    """The first test that fails, None when all pass."""
    run = subprocess.run(["ctest", "--preset", preset, "--stop-on-failure", "--timeout", "300",
                          "--no-tests=error", "--tests-regex", tests],
                         cwd=copy, capture_output=True, text=True)
    if run.returncode == 0:
        return None
    failed = re.search(r"Test +#\d+: (\S+) .*(?:\*\*\*|Exception)", run.stdout)
    return failed[1] if failed else sys.exit(run.stdout + run.stderr)


def verdict(fault):
    path = copy / fault.file
    source = path.read_text()
    path.write_text(fault.planted_in(source))
    try:
        build(fault.preset, fault.target)
        noticed = noticed_by(fault.preset, fault.tests)
        if not noticed and fault.preset == "dev":
            build(fault.preset)
            noticed = noticed_by(fault.preset, ".")
        return noticed or "SURVIVES"
    except DoesNotCompile as problem:
        return f"DOES NOT COMPILE: {problem}"
    finally:
        path.write_text(source)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("names", nargs="*", metavar="NAME")
    names = parser.parse_args().names
    faults = [fault for fault in all_faults()
              if not names or any(name in fault.name for name in names)]
    if not faults:
        sys.exit("No such fault")

    copy_tree()
    for fault in faults:
        fault.planted_in((copy / fault.file).read_text())
    for preset in sorted({fault.preset for fault in faults}):
        subprocess.run(["cmake", "--preset", preset], cwd=copy, check=True,
                       stdout=subprocess.DEVNULL)
    for preset, target in sorted({(fault.preset, fault.target) for fault in faults}):
        build(preset, target)
        tests = "|".join(fault.tests for fault in faults if fault.target == target)
        if failed := noticed_by(preset, tests):
            sys.exit(f"{failed} fails without a fault")

    width = max(len(fault.name) for fault in faults)
    unnoticed = 0
    for fault in faults:
        start = time.monotonic()
        result = verdict(fault)
        unnoticed += result.startswith(("SURVIVES", "DOES NOT COMPILE"))
        print(f"{fault.name:{width}}  {time.monotonic() - start:5.0f} s  {result}", flush=True)
    print(f"{len(faults)} faults planted, {unnoticed} not noticed")
    sys.exit(unnoticed != 0)


if __name__ == "__main__":
    try:
        main()
    except DoesNotCompile as problem:
        sys.exit(f"Does not compile without a fault: {problem}")
