#include "kxbase/object/kxDestructorRelease.h"

#include "kxbase/core/kxDropExceptions.h"
#include "kxbase/core/kxMessage.h"

#include <exception>

void kxDestructorRelease::raiseOrReport()
{
    if (std::uncaught_exceptions() == 0) throw;
    try {
        throw;
    } catch (const std::exception& error) {
        kxMessage(KX_MESSAGE_FATAL, "%s", error.what());
    } catch (const kxForcedUnwind&) {
        throw;
    } catch (...) {
        kxMessage(KX_MESSAGE_FATAL, "Unknown exception in a destructor");
    }
}
