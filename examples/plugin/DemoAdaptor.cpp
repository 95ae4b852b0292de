// A stream adaptor for "demo:" URIs: demo:NAME opens the file NAME in the directory that the
// environment variable KOV_DEMO_DIR names. With KOV_DEMO_DIR set to kov's examples directory,
//   kov -p <this library> info demo:building.tkb
// reads examples/building.tkb through this adaptor.
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "kovx/ExtensionFactory.h"
#include "kovx/ExtensionManager.h"
#include "kovx/Plugin.h"

namespace {

class DemoAdaptor : public kovx::StreamAdaptor {
public:
    boost::shared_ptr<std::istream> openInput(const kovx::URIPtr& uri) const override {
        const char* dir = std::getenv("KOV_DEMO_DIR");
        if (!dir || !*dir)
            throw std::runtime_error("demo adaptor: KOV_DEMO_DIR is not set");
        // A name, not a path: the adaptor serves that one directory only.
        const std::string& name = uri->getPath();
        if (name.empty() || name.find('/') != std::string::npos)
            throw std::runtime_error("demo adaptor: '" + uri->str() + "' does not name a file");

        const std::string path = std::string(dir) + "/" + name;
        boost::shared_ptr<std::ifstream> input(new std::ifstream(path, std::ios::binary));
        if (!input->is_open())
            throw std::runtime_error("demo adaptor: cannot open '" + path + "'");
        return input;
    }
};

class DemoAdaptorFactory : public kovx::ExtensionFactory {
public:
    kovx::Extension* create() const override { return new DemoAdaptor(); }

    const std::wstring& getID() const override {
        static const std::wstring id = L"org.example.kov.DemoAdaptor";
        return id;
    }
    const std::wstring& getName() const override {
        static const std::wstring name = L"Demo Adaptor";
        return name;
    }
    const std::wstring& getDescription() const override {
        static const std::wstring description = L"Reads demo:NAME from the directory $KOV_DEMO_DIR";
        return description;
    }
    // Stream adaptors serve bytes of any content type.
    kov::ContentType getContentType() const override { return kov::CT_UNDEFINED; }
    kovx::Extension::ExtensionType getExtensionType() const override {
        return kovx::Extension::ET_STREAM_ADAPTOR;
    }
    float getMerit() const override { return getDefaultMerit(); }
    bool canHandleURI(kovx::URIPtr uri) const override {
        return uri && uri->getScheme() == "demo";
    }
};

} // namespace

KOVX_PLUGIN_EXPORT void registerExtensionFactories(kovx::ExtensionManager* manager) {
    // The manager owns the factory once addFactory returns.
    std::unique_ptr<DemoAdaptorFactory> factory(new DemoAdaptorFactory());
    manager->addFactory(factory.get());
    factory.release();
}

// The manager deletes the factory itself; this library holds nothing else.
KOVX_PLUGIN_EXPORT void unregisterExtensionFactories(kovx::ExtensionManager* /*manager*/) {}
