# Sourced. Makes the sample archive and converts its presentation states as an archive's administrator would.

# use_sample_archive BUILD ARCHIVE: points the programs of the folder BUILD at the archive in the folder ARCHIVE.
use_sample_archive() {
  local build=$1 archive=$2
  export PATH="$build/bin:$PATH"
  export TARN_DB_URL="sqlite:$archive/archive.db"
  export OBJECTTBL=objects QXOBJCACHETBL=object_cache
  export TARGETTBL=forward_targets DEVSERVTBL=forward_services
  export REPOSITORYHANDLER_HOME="$build"
  export REPOSITORY_DICOM_DATA="$archive/images"
  export REPOSITORY_META="$archive/meta"
  export REPOSITORY_TEMPMETA="$archive/tempmeta"
  export CONF="$archive"
  export TARN_LOG="file:$archive/archive.log"
}

# make_sample_archive ARCHIVE [STUDIES]: images, states, database, object meta files, in an empty folder; with a number,
# of so many studies (samples/many_studies.py).
make_sample_archive() {
  local archive=$1
  rm -rf "$archive"
  mkdir -p "$archive/meta" "$archive/tempmeta"
  annomend-samples "$archive"
  [[ -z ${2:-} ]] || /usr/bin/python3 samples/many_studies.py "$archive" "$2"
  tarnctl init
  tarnctl add-study "$archive"/images/*
}

# convert_samples ARCHIVE OUT [OPTION...]: each state into a folder of its name; the converter's messages go to OUT.log.
convert_samples() {
  local archive=$1 out=$2 state name
  shift 2
  rm -rf "$out"
  : >"$out.log"
  for state in "$archive"/states/*.dcm; do
    name=$(basename "$state" .dcm)
    mkdir -p "$out/$name"
    annomend "$@" -f "$state" -o "$out/$name/" 2>>"$out.log" || { cat "$out.log" >&2; return 1; }
  done
}

# begin_with_samples BUILD: the folder of a check, $work, which goes with it, and in it the sample archive, made by the
# programs of the folder BUILD, to which $build points.
begin_with_samples() {
  build=$(realpath "$1")
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  use_sample_archive "$build" "$work/archive"
  make_sample_archive "$work/archive" >/dev/null
}
