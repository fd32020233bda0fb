#!/usr/bin/env python3
"""Runs the shell commands of the READMEs as a reader would, and fails where they fail.

    tools/doctest.py --build DIR [README ...]     (default: README.md definitions/README.md)

Every fenced block marked `sh` runs in order, each as one bash script with `set -e`, from the
top of a temporary copy of the repository whose `build/` is the given, already built tree (the
suite was built by the same tools/build.sh the README names, so there the script only checks
that the tree is there; tools/setup.sh likewise only checks). The shared corpus is found beside
the copy as beside the repository. Two comments steer a block, on the line right before it:

    <!-- doctest: skip REASON -->        the block is not run (network, minutes, the suite itself)

and, on the line right after it:

    <!-- doctest: files PATH ... -->     these files must exist once the block has run

The blocks of one README share the copy, so a later block may use what an earlier one wrote.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

SKIP = re.compile(r"<!--\s*doctest:\s*skip\s+(.*?)\s*-->")
FILES = re.compile(r"<!--\s*doctest:\s*files\s+(.*?)\s*-->")
FENCE = re.compile(r"^```(\S*)\s*$")


def blocks(path):
    """Yields (line number, language, text, skip reason, promised files) for each fenced block."""
    lines = open(path, encoding="utf-8").read().split("\n")
    index = 0
    while index < len(lines):
        fence = FENCE.match(lines[index])
        if not fence:
            index += 1
            continue
        start = index
        body = []
        index += 1
        while index < len(lines) and not lines[index].startswith("```"):
            body.append(lines[index])
            index += 1
        if index == len(lines):
            raise SystemExit(f"{path}:{start + 1}: a fenced block that never closes")
        skip = SKIP.search(lines[start - 1]) if start > 0 else None
        files = FILES.search(lines[index + 1]) if index + 1 < len(lines) else None
        yield (start + 1, fence.group(1), "\n".join(body), skip.group(1) if skip else None,
               files.group(1).split() if files else [])
        index += 1


STAND_IN = """#!/usr/bin/env bash
# The suite's own tree stands in for this step: it was made by the real script.
cd "$(dirname "$0")/.."
test -x build/msgbridge || { echo "doctest: no built tree at build/" >&2; exit 1; }
"""


def make_copy(repo, build, work):
    """A copy of the repository's files, with the built tree linked in as build/."""
    copy = os.path.join(work, "repo")
    # Tracked files and new ones not yet committed, but nothing git ignores (build trees, out/).
    listed = subprocess.run(["git", "-C", repo, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            capture_output=True)
    if listed.returncode == 0:
        for name in listed.stdout.decode().split("\0"):
            if not name:
                continue
            source = os.path.join(repo, name)
            if not os.path.lexists(source):
                continue
            target = os.path.join(copy, name)
            os.makedirs(os.path.dirname(target), exist_ok=True)
            shutil.copy2(source, target, follow_symlinks=False)
    else:
        shutil.copytree(repo, copy, symlinks=True,
                        ignore=shutil.ignore_patterns("build*", "out", ".git"))
    os.symlink(os.path.abspath(build), os.path.join(copy, "build"))
    for script in ("tools/build.sh", "tools/setup.sh"):
        path = os.path.join(copy, script)
        with open(path, "w") as stand_in:
            stand_in.write(STAND_IN)
        os.chmod(path, 0o755)
    shared = os.path.join(os.path.dirname(os.path.abspath(repo)), "shared")
    if os.path.isdir(shared):
        os.symlink(shared, os.path.join(work, "shared"))
    return copy


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True, help="the built tree that stands in for build/")
    parser.add_argument("readmes", nargs="*", default=["README.md", "definitions/README.md"])
    args = parser.parse_args()
    repo = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

    ran = skipped = failed = 0
    with tempfile.TemporaryDirectory(prefix="msgbridge-doctest-") as work:
        copy = make_copy(repo, args.build, work)
        for readme in args.readmes:
            for line, language, text, skip, files in blocks(os.path.join(repo, readme)):
                if language not in ("sh", "bash", "shell"):
                    continue
                where = f"{readme}:{line}"
                if skip:
                    print(f"skip {where}: {skip}")
                    skipped += 1
                    continue
                result = subprocess.run(["bash", "-euo", "pipefail", "-c", text], cwd=copy,
                                        stdin=subprocess.DEVNULL, capture_output=True, timeout=600)
                missing = [name for name in files if not os.path.exists(os.path.join(copy, name))]
                if result.returncode != 0 or missing:
                    failed += 1
                    print(f"FAIL {where}: exit status {result.returncode}")
                    print("  " + text.replace("\n", "\n  "))
                    if missing:
                        print("  promised but missing: " + " ".join(missing))
                    tail = (result.stdout + result.stderr).decode("latin-1").splitlines()[-20:]
                    for output in tail:
                        print("  | " + output)
                else:
                    ran += 1
                    print(f"ok   {where}")
    print(f"doctest: {ran} passed, {failed} failed, {skipped} skipped")
    return 1 if failed or ran == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
