#!/bin/sh
# Which version of the library is this?  Read from its header, as by the build; for scripts and for the install tests.
sed -n 's/^#define COREMD_VERSION_[A-Z]* *\([0-9]*\)$/\1/p' "$(dirname "$0")/../include/coreMD.h" | paste -sd.
