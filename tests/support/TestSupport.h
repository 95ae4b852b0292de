#pragma once

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "classfile/Diagnostics.h"
#include "kovx/ExtensionManager.h"
#include "kovx/URI.h"

namespace kovtest {

/// Collects the lines that the class file reader writes for standard error while it lives (a line
/// for every failure), in place of the sink it replaces. Ending the process is left to that sink.
/// Captures nest; each restores the one it replaced.
class DiagnosticsCapture : public classfile::DiagnosticSink {
public:
    DiagnosticsCapture() : mOld(classfile::setDiagnosticSink(this)) {}
    ~DiagnosticsCapture() override { classfile::setDiagnosticSink(mOld); }
    DiagnosticsCapture(const DiagnosticsCapture&) = delete;
    DiagnosticsCapture& operator=(const DiagnosticsCapture&) = delete;

    void write(std::string_view lines) override {
        const std::lock_guard<std::mutex> lock(mMutex);
        mText += lines;
    }
    void endProcess() override {
        classfile::setDiagnosticSink(mOld);
        classfile::diagnostics().endProcess();
    }

    std::string text() const {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mText;
    }

private:
    mutable std::mutex mMutex;
    std::string mText;
    classfile::DiagnosticSink* mOld;
};

/// The message of the E that body throws, or "" when it throws none.
template <typename E = std::runtime_error, typename F> std::string errorOf(F&& body) {
    try {
        body();
    } catch (const E& e) {
        return e.what();
    }
    return "";
}

/// Expects text to equal the golden file at path. With KOVTEST_UPDATE_GOLDEN set in the
/// environment it rewrites the file instead, for a deliberate change of the text.
inline void expectGolden(const std::string& path, const std::string& text) {
    if (std::getenv("KOVTEST_UPDATE_GOLDEN")) {
        std::ofstream(path, std::ios::binary) << text;
        return;
    }
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in) << "missing golden file " << path;
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), text) << path;
}

inline kovx::URIPtr uri(const std::string& text) {
    return kovx::URIPtr(new kovx::URI(text));
}

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// The manager's decoder ids as it lists them: "a;b;".
inline std::wstring decoderIds(const kovx::ExtensionManager& manager) {
    wchar_t ids[256];
    size_t size = 256;
    manager.listDecoderIds(ids, &size);
    return ids;
}

} // namespace kovtest
