#!/bin/sh
# SPDX-License-Identifier: MIT
# The daemon has to link against any implementation of the platform interface:
#   portability.sh SOURCE-DIRECTORY LINKER-COMMAND...
# - with its objects, the operations that the interface declares and the compiler's own
#   libraries, nothing is left undefined;
# - a platform id is written in src/models and nowhere else in src;
# - no source outside src/platform includes a header from behind the interface.
set -u
source_dir=$1
shift
failed=0

operations=$(cat "$source_dir"/src/platform/include/ap/*.h |
    grep -oE '\b(qv|fdloop|config|cbus|shell|socket|appmgr|device)_[a-z_]+\(' | tr -d '(' | sort -u)
if [ -z "$operations" ]; then
    echo "no operations are declared in $source_dir/src/platform/include/ap"
    exit 1
fi
# Any address will do: the program is linked, not run.
program=$(mktemp) || exit 1
"$@" $(printf ' -Wl,--defsym=%s=main' $operations) -o "$program" || failed=1
rm -f "$program"

if grep -rnE '#include *["<](host/|.*platform/)' "$source_dir/src" --include='*.cpp' \
    --include='*.h' | grep -v "^$source_dir/src/platform/"; then
    echo "the lines above include what is behind the interface"
    failed=1
fi
if grep -rnE 'qv[0-9]{4}[A-Z]' "$source_dir/src" | grep -v "^$source_dir/src/models/"; then
    echo "the lines above name a platform id outside src/models"
    failed=1
fi
exit $failed
