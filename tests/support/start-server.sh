#!/usr/bin/env bash
# start-server.sh OWNER FOLDER [OPTION...]: starts a throw-away MariaDB server, without network, with these options. Its
# data, socket `s`, `pid` and `log` are in the folder; `root` has no password. Returns when it answers, with status 1
# where it does not. It ends with the process OWNER, however that ends, and the folder goes then. Started again on the
# folder after it was killed, it has its data.
set -euo pipefail
owner=$1 folder=$2 log=$2/log
shift 2
common=(--no-defaults "--datadir=$folder/data" "--tmpdir=$folder")
if [[ $EUID -eq 0 ]]; then
  chown mysql: "$folder"
  common+=(--user=mysql)
fi

keep() {
  trap '' INT TERM HUP
  [[ -d $folder/data ]] || mariadb-install-db "${common[@]}" --auth-root-authentication-method=normal --skip-test-db \
    --skip-name-resolve || echo "[ERROR] there is no data"
  mariadbd "${common[@]}" "--socket=$folder/s" "--pid-file=$folder/pid" --skip-networking \
    --innodb-buffer-pool-size=32M --innodb-log-file-size=8M --character-set-server=utf8mb4 "$@" &
  tail -s 0.1 --pid="$owner" -f /dev/null &
  wait -n || true
  kill -KILL $(jobs -rp)
  wait
  kill -0 "$owner" || rm -rf "$folder"
}

if [[ -s $folder/pid ]]; then tail -s 0.02 --pid="$(<"$folder/pid")" -f /dev/null; fi # until the last one is gone
: >"$log"
keep "$@" </dev/null >>"$log" 2>&1 &
for ((attempt = 0; attempt < 1200; ++attempt)); do
  if grep -q "ready for connections" "$log"; then exit 0; fi
  if grep -qF "[ERROR]" "$log"; then exit 1; fi
  sleep 0.05
done
exit 1
