#!/bin/sh
# Writes, as assembly, stubs in place of the import libraries' own for every function of the named system libraries that
# an archive calls: a slot that holds the function's address once the first call has asked for it (BindDelayedImport in
# src/app/SafeStart.cpp). So the program's import table keeps neither the libraries nor their load at every start.
# The toolchain's own delay libraries (dlltool --output-delaylib) leave the slots of most functions empty.
#   cmake/delay-imports.sh OUTPUT NM DLLTOOL COMPILER ARCHIVE LIBRARY...
set -eu
output=$1 nm=$2 dlltool=$3 compiler=$4 archive=$5
shift 5
calls=$(mktemp)
trap 'rm -f "$calls"' EXIT
"$nm" -u "$archive" 2>/dev/null | awk '$1 == "U" { sub(/^__imp_/, "", $2); print $2 }' | LC_ALL=C sort -u >"$calls"
[ -s "$calls" ] || { echo "delay-imports: no calls found in $archive" >&2; exit 1; }
for name; do
    library=$("$compiler" -print-file-name="lib$name.a")
    echo "library $("$dlltool" -I "$library")"
    "$nm" --defined-only "$library" 2>/dev/null | awk '$2 == "T" { print $3 }' | LC_ALL=C sort -u | LC_ALL=C comm -12 - "$calls"
done | awk '
    $1 == "library" {
        printf "\t.data\nlibrary%d:\t.long 0, library_name%d\n", ++libraries, libraries
        printf "\t.section .rdata\nlibrary_name%d:\t.string16 \"%s\"\n\t.balign 4\n", libraries, $2
        next
    }
    !seen[$1]++ { # some libraries stand in for others; the first counts, as for the linker
        name = $1
        sub(/^_/, "", name)
        sub(/@[0-9]*$/, "", name)
        printf "\t.globl %s, __imp_%s\n\t.data\n__imp_%s:\t.long load%d\n", $1, $1, $1, ++n
        printf "\t.section .rdata\nimport%d:\t.long __imp_%s, library%d, name%d\n", n, $1, libraries, n
        printf "name%d:\t.asciz \"%s\"\n\t.balign 4\n", n, name
        printf "\t.text\n%s:\tjmp *__imp_%s\nload%d:\tpushl $import%d\n\tjmp bind\n", $1, $1, n, n
    }
    # Arguments stay on the stack; a fastcall or a method has some of them in ecx and edx.
    END { print "bind:\tpushl %ecx\n\tpushl %edx\n\tpushl 8(%esp)\n\tcall _BindDelayedImport@4\n\tpopl %edx\n\tpopl %ecx\n\taddl $4, %esp\n\tjmp *%eax" }
' >"$output"
