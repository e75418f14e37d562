#!/bin/sh
# exports.sh NM LIBRARY EXPECTED: fails, with a difference, when the library exports other symbols than expected.
# The inline namespace, the spacing of nested templates and how many constructors an abstract class has depend on the
# tools, not on us, and so does whether the exception that we throw has typeinfo of ours.
"$1" -DC --defined-only "$2" | cut -d' ' -f3- | sed 's/std::__1::/std::/g; s/> >/>>/g; s/> >/>>/g' | grep -v "std::bad_function_call" | LC_ALL=C sort -u |
    diff -u "$3" -
