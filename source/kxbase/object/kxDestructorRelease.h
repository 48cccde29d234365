// Releases a reference from a destructor.
//
// Errors: as unref(); but a second exception would end the process while another one passes, so that what
//         goes wrong then is a Fatal message instead.
#pragma once

class kxDestructorRelease {
public:
    template <typename T> static void run(T& object)
    {
        try {
            object.unref();
        } catch (...) {
            raiseOrReport();
        }
    }
    // For a handler in a destructor: raises what is being handled once more, or reports it.
    static void raiseOrReport();
};
