"""What the orlodbc test scripts share: the tool's path (the first argument),
the test data sources, running the tool, and the rule that a database the
tests can't reach fails them under CI=true and skips them elsewhere."""
import os
import subprocess
import sys

ORLODBC = sys.argv.pop(1) if len(sys.argv) > 1 else "orlodbc"
CI = os.environ.get("CI") == "true"

# label: (dsn, user, password)
DSNS = {
    "sqlite": ("orl_sqlite", "orl", ""),
    "sqlite_copy": ("orl_sqlite_copy", "orl", ""),
    "pg": ("orl_pg", "orl", "orl_pw"),
    "maria": ("orl_maria", "orl", "orl_pw"),
}


def conn_args(label, prefix=None):
    dsn, user, password = DSNS[label]
    if prefix is None:
        return ["-d", dsn, "-u", user] + (["-p", password] if password else [])
    out = ["--" + prefix, dsn, "--%s-user" % prefix, user]
    return out + (["--%s-password" % prefix, password] if password else [])


def run(args, expect=0):
    p = subprocess.run([ORLODBC] + args, capture_output=True, text=True, timeout=600)
    # Under the sanitizers a report may come with the very exit status a case expects.
    for report in ("AddressSanitizer", "LeakSanitizer", "ThreadSanitizer", "runtime error:"):
        if report in p.stderr:
            raise AssertionError("orlodbc %s: %s" % (" ".join(args), p.stderr))
    if expect is not None and p.returncode != expect:
        raise AssertionError("orlodbc %s -> %d (wanted %d)\nstdout: %s\nstderr: %s"
                             % (" ".join(args), p.returncode, expect, p.stdout, p.stderr))
    return p


def sql(label, *statements, output=None):
    args = ["query"] + conn_args(label)
    for s in statements:
        args += ["-e", s]
    if output:
        args += ["--output", output]
    return run(args).stdout


_reachable = {}


def require(test, *labels):
    for label in labels:
        if label not in _reachable:
            _reachable[label] = run(["query"] + conn_args(label), expect=None).returncode == 0
        if not _reachable[label]:
            if CI:
                test.fail(DSNS[label][0] + " unreachable")
            test.skipTest(DSNS[label][0] + " unreachable")


def reachable(label):
    return _reachable.get(label, False)
