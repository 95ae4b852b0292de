// A plug-in with one factory of each type. Its knobs let a test watch the order of registration,
// unregistration, factory deletion and unloading, and clean up factories the manager let go. With
// KOVTEST_THROW_AFTER_REGISTERING its registration throws after adding its factories.
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include "kovx/ExtensionManager.h"

#ifndef KOVTEST_PREFIX
#define KOVTEST_PREFIX "test.plugin."
#endif

#define KOVTEST_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

using Recorder = void (*)(const char* event);
Recorder recorder = nullptr;

void record(const std::string& event) {
    if (recorder)
        recorder(event.c_str());
}

std::wstring wide(const std::string& s) {
    return std::wstring(s.begin(), s.end());
}

// Every factory of this library, whether the manager still holds it or not.
class Tracked {
public:
    explicit Tracked(std::string id) : mId(std::move(id)) { live().insert(this); }
    virtual ~Tracked() {
        live().erase(this);
        record("delete " + mId);
    }
    static std::set<Tracked*>& live() {
        static std::set<Tracked*> factories;
        return factories;
    }

private:
    std::string mId;
};

struct UnloadWitness {
    ~UnloadWitness() { record("unload " KOVTEST_PREFIX); }
} unloadWitness;

class TestDecoder : public kovx::Decoder {
public:
    kov::ContentType getContentType() const override { return kov::CT_RULEFILE; }
    void decode(kovx::ContentPtrVector&, std::istream&) const override {}
};

class TestAdaptor : public kovx::StreamAdaptor {
public:
    boost::shared_ptr<std::istream> openInput(const kovx::URIPtr& uri) const override {
        return boost::shared_ptr<std::istream>(new std::istringstream("test:" + uri->getPath()));
    }
};

// Decoder of .tkb files with merit 3.
class TestDecoderFactory : public kovx::DecoderFactory, public Tracked {
public:
    TestDecoderFactory()
        : DecoderFactory(kov::CT_RULEFILE, wide(KOVTEST_PREFIX "Decoder"), L"Test Decoder",
                         L"test decoder", {L".tkb"}),
          Tracked(KOVTEST_PREFIX "Decoder") {}
    kovx::Extension* create() const override { return new TestDecoder(); }
    float getMerit() const override { return 3.0f; }
};

// Only listed and deleted: it creates nothing.
class TestEncoderFactory : public kovx::EncoderFactory, public Tracked {
public:
    TestEncoderFactory() : Tracked(KOVTEST_PREFIX "Encoder") {}
    kovx::Extension* create() const override { return nullptr; }
    kovx::Extension* create(const kov::AttributeMap*, void*) const override { return nullptr; }
    const std::wstring& getID() const override { return mId; }
    const std::wstring& getName() const override { return mId; }
    const std::wstring& getDescription() const override { return mDescription; }
    kov::ContentType getContentType() const override { return kov::CT_MODEL; }
    float getMerit() const override { return 1.0f; }
    bool canHandleURI(kovx::URIPtr) const override { return false; }
    bool checkOptionKeys(const kov::AttributeMap*) const override { return true; }
    kovx::EncoderInfoPtr createEncoderInfo() const override { return {}; }

private:
    std::wstring mId = wide(KOVTEST_PREFIX "Encoder");
    std::wstring mDescription = L"test encoder";
};

// Stream adaptor for the "test" scheme with merit 2.
class TestAdaptorFactory : public kovx::ExtensionFactory, public Tracked {
public:
    TestAdaptorFactory() : Tracked(KOVTEST_PREFIX "Adaptor") {}
    kovx::Extension* create() const override { return new TestAdaptor(); }
    const std::wstring& getID() const override { return mId; }
    const std::wstring& getName() const override { return mId; }
    const std::wstring& getDescription() const override { return mDescription; }
    kov::ContentType getContentType() const override { return kov::CT_UNDEFINED; }
    kovx::Extension::ExtensionType getExtensionType() const override {
        return kovx::Extension::ET_STREAM_ADAPTOR;
    }
    float getMerit() const override { return 2.0f; }
    bool canHandleURI(kovx::URIPtr uri) const override { return uri && uri->getScheme() == "test"; }

private:
    std::wstring mId = wide(KOVTEST_PREFIX "Adaptor");
    std::wstring mDescription = L"test adaptor";
};

} // namespace

KOVTEST_EXPORT void registerExtensionFactories(kovx::ExtensionManager* manager) {
    record("register " KOVTEST_PREFIX);
    manager->addFactory(new TestDecoderFactory());
    manager->addFactory(new TestEncoderFactory());
    manager->addFactory(new TestAdaptorFactory());
#ifdef KOVTEST_THROW_AFTER_REGISTERING
    throw std::runtime_error("registration failed half-way");
#endif
}

KOVTEST_EXPORT void unregisterExtensionFactories(kovx::ExtensionManager*) {
    record("unregister " KOVTEST_PREFIX);
}

KOVTEST_EXPORT void kovtest_setRecorder(Recorder r) {
    recorder = r;
}

KOVTEST_EXPORT size_t kovtest_liveFactories() {
    return Tracked::live().size();
}

KOVTEST_EXPORT void kovtest_deleteLiveFactories() {
    while (!Tracked::live().empty())
        delete *Tracked::live().begin();
}
