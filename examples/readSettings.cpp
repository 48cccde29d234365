// Reads a file of settings and prints them; without an argument, a text of its own.
//
//   # a comment
//   [section]
//   name = 12.5
//   other = "a text"

#include "kxbase/kxlex.h"
#include "kxbase/serialize/kxSerializeAdapterString.h"

#include <cstdio>

namespace {

const char* const kGrammar = "gap     ::= [ \t]* ;"
                             "rest    ::= [^\n]* '\n' ;"
                             "comment ::= gap ('#' [^\n]*)? '\n' ;"
                             "section ::= '[' $ ([^\n] - ']')+ fSection ']' rest ;"
                             "value   ::= $ fStr fPushStr | $ fPlain fPush ;"
                             "setting ::= gap $ fIdent fName gap '=' gap value rest ;"
                             "line    ::= comment | section | setting ;";

const char* const kSample =
    "# where to listen\n[udp]\nport = 45455\nhost = \"127.0.0.1\"\n\n[console]\necho=yes\n";

void print(const kxString& section, const kxString& name, const kxDynamicType& value)
{
    const bool isNumber = value.isType(KX_UNIQUE_NUM);
    const kxString text = isNumber ? kxString::fromDouble(value.toNumber()) : value.toString();
    std::printf("%s/%s = %s (%s)\n", section.text(), name.text(), text.text(), value.getTypeName().text());
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    kxRefPointer<kxSerializeAdapter> input = kxMakeRef<kxSerializeAdapterString>(kSample);
    if (argumentCount > 1)
        input = kxSerializeAdapter::getAdapter(kxString("file:") + arguments[1], KX_SERIALIZE_INPUT);
    if (!input) return 1;  // a Warning has said why

    kxString section;
    kxString name;
    kxSerializeLex lex(input);
    lex.addAction("fSection", [&](kxLexCapture& capture) {
        section = capture.get(0);
        return KX_LEX_OK;
    });
    lex.addAction("fName", [&](kxLexCapture& capture) {
        name = capture.get(0);
        return KX_LEX_OK;
    });
    if (!lex.addRules(kGrammar)) return 1;

    // Line by line: a line that is wrong is told, and nothing has to be held in memory.
    while (lex.run("line") == KX_LEX_OK) {
        if (lex.hasValue()) print(section, name, lex.pop());
    }
    if (input->length() == 0) return 0;
    std::printf("line %u is not understood\n", lex.getPlace().line);
    return 1;
}
