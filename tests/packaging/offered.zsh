# offered.zsh FOLDER LINE: what zsh would offer at the end of the line, a line each,
# when its functions for completion are those of the folder besides its own. A shell
# on a terminal of its own is given the line and the key, and tells what is added.
emulate -R zsh
zmodload zsh/zpty

offered=$(mktemp)
setup=$(mktemp)
cat >$setup <<END
fpath=(${(q)1} \$fpath)
autoload -Uz compinit
compinit -u -D
zstyle ':completion:*' menu no
unsetopt beep
compadd() {
   local -a added
   if [[ " \$* " != *' -'[AO]' '* ]]; then
      builtin compadd -A added "\$@"
      (( \$#added )) && print -rl -- \$added >>$offered
   fi
   builtin compadd "\$@"
}
offer() {
   zle list-choices
   exit
}
zle -N offer
bindkey '^I' offer
rm $setup
END

zpty shell zsh -f -i
zpty -w shell "source $setup"
while [[ -e $setup ]]; do sleep 0.05; done
zpty -w -n shell "$2"$'\t'
while zpty -r shell >/dev/null; do :; done
sort -u $offered
rm $offered # not by a trap, which the shell that was given the line has too
