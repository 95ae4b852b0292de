#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>

#include "RuleFile.h"
#include "RuntimeHost.h"

namespace kovpy {

/// The runtime as Python holds it. Closing it lets go of the host, which lives on while rule
/// files decoded through it do. Every decode runs without the interpreter lock.
class Runtime {
public:
    Runtime(const std::vector<std::string>& pluginPaths, bool probePlugins);

    void close() { mHost.reset(); }
    bool closed() const { return !mHost; }

    std::vector<ExtensionEntry> extensions();

    /// A path or a URI, read through the stream adaptor that the manager picks.
    std::unique_ptr<RuleFile> load(const std::string& source);

    /// Bytes in memory; name, when given, names them in messages and picks the decoder.
    std::unique_ptr<RuleFile> loadBytes(const pybind11::bytes& data,
                                        std::optional<std::string> name);

    /// What 'kov check' finds for one file: path, ok, bytes, milliseconds, error, attributes
    /// and rules.
    pybind11::tuple checkFile(const std::string& path);

    /// The changes between the interfaces of two rule files, as tuples of section, name, kind,
    /// class, description, old, new and the changed arguments (key, position, old, new).
    pybind11::list diffFiles(const std::string& before, const std::string& after);

private:
    const std::shared_ptr<RuntimeHost>& host();

    std::shared_ptr<RuntimeHost> mHost;
};

} // namespace kovpy
