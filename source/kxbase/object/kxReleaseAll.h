// Calls a step again and again until it answers false, for steps that take one item out and destroy it.
//
// Errors: an exception out of a step goes on to the caller once the steps that are left have been made. What
//         they throw meanwhile is a Fatal message instead, or the end of the program if it is no std::exception.
#pragma once

#include "kxbase/core/kxMessage.h"

#include <exception>

template <typename Step> void kxReleaseAll(Step step)
{
    struct Rest {
        Step& step;
        bool isLeft = true;

        ~Rest()
        {
            while (isLeft) tryStep();
        }
        void tryStep()
        {
            try {
                isLeft = step();
            } catch (const std::exception& error) {
                kxMessage(KX_MESSAGE_FATAL, "%s", error.what());
            }
        }
    } rest{step};
    while (rest.isLeft) rest.isLeft = step();
}
