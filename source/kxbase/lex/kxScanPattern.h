// Makes rule text of a scan pattern.
//
//   %e  the rest       %n  a number               %w  white space, or none
//   %i  an identifier  %p  plain characters       %x  hexadecimal digits
//   %l  an integer     %s  a quoted text          %"..."  rule text as it stands
//   %t  any character  [...]  one character of a set  %?  "%" and the character, for all others
//
// All others stand for themselves. What %e, %i, %l, %n, %p, %s, %t and %x match is pushed.
//
// Threads: a pure function.
// Errors:  false for a "%", a %" or a "[" at which the pattern ends too early.
#pragma once

#include <string>
#include <string_view>

class kxScanPattern {
public:
    static bool toRule(std::string_view pattern, char decimalSeparator, std::string& rule);
};
