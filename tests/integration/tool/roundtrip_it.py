#!/usr/bin/env python3
"""orlodbc copy --create between every ordered pair of SQLite, PostgreSQL and
MariaDB: each copy reads back through the databases' own clients equal to its
source, with the source's types, key and NOT NULL in the target's catalog; or
is refused before anything is written, with the column named.

Usage: roundtrip_it.py PATH_TO_ORLODBC [unittest args]"""
import datetime
import decimal
import os
import subprocess
import sys
import unittest

ORLODBC = sys.argv.pop(1) if len(sys.argv) > 1 else "orlodbc"
CI = os.environ.get("CI") == "true"
RUN_DIR = os.environ.get("ORL_RUN_DIR", os.path.join(os.path.dirname(__file__), "../../../build/run"))
PG_PORT = os.environ.get("ORL_PG_PORT", "55432")
MARIA_PORT = os.environ.get("ORL_MARIA_PORT", "53306")

DSNS = {"sqlite": ("orl_sqlite", "orl", ""), "pg": ("orl_pg", "orl", "orl_pw"), "maria": ("orl_maria", "orl", "orl_pw")}
SEP, NULL = "\x1f", "\x1e"


def conn_args(label, prefix):
    dsn, user, password = DSNS[label]
    return ["--" + prefix, dsn, "--%s-user" % prefix, user] + (["--%s-password" % prefix, password] if password else [])


def orlodbc(args):
    return subprocess.run([ORLODBC] + args, capture_output=True, text=True, timeout=600)


def client(label, sql):
    """Rows of a statement as the database's own client prints them."""
    if label == "pg":
        cmd = ["psql", "-h", "127.0.0.1", "-p", PG_PORT, "-U", "orl", "-d", "orl_test", "-X", "-q", "-A", "-t",
               "-F", SEP, "-P", "null=" + NULL, "-v", "ON_ERROR_STOP=1", "-c", sql]
        env = dict(os.environ, PGPASSWORD="orl_pw")
    elif label == "maria":
        # Tabs and newlines come escaped in batch output; the tests keep them out of values.
        cmd = ["mariadb", "--no-defaults", "-h", "127.0.0.1", "-P", MARIA_PORT, "-u", "orl", "-porl_pw",
               "orl_test", "--default-character-set=utf8mb4", "-N", "-B", "-e", sql]
        env = os.environ
    else:
        cmd = ["sqlite3", "-bail", "-separator", SEP, "-nullvalue", NULL, os.path.join(RUN_DIR, "sqlite/orl.db"), sql]
        env = os.environ
    p = subprocess.run(cmd, capture_output=True, text=True, env=env, timeout=120)
    if p.returncode != 0:
        raise AssertionError("%s: %s: %s" % (label, sql, p.stderr))
    sep = "\t" if label == "maria" else SEP
    rows = []
    # Not splitlines(): it splits at the separators too.
    for line in p.stdout.split("\n")[:-1]:
        cells = line.split(sep)
        rows.append([None if c == (("NULL") if label == "maria" else NULL) else c for c in cells])
    return rows


_reachable = {}


def require(test, *labels):
    for label in labels:
        if label not in _reachable:
            try:
                client(label, "SELECT 1")
                _reachable[label] = True
            except (AssertionError, OSError):
                _reachable[label] = False
        if not _reachable[label]:
            if CI:
                test.fail(DSNS[label][0] + " unreachable")
            test.skipTest(DSNS[label][0] + " unreachable")


# Doubles stay within 15 significant digits: doubles to and from SQLite go
# through its driver's 15-digit text.
# Every kind of column in each database's words. SQLite's integers are 64-bit
# whatever their name, its exact decimals live in TEXT, its times are texts.
DDL = {
    "pg": "id integer PRIMARY KEY, c char(8) NOT NULL, v varchar(20), t text, i bigint, "
          "n numeric(38,10), un numeric, d numeric(10,2), f double precision, b bytea, "
          "tm time(6), ts timestamp(6), dt date",
    "maria": "id int PRIMARY KEY, c char(8) NOT NULL, v varchar(20), t longtext, i bigint, "
             "n decimal(38,10), un decimal(65,30), d decimal(10,2), f double, b varbinary(16), "
             "tm time(6), ts datetime(6), dt date",
    "sqlite": "id INTEGER PRIMARY KEY, c CHAR(8) NOT NULL, v VARCHAR(20), t TEXT, i INTEGER, "
              "n TEXT, un TEXT, d NUMERIC(10,2), f DOUBLE, b VARBINARY(16), "
              "tm TIME, ts TIMESTAMP, dt DATE",
}
COLUMNS = ["id", "c", "v", "t", "i", "n", "un", "d", "f", "b", "tm", "ts", "dt"]
KINDS = ["int", "char", "text", "text", "int", "dec", "dec", "dec", "float", "hex", "time", "ts", "date"]
LONG_TEXT = "".join(chr(ord("a") + k % 26) for k in range(300))


def blob(label, hexdigits):
    return "decode('%s', 'hex')" % hexdigits if label == "pg" else "X'%s'" % hexdigits


def rows(label):
    big = "1099511627776" if label == "sqlite" else "9223372036854775807"
    return [
        "(1, 'ab  ', 'zé€😀', '%s', %s, '1234567890123456789012345678.0123456789', '3.14159265358979', "
        "'-12345678.90', 1.25e300, %s, '23:59:59.999999', '2026-11-21 08:00:00.123456', "
        "'1900-01-01')" % (LONG_TEXT, big, blob(label, "00ff00")),
        "(2, '', NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL)",
        "(3, 'é', '', '', -%s, '-0.0000000001', '-0.5', '0.01', -2.5e-300, %s, '00:00:00.000001', "
        "'1969-12-31 23:59:59.999999', '9999-12-31')" % (big, blob(label, "")),
    ]


def normal(kind, text):
    if text is None:
        return None
    if kind == "int":
        return int(text)
    if kind == "char":
        return text.rstrip(" ")  # char pads and compares without trailing blanks
    if kind == "dec":
        return decimal.Decimal(text)
    if kind == "float":
        return float(text)
    if kind == "hex":
        return text.lower()
    if kind in ("time", "ts"):
        head, _, frac = text.partition(".")
        return head + "." + (frac + "000000")[:6]
    if kind == "date":
        return text[:10]
    return text


def read_back(label, table):
    items = {"pg": {"b": "encode(b, 'hex')", "f": "f::text"}, "maria": {"b": "hex(b)"},
             # sqlite3 prints doubles to 15 digits.
             "sqlite": {"b": "CASE WHEN b IS NULL THEN NULL ELSE hex(b) END", "f": "CASE WHEN f IS NULL THEN NULL ELSE printf('%.17g', f) END"}}
    select = ", ".join(items[label].get(c, c) for c in COLUMNS)
    got = client(label, "SELECT %s FROM %s ORDER BY id" % (select, table))
    return [[normal(k, v) for k, v in zip(KINDS, r)] for r in got]


def catalog(label, table):
    """{column: (declared type, not null, key)} from the target's own catalog."""
    if label == "pg":
        sql = ("SELECT a.attname, format_type(a.atttypid, a.atttypmod), a.attnotnull, "
               "EXISTS (SELECT 1 FROM pg_index i WHERE i.indrelid = a.attrelid AND i.indisprimary "
               "AND a.attnum = ANY(i.indkey)) FROM pg_attribute a WHERE a.attrelid = '%s'::regclass "
               "AND a.attnum > 0 AND NOT a.attisdropped" % table)
        yes = "t"
    elif label == "maria":
        sql = ("SELECT column_name, column_type, is_nullable = 'NO', column_key = 'PRI' FROM "
               "information_schema.columns WHERE table_schema = DATABASE() AND table_name = '%s'" % table)
        yes = "1"
    else:
        sql = "SELECT name, type, \"notnull\", pk > 0 FROM pragma_table_info('%s')" % table
        yes = "1"
    return {r[0]: (r[1].lower(), r[2] == yes, r[3] == yes) for r in client(label, sql)}


FAITHFUL = {  # column: what each catalog must show
    "c": {"pg": "character(8)", "maria": "char(8)", "sqlite": "char(8)"},
    "v": {"pg": "character varying(20)", "maria": "varchar(20)", "sqlite": "varchar(20)"},
    "d": {"pg": "numeric(10,2)", "maria": "decimal(10,2)", "sqlite": "numeric(10,2)"},
}


# Texts the bulk read refuses at exactly 128 bytes (127 and 129 pass), in
# ASCII and in UTF-8 letters of two to four bytes, a char(84) whose 44
# two-byte letters and 40 blanks make 128 bytes, and decimals whose text
# passes the bulk read's 31 characters.
WIDE_DDL = {
    "pg": "id integer PRIMARY KEY, t text, v varchar(200), c char(84), u varchar, n numeric(40,10), un numeric",
    "maria": "id int PRIMARY KEY, t longtext, v varchar(200), c char(84), u text, n decimal(40,10), "
             "un decimal(65,30)",
    "sqlite": "id INTEGER PRIMARY KEY, t TEXT, v VARCHAR(200), c CHAR(84), u VARCHAR(500), n TEXT, un TEXT",
}
WIDE_COLUMNS = ["id", "t", "v", "c", "u", "n", "un"]
WIDE_KINDS = ["int", "hex", "hex", "hexchar", "hex", "dec", "dec"]
TEXTS_128 = [
    "a" * 127, "a" * 128, "a" * 129,
    "\u00e9" * 64,                                 # 64 two-byte letters
    "\u00e9" * 60 + "\u20ac" * 2 + "ab",           # two and three bytes
    "\U0001f600" * 31 + "abcd",                    # 31 four-byte letters and 4 ASCII
    "\u00e9" * 63 + "a", "\u00e9" * 63 + "ab",     # 127 and 129 bytes
    "\u00e9" * 44,                                 # 88 bytes, 128 as a char(84)
    "", "ends in 1", "ends in 22",
    "\u00e9" * 300,                                # past what a block holds of a varchar
]
DECIMALS_40 = ["123456789012345678901234567890.1234567890", "-123456789012345678901234567890.1234567890",
               "0.0000000001", "0"]


def wide_rows(label):
    rows = []
    for k, text in enumerate(TEXTS_128):
        q = "'%s'" % text
        d = DECIMALS_40[k % len(DECIMALS_40)]
        un = "3.14159265358979" if k % 2 else "-0.000000000000000000000000000001"
        c = q if len(text) <= 84 else "NULL"
        rows.append("(%d, %s, %s, %s, %s, '%s', '%s')" % (k + 1, q, q if len(text) <= 200 else "NULL", c, q, d, un))
    rows.append("(%d, NULL, NULL, NULL, NULL, NULL, NULL)" % (len(TEXTS_128) + 1))
    return rows


def wide_read_back(label, table):
    """The texts' bytes in hex (a char's without trailing blanks), the decimals as numbers."""
    def hexed(col, char=False):
        if label == "pg":
            return "encode(convert_to(%s, 'UTF8'), 'hex')" % (("rtrim(%s)" % col) if char else col)
        if label == "maria":
            return "CASE WHEN %s IS NULL THEN NULL ELSE HEX(%s) END" % (col, col)
        return "CASE WHEN %s IS NULL THEN NULL ELSE hex(%s) END" % (col, ("rtrim(%s, ' ')" % col) if char else col)
    select = ", ".join("id" if c == "id" else hexed(c, k == "hexchar") if k.startswith("hex") else c
                       for c, k in zip(WIDE_COLUMNS, WIDE_KINDS))
    got = client(label, "SELECT %s FROM %s ORDER BY id" % (select, table))
    out = []
    for r in got:
        row = []
        for k, v in zip(WIDE_KINDS, r):
            if v is None:
                row.append(None)
            elif k == "int":
                row.append(int(v))
            elif k == "dec":
                row.append(decimal.Decimal(v))
            else:
                row.append(bytes.fromhex(v).decode("utf-8").rstrip(" ") if k == "hexchar" else
                           bytes.fromhex(v).decode("utf-8"))
        out.append(row)
    return out


# --query sources: what each database's ODBC driver describes of plain
# columns, computations, aggregates and literals. SQLite's describes INTEGER
# as 32-bit and every expression as varchar(255); PostgreSQL's every numeric
# without a declared precision as numeric(28,6); MariaDB's an unsigned integer
# as a signed one.
QUERY_SOURCES = {
    "sqlite": ("id INTEGER PRIMARY KEY, a INTEGER, s SMALLINT, f DOUBLE, t TEXT",
               ["(1, 1099511627776, 3000000000, 0.1, '%s')" % ("a" * 128), "(2, -3000000000, 5, 1.0/3, NULL)",
                "(3, NULL, NULL, NULL, 'x')"],
               "SELECT id, a, s, a * 2 AS a2, sum(a) OVER () AS total, f * 3 AS f3, t, 9007199254740993 AS lit "
               "FROM orl_rt_q",
               ["int", "int", "int", "int", "int", "float", "text", "int"]),
    "pg": ("id integer PRIMARY KEY, n numeric, d numeric(10,2), i integer, b bigint, t varchar",
           ["(1, 3.14159265358979, 1.25, 1000000000, 9223372036854775807, '%s')" % ("\u00e9" * 64),
            "(2, 0.0000000001, -1.5, -5, -1, NULL)", "(3, NULL, NULL, NULL, NULL, 'x')"],
           "SELECT id, n, n * 2 AS n2, d * d AS dd, sum(d) OVER () AS sd, i::bigint * 3 AS i3, "
           "sum(b) OVER () AS sb, avg(i) OVER () AS ai, t, 1.5 AS lit FROM orl_rt_q",
           ["int", "dec", "dec", "dec", "dec", "int", "dec", "dec", "text", "dec"]),
    "maria": ("id int PRIMARY KEY, ub bigint unsigned, ui int unsigned, n decimal(65,30), t longtext",
              ["(1, 18446744073709551615, 4294967295, 3.14159265358979, '%s')" % ("a" * 128),
               "(2, 0, 0, -0.000000000000000000000000000001, NULL)", "(3, NULL, NULL, NULL, 'x')"],
              "SELECT id, ub, ui, ui * 2 AS ui2, sum(ub) OVER () AS sub, n * 2 AS n2, t, "
              "12345678901234567890123456789012345678.5 AS lit FROM orl_rt_q",
              ["int", "int", "int", "int", "int", "dec", "text", "dec"]),
}


def query_read_back(label, sql, kinds):
    """A query's rows through the database's own client: doubles to 17 digits, texts in hex."""
    got = client(label, sql)
    out = []
    for r in got:
        row = []
        for k, v in zip(kinds, r):
            if v is None:
                row.append(None)
            elif k == "int":
                row.append(int(decimal.Decimal(v)))
            elif k == "dec":
                row.append(decimal.Decimal(v))
            elif k == "float":
                row.append(float(v))
            else:
                row.append(bytes.fromhex(v).decode("utf-8"))
        out.append(row)
    return out


def query_items(label, names, kinds):
    """The SELECT items that read a query's columns back as query_read_back takes them."""
    items = []
    for n, k in zip(names, kinds):
        if k == "text":
            items.append({"pg": "encode(convert_to(%s, 'UTF8'), 'hex')" % n,
                          "maria": "CASE WHEN %s IS NULL THEN NULL ELSE HEX(%s) END" % (n, n),
                          "sqlite": "CASE WHEN %s IS NULL THEN NULL ELSE hex(%s) END" % (n, n)}[label])
        elif k == "float" and label == "sqlite":
            # Without its ! flag SQLite's printf stops at 16 digits.
            items.append("CASE WHEN %s IS NULL THEN NULL ELSE printf('%%!.17g', %s) END" % (n, n))
        elif k == "float" and label == "pg":
            items.append("CAST(%s AS text)" % n)
        else:
            items.append(n)
    return ", ".join(items)


def column_names(sql):
    """The names of a QUERY_SOURCES query's columns: the alias, else the column."""
    head = sql[len("SELECT "):sql.index(" FROM orl_rt_q")]
    names, depth, part = [], 0, ""
    for ch in head + ",":
        if ch == "," and depth == 0:
            names.append(part.strip().split(" ")[-1])
            part = ""
            continue
        depth += {"(": 1, ")": -1}.get(ch, 0)
        part += ch
    return names


def ordered_pairs():
    """Every ordered pair of two different databases."""
    labels = ["sqlite", "pg", "maria"]
    return [(src, dst) for src in labels for dst in labels if src != dst]


class RoundTrip(unittest.TestCase):
    def make_source(self, label, table):
        client(label, "DROP TABLE IF EXISTS %s" % table)
        client(label, "CREATE TABLE %s (%s)" % (table, DDL[label]))
        client(label, "INSERT INTO %s VALUES %s" % (table, ", ".join(rows(label))))

    def test_every_ordered_pair_copies_exactly(self):
        for src, dst in ordered_pairs():
            with self.subTest(src=src, dst=dst):
                require(self, src, dst)
                # One database holds both sides of the SQLite pairs: the names differ.
                source, target = "orl_rt_src", "orl_rt_dst"
                self.make_source(src, source)
                p = orlodbc(["copy"] + conn_args(src, "from") + conn_args(dst, "to") +
                            ["--table", source, "--to-table", target, "--create", "--drop-existing"])
                self.assertEqual(0, p.returncode, p.stderr)
                want, got = read_back(src, source), read_back(dst, target)
                for w, g in zip(want, got):
                    for col, a, b in zip(COLUMNS, w, g):
                        self.assertEqual(a, b, "%s -> %s: row %s column %s" % (src, dst, w[0], col))
                self.assertEqual(len(want), len(got))
                cat = catalog(dst, target)
                self.assertEqual((True, True), cat["id"][1:])
                self.assertTrue(cat["c"][1])
                for col, names in FAITHFUL.items():
                    self.assertEqual(names[dst], cat[col][0], "%s -> %s: %s" % (src, dst, col))

    def test_texts_of_128_bytes_and_wide_decimals_copy_exactly(self):
        for src, dst in ordered_pairs():
            with self.subTest(src=src, dst=dst):
                require(self, src, dst)
                client(src, "DROP TABLE IF EXISTS orl_rt_wide")
                client(src, "CREATE TABLE orl_rt_wide (%s)" % WIDE_DDL[src])
                client(src, "INSERT INTO orl_rt_wide VALUES %s" % ", ".join(wide_rows(src)))
                want = wide_read_back(src, "orl_rt_wide")
                self.assertEqual(len(TEXTS_128) + 1, len(want))
                # The source holds what was written, 128 bytes and all.
                for row, text in zip(want, TEXTS_128):
                    self.assertEqual(text, row[1])
                p = orlodbc(["copy"] + conn_args(src, "from") + conn_args(dst, "to") +
                            ["--table", "orl_rt_wide", "--to-table", "orl_rt_wide_dst", "--create",
                             "--drop-existing", "--verify"])
                self.assertEqual(0, p.returncode, p.stderr)
                self.assertIn("verified", p.stdout)
                got = wide_read_back(dst, "orl_rt_wide_dst")
                self.assertEqual(len(want), len(got))
                for w, g in zip(want, got):
                    for col, a, b in zip(WIDE_COLUMNS, w, g):
                        self.assertEqual(a, b, "%s -> %s: row %s column %s" % (src, dst, w[0], col))

    def test_query_sources_copy_exactly(self):
        labels = ["sqlite", "pg", "maria"]
        for src in labels:
            ddl, rows, sql, kinds = QUERY_SOURCES[src]
            names = column_names(sql)
            for dst in labels:
                with self.subTest(src=src, dst=dst):
                    require(self, src, dst)
                    client(src, "DROP TABLE IF EXISTS orl_rt_q")
                    client(src, "CREATE TABLE orl_rt_q (%s)" % ddl)
                    client(src, "INSERT INTO orl_rt_q VALUES %s" % ", ".join(rows))
                    want = query_read_back(src, "SELECT %s FROM (%s) q ORDER BY id" % (
                        query_items(src, names, kinds), sql), kinds)
                    # On SQLite both sides are one database file.
                    to = conn_args(dst, "to") if not (src == dst == "sqlite") else \
                        ["--to", "orl_sqlite_copy", "--to-user", "orl"]
                    p = orlodbc(["copy"] + conn_args(src, "from") + to +
                                ["--query", sql, "--to-table", "orl_rt_q_dst", "--create", "--drop-existing",
                                 "--verify"])
                    self.assertEqual(0, p.returncode, p.stderr)
                    self.assertIn("verified", p.stdout)
                    if src == dst == "sqlite":
                        continue  # the copy's own file is no database the client here reads
                    got = query_read_back(dst, "SELECT %s FROM orl_rt_q_dst ORDER BY id" % (
                        query_items(dst, names, kinds)), kinds)
                    self.assertEqual(len(want), len(got))
                    for w, g in zip(want, got):
                        for col, a, b in zip(names, w, g):
                            self.assertEqual(a, b, "%s -> %s: row %s column %s" % (src, dst, w[0], col))

    def test_sqlite_texts_past_their_declared_length(self):
        # SQLite keeps any length whatever a column declares: a 128-byte text
        # in a VARCHAR(10) copies into a target that holds it, and stops the
        # copy before it writes into one that doesn't.
        for dst in ["pg", "maria"]:
            with self.subTest(dst=dst):
                require(self, "sqlite", dst)
                client("sqlite", "DROP TABLE IF EXISTS orl_rt_short")
                client("sqlite", "CREATE TABLE orl_rt_short (id INTEGER PRIMARY KEY, v VARCHAR(10))")
                client("sqlite", "INSERT INTO orl_rt_short VALUES (1, '%s'), (2, 'short')" % ("a" * 128))
                client(dst, "DROP TABLE IF EXISTS orl_rt_short")
                base = ["copy"] + conn_args("sqlite", "from") + conn_args(dst, "to") + ["--table", "orl_rt_short"]
                p = orlodbc(base + ["--create"])
                self.assertEqual(2, p.returncode, p.stderr)
                self.assertIn("column v: 1 row holds texts longer than", p.stderr)
                self.assertIn("--allow-lossy", p.stderr)
                self.assertEqual([["0"]], client(dst, "SELECT COUNT(*) FROM %s WHERE table_name = 'orl_rt_short' AND "
                                                      "table_schema = %s" % (
                                                          "information_schema.tables",
                                                          "current_schema()" if dst == "pg" else "DATABASE()")))
                client(dst, "CREATE TABLE orl_rt_short (id integer, v text)")
                p = orlodbc(base)
                self.assertEqual(0, p.returncode, p.stderr)
                self.assertEqual([["a" * 128], ["short"]], client(dst, "SELECT v FROM orl_rt_short ORDER BY id"))

    def test_unsigned_integers_copy_whole(self):
        # MariaDB's driver describes a BIGINT UNSIGNED as a signed 64-bit integer.
        values = [[1, 18446744073709551615, 4294967295], [2, 9223372036854775808, 2147483648], [3, None, None]]
        for dst in ["pg", "sqlite"]:
            with self.subTest(dst=dst):
                require(self, "maria", dst)
                client("maria", "DROP TABLE IF EXISTS orl_rt_unsigned")
                client("maria", "CREATE TABLE orl_rt_unsigned (id int PRIMARY KEY, ub bigint unsigned, "
                                "ui int unsigned)")
                client("maria", "INSERT INTO orl_rt_unsigned VALUES (1, 18446744073709551615, 4294967295), "
                                "(2, 9223372036854775808, 2147483648), (3, NULL, NULL)")
                p = orlodbc(["copy"] + conn_args("maria", "from") + conn_args(dst, "to") +
                            ["--table", "orl_rt_unsigned", "--to-table", "orl_rt_unsigned_dst", "--create",
                             "--drop-existing", "--verify"])
                self.assertEqual(0, p.returncode, p.stderr)
                got = client(dst, "SELECT id, ub, ui FROM orl_rt_unsigned_dst ORDER BY id")
                self.assertEqual(values, [[None if v is None else int(v) for v in r] for r in got])

    def test_query_values_a_target_cant_hold_stop_before_it_writes(self):
        # A query's values judged as a table's: against the target's own columns.
        cases = [
            ("sqlite", "pg", "SELECT id, a FROM orl_rt_qv", "id INTEGER, a INTEGER", "(1, 1099511627776)",
             "id integer, a integer", "a"),
            ("pg", "maria", "SELECT id, n * 1 AS n FROM orl_rt_qv", "id integer, n numeric", "(1, 3.14159)",
             "id int, n decimal(10,2)", "n"),
        ]
        for src, dst, sql, ddl, values, target, name in cases:
            with self.subTest(src=src, dst=dst):
                require(self, src, dst)
                client(src, "DROP TABLE IF EXISTS orl_rt_qv")
                client(src, "CREATE TABLE orl_rt_qv (%s)" % ddl)
                client(src, "INSERT INTO orl_rt_qv VALUES %s" % values)
                client(dst, "DROP TABLE IF EXISTS orl_rt_qv_dst")
                client(dst, "CREATE TABLE orl_rt_qv_dst (%s)" % target)
                p = orlodbc(["copy"] + conn_args(src, "from") + conn_args(dst, "to") +
                            ["--query", sql, "--to-table", "orl_rt_qv_dst"])
                self.assertEqual(2, p.returncode, p.stderr)
                self.assertIn("column %s: 1 row holds" % name, p.stderr)
                self.assertEqual([["0"]], client(dst, "SELECT COUNT(*) FROM orl_rt_qv_dst"))

    def test_values_a_target_cant_hold_stop_the_copy_before_it_writes(self):
        # label pairs, the source's column and value, the target's word for them
        cases = [
            ("pg", "maria", "f double precision", "'NaN'", "f"),
            ("pg", "sqlite", "f double precision", "'-0'", "f"),
            ("pg", "maria", "un numeric", "'1.0000000000000000000000000000000000001'", "un"),
            # SQLite's text of an infinity doesn't read back as one there: the copy can't vouch for it.
            ("sqlite", "pg", "f DOUBLE", "9e999", "f"),
        ]
        for src, dst, column, value, name in cases:
            with self.subTest(src=src, dst=dst, column=column):
                require(self, src, dst)
                client(src, "DROP TABLE IF EXISTS orl_rt_lossy")
                client(src, "CREATE TABLE orl_rt_lossy (id integer, %s)" % column)
                client(src, "INSERT INTO orl_rt_lossy VALUES (1, %s), (2, 1)" % value)
                client(dst, "DROP TABLE IF EXISTS orl_rt_lossy")
                base = ["copy"] + conn_args(src, "from") + conn_args(dst, "to") + ["--table", "orl_rt_lossy", "--create"]
                p = orlodbc(base)
                self.assertEqual(2, p.returncode, p.stderr)
                self.assertIn("column %s: 1 row holds" % name, p.stderr)
                self.assertIn("--allow-lossy", p.stderr)
                # Nothing made, nothing written.
                self.assertEqual([], client(dst, "SELECT 1 FROM %s" % {
                    "maria": "information_schema.tables WHERE table_schema = DATABASE() AND table_name = 'orl_rt_lossy'",
                    "pg": "information_schema.tables WHERE table_schema = current_schema() "
                          "AND table_name = 'orl_rt_lossy'",
                    "sqlite": "sqlite_master WHERE name = 'orl_rt_lossy'"}[dst]))
                p = orlodbc(base + ["--allow-lossy"])
                self.assertEqual(0, p.returncode, p.stderr)
                self.assertIn("column %s will change" % name, p.stderr)
                self.assertEqual([["2"]], client(dst, "SELECT COUNT(*) FROM orl_rt_lossy"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
