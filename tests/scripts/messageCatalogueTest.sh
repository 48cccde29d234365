# The catalogue of texts is current, and finds what new code adds.
# usage: messageCatalogueTest.sh SOURCE_DIR BUILD_DIR
set -u

catalogue=$1/scripts/message-catalogue
status=0
"$catalogue" | cmp - "$1/docs/korvexsdk.lng" ||
    { echo "the texts have changed; run scripts/message-catalogue > docs/korvexsdk.lng"; status=1; }

copy=$(mktemp -d) || exit 1
trap 'rm -rf "$copy"' EXIT
mkdir -p "$copy/source/kxbase/net"
cat >"$copy/source/kxbase/net/planted.cpp" <<'SOURCE'
#include "not a text"
#define KX_AT(what) what " at %d"
static_assert(true, "not a text either");
const char* const k = KX_AT("Lost in a table"); // "nor is this"
const char kSign = '"', kQuote = '\''; /* "or that" */
const char* const kNames[] = {"kxSocket", "%s (%s)", u8"Gr\u00FC\u00DF Gott", "Two \"quoted\" words\n"};
void f()
{
    kxMessage(KX_MESSAGE_WARNING, "Over "
                                  "two lines: %s", kxTranslate("Once"), "file:");
    kxMessage(KX_MESSAGE_DEBUG, "Not at this level");
    kxMessage(isBad ? KX_MESSAGE_WARNING : KX_MESSAGE_DEBUG, "Perhaps \\ at this one");
    kxRaiseFatal("Once");
    kxRaiseFatal("%s");
}
const auto kRaw = R"x(Raw text ")" here)x";
SOURCE
expected='"Lost in a table at %d"
"Grüß Gott"
"Two \"quoted\" words\n"
"Over two lines: %s"
"Once"
"Perhaps \\ at this one"
"Raw text \")\" here"'
lines=$("$catalogue" deu "$copy" | iconv -f UTF-16LE -t UTF-8 | grep -v '#')
found=$(grep '^"' <<<"$lines")
[[ $found == "$expected" && $(sed -n 's/^deu //p' <<<"$lines") == "$expected" ]] || { echo "found: $lines"; status=1; }
exit $status
