#!/usr/bin/env bash
# Checks a commit in a few seconds: the format of the changed sources, white space, and that the
# operating system is used only in shared/platform. To install the script in a checkout:
#   ln -s ../../scripts/pre_commit.sh .git/hooks/pre-commit
set -euo pipefail
cd "$(git rev-parse --show-toplevel)"

git diff --cached --check -- ':!tests/data/golden'
git diff --cached --name-only --diff-filter=ACMR -z -- '*.h' '*.cpp' |
  xargs -0 -r clang-format --dry-run --Werror
.ci/run doors
