#!/bin/sh
# exports.sh NM EXPECTED LIBRARY [LINK COMMAND]: fails, with a difference, when the library exports other symbols than
# expected. With a command, links the library first.
# The inline namespace, the spacing of nested templates and how many constructors an abstract class has depend on the
# tools, not on us, and so does whether the exception that we throw has typeinfo of ours.
nm=$1 expected=$2 library=$3
shift 3
if [ $# -gt 0 ]; then
    rm -f "$library"
    "$@" -o "$library" || exit 1
fi
"$nm" -DC --defined-only "$library" | cut -d' ' -f3- | sed 's/std::__1::/std::/g; s/> >/>>/g; s/> >/>>/g' |
    grep -v "std::bad_function_call" | LC_ALL=C sort -u | diff -u "$expected" -
