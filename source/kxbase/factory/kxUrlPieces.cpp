#include "kxbase/factory/kxUrlPieces.h"

#include "kxbase/lex/kxSerializeLex.h"
#include "kxbase/serialize/kxSerializeAdapterString.h"

bool kxUrlPieces::read(const kxString& url, std::string_view pattern)
{
    kxSerializeLex lex(kxMakeRef<kxSerializeAdapterString>(url));
    if (lex.scan(pattern) != KX_LEX_OK) return false;
    first = lex.pop().toString();
    // What looks like a number was pushed as one, so the second piece is cut from the text.
    const std::size_t scheme = url.view().find(':') + 1;
    second = kxString(url.view().substr(scheme + first.length()));
    return true;
}
