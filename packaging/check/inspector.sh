# A panel made, its pitch found, inspected and reported by the installed program; its manual page is there.
cd "$(mktemp -d)"
narvo --version
narvo synth --help >/dev/null
narvo synth --help | head -30
test -f /usr/share/man/man1/narvo.1.gz
