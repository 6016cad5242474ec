#!/bin/sh
# api.sh: makes the reference of the public headers in build-api/html with Doxygen. Any warning is an error.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh --api
mkdir -p build-api
{ cat Doxyfile; echo "INPUT = bindings/c/vantor/vantor.h bindings/c/vantor/vantor_backend.h $(tr '\n' ' ' <cmake/public_headers.txt)"; } | doxygen -
echo "api: build-api/html/index.html"
