// The library's tree of class descriptors: every name with its parent, in one table.
//
// A class answers getType() with kxTypeTable::find("itsName"); a name that the table does not hold does not
// compile. A class that has no row of its own answers its nearest ancestor's. A row may name a class before
// the class exists.
//
// Threads: constant-initialised and read-only; usable before main and after it.
#pragma once

#include "kxbase/object/kxType.h"

#include <cstddef>
#include <string_view>

namespace kxTypeTree {

struct Row {
    const char* name;
    const char* parent;  // empty for a root; stands above its children
};

inline constexpr Row kRows[] = {
    {"kxReference", ""},
    {"kxSerializeAdapter", "kxReference"},
    {"kxSerializeAdapterBCDEncoder", "kxSerializeAdapter"},
    {"kxSerializeAdapterBase64Encoder", "kxSerializeAdapter"},
    {"kxSerializeAdapterCompress", "kxSerializeAdapter"},
    {"kxSerializeAdapterEncoder", "kxSerializeAdapter"},
    {"kxSerializeAdapterFile", "kxSerializeAdapter"},
    {"kxSerializeAdapterMemory", "kxSerializeAdapter"},
    {"kxSerializeAdapterMux", "kxSerializeAdapter"},
    {"kxSerializeAdapterPacket", "kxSerializeAdapter"},
    {"kxSerializeAdapterQueue", "kxSerializeAdapter"},
    {"kxSerializeAdapterRandomAccess", "kxSerializeAdapter"},
    {"kxSerializeAdapterStdIO", "kxSerializeAdapter"},
    {"kxSerializeAdapterZIP", "kxSerializeAdapter"},
    {"kxSerializeAdapterHttp", "kxSerializeAdapter"},
    {"kxSerializeAdapterTCP", "kxSerializeAdapter"},
    {"kxSerializeAdapterUDP", "kxSerializeAdapter"},
    {"kxSerializeAdapterCache", "kxSerializeAdapterMemory"},
    {"kxSerializeAdapterString", "kxSerializeAdapterQueue"},
    {"kxSerializeAdapterProgressInfo", "kxReference"},
    {"kxBatchWork", "kxReference"},
    {"kxObjectInvokeInterface", "kxReference"},
    {"kxRefListData", "kxReference"},
    {"kxUserData", "kxReference"},
    {"kxXmlItem", "kxReference"},
    {"kxDebugCommandStation", "kxReference"},
    {"kxGuidStringDict", "kxReference"},
    {"kxNetData", "kxReference"},
    {"kxNotifyMessage", "kxReference"},
    {"kxModule", "kxReference"},
    {"kxObject", "kxUserData"},
    {"kxUserDataAttributeContainer", "kxUserData"},
    {"kxXmlCDATA", "kxXmlItem"},
    {"kxXmlCharData", "kxXmlItem"},
    {"kxXmlComment", "kxXmlItem"},
    {"kxXmlDom", "kxXmlItem"},
    {"kxXmlDynamicType", "kxXmlItem"},
    {"kxXmlElement", "kxXmlItem"},
    {"kxXmlEntityReference", "kxXmlItem"},
    {"kxXmlObject", "kxXmlItem"},
    {"kxXmlPI", "kxXmlItem"},
    {"kxXmlCustomData", "kxXmlElement"},
    {"kxDynamicType", ""},
    {"kxXmlSax", ""},
    {"kxJSON", ""},
    {"kxSocket", ""},
};

constexpr std::size_t kCount = sizeof(kRows) / sizeof(kRows[0]);

struct Descriptors {
    kxType row[kCount];
};
extern const Descriptors descriptors;

}  // namespace kxTypeTree

class kxTypeTable {
public:
    static consteval const kxType& find(std::string_view name)
    {
        return kxTypeTree::descriptors.row[indexOf(name)];
    }

    // The descriptor of class T, found by the name that the compiler gives the class. Compiles for exactly
    // the classes of the table, forward-declared ones included.
    template <typename T> static consteval const kxType& of() { return find(className(__PRETTY_FUNCTION__)); }

    // Row of a name. Throwing makes the call no constant expression: a wrong name does not compile.
    static consteval std::size_t indexOf(std::string_view name)
    {
        for (std::size_t index = 0; index < kxTypeTree::kCount; ++index)
            if (name == kxTypeTree::kRows[index].name) return index;
        throw "no class of this name in the type table";
    }

private:
    // "... [with T = kxName; ...]" and "... [T = kxName]" are the forms that compilers use.
    static consteval std::string_view className(std::string_view function)
    {
        constexpr std::string_view mark = "T = ";
        constexpr std::string_view constant = "const ";
        function.remove_prefix(function.rfind(mark) + mark.size());
        if (function.starts_with(constant)) function.remove_prefix(constant.size());
        return function.substr(0, function.find_first_of(";]"));
    }
};
