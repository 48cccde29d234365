// The rules and functions that every lexer knows.
//
//   digit     one decimal digit                     fHex    one or more hexadecimal digits
//   fHexS     one hexadecimal digit                 fStr    a quoted text, '...' or "...", without escapes
//   fWS       one blank, tab, line feed or return   fToken  any character
//   fInt      [sign] digits                         fEnd    all the rest
//   fNum      a number, see kxNumberScanner         fCNum   a number with another separator than a point
//   fIdent    a letter or "_", then also digits
//   fPlain    characters but white space, quotes, brackets , ; = &
//   fPush     pushes the text since the mark, as a number when it is one; behind fWS one character counts as 32
//   fPushStr  pushes it as a string without its enclosing quotes
//   fString, fRegKey, fIFace   push it as a string as it stands
//
// Threads: a plain function.
#pragma once

#include "kxbase/lex/kxLexNames.h"

class kxLexBuiltins {
public:
    static void addTo(kxLexNames& names);
    // fNum, to be put under other names.
    static kxRefPointer<kxFuncInfo> number(std::string_view name);
    // The text of fCNum.
    static kxString numberRule(char decimalSeparator);
};
