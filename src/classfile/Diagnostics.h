#pragma once

#include <string_view>

namespace classfile {

/// Where the class file reader sends the lines it must write to standard error, and what ends the
/// process once the check pass has found a class entry whose name lies outside the pool. Every
/// such line of the reader goes through the one sink in use; the default writes to std::cerr and
/// calls std::exit(1).
///
/// Threading: the sink is process-wide. Set it while no read runs on another thread (a test or a
/// fuzz target sets it once, or around work of its own thread) and keep it alive until it is
/// replaced. Reads on several threads (kov check's workers) call the same sink concurrently, so a
/// sink's write must be safe to call from several threads at once, as the default's is.
class DiagnosticSink {
public:
    virtual ~DiagnosticSink();

    /// Writes whole lines, each ended by '\n'. The default writes them to std::cerr as one block
    /// and flushes.
    virtual void write(std::string_view lines) = 0;
    /// Runs after the check pass wrote its line; must not return (it may throw). The default ends
    /// the process with status 1.
    [[noreturn]] virtual void endProcess() = 0;
};

/// The sink in use.
DiagnosticSink& diagnostics();

/// Makes sink the sink in use, or the default one for nullptr, and returns the one it replaces
/// (nullptr for the default).
DiagnosticSink* setDiagnosticSink(DiagnosticSink* sink);

} // namespace classfile
