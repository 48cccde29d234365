# The list in platform/windows/README.md names exactly the functions that the contract headers declare.
# usage: portContractTest.sh SOURCE_DIR BUILD_DIR
set -u

platform=$1/source/kxbase/platform
names='\bkxPlatform[A-Za-z0-9]+'
declared=$(sed 's|//.*||' "$platform"/*.h | grep -oE "$names\(" | tr -d '(' | LC_ALL=C sort -u)
listed=$(grep '^| `kxPlatform' "$platform/windows/README.md" | grep -oE "\`$names\`" | tr -d '`' | LC_ALL=C sort -u)

[[ -n $declared ]] || { echo 'no function found in the contract headers'; exit 1; }
[[ $declared == "$listed" ]] && exit 0
echo 'platform/windows/README.md does not list the functions of the contract ("<" is missing, ">" is gone):'
diff <(echo "$declared") <(echo "$listed")
exit 1
