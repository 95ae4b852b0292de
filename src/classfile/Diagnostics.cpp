#include "classfile/Diagnostics.h"

#include <atomic>
#include <cstdlib>
#include <iostream>

namespace classfile {

namespace {

class StandardErrorSink : public DiagnosticSink {
public:
    void write(std::string_view lines) override {
        std::cerr.write(lines.data(), static_cast<std::streamsize>(lines.size()));
        std::cerr.flush();
    }
    [[noreturn]] void endProcess() override { std::exit(1); }
};

StandardErrorSink standardError;
std::atomic<DiagnosticSink*> installed{nullptr};

} // namespace

DiagnosticSink::~DiagnosticSink() = default;

DiagnosticSink& diagnostics() {
    DiagnosticSink* sink = installed.load(std::memory_order_acquire);
    return sink ? *sink : standardError;
}

DiagnosticSink* setDiagnosticSink(DiagnosticSink* sink) {
    return installed.exchange(sink, std::memory_order_acq_rel);
}

} // namespace classfile
