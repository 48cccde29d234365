// The relay between two endpoints, apart from the process that runs it.
//
// Threads: runs on the caller's thread; the endpoints may have threads of their own.
// Errors:  only the input's error state ends the relay; the output may be in error and is written all the
//          same.
#pragma once

#include "kxbase/serialize/kxSerializeAdapter.h"

class kxRelay {
public:
    // Both endpoints must outlive the relay. The URLs are shown in the opening notice.
    kxRelay(kxSerializeAdapter& input, const kxString& inputUrl, kxSerializeAdapter& output,
            const kxString& outputUrl);

    // Writes the opening notice to the output, then turns until the input reports an error.
    void run();
    // One turn: input to output, then output to input. Answers false, and moves nothing, when the input
    // reports an error.
    bool turn();

    // Writes a ping, six characters and a zero byte, and flushes nothing: an output that buffers keeps it.
    static void writePing(kxSerializeAdapter& output);

private:
    void writeNotice();
    static void move(kxSerializeAdapter& source, kxSerializeAdapter& target);

    kxSerializeAdapter& input_;
    kxSerializeAdapter& output_;
    const kxString inputUrl_;
    const kxString outputUrl_;
};
