#!/usr/bin/python3
"""Measures what the fast tests catch: applies a seeded sample of small faults to the
product's sources, one at a time, and reports each one killed (with the test that failed)
or survived.

The faults: a comparison flipped, a constant or a text literal changed, a statement
dropped (a call, a click, a settle), an index off by one, a boolean flipped. Each is
applied to a scratch git worktree of HEAD under /tmp (reused across faults and runs), the
tree is rebuilt incrementally, the C++ units run (ctest, without the end-to-end entries)
and, with --e2e, a chosen pytest subset. A fault that does not build is "not built".

    /usr/bin/python3 scripts/fault_sample.py --seed 1 --count 150 --report faults.json
    /usr/bin/python3 scripts/fault_sample.py --resume faults.json
    /usr/bin/python3 scripts/fault_sample.py --replay before.json --report after.json

--replay tries the faults of an earlier report on HEAD: the same sample before and after a
change of the tests (or of code around the faults: each fault follows its line);
--killed-only tries again only those it killed.
"""
import argparse
import hashlib
import json
import os
import random
import re
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
FOLDERS = ("webdriver", "marlet", "python")
CPP_EXTS = (".cpp", ".h")
PY_EXTS = (".py",)

# ---------------------------------------------------------------- fault generation


def code_mask(line, python, open_block):
    """Classifies each character of a line: 'c' code, 's' inside a string literal (quotes
    included), '#' comment or docstring. `open_block` is the text that closes a block
    comment (or a triple-quoted string) still open from the lines before, else None; the
    same is returned for the end of this line."""
    mask = []
    i, n = 0, len(line)
    while i < n:
        if open_block:
            end = line.find(open_block, i)
            if end < 0:
                return "".join(mask) + "#" * (n - i), open_block
            stop = end + len(open_block)
            mask.append("#" * (stop - i))
            i, open_block = stop, None
            continue
        ch = line[i]
        if python and line[i:i + 3] in ('"""', "'''"):
            open_block = line[i:i + 3]
            mask.append("###")
            i += 3
            continue
        if (python and ch == "#") or (not python and line.startswith("//", i)):
            mask.append("#" * (n - i))
            break
        if not python and line.startswith("/*", i):
            open_block = "*/"
            mask.append("##")
            i += 2
            continue
        if ch in "\"'":
            j = i + 1
            while j < n and line[j] != ch:
                j += 2 if line[j] == "\\" else 1
            stop = min(j + 1, n)
            mask.append("s" * (stop - i))
            i = stop
            continue
        mask.append("c")
        i += 1
    return "".join(mask), open_block


COMPARE_FLIPS = {"==": "!=", "!=": "==", "<=": ">", ">=": "<", " < ": " >= ", " > ": " <= "}
CPP_BOOLS = {"true": "false", "false": "true"}
PY_BOOLS = {"True": "False", "False": "True"}
KEYWORD_STARTS = ("return", "if", "while", "for", "switch", "throw", "delete", "case",
                  "else", "do", "co_return", "assert", "raise", "del", "yield", "elif",
                  "def", "class", "with", "except", "lambda", "print")
CPP_CALL = re.compile(r"^(\s*)(?:[A-Za-z_][\w]*(?:::|\.|->))*[A-Za-z_]\w*\s*\(.*\)\s*;\s*$")
INDEX_NAME = re.compile(r"^(?!key$)(?:[a-z]{1,3}|\w*(?:index|idx|pos|at|count|cut)\w*)$", re.I)
PY_CALL = re.compile(r"^(\s*)(?:[A-Za-z_][\w]*\.)*[A-Za-z_]\w*\(.*\)\s*$")


def balanced(text):
    depth = 0
    for ch in text:
        depth += ch == "("
        depth -= ch == ")"
        if depth < 0:
            return False
    return depth == 0


def line_faults(line, mask, python):
    """The faults of one line of code, in the order of the line: (kind, new line)."""
    out = []
    stripped = line.strip()
    if not stripped or stripped.startswith("#") or stripped.startswith("static_assert"):
        return out
    if not python and re.match(r"(template|using|typedef|enum|namespace)\b", stripped):
        return out
    code = "".join(ch if m == "c" else " " for ch, m in zip(line, mask))

    for op, new in COMPARE_FLIPS.items():
        for m in re.finditer(re.escape(op), code):
            s, e = m.span()
            if op in ("==", "!=") and (code[e:e + 1] == "=" or code[s - 1:s] in "=!<>"):
                continue
            if op in ("<=", ">=") and (code[s - 1:s] in "<>" or code[e:e + 1] == ">"):
                continue  # <<=, >>=, <=>
            out.append((s, "comparison", line[:s] + new + line[e:]))
    for m in re.finditer(r"(?<![\w.])(\d+)(?![\w.'])", code):
        s, e = m.span()
        before = code[:s].rstrip()
        if before.endswith("[") and code[e:].lstrip().startswith("]"):
            value = int(m.group(1))
            if before[:-1].rstrip()[-1:].isalnum() or before[:-1].rstrip()[-1:] in ")]_":
                out.append((s, "index", line[:s] + str(value + 1) + line[e:]))
            continue
        if (re.match(r"\s*case\b", line) or before.endswith("<")
                or (before.endswith("=") and re.match(r"\s*;", code[e:]) and ")" in before)):
            continue  # a duplicate case label; a template argument; a pure virtual
        value = int(m.group(1))
        out.append((s, "constant", line[:s] + str(value + 1 if value != 1 else 0) + line[e:]))
    for m in re.finditer(r"(?<=[\w\)\]])\[([A-Za-z_]\w*)\]", code):
        if not INDEX_NAME.match(m.group(1)):
            continue  # a key of a map or a record: one more would not compile or mean much
        s, e = m.span(1)
        out.append((s, "index", line[:s] + m.group(1) + " + 1" + line[e:]))
    bools = PY_BOOLS if python else CPP_BOOLS
    for m in re.finditer(r"\b(%s)\b" % "|".join(bools), code):
        s, e = m.span()
        out.append((s, "boolean", line[:s] + bools[m.group(1)] + line[e:]))
    # Text literals: one more character at the start of a non-empty plain literal.
    i = 0
    while i < len(mask):
        if mask[i] == "s" and (i == 0 or mask[i - 1] != "s"):
            j = i
            while j < len(mask) and mask[j] == "s":
                j += 1
            prefix = line[i - 1:i]
            if line[i] == '"' and j - i > 2 and not (prefix.isalnum() or prefix == "_"):
                out.append((i, "text", line[:i + 1] + "~" + line[i + 1:]))
            i = j
        else:
            i += 1
    # A dropped statement: a whole call statement on one line.
    word = re.match(r"\s*(\w+)", code)
    call = (PY_CALL if python else CPP_CALL).match(code)
    if call and word and word.group(1) not in KEYWORD_STARTS and balanced(code):
        indent = call.group(1)
        kind = ("click" if "locateElementById" in code else
                "settle" if re.search(r"\bsettle\w*\(", code) else "statement")
        out.append((len(indent), kind, indent + ("pass" if python else ";") + "\n"))
    out.sort(key=lambda f: f[0])
    return [(kind, new) for _, kind, new in out]


def file_faults(path, text):
    """Every fault of one source file: dicts with file, line, kind, before, after."""
    python = path.endswith(PY_EXTS)
    faults, open_block = [], None
    lines = text.splitlines(keepends=True)
    for number, line in enumerate(lines, 1):
        mask, open_after = code_mask(line.rstrip("\n"), python, open_block)
        if not open_block and not line.lstrip().startswith(("#include", "#pragma", "#define")):
            for kind, new in line_faults(line.rstrip("\n"), mask, python):
                new = new if new.endswith("\n") else new + "\n"
                if not line.endswith("\n"):
                    new = new.rstrip("\n")
                if new != line:
                    faults.append({"file": path, "line": number, "kind": kind,
                                   "before": line.rstrip("\n"), "after": new.rstrip("\n")})
        open_block = open_after
    return faults


def source_files(root):
    listed = subprocess.run(["git", "ls-files", "--", *FOLDERS], cwd=root, check=True,
                            capture_output=True, text=True).stdout.split()
    return sorted(p for p in listed if p.endswith(CPP_EXTS + PY_EXTS))


FAMILY = {"click": "statement", "settle": "statement"}


def sample_faults(root, seed, count):
    """The seeded sample: the same faults in the same order for the same seed and sources."""
    candidates = []
    for path in source_files(root):
        with open(os.path.join(root, path), encoding="utf-8") as f:
            candidates.extend(file_faults(path, f.read()))
    # Each draw picks a family first, then one of its faults: text literals outnumber
    # everything else several times over and would otherwise make most of the sample.
    families = {}
    for fault in candidates:
        families.setdefault(FAMILY.get(fault["kind"], fault["kind"]), []).append(fault)
    rng, picked = random.Random(seed), []
    while len(picked) < count and families:
        name = rng.choice(sorted(families))
        pool = families[name]
        picked.append(pool.pop(rng.randrange(len(pool))))
        if not pool:
            del families[name]
    for index, fault in enumerate(picked):
        fault["id"] = index
    return picked, len(candidates)


# ---------------------------------------------------------------- running


def run(cmd, cwd, timeout, env=None):
    """(exit code or None on timeout, output)."""
    try:
        p = subprocess.run(cmd, cwd=cwd, env=env, timeout=timeout, stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT, text=True, errors="replace")
        return p.returncode, p.stdout
    except subprocess.TimeoutExpired as e:
        out = e.stdout.decode(errors="replace") if isinstance(e.stdout, bytes) else e.stdout
        return None, out or ""


class Scratch:
    """A git worktree of a commit under /tmp with its own build folder."""

    def __init__(self, commit, path, jobs):
        self.commit, self.path, self.jobs = commit, path, jobs
        self.build = os.path.join(path, "build")

    def prepare(self):
        if not os.path.isdir(self.path):
            subprocess.run(["git", "worktree", "add", "--detach", self.path, self.commit],
                           cwd=ROOT, check=True, capture_output=True)
        subprocess.run(["git", "checkout", "--detach", "-f", self.commit], cwd=self.path,
                       check=True, capture_output=True)
        subprocess.run(["git", "clean", "-fdq", "-e", "build"], cwd=self.path, check=True)

    def env(self, readonly):
        env = dict(os.environ, BUILD_DIR="build", JOBS=str(self.jobs))
        if readonly:
            env["CCACHE_READONLY"] = "1"  # the faults' objects stay out of the shared cache
        return env

    def build_tree(self, timeout, readonly=True):
        code, out = run(["bash", "scripts/build.sh"], self.path, timeout, self.env(readonly))
        return code == 0, out


def ctest_failures(out):
    """The failed entries of a ctest run, in order, with the cause when it is not a plain
    failure (a timeout)."""
    listed = out.split("The following tests FAILED:", 1)
    if len(listed) < 2:
        return []
    return [(name, cause) for name, cause in
            re.findall(r"^\s*\d+\s*-\s*(\S+)\s*\(([^)]*)\)", listed[1], re.M)]


def first_ctest_failure(out):
    failures = ctest_failures(out)
    if not failures:
        return None
    name, cause = failures[0]
    return name if cause == "Failed" else "%s (%s)" % (name, cause)


def run_units(scratch, test_timeout, total_timeout, exclude=""):
    """The name of the ctest entry that fails, or None. A failure must repeat when the entry
    runs alone: one that passes then was the load of the machine, not the fault, and the
    whole suite runs to look for one that repeats."""
    base = ["ctest", "-j1", "-E", "e2e" + ("|" + exclude if exclude else ""),
            "--timeout", str(test_timeout)]

    def repeats(name):
        code, _ = run(["ctest", "-R", "^%s$" % re.escape(name), "--timeout", str(test_timeout)],
                      scratch.build, total_timeout)
        return code != 0

    code, out = run(base + ["--stop-on-failure"], scratch.build, total_timeout)
    if code == 0:
        return None
    if code is None:
        return "ctest timeout"
    failures = ctest_failures(out)
    if failures and repeats(failures[0][0]):
        return first_ctest_failure(out)
    code, out = run(base, scratch.build, total_timeout)
    for name, cause in ctest_failures(out):
        if repeats(name):
            return name if cause == "Failed" else "%s (%s)" % (name, cause)
    return None if failures or code == 0 else "ctest exit %s" % code


def run_pytest(scratch, files, timeout):
    env = dict(os.environ, PYTHONPATH="%s:%s" % (os.path.join(scratch.build, "python"),
                                                 scratch.path))
    code, out = run(["/usr/bin/python3", "-m", "pytest", "-x", "-q", "-rfE",
                     "-p", "no:cacheprovider", *files], scratch.path, timeout, env)
    if code == 0:
        return None
    m = re.search(r"^(?:FAILED|ERROR) (\S+)", out, re.M)
    return m.group(1) if m else ("pytest timeout" if code is None else "pytest exit %s" % code)


def try_fault(scratch, fault, args):
    target = os.path.join(scratch.path, fault["file"])
    with open(target, encoding="utf-8") as f:
        original = f.read()
    lines = original.splitlines(keepends=True)
    if lines[fault["line"] - 1].rstrip("\n") != fault["before"]:
        return {"status": "stale", "killed_by": None}
    ending = "\n" if lines[fault["line"] - 1].endswith("\n") else ""
    lines[fault["line"] - 1] = fault["after"] + ending
    try:
        with open(target, "w", encoding="utf-8") as f:
            f.write("".join(lines))
        if target.endswith(PY_EXTS):  # the build copies Python without compiling it
            parse = "import ast, sys; ast.parse(open(sys.argv[1]).read())"
            code, _ = run(["/usr/bin/python3", "-c", parse, target], scratch.path, 60)
            if code != 0:
                return {"status": "not built", "killed_by": None}
        built, log = scratch.build_tree(args.build_timeout)
        if not built:
            return {"status": "not built", "killed_by": None}
        killer = run_units(scratch, args.test_timeout, args.units_timeout, args.exclude)
        if killer is None and args.e2e:
            killer = run_pytest(scratch, args.e2e, args.e2e_timeout)
        return {"status": "killed" if killer else "survived", "killed_by": killer}
    finally:
        # Back to the original text; the next build recompiles it (from the cache).
        with open(target, "w", encoding="utf-8") as f:
            f.write(original)


def relocate(fault, root):
    """The fault moved to where its line stands in `root`'s copy of the file: the copy of
    the line nearest its old number. None when the line is gone."""
    try:
        with open(os.path.join(root, fault["file"]), encoding="utf-8") as f:
            lines = f.read().splitlines()
    except OSError:
        return None
    found = [i + 1 for i, line in enumerate(lines) if line == fault["before"]]
    if not found:
        return None
    moved = {k: v for k, v in fault.items() if k in ("file", "kind", "before", "after", "id")}
    moved["line"] = min(found, key=lambda n: abs(n - fault["line"]))
    return moved


def save(report, path):
    tmp = path + ".tmp"
    with open(tmp, "w") as f:
        json.dump(report, f, indent=1)
    os.replace(tmp, path)


def summary(report):
    faults = report["faults"]
    done = [f for f in faults if f.get("status")]
    judged = [f for f in done if f["status"] in ("killed", "survived")]
    killed = [f for f in judged if f["status"] == "killed"]
    lines = ["faults: %d of %d tried; %d killed, %d survived, %d not built, %d stale"
             % (len(done), len(faults), len(killed), len(judged) - len(killed),
                sum(f["status"] == "not built" for f in done),
                sum(f["status"] == "stale" for f in done))]
    if judged:
        lines.append("kill rate: %.1f%% (%d/%d built)"
                     % (100.0 * len(killed) / len(judged), len(killed), len(judged)))
    for folder in FOLDERS:
        part = [f for f in judged if f["file"].split("/")[0] == folder]
        if part:
            k = sum(f["status"] == "killed" for f in part)
            lines.append("  %-10s %5.1f%% (%d/%d)" % (folder, 100.0 * k / len(part), k, len(part)))
    seconds = [f["seconds"] for f in done if "seconds" in f]
    if seconds:
        lines.append("time per fault: %.0f s mean, %.0f s max" % (sum(seconds) / len(seconds),
                                                                    max(seconds)))
    survivors = [f for f in judged if f["status"] == "survived"]
    if survivors:
        lines.append("survived:")
        for f in survivors:
            lines.append("  %s:%d [%s] %s  ->  %s" % (f["file"], f["line"], f["kind"],
                                                       f["before"].strip(), f["after"].strip()))
    return "\n".join(lines)


def main(argv=None):
    p = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    p.add_argument("--seed", type=int, default=1)
    p.add_argument("--count", type=int, default=150)
    p.add_argument("--e2e", nargs="+", default=[], metavar="FILES",
                   help="pytest files (or node ids) run after the units pass")
    p.add_argument("--report", default="fault_report.json")
    p.add_argument("--resume", metavar="REPORT", help="continue an interrupted run")
    p.add_argument("--replay", metavar="REPORT", help="the faults of an earlier report, on HEAD")
    p.add_argument("--killed-only", action="store_true",
                   help="with --replay: try again only the faults the earlier run killed; the "
                        "others keep their verdict (after a cut of tests, no more can be killed)")
    p.add_argument("--scratch", help="the scratch worktree (default /tmp/vorna-faults-<hash>)")
    p.add_argument("--jobs", type=int, default=2)
    p.add_argument("--test-timeout", type=int, default=60, help="seconds per ctest entry")
    p.add_argument("--units-timeout", type=int, default=900, help="seconds for all units")
    p.add_argument("--build-timeout", type=int, default=1800)
    p.add_argument("--e2e-timeout", type=int, default=1800)
    p.add_argument("--exclude", default="", metavar="REGEX",
                   help="ctest entries left out (beside e2e): ones that fail whatever the fault")
    p.add_argument("--list", action="store_true", help="print the sample and stop")
    args = p.parse_args(argv)

    if args.resume:
        with open(args.resume) as f:
            report = json.load(f)
        args.report = args.resume
        args.e2e, args.exclude = report["e2e"], report.get("exclude", "")
        commit = report["commit"]
    else:
        commit = subprocess.run(["git", "rev-parse", "HEAD"], cwd=ROOT, check=True,
                                capture_output=True, text=True).stdout.strip()
        if args.replay:
            with open(args.replay) as f:
                earlier = json.load(f)
            faults = []
            for fault in earlier["faults"]:
                if args.killed_only and fault.get("status") != "killed":
                    faults.append(dict(fault, carried=True))
                    continue
                moved = relocate(fault, ROOT)
                faults.append(moved or dict(fault, status="stale", killed_by=None))
            total = earlier["candidates"]
            args.seed = earlier["seed"]
            args.e2e, args.exclude = args.e2e or earlier["e2e"], args.exclude or earlier.get("exclude", "")
        else:
            faults, total = sample_faults(ROOT, args.seed, args.count)
        report = {"seed": args.seed, "count": len(faults), "commit": commit,
                  "candidates": total, "e2e": args.e2e, "exclude": args.exclude,
                  "faults": faults}
        if args.list:
            for f in faults:
                print("%3d %s:%d [%s] %s  ->  %s" % (f["id"], f["file"], f["line"], f["kind"],
                                                    f["before"].strip(), f["after"].strip()))
            print("%d of %d candidates" % (len(faults), total))
            return 0
        save(report, args.report)

    scratch = Scratch(commit, args.scratch or "/tmp/vorna-faults-%s"
                      % hashlib.sha1(ROOT.encode()).hexdigest()[:8], args.jobs)
    scratch.prepare()
    print("scratch tree %s at %s; baseline build and units" % (scratch.path, commit[:12]),
          flush=True)
    built, log = scratch.build_tree(args.build_timeout, readonly=False)
    if not built:
        sys.exit("the unchanged tree does not build:\n" + log[-3000:])
    failing = run_units(scratch, args.test_timeout, args.units_timeout, args.exclude)
    if failing is None and args.e2e:
        failing = run_pytest(scratch, args.e2e, args.e2e_timeout)
    if failing:
        sys.exit("the unchanged tree fails %s: no fault can be judged (--exclude leaves out a "
                 "ctest entry that fails on this machine whatever the fault)" % failing)

    for fault in report["faults"]:
        if fault.get("status"):
            continue
        start = time.monotonic()
        fault.update(try_fault(scratch, fault, args))
        fault["seconds"] = round(time.monotonic() - start, 1)
        print("%3d %-9s %s:%d [%s] %s %.0fs" % (fault["id"], fault["status"], fault["file"],
                                                fault["line"], fault["kind"],
                                                fault["killed_by"] or "", fault["seconds"]),
              flush=True)
        save(report, args.report)
    print(summary(report))
    return 0


if __name__ == "__main__":
    sys.exit(main())
