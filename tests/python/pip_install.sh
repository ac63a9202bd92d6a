#!/bin/sh
# Installs the package with pip, offline, into a scratch directory, and imports it from there.
# usage: pip_install.sh PYTHON PACKAGE_DIR SCRATCH (KORB_LIBRARY names the library to load)
set -eu
python=$1
package=$2
scratch=$3
rm -rf "$scratch"
mkdir -p "$scratch"
# The source directory is copied, so that the build leaves nothing in the repository.
cp -r "$package" "$scratch/src"
"$python" -m pip install --quiet --no-index --no-deps --disable-pip-version-check --root-user-action=ignore \
    --target "$scratch/site" "$scratch/src"
cd "$scratch"
PYTHONPATH="$scratch/site" "$python" -c '
import korb, numpy as np
assert korb.__file__.startswith("'"$scratch"'/site/"), korb.__file__
assert korb.vm.exp(np.zeros(3)).tolist() == [1.0, 1.0, 1.0]
print("installed korb", korb.__version__, "from", korb.__file__)
'
rm -rf "$scratch"
