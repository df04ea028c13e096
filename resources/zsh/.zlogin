# The last file before the command line; see .zshenv.
vaelix_enter
if [[ -r ${ZDOTDIR:-$HOME}/.zlogin ]]; then
  builtin source ${ZDOTDIR:-$HOME}/.zlogin
fi
vaelix_begin
