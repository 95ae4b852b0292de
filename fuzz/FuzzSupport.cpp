#include "FuzzSupport.h"

#include "classfile/Diagnostics.h"
#include "kovx/Log.h"

namespace fuzz {

namespace {

class QuietSink : public classfile::DiagnosticSink {
public:
    void write(std::string_view) override {}
    [[noreturn]] void endProcess() override { throw CheckPassFailed(); }
};

} // namespace

void silenceDiagnostics() {
    static const bool silenced = [] {
        // Never freed: a read may still run while the statics are destroyed at exit.
        classfile::setDiagnosticSink(new QuietSink);
        kovx::Log::removeHandler(kovx::Log::DEFAULT_HANDLER);
        return true;
    }();
    (void)silenced;
}

} // namespace fuzz
