#!/usr/bin/env bash
# shellcheck source-path=SCRIPTDIR
# The copy benchmark: orlodbc copy beside each target database's own CSV
# loader, in the same run, one after the other round by round, so that both
# meet the same load of a shared machine.
#
#   scripts/measure-copy.sh [--rows N] [--rounds N] [--wide-rows N]
#       [--into-pg-rows N] [--pairs LIST] [--pg-source-dsn DSN] [--keep]
#       [--] [extra flags for every copy]
#
# Data: pgbench_accounts of `pgbench -i` in PostgreSQL (ROWS rows, a million by
# default), the same rows in SQLite and MariaDB as sources, and a table of
# every type (WIDE_ROWS rows, 200,000 by default) in PostgreSQL.
# Pairs (all by default): pg-pg pg-maria pg-sqlite sqlite-pg maria-pg, and
# wide-pg-pg wide-pg-maria wide-pg-sqlite for the table of every type.
# Each copy is `orlodbc copy --create --drop-existing --commit-every 100000`
# with one job; beside it the target's loader loads the same rows from a CSV
# file made beforehand into an empty table of the same shape: psql's \copy,
# MariaDB's LOAD DATA LOCAL INFILE, sqlite3's .import --csv (and, for the
# table of every type, the UPDATE that turns its \N back into NULL). Both are
# timed from process start to exit. At the end: medians of rows/s over the rounds,
# the ratio tool/loader against its target, the tool's peak RSS, as a markdown
# table and as one `copy-bench key=value ...` line a pair.
#
# --keep leaves the tables and the CSV files (under $ORL_RUN_DIR/bench-copy)
# in place for a look; by default they go at the end.
#
# Extra copy flags for one side only: ORL_BENCH_FROM_PG_FLAGS,
# ORL_BENCH_FROM_MARIA_FLAGS, ORL_BENCH_FROM_SQLITE_FLAGS (copies out of that
# database) and ORL_BENCH_TO_PG_FLAGS, ORL_BENCH_TO_MARIA_FLAGS,
# ORL_BENCH_TO_SQLITE_FLAGS (copies into it), split into words.
# The options also read ORL_BENCH_ROWS, ORL_BENCH_ROUNDS, ORL_BENCH_WIDE_ROWS,
# ORL_BENCH_INTO_PG_ROWS, ORL_BENCH_PAIRS, ORL_BENCH_PG_SOURCE_DSN.
#
# Needs the release build and both servers (scripts/db-start.sh all), with the
# same ORL_PG_PORT and ORL_MARIA_PORT as here.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$ORL_REPO"

usage() { sed -n '3,/^set -euo/p' "${BASH_SOURCE[0]}" | sed '$d; s/^# \{0,1\}//' >&2; }

rows="${ORL_BENCH_ROWS:-1000000}"
rounds="${ORL_BENCH_ROUNDS:-3}"
wide_rows="${ORL_BENCH_WIDE_ROWS:-200000}"
into_pg_rows="${ORL_BENCH_INTO_PG_ROWS:-0}"   # 0: the whole table
pairs="${ORL_BENCH_PAIRS:-pg-pg,pg-maria,pg-sqlite,sqlite-pg,maria-pg,wide-pg-pg,wide-pg-maria,wide-pg-sqlite}"
# The cursor DSN reads the source a block at a time: the plain one would hold
# the whole result in the PostgreSQL driver, and the peak RSS would be its.
pg_source_dsn="${ORL_BENCH_PG_SOURCE_DSN:-orl_pg_cursor}"
keep=0
while (($#)); do
    case "$1" in
        --rows) rows="$2"; shift 2 ;;
        --rounds) rounds="$2"; shift 2 ;;
        --wide-rows) wide_rows="$2"; shift 2 ;;
        --into-pg-rows) into_pg_rows="$2"; shift 2 ;;
        --pairs) pairs="$2"; shift 2 ;;
        --pg-source-dsn) pg_source_dsn="$2"; shift 2 ;;
        --keep) keep=1; shift ;;
        -h|--help) usage; exit 0 ;;
        --) shift; break ;;
        *) break ;;   # the rest goes to every copy
    esac
done
extra_flags=("$@")
for n in rows rounds wide_rows; do
    [[ "${!n}" =~ ^[1-9][0-9]*$ ]] || die "$n must be a positive count, not '${!n}'"
done
[[ "$into_pg_rows" =~ ^[0-9]+$ ]] || die "--into-pg-rows must be a count, not '$into_pg_rows'"
IFS=, read -ra pair_list <<<"$pairs"
for p in "${pair_list[@]}"; do
    case "$p" in
        pg-pg|pg-maria|pg-sqlite|sqlite-pg|maria-pg|wide-pg-pg|wide-pg-maria|wide-pg-sqlite) ;;
        *) die "unknown pair '$p' (see --help)" ;;
    esac
done
wants() { [[ ",$pairs," == *",$1,"* ]]; }

orlodbc=./build/tools/orlodbc/orlodbc
[[ -x "$orlodbc" ]] || die "no $orlodbc: run scripts/build.sh release"
[[ -x /usr/bin/time ]] || die "no GNU time at /usr/bin/time: run scripts/install-deps.sh"
pg_bin="$(pg_bindir)"
[[ -x "$pg_bin/pgbench" ]] || die "no $pg_bin/pgbench: run scripts/install-deps.sh"
command -v sqlite3 >/dev/null || die "no sqlite3: run scripts/install-deps.sh"
. scripts/odbc-env.sh

load_at_start="$(cut -d' ' -f1-3 /proc/loadavg)"
work="$ORL_RUN_DIR/bench-copy"
mkdir -p "$work"
results="$work/results.tsv"
: >"$results"
sqlite_source="$ORL_RUN_DIR/sqlite/orl.db"       # DSN orl_sqlite
sqlite_target="$ORL_RUN_DIR/sqlite/orl_copy.db"  # DSN orl_sqlite_copy

# The clients over TCP, as the driver connects.
pg_sql() {
    PGPASSWORD="$ORL_DB_PASSWORD" PGOPTIONS="-c client_min_messages=warning" "$pg_bin/psql" -X -q \
        -v ON_ERROR_STOP=1 -h 127.0.0.1 -p "$ORL_PG_PORT" -U "$ORL_DB_USER" -d "$ORL_DB_NAME" "$@"
}
pg_value() { pg_sql -At -c "$1"; }
maria_sql() {
    mariadb --no-defaults --protocol=tcp -h 127.0.0.1 -P "$ORL_MARIA_PORT" -u "$ORL_DB_USER" \
        -p"$ORL_DB_PASSWORD" --local-infile=1 -N -B "$ORL_DB_NAME" "$@"
}

pg_value 'SELECT 1' >/dev/null ||
    die "PostgreSQL not reachable on 127.0.0.1:$ORL_PG_PORT: ORL_PG_PORT=$ORL_PG_PORT scripts/db-start.sh all"
if wants pg-maria || wants maria-pg || wants wide-pg-maria; then
    maria_sql -e 'SELECT 1' >/dev/null ||
        die "MariaDB not reachable on 127.0.0.1:$ORL_MARIA_PORT: ORL_MARIA_PORT=$ORL_MARIA_PORT scripts/db-start.sh all"
fi

# ---- data, made before anything is timed ----

scale=$(((rows + 99999) / 100000))
log "pgbench -i -s $scale (pgbench_accounts: $((scale * 100000)) rows, kept: $rows)"
PGPASSWORD="$ORL_DB_PASSWORD" "$pg_bin/pgbench" -i -q -s "$scale" -I dtgvp -h 127.0.0.1 -p "$ORL_PG_PORT" \
    -U "$ORL_DB_USER" "$ORL_DB_NAME" >"$work/pgbench.log" 2>&1 || { log_tail "$work/pgbench.log"; die "pgbench -i failed"; }
if ((rows < scale * 100000)); then
    pg_sql -c "DELETE FROM pgbench_accounts WHERE aid > $rows" -c "VACUUM ANALYZE pgbench_accounts"
fi

if wants wide-pg-pg || wants wide-pg-maria || wants wide-pg-sqlite; then
    log "bench_wide: $wide_rows rows of every type"
    # NULLs in every nullable kind, empty strings beside them, the string
    # NULL, quotes, commas, line breaks, tabs, backslashes, blanks at both
    # ends and non-ASCII letters: what a CSV file must carry over unchanged.
    pg_sql <<SQL
DROP TABLE IF EXISTS bench_wide;
CREATE TABLE bench_wide (id integer NOT NULL PRIMARY KEY, small_n smallint, big_n bigint,
    dbl double precision, amount numeric(18,4), vc varchar(40), ch char(10), tx text, d date,
    ts timestamp(3), tm time(0), bin bytea, flag boolean);
INSERT INTO bench_wide
SELECT g, (g % 30000)::smallint,
    CASE WHEN g % 19 = 0 THEN NULL ELSE g::bigint * 1000003 * (1 - 2 * (g % 2)) END,
    g * 0.125, (g * 1.2345)::numeric(18,4),
    CASE WHEN g % 11 = 0 THEN '' WHEN g % 13 = 0 THEN NULL WHEN g % 29 = 0 THEN 'back\slash ' || g
        ELSE 'name ' || g END,
    CASE WHEN g % 7 = 0 THEN NULL WHEN g % 31 = 0 THEN 'grüße' ELSE 'c' || (g % 1000) END,
    CASE g % 6 WHEN 0 THEN 'comma, "quote" ' || g WHEN 1 THEN E'line\nbreak ' || g
        WHEN 2 THEN NULL WHEN 3 THEN '' WHEN 4 THEN 'NULL' ELSE E' tab\tand €, ünïcode ' || g END,
    CASE WHEN g % 23 = 0 THEN NULL ELSE date '2000-01-01' + (g % 10000) END,
    timestamp '2020-01-01' + g * interval '1.125 second',
    time '00:00' + (g % 86400) * interval '1 second',
    CASE WHEN g % 9 = 0 THEN NULL WHEN g % 10 = 0 THEN '' ELSE decode(md5(g::text), 'hex') END,
    CASE WHEN g % 17 = 0 THEN NULL ELSE g % 2 = 0 END
FROM generate_series(1, $wide_rows) g;
VACUUM ANALYZE bench_wide;
SQL
fi

# CSV of a query for one target's loader. A loader has its own word for NULL:
# psql's CSV takes an unquoted empty field (an empty string is quoted);
# LOAD DATA with ESCAPED BY '' an unquoted NULL (a string 'NULL' is quoted);
# sqlite3's .import has none, so NULLs come as \N and go after the import.
# A value equal to the NULL word is quoted by COPY, so both still round-trip.
csv_null() { case "$1" in pg) echo "" ;; maria) echo "NULL" ;; sqlite) echo '\N' ;; esac; }
export_csv() {
    local target="$1" query="$2" file="$3"
    pg_sql -c "\\copy ($query) TO '$file' WITH (FORMAT csv, NULL '$(csv_null "$target")')"
}

# Each loader gets the values in the form the tool writes into that target,
# so that both tables can be compared: a boolean as 0/1 in a text column,
# bytea as hex for UNHEX, dates and timestamps as SQLite's driver writes them.
# (sqlite3 3.40 has no unhex(): its loader keeps bytea as hex text.)
wide_select() {
    local d="d" ts="ts" bin="bin"
    case "$1" in
        maria) bin="encode(bin, 'hex')" ;;
        sqlite)
            d="to_char(d, 'YYYY-MM-DD')"
            ts="to_char(ts, 'YYYY-MM-DD HH24:MI:SS.MS')"
            bin="encode(bin, 'hex')" ;;
    esac
    echo "SELECT id, small_n, big_n, dbl, amount, vc, ch, tx, $d, $ts, tm, $bin, flag::int FROM bench_wide ORDER BY id"
}
acc_select() {
    local where=""
    [[ "$1" == pg ]] && ((into_pg_rows > 0)) && where=" WHERE aid <= $into_pg_rows"
    echo "SELECT aid, bid, abalance, filler FROM pgbench_accounts$where ORDER BY aid"
}

for t in pg maria sqlite; do
    if wants "pg-$t" || { [[ "$t" == pg ]] && { wants sqlite-pg || wants maria-pg; }; } ||
        { [[ "$t" != pg ]] && wants "$t-pg"; }; then
        log "CSV of pgbench_accounts for the $t loader"
        export_csv "$t" "$(acc_select "$t")" "$work/acc_$t.csv"
    fi
    if wants "wide-pg-$t"; then
        log "CSV of bench_wide for the $t loader"
        export_csv "$t" "$(wide_select "$t")" "$work/wide_$t.csv"
    fi
done

# MariaDB's CHAR drops trailing blanks on reading; VARCHAR keeps pgbench's
# blank filler as it is, so every source holds the same values.
if wants maria-pg; then
    log "pgbench_accounts into MariaDB (the source of maria-pg)"
    maria_sql -e "DROP TABLE IF EXISTS pgbench_accounts;
        CREATE TABLE pgbench_accounts (aid INT NOT NULL PRIMARY KEY, bid INT, abalance INT, filler VARCHAR(84));
        LOAD DATA LOCAL INFILE '$work/acc_maria.csv' INTO TABLE pgbench_accounts CHARACTER SET utf8mb4
        FIELDS TERMINATED BY ',' OPTIONALLY ENCLOSED BY '\"' ESCAPED BY '' LINES TERMINATED BY '\\n';"
fi
if wants sqlite-pg; then
    log "pgbench_accounts into SQLite (the source of sqlite-pg)"
    sqlite3 -bail "$sqlite_source" "DROP TABLE IF EXISTS pgbench_accounts" \
        "CREATE TABLE pgbench_accounts (aid INTEGER NOT NULL PRIMARY KEY, bid INTEGER, abalance INTEGER, filler CHAR(84))" \
        ".import --csv '$work/acc_sqlite.csv' pgbench_accounts"
fi

# ---- the measured steps ----

dsn_from() { case "$1" in pg) echo "$pg_source_dsn" ;; maria) echo orl_maria ;; sqlite) echo orl_sqlite ;; esac; }
dsn_to() { case "$1" in pg) echo orl_pg ;; maria) echo orl_maria ;; sqlite) echo orl_sqlite_copy ;; esac; }
# The user and password flags of one side.
login() {
    local side="$1" db="$2"
    case "$db" in
        sqlite) echo "--$side-user $ORL_DB_USER" ;;
        *) echo "--$side-user $ORL_DB_USER --$side-password $ORL_DB_PASSWORD" ;;
    esac
}
side_flags() {
    local var="ORL_BENCH_${1^^}_${2^^}_FLAGS"
    echo "${!var:-}"
}

count_rows() {
    local db="$1" table="$2"
    case "$db" in
        pg) pg_value "SELECT count(*) FROM $table" ;;
        maria) maria_sql -e "SELECT count(*) FROM $table" ;;
        sqlite) sqlite3 "$sqlite_target" "SELECT count(*) FROM $table" ;;
    esac
}
drop_table() {
    local db="$1" table="$2"
    case "$db" in
        pg) pg_sql -c "DROP TABLE IF EXISTS $table" ;;
        maria) maria_sql -e "DROP TABLE IF EXISTS $table" ;;
        sqlite) sqlite3 -bail "$sqlite_target" "DROP TABLE IF EXISTS $table" ;;
    esac
}

elapsed_us=0
# Runs a command and leaves its wall time in elapsed_us.
timed() {
    local t0="${EPOCHREALTIME/[.,]/}"
    "$@"
    elapsed_us=$((${EPOCHREALTIME/[.,]/} - t0))
}

run_tool() {
    local from="$1" to="$2" source="$3" tool_table="$4" query="$5"
    local what=(--table "$source")
    [[ -n "$query" ]] && what=(--query "$query")
    local from_login to_login from_extra to_extra
    read -ra from_login <<<"$(login from "$from")"
    read -ra to_login <<<"$(login to "$to")"
    read -ra from_extra <<<"$(side_flags from "$from")"
    read -ra to_extra <<<"$(side_flags to "$to")"
    /usr/bin/time -f '%M' -o "$work/tool.rss" \
        "$orlodbc" copy --from "$(dsn_from "$from")" "${from_login[@]}" --to "$(dsn_to "$to")" "${to_login[@]}" \
        "${what[@]}" --to-table "$tool_table" --create --drop-existing --commit-every 100000 --progress never \
        "${from_extra[@]}" "${to_extra[@]}" "${extra_flags[@]}" >"$work/tool.out" 2>"$work/tool.err" ||
        { cat "$work/tool.err" >&2; die "orlodbc copy $from -> $to failed"; }
}

# The loaders, each into a new table made like the tool's, key and all: the
# tool's --create keeps the source's primary key, and a loader that needn't
# keep an index up would be measured at a lighter job.
load_pg() {
    local load_table="$1" tool_table="$2" csv="$3"
    pg_sql -c "CREATE TABLE $load_table (LIKE $tool_table INCLUDING ALL)" -c "\\copy $load_table FROM '$csv' WITH (FORMAT csv)"
}
load_maria() {
    local load_table="$1" tool_table="$2" csv="$3" kind="$4" columns set="" warnings
    columns="(aid, bid, abalance, filler)"
    if [[ "$kind" == wide ]]; then
        columns="(id, small_n, big_n, dbl, amount, vc, ch, tx, d, ts, tm, @bin, flag)"
        set="SET bin = UNHEX(@bin)"
    fi
    # A warning is a value the server changed on the way in: the round trip failed.
    warnings="$(maria_sql -e "CREATE TABLE $load_table LIKE $tool_table;
        LOAD DATA LOCAL INFILE '$csv' INTO TABLE $load_table CHARACTER SET utf8mb4
        FIELDS TERMINATED BY ',' OPTIONALLY ENCLOSED BY '\"' ESCAPED BY '' LINES TERMINATED BY '\\n'
        $columns $set; SHOW WARNINGS LIMIT 5")"
    [[ -z "$warnings" ]] || die "LOAD DATA into $load_table warned: $warnings"
}
load_sqlite() {
    local load_table="$1" tool_table="$2" csv="$3" kind="$4" ddl fix=() c sets="" wheres=""
    ddl="$(sqlite3 "$sqlite_target" "SELECT sql FROM sqlite_master WHERE type = 'table' AND name = '$tool_table'")"
    [[ -n "$ddl" ]] || die "no table $tool_table in $sqlite_target"
    ddl="${ddl/\"$tool_table\"/\"$load_table\"}"
    if [[ "$kind" == wide ]]; then
        for c in big_n vc ch tx d bin flag; do
            sets+="${sets:+, }$c = NULLIF($c, '\\N')"
            wheres+="${wheres:+ OR }$c = '\\N'"
        done
        fix=("UPDATE $load_table SET $sets WHERE $wheres")
    fi
    sqlite3 -bail "$sqlite_target" "$ddl" ".import --csv '$csv' $load_table" "${fix[@]}"
}

# How many NULLs and empty values the columns that have them hold: the
# loader's table must show the source's, or the CSV file mixed them up.
null_profile_sql() {
    local table="$1" c sql=""
    for c in big_n vc ch tx d bin flag; do
        sql+="${sql:+, }SUM(CASE WHEN $c IS NULL THEN 1 ELSE 0 END)"
    done
    for c in vc tx bin; do
        sql+=", SUM(CASE WHEN $c = '' THEN 1 ELSE 0 END)"
    done
    echo "SELECT $sql FROM $table"
}
null_profile() {
    local db="$1" table="$2"
    case "$db" in
        pg) pg_value "$(null_profile_sql "$table")" ;;
        maria) maria_sql -e "$(null_profile_sql "$table")" | tr '\t' '|' ;;
        sqlite) sqlite3 "$sqlite_target" "$(null_profile_sql "$table")" ;;
    esac
}
source_profile=""
if wants wide-pg-pg || wants wide-pg-maria || wants wide-pg-sqlite; then
    source_profile="$(null_profile pg bench_wide)"
fi

# One measurement: the pair's name, round, tool or loader, rows, microseconds,
# peak RSS (KB), and the seconds of the copy loop the tool reports itself.
record() { printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$@" >>"$results"; }

measure_pair() {
    local pair="$1" round="$2" kind=acc from to source query="" expected tool_table load_table csv got profile
    case "$pair" in wide-*) kind=wide ;; esac
    from="${pair#wide-}"; to="${from#*-}"; from="${from%-*}"
    if [[ "$kind" == wide ]]; then
        source=bench_wide; tool_table="wide_from_$from"; expected="$wide_rows"
    else
        source=pgbench_accounts; tool_table="acc_from_$from"; expected="$rows"
        if [[ "$to" == pg ]] && ((into_pg_rows > 0 && into_pg_rows < rows)); then
            expected="$into_pg_rows"
            query="SELECT aid, bid, abalance, filler FROM pgbench_accounts WHERE aid <= $into_pg_rows"
        fi
    fi
    load_table="${tool_table}_loader"
    csv="$work/${kind}_$to.csv"

    drop_table "$to" "$tool_table"
    timed run_tool "$from" "$to" "$source" "$tool_table" "$query"
    got="$(count_rows "$to" "$tool_table")"
    ((got == expected)) || die "$pair: the tool's table has $got rows, not $expected"
    record "$pair" "$round" tool "$got" "$elapsed_us" "$(tail -n1 "$work/tool.rss")" \
        "$(sed -n 's/^copied .* in \([0-9.]*\) s .*/\1/p' "$work/tool.out")"

    drop_table "$to" "$load_table"
    timed "load_$to" "$load_table" "$tool_table" "$csv" "$kind"
    got="$(count_rows "$to" "$load_table")"
    ((got == expected)) || die "$pair: the loader's table has $got rows, not $expected"
    if [[ "$kind" == wide ]]; then
        profile="$(null_profile "$to" "$load_table")"
        [[ "$profile" == "$source_profile" ]] ||
            die "$pair: NULLs and empty values of the loader's table ($profile) are not the source's ($source_profile)"
    fi
    record "$pair" "$round" loader "$got" "$elapsed_us" 0 0
    log "$pair round $round: $(tail -n1 "$work/tool.out"); loader $(awk -v r="$got" -v us="$elapsed_us" \
        'BEGIN { printf "%d rows/s", r / (us / 1e6) }')"
}

for ((round = 1; round <= rounds; round++)); do
    for p in "${pair_list[@]}"; do
        measure_pair "$p" "$round"
    done
done

# Rows that the tool's table and the loader's table don't share, after the
# last round: 0 when the CSV file carried the same values as the copy.
differing_rows() {
    local db="$1" a="$2" b="$3" cols="$4"
    case "$db" in
        pg) pg_value "SELECT (SELECT count(*) FROM (SELECT $cols FROM $a EXCEPT ALL SELECT $cols FROM $b) x)
                           + (SELECT count(*) FROM (SELECT $cols FROM $b EXCEPT ALL SELECT $cols FROM $a) y)" ;;
        maria) maria_sql -e "SELECT (SELECT count(*) FROM (SELECT $cols FROM $a EXCEPT ALL SELECT $cols FROM $b) x)
                           + (SELECT count(*) FROM (SELECT $cols FROM $b EXCEPT ALL SELECT $cols FROM $a) y)" ;;
        sqlite) sqlite3 "$sqlite_target" "SELECT (SELECT count(*) FROM (SELECT $cols FROM $a EXCEPT SELECT $cols FROM $b))
                           + (SELECT count(*) FROM (SELECT $cols FROM $b EXCEPT SELECT $cols FROM $a))" ;;
    esac
}

# ---- the report ----

median() { sort -g | awk '{ v[NR] = $1 } END { print NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
grouped() {
    awk -v n="$1" 'BEGIN { s = sprintf("%.0f", n); out = ""
        while (length(s) > 3) { out = "," substr(s, length(s) - 2) out; s = substr(s, 1, length(s) - 3) }
        print s out }'
}
db_name() { case "$1" in pg) echo PostgreSQL ;; maria) echo MariaDB ;; sqlite) echo SQLite ;; esac; }
# shellcheck disable=SC2016  # markdown code spans, not commands
loader_name() { case "$1" in pg) echo '`\copy`' ;; maria) echo '`LOAD DATA LOCAL INFILE`' ;; sqlite) echo '`.import --csv`' ;; esac; }

lines=()
table=("| pair | table | rows | tool rows/s | loader | loader rows/s | tool/loader | target | tool peak RSS MB |"
       "|---|---|---:|---:|---|---:|---:|---:|---:|")
for p in "${pair_list[@]}"; do
    kind=acc; source=pgbench_accounts
    case "$p" in wide-*) kind=wide; source=bench_wide ;; esac
    from="${p#wide-}"; to="${from#*-}"; from="${from%-*}"
    n="$(awk -F'\t' -v p="$p" '$1 == p { print $4; exit }' "$results")"
    tool_rate="$(awk -F'\t' -v p="$p" '$1 == p && $3 == "tool" { print $4 / ($5 / 1e6) }' "$results" | median)"
    load_rate="$(awk -F'\t' -v p="$p" '$1 == p && $3 == "loader" { print $4 / ($5 / 1e6) }' "$results" | median)"
    own_rate="$(awk -F'\t' -v p="$p" '$1 == p && $3 == "tool" && $7 > 0 { print $4 / $7 }' "$results" | median)"
    # Each round's tool and loader met the same load: the median of their
    # ratios moves less than the ratio of the medians when the load changes.
    round_ratio="$(awk -F'\t' -v p="$p" '$1 == p { r[$2, $3] = $4 / ($5 / 1e6); n[$2] = 1 }
        END { for (k in n) print r[k, "tool"] / r[k, "loader"] }' "$results" | median)"
    rss_mb="$(awk -F'\t' -v p="$p" '$1 == p && $3 == "tool" && $6 > m { m = $6 } END { printf "%.1f", m / 1024 }' "$results")"
    target=0.80
    [[ "$to" == pg ]] && target=0.50
    ratio="$(awk -v a="$tool_rate" -v b="$load_rate" 'BEGIN { printf "%.3f", a / b }')"
    meets="$(awk -v r="$ratio" -v t="$target" 'BEGIN { print r >= t ? "yes" : "no" }')"
    tool_table="${kind}_from_$from"
    cols='*'
    # The SQLite loader's bytea stays hex text (no unhex() in sqlite3 3.40).
    [[ "$kind" == wide && "$to" == sqlite ]] && cols="id, small_n, big_n, dbl, amount, vc, ch, tx, d, ts, tm, flag"
    differ="$(differing_rows "$to" "$tool_table" "${tool_table}_loader" "$cols")"
    lines+=("copy-bench pair=$p table=$source rows=$n rounds=$rounds tool_rows_s=$(printf '%.0f' "$tool_rate") loader_rows_s=$(printf '%.0f' "$load_rate") tool_loop_rows_s=$(printf '%.0f' "$own_rate") ratio=$ratio round_ratio_median=$(printf '%.3f' "$round_ratio") target=$target meets=$meets tool_peak_rss_mb=$rss_mb differing_rows=$differ")
    table+=("| $(db_name "$from") → $(db_name "$to") | $source | $(grouped "$n") | $(grouped "$tool_rate") | $(loader_name "$to") | $(grouped "$load_rate") | $(printf '%.2f' "$ratio")x | ≥ ${target}x $([[ "$meets" == yes ]] && echo "✓" || echo "✗") | $rss_mb |")
    if ((keep == 0)); then
        drop_table "$to" "$tool_table"
        drop_table "$to" "${tool_table}_loader"
    fi
done

# The sources and the CSV files go too (hundreds of MB at a million rows),
# unless kept for a look.
if ((keep == 0)); then
    pg_sql -c "DROP TABLE IF EXISTS bench_wide, pgbench_accounts, pgbench_branches, pgbench_tellers, pgbench_history"
    ! wants maria-pg || maria_sql -e "DROP TABLE IF EXISTS pgbench_accounts"
    ! wants sqlite-pg || sqlite3 "$sqlite_source" "DROP TABLE IF EXISTS pgbench_accounts"
    rm -f "$work"/acc_*.csv "$work"/wide_*.csv
fi

echo
printf '%s\n' "${lines[@]}"
echo
echo "orlodbc copy (one job, --commit-every 100000${extra_flags[*]:+, ${extra_flags[*]}}) beside each target's loader;"
for side in FROM TO; do
    for db in PG MARIA SQLITE; do
        var="ORL_BENCH_${side}_${db}_FLAGS"
        [[ -z "${!var:-}" ]] || echo "${side,,} $(db_name "${db,,}") only: ${!var}"
    done
done
((into_pg_rows == 0 || into_pg_rows >= rows)) || echo "pgbench_accounts into PostgreSQL: its first $into_pg_rows rows only"
echo "medians of $rounds rounds, wall time from process start to exit, peak RSS the largest of the rounds;"
echo "load average at the start: $load_at_start, at the end: $(cut -d' ' -f1-3 /proc/loadavg), on $(nproc) cores"
echo
printf '%s\n' "${table[@]}"
