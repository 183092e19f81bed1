#!/usr/bin/env bash
# From a fresh machine: installs what is needed, builds, and runs the main job:
# the command-line host loads the driver library and connects through it to
# the embedded SQLite database.
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
cd "$repo"

bash scripts/install-deps.sh
bash scripts/build.sh release
. scripts/odbc-env.sh

./build/tools/orlodbc/orlodbc --dsn orl_sqlite --user orl
