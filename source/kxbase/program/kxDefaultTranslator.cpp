// The translator that the message manager has at first: here, since it rests on adapters.
#include "kxbase/core/kxUndestroyed.h"
#include "kxbase/message/kxMessageManager.h"
#include "kxbase/program/kxDefaultMessageTranslator.h"

kxMessageTranslatorInterface& kxMessageManager::defaultTranslator()
{
    static constinit kxUndestroyed<kxDefaultMessageTranslator> translator;
    return translator.value;
}
