# Read first by every shell Vaelix starts (ZDOTDIR points here): hands start-up back to the
# user's own files, then makes pkill spare the shell that runs it, whose arguments hold the
# very pattern that a "pkill -f" line looks for.
if (( ${+VAELIX_USER_ZDOTDIR} )); then
  ZDOTDIR=$VAELIX_USER_ZDOTDIR
  unset VAELIX_USER_ZDOTDIR
else
  unset ZDOTDIR
fi
pkill() { command pkill --ignore-ancestors "$@" }
[[ -r ${ZDOTDIR:-$HOME}/.zshenv ]] && source ${ZDOTDIR:-$HOME}/.zshenv
:
