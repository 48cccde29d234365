#include "kxbase/core/kxMessage.h"

#include "kxbase/core/kxDropExceptions.h"
#include "kxbase/core/kxFatalError.h"
#include "kxbase/core/kxThreadScope.h"
#include "kxbase/core/kxVersion.h"
#include "kxbase/message/kxMessageManager.h"

#include <new>
#include <string>

// Definitions of the calls that every folder may make.

namespace {

class BadAllocReport : public kxThreadScope<BadAllocReport> {};

kxFatalError fatalError(std::string_view prefix, std::string_view format, kxArgumentView arguments)
{
    const kxString text = kxString::formatArguments(kxTranslate(format), arguments);
    return kxFatalError(std::string(prefix).append(text.view()));
}

// The library's own files from its folder on; of any other file the name alone.
std::string_view fileName(std::string_view path)
{
    if (path.starts_with("kxbase/")) return path;
    for (const std::string_view folder : {"/kxbase/", "\\kxbase\\"})
        if (const std::size_t at = path.rfind(folder); at != path.npos) return path.substr(at + 1);
    return path.substr(path.find_last_of("/\\") + 1);
}

void sendBadAlloc(const char* file, std::uint32_t line)
{
    const kxString position =
        kxString::format("File: %s  Line: %d  Ver: %s", fileName(file), line, KX_LIBRARY_VERSION);
    kxMessage(KX_MESSAGE_FATAL, "Bad Alloc:%s", position);
}

}  // namespace

void kxSendMessage(std::uint32_t level, std::string_view format, kxArgumentView arguments)
{
    kxMessageManager::instance().send(level, format, arguments);
}

void kxThrowFatal(std::string_view format, kxArgumentView arguments)
{
    throw fatalError("", format, arguments);
}

void kxThrowTemplateFatal(std::string_view format, kxArgumentView arguments)
{
    throw fatalError("Template-", format, arguments);
}

void kxThrowBadAlloc(const char* file, std::uint32_t line)
{
    if (BadAllocReport::isInside()) throw std::bad_alloc();
    const BadAllocReport scope;
    // Memory is short, or a receiver failed; the failure itself is what the caller must learn of.
    kxDropExceptions([=] { sendBadAlloc(file, line); });
    throw std::bad_alloc();
}

kxString kxTranslate(std::string_view text)
{
    return kxMessageManager::instance().translate(text, KX_MESSAGE_WARNING);
}
