// Messages, fatal errors and allocation failures, callable from every folder.
//
// Only declared here, over plain arguments, and defined in message/kxMessage.cpp. Foreign text (paths, URLs,
// rule texts) goes in as an argument, never as the format.
//
// Threads: every function may be called from any thread, also before main and after it.
// Errors:  a message never throws because of its content; the raising functions always throw. Receivers must not
//          throw; what one throws all the same reaches whoever sent the message.
#pragma once

#include "kxbase/core/kxArgumentView.h"
#include "kxbase/core/kxMessageFilter.h"

#include <string_view>

// Sends a message through the process-wide message manager.
void kxSendMessage(std::uint32_t level, std::string_view format, kxArgumentView arguments);

// Translates, formats and throws kxFatalError.
[[noreturn]] void kxThrowFatal(std::string_view format, kxArgumentView arguments);

// The same with "Template-" put before the finished text; used by the element access of kxArray.
[[noreturn]] void kxThrowTemplateFatal(std::string_view format, kxArgumentView arguments);

// Sends "Bad Alloc:" with the source position and throws std::bad_alloc. Where there is not even memory for that
// message, or a receiver throws, std::bad_alloc is thrown all the same; a failure inside the message sends none.
[[noreturn]] void kxThrowBadAlloc(const char* file, std::uint32_t line);

// The translation of an English text of the library, or the text itself when there is none.
kxString kxTranslate(std::string_view text);

// A message that is filtered out costs a comparison, once there is a receiver; of its arguments nothing is built.
template <typename... Arguments>
void kxMessage(std::uint32_t level, std::string_view format, const Arguments&... arguments)
{
    if (kxMessageFilter::passes(level)) [[unlikely]]
        kxSendMessage(level, format, kxArgumentSlots(arguments...));
}

template <typename... Arguments>
[[noreturn]] void kxRaiseFatal(std::string_view format, const Arguments&... arguments)
{
    kxThrowFatal(format, kxArgumentSlots(arguments...));
}

template <typename... Arguments>
[[noreturn]] void kxRaiseTemplateFatal(std::string_view format, const Arguments&... arguments)
{
    kxThrowTemplateFatal(format, kxArgumentSlots(arguments...));
}
