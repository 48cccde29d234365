// Shows progress as a line on standard output, which the next progress or the next message overwrites:
// "\rcopying:Progress 50%\t\t\r". At 100 percent the line ends and stays.
//
// A call with the percentage shown last and a text that begins with the same character shows nothing, so that a
// loop may call it for every block. The first call always shows.
//
// Ownership: owns its state.
// Threads:   called by several threads at once; lines are not mixed with each other, nor with messages of
//            DefaultMessageReceiver. A forked child may go on with it.
// Errors:    what standard output does not take is dropped.
#pragma once

#include "kxbase/message/kxProgressInterface.h"

#include <optional>
#include <string>

class kxDefaultProgressInterface : public kxProgressInterface {
public:
    void progress(std::int32_t percentage, const kxString& text) override;

    // Whether standard output is a terminal; elsewhere each line would stay.
    static bool isOnTerminal();

private:
    struct Shown {
        std::int32_t percentage;
        std::string first;  // character of the text

        bool operator==(const Shown&) const = default;
    };

    std::optional<Shown> shown_;  // under the console mutex
};
