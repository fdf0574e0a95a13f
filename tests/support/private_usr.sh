#!/bin/sh
# For tools that run the test programs by themselves.
exec "$(dirname "$0")/../../script/private_usr" "$@"
