#!/bin/sh
# compare_listing.sh <idl folder> <listing> <omniidl> <folder of the OMG IDL>
# Fails and shows the difference if the IDL files no longer match the listing.
set -eu
export LC_ALL=C PYTHONDONTWRITEBYTECODE=1
idl=$1 listing=$2 omniidl=$3 omg=$4
found=$(mktemp)
trap 'rm -f "$found"' EXIT
"$omniidl" "-p$idl/tools" -bidl_digest "-I$omg" "-I$omg/COS" "$idl"/mtnm/*.idl >"$found"
diff -u "$listing" "$found"
