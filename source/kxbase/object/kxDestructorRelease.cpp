#include "kxbase/object/kxDestructorRelease.h"

#include "kxbase/core/kxMessage.h"

void kxDestructorRelease::raiseOrReport(const std::exception& error)
{
    if (std::uncaught_exceptions() == 0) throw;
    kxMessage(KX_MESSAGE_FATAL, "%s", error.what());
}
