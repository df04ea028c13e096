# Between .zshenv and .zlogin; see there.
vaelix_enter
if [[ -r ${ZDOTDIR:-$HOME}/.zprofile ]]; then
  builtin source ${ZDOTDIR:-$HOME}/.zprofile
fi
vaelix_leave
