#!/bin/sh
# Runs a compiler command through ccache: ccache.sh CCACHE COMPILER ARGUMENT…
# Without CCACHE_SLOPPINESS ccache does not cache sources that use a precompiled header. For each of these
# sources ccache would hash the precompiled header, which has more than 100 MB. With CCACHE_PCH_EXTSUM it
# hashes the file HEADER.gch.sum instead, which this script writes. With CCACHE_DEPEND a source that is not
# in the cache is not preprocessed twice.
export CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_PCH_EXTSUM=1 CCACHE_DEPEND=1
"$@" || exit
for argument; do
  case $argument in *.gch) sha256sum <"$argument" >"$argument.sum" ;; esac
done
