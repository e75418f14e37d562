#!/bin/sh
# exports.sh NM LIBRARY EXPECTED: fails, with a difference, when the library exports other symbols than expected.
# The inline namespace, the spacing of nested templates and how many constructors an abstract class has depend on the
# tools, not on us.
"$1" -DC --defined-only "$2" | cut -d' ' -f3- | sed 's/std::__1::/std::/g; s/> >/>>/g; s/> >/>>/g' | LC_ALL=C sort -u |
    diff -u "$3" -
