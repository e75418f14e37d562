#!/bin/sh
# unique_symbols.sh NM LIBRARY...: fails when a library exports a unique symbol. The loader never unloads such a library
# unless the process had the symbol before, as a test's own executable may.
nm=$1
shift
! "$nm" -ACD --defined-only "$@" | grep ' u '
