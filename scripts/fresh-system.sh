# Sourced. Makes minimal Debian systems in folders, and runs commands in them. Needs root, debootstrap, unshare.

# require_systems SUITE: ends the script with 77, and a line that says why, where this host cannot make a system.
require_systems() {
  local reason='' file
  file=$(mktemp)
  if [[ $EUID -ne 0 ]]; then
    reason="this is not root"
  elif ! command -v debootstrap >/dev/null; then
    reason="there is no debootstrap"
  elif ! unshare --mount --pid --fork true 2>/dev/null; then
    reason="namespaces are not allowed"
  elif ! /usr/lib/apt/apt-helper download-file "$(mirror "$1")/dists/$1/InRelease" "$file" >/dev/null 2>&1; then
    reason="the mirror of this system does not answer, or does not have it"
  fi
  rm -f "$file"
  [[ -z $reason ]] || { echo "skipped: no fresh $1 can be made here, $reason"; exit 77; }
}

# apt_sources SUITE: this system's own package sources, as they read for the release SUITE.
apt_sources() {
  # shellcheck source=/dev/null
  apt-get indextargets --format '$(REPO_URI)|$(CODENAME)|$(RELEASE)|$(COMPONENT)' 'Created-By: Packages' | sort -u |
    awk -F '|' -v here="$(. /etc/os-release && echo "$VERSION_CODENAME")" -v there="$1" '
      { release = $2 != "" ? $2 : $3 } # without lists, the release is as the sources name it
      release == here || index(release, here "-") == 1 { sub(here, there, release); print "deb", $1, release, $4 }'
}

# mirror SUITE: where the packages of the release itself come from.
mirror() { apt_sources "$1" | awk -v suite="$1" '$3 == suite { sub("/$", "", $2); print $2; exit }'; }

# make_system SUITE FOLDER: a fresh minimal system with the package sources of this one. Packages that were fetched for
# an earlier one, in build/systems/packages, are not fetched again.
make_system() {
  local suite=$1 folder=$2 cache=$PWD/build/systems/packages/$1
  mkdir -p "$cache"
  rm -rf --one-file-system "$folder"
  if ! debootstrap --variant=minbase --cache-dir="$cache" "$suite" "$folder" \
      "$(mirror "$suite")" >"$folder.log" 2>&1; then
    tail -n 20 "$folder.log" >&2
    return 1
  fi
  apt_sources "$suite" >"$folder/etc/apt/sources.list"
  apt-config dump | grep -E '^Acquire::(http|https|Check-)' >"$folder/etc/apt/apt.conf.d/90host" || true
  # Nothing that is installed there starts a service.
  printf '#!/bin/sh\nexit 101\n' >"$folder/usr/sbin/policy-rc.d"
  chmod +x "$folder/usr/sbin/policy-rc.d"
}

# in_system FOLDER COMMAND...: runs the command as root of the system in FOLDER, with its own processes and mounts, which
# end with it: nothing is left to be unmounted. Output and status are the command's.
in_system() {
  local folder=$1
  shift
  # What this system finds by name is found there under the same names.
  cp -L /etc/resolv.conf /etc/hosts "$folder/etc/"
  # shellcheck disable=SC2016
  env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 \
    unshare --mount --pid --fork --kill-child --propagation private bash -ec '
      folder=$1
      shift
      mount --bind "$folder" "$folder" # so that its root is a mount, as it is anywhere else
      mount -t proc proc "$folder/proc"
      mount -t tmpfs -o mode=755 tmpfs "$folder/dev"
      mkdir "$folder/dev/shm" "$folder/dev/pts"
      mount -t tmpfs -o mode=1777 tmpfs "$folder/dev/shm"
      mount -t devpts -o newinstance,ptmxmode=666 devpts "$folder/dev/pts"
      ln -s pts/ptmx "$folder/dev/ptmx"
      ln -s /proc/self/fd "$folder/dev/fd"
      for node in null zero full random urandom tty; do
        touch "$folder/dev/$node"
        mount --bind "/dev/$node" "$folder/dev/$node"
      done
      exec chroot "$folder" "$@"' in_system "$folder" "$@"
}

# remove_system FOLDER
remove_system() { rm -rf --one-file-system "$1" "$1.log"; }

# copy_clone FOLDER: the files of this clone as they are now, without what was built.
copy_clone() {
  mkdir -p "$1"
  git ls-files -z --cached --others --exclude-standard |
    while IFS= read -r -d '' file; do [[ ! -e $file && ! -L $file ]] || printf '%s\0' "$file"; done |
    tar -c --null -T - | tar -x -C "$1"
}
