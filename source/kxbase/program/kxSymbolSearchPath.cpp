#include "kxbase/program/kxSymbolSearchPath.h"

#include "kxbase/platform/kxPlatformEnvironment.h"

namespace {

constexpr std::size_t kQueryBytes = 1000;
constexpr const char* kVariables[] = {"_NT_SYMBOL_PATH", "_NT_ALTERNATE_SYMBOL_PATH", "SYSTEMROOT",
                                      "KORVEX_DEBUG_SYMBOLS"};

void addFolder(kxString& path, std::string_view folder)
{
    if (folder.empty() || folder.size() >= kQueryBytes) return;
    if (!path.isEmpty()) path += ';';
    path += folder;
}

}  // namespace

kxString kxSymbolSearchPath()
{
    kxString path;
    char answer[kQueryBytes];
    if (kxPlatformCurrentDirectory(answer, sizeof(answer))) addFolder(path, answer);
    if (kxPlatformProgramFile(answer, sizeof(answer))) {
        const std::string_view program(answer);
        addFolder(path, program.substr(0, program.find_last_of("/\\")));
    }
    for (const char* const variable : kVariables) {
        const char* const value = kxPlatformEnvironment(variable);
        if (value != nullptr) addFolder(path, value);
    }
    return path;
}
