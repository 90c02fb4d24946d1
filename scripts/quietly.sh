# Sourced by the install scripts: runs a step with its output going to one log file, so
# that a run shows one line per phase rather than the package managers' progress. On a
# failure the log's end is shown and the log is kept; after a run that worked it is
# removed. A script that sources this inherits the log of the script that called it.
if [ -z "${VORNA_INSTALL_LOG:-}" ]; then
  VORNA_INSTALL_LOG=$(mktemp "${TMPDIR:-/tmp}/vorna-install.XXXXXX.log")
  export VORNA_INSTALL_LOG
  trap '[ $? -eq 0 ] && rm -f "$VORNA_INSTALL_LOG"' EXIT
fi

# quietly DESCRIPTION COMMAND...
quietly() {
  local what=$1
  shift
  echo "== $what: $*" >>"$VORNA_INSTALL_LOG"
  if ! "$@" >>"$VORNA_INSTALL_LOG" 2>&1 </dev/null; then
    echo "$what failed; the end of its log ($VORNA_INSTALL_LOG):" >&2
    tail -n 40 "$VORNA_INSTALL_LOG" >&2
    exit 1
  fi
}
