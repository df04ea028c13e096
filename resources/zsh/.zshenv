# Read first by every shell Vaelix starts: ZDOTDIR points at this folder. Its files hand each step of the start-up over to
# the user's own, and add what a command line relies on:
#
# - pkill spares the shell that runs it, whose arguments hold the very pattern that a "pkill -f" line looks for.
# - A line on descriptor 3 tells that the user's files are done and the command line begins. A profile that ends the
#   shell or replaces it never gets there.
# - What the user's files print is not part of a collected run (VAELIX_RUN=collected).
#
# The descriptors kept meanwhile are closed in every program, so that one which a profile leaves in the background
# holds none of them. Functions are defined before the user's aliases can change their meaning.
vaelix_folder=$ZDOTDIR
if (( ${+VAELIX_USER_ZDOTDIR} )); then
  ZDOTDIR=$VAELIX_USER_ZDOTDIR
else
  unset ZDOTDIR
fi
if [[ -n ${VAELIX_RUN-} ]]; then
  zmodload zsh/system
  sysopen -w -o cloexec -u vaelix_mark /proc/self/fd/3
  exec 3>&-
fi
if [[ ${VAELIX_RUN-} == collected ]]; then
  sysopen -w -o cloexec -u vaelix_output /proc/self/fd/1
  sysopen -w -o cloexec -u vaelix_error /proc/self/fd/2
  exec >/dev/null 2>&1
fi
unset VAELIX_USER_ZDOTDIR VAELIX_RUN

pkill() { command pkill --ignore-ancestors "$@" }

# Before one of the user's files: gives ZDOTDIR the user's value.
vaelix_enter() {
  if (( vaelix_has_zdotdir )); then
    ZDOTDIR=$vaelix_zdotdir
  else
    unset ZDOTDIR
  fi
}

# After it: makes zsh read our next file. A shell told to read no more of them, or to be another kind of shell, would
# not find it.
vaelix_leave() {
  if [[ ! -o rcs || -o posix_builtins ]]; then
    vaelix_begin
    return
  fi
  vaelix_zdotdir=${ZDOTDIR-}
  vaelix_has_zdotdir=${+ZDOTDIR}
  ZDOTDIR=$vaelix_folder
}

# The command line comes next.
vaelix_begin() {
  if (( ${+vaelix_mark} )); then
    print -u $vaelix_mark
    exec {vaelix_mark}>&-
  fi
  if (( ${+vaelix_output} )); then
    exec >&$vaelix_output 2>&$vaelix_error {vaelix_output}>&- {vaelix_error}>&-
  fi
  unset -m 'vaelix_*'
  unset -f -m 'vaelix_*'
}

if [[ -r ${ZDOTDIR:-$HOME}/.zshenv ]]; then
  builtin source ${ZDOTDIR:-$HOME}/.zshenv
fi
vaelix_leave
