# Completion of qvr in bash: source this file, or put it into /usr/share/bash-completion/completions as "qvr".
# Commands, options and the words that an option takes come from the program's own help.
_qvr() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local words help
  if [ "$COMP_CWORD" -eq 1 ]; then
    words=$("${COMP_WORDS[0]}" --help 2>/dev/null | awk '
      /^Subcommands:/ { listing = 1; next }
      /^$/ { listing = 0 }
      listing { print $1 }
      END { print "--help --version" }')
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    return
  fi
  help=$("${COMP_WORDS[0]}" "${COMP_WORDS[1]}" --help 2>/dev/null)
  # The words between the braces behind an option.
  words=$(awk -v option="$previous" '
    /^  -/ {
      count = split($1, names, ",")
      for (i = 1; i <= count; i++) if (names[i] == option && match($0, /\{[^}]*\}/)) {
        choices = substr($0, RSTART + 1, RLENGTH - 2)
        gsub(",", " ", choices)
        print choices
      }
    }' <<<"$help")
  if [ -n "$words" ]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  elif [[ $current == -* ]]; then
    words=$(awk '/^  -/ { gsub(",", " ", $1); print $1 }' <<<"$help")
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
  fi
}
complete -o filenames -F _qvr qvr
