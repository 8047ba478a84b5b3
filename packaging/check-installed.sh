#!/usr/bin/env bash
# Run by scripts/check-deb.sh as root of a fresh system, whose folder /srv has the packages, the same ones under an earlier
# version, a sample archive and what is to come out of it.
set -euo pipefail
cd /srv
export DEBIAN_FRONTEND=noninteractive
fail() { echo "check-installed: $*" >&2; exit 1; }
install() { apt-get -qq install -y --no-install-recommends "$@" >/srv/apt.log 2>&1 || { cat /srv/apt.log; exit 1; }; }
as() { setpriv --reuid "$1" --regid "$1" --init-groups env -i PATH="$PATH" HOME="/var/lib/$1" bash -ec "set -a; . /etc/annomend/environment; set +a; umask 027; ${*:2}"; }

# Every file of the system but what package managers keep, and all accounts but the package's own two.
listing() {
  find / -xdev \( -path /srv -o -path /proc -o -path /dev -o -path /tmp -o -path /run -o -path /var/cache -o -path /var/log \
    -o -path /var/lib/dpkg -o -path /var/lib/apt -o -path '/etc/*-' \) -prune -o -print | sort
  grep -hvE '^annomend(-admin)?:' /etc/passwd /etc/group
}

apt-get -qq update
for package in annomend annomend-mysql; do
  apt-get -qq satisfy -y --no-install-recommends "$(dpkg-deb -f "packages/$package.deb" Depends)" >/dev/null 2>&1
  # The converter by itself: nothing of a database server's client.
  [[ $package != annomend || -z "$(dpkg-query -W -f='${Package} ' 'libmariadb*' 'libmysql*' 2>/dev/null)" ]] ||
    fail "annomend depends on a server's client"
done
mkdir -p /var/lib/systemd/timers # as systemd does when it runs
listing >before

install ./earlier/annomend.deb
[[ "$(stat -c '%U:%G %a' /var/lib/annomend /var/lib/annomend-admin | xargs)" == \
  "annomend:annomend 2770 annomend-admin:annomend-admin 700" ]] || fail "folders: $(stat -c '%n %U:%G %a' /var/lib/annomend*)"
[[ " $(id -Gn annomend-admin) " == *" annomend "* ]] || fail "annomend-admin is not in the group annomend"

# The documents are those of the programs: what operations.md explains, environment has.
documents=/usr/share/doc/annomend
zcat -f "$documents"/CHANGELOG.md* | grep "^## $(annomend-archive --version | grep -oE '[0-9.]+$') " >/dev/null || fail "no CHANGELOG.md"
zcat -f "$documents"/SECURITY.md* | grep '^# Security' >/dev/null || fail "no SECURITY.md"
zcat -f "$documents"/operations.md* | sed -nE '/^\| variable/,/^$/s/^\| (`[^|]*) \|.*/\1/p' | grep -oE '[A-Z_]+' |
  while read -r variable; do grep -q "^#$variable=" /etc/annomend/environment || fail "environment has no $variable"; done

# An archive, set up as operations.md says, with the packages' configuration as it is but for its comment signs.
sed -i -E '1,/^#TARN_LOG_LEVEL/s/^#([A-Z])/\1/' /etc/annomend/environment
sed -i -E 's/^#(data|meta|tempmeta) .*/\1 = \/srv\/repository\/\1/' /etc/annomend/repositories.conf
command install -d repository
command install -d -o annomend-admin -g annomend -m 2750 repository/meta repository/tempmeta
mv archive/images repository/data
chmod -R a+rX archive repository/data
command install -d -o annomend -g annomend -m 750 converted converted-again
as annomend-admin 'tarnctl init >/dev/null && chmod 660 /var/lib/annomend/archive.db && tarnctl add-study /srv/repository/data >/dev/null'

convert() {
  as annomend "annomend-archive convert --progress none -o /srv/$1 /srv/archive/states >/srv/$1/shown || [[ \$? -eq 3 ]]" || { cat "$1/shown"; exit 1; }
  rm -r "$1"/journal "$1/shown"
  diff -r expected "$1"
}
convert converted
as annomend-admin 'tarnctl status' >status
grep -q ' valid ' status || fail "no study is valid: $(cat status)"

# Every night, with the stamp of a night that is past.
cp "$documents/examples/convert-nightly" /etc/annomend
systemctl --quiet enable annomend-convert@nightly.timer
touch /var/lib/systemd/timers/stamp-annomend-convert@nightly.timer
enabled() { find /etc/systemd -name 'annomend-*'; }

# The upgrade keeps database, configuration and what is enabled, and takes the module for a server along.
md5sum /etc/annomend/* >configuration
install ./earlier/annomend-mysql.deb
install ./packages/annomend.deb ./packages/annomend-mysql.deb
md5sum --quiet -c configuration
[[ -n "$(enabled)" ]] || fail "upgraded, and not enabled"
as annomend-admin 'tarnctl status' | diff status -
convert converted-again
said=$(as annomend "TARN_DB_URL='mysql://nobody@localhost/archive?socket=/nowhere' annomend -N -f /srv/archive/states/several-images.dcm" 2>&1) &&
  fail "converted without its server"
[[ "$said" == *"cannot connect: "* ]] || fail "the module of the server is not found: $said"

# Completion asks the programs.
bash -ec '
  source /usr/share/bash-completion/completions/annomend-archive
  completed() { COMP_WORDS=($1 "${@:2}"); COMP_CWORD=$#; ((--COMP_CWORD)); COMPREPLY=(); _annomend_commands "$1" "${!#}" "${COMP_WORDS[COMP_CWORD-1]}"; echo "${COMPREPLY[@]}"; }
  [[ "$(completed annomend-archive rep)" == report && "$(completed annomend-archive convert --inv)" == --inventory &&
    "$(completed annomend-archive convert --form p)" == plain && "$(completed annomend-archive convert --progress l)" == lines &&
    "$(completed annomend-archive report --pictures f)" == failures && "$(completed tarnctl add-study --rep)" == --replace ]]' ||
  fail "bash completes nothing"
[[ -x /usr/bin/systemd-analyze ]] || fail "no systemd to read the units with"
systemd-analyze verify --man=no annomend-convert@nightly.service annomend-convert@nightly.timer ||
  fail "systemd does not understand the units"

# Removed, configuration and database stay; purged, the database alone does, with the accounts.
apt-get -qq purge -y annomend-mysql >/dev/null 2>&1
apt-get -qq remove -y annomend >/dev/null 2>&1
[[ -z "$(enabled)" ]] || fail "removed, and enabled: $(enabled)"
md5sum --quiet -c configuration
apt-get -qq purge -y annomend >/dev/null 2>&1
[[ -s /var/lib/annomend/archive.db && ! -e /etc/annomend ]] || fail "purged: $(ls -d /var/lib/annomend/* /etc/annomend)"
id annomend annomend-admin >/dev/null

# Without a database, nothing stays but the accounts, to which outputs belong.
install ./packages/annomend.deb
rm /var/lib/annomend/archive.db*
apt-get -qq purge -y annomend >/dev/null 2>&1
listing | diff before - || fail "purged, and something is left"
[[ "$(stat -c %U:%G /srv/converted)" == annomend:annomend ]] || fail "purged, and the outputs are another's"
