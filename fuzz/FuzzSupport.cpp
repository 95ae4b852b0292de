#include "FuzzSupport.h"

#include <iostream>

#include "classfile/CheckFailure.h"
#include "kovx/Log.h"

namespace classfile {

// Replaces the library's definition, which ends the process: a fuzzing run must go on.
void endProcessAfterFailedCheck() {
    throw fuzz::CheckPassFailed();
}

} // namespace classfile

namespace fuzz {

void silenceDiagnostics() {
    static const bool silenced = [] {
        // Never freed: standard error is flushed once more at exit, after local statics are gone.
        std::cerr.rdbuf(new NullBuffer);
        kovx::Log::removeHandler(kovx::Log::DEFAULT_HANDLER);
        return true;
    }();
    (void)silenced;
}

} // namespace fuzz
