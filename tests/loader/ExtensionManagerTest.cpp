// The manager's choices and failures, with factories that live in the test itself.
#include <cwchar>
#include <functional>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "TestSupport.h"
#include "kovx/StatusException.h"
#include "loader/ExtensionManagerImpl.h"

namespace {

int liveExtensions = 0;

// Every fake extension counts itself, so a test sees that the manager deletes what it rejects.
struct Counted {
    Counted() { ++liveExtensions; }
    ~Counted() { --liveExtensions; }
    std::wstring madeBy;
};

struct FakeDecoder : kovx::Decoder, Counted {
    kov::ContentType getContentType() const override { return kov::CT_RULEFILE; }
    void decode(kovx::ContentPtrVector&, std::istream&) const override {}
};

struct FakeEncoder : kovx::Encoder, Counted {
    kov::ContentType getContentType() const override { return kov::CT_MODEL; }
    void encode(const kovx::ContentPtrVector&, std::ostream&) const override {}
    void* context = nullptr;
};

struct FakeAdaptor : kovx::StreamAdaptor, Counted {
    boost::shared_ptr<std::istream> openInput(const kovx::URIPtr&) const override { return {}; }
};

template <typename T> kovx::Extension* make(const std::wstring& id) {
    T* extension = new T;
    extension->madeBy = id;
    return extension;
}

class FakeDecoderFactory : public kovx::DecoderFactory {
public:
    FakeDecoderFactory(const std::wstring& id, float merit, bool accepts = true,
                       kov::ContentType contentType = kov::CT_RULEFILE, bool createsNull = false)
        : DecoderFactory(contentType, id, L"fake", L"decodes " + id, {}), mMerit(merit),
          mAccepts(accepts), mCreatesNull(createsNull) {}
    kovx::Extension* create() const override {
        return mCreatesNull ? nullptr : make<FakeDecoder>(getID());
    }
    float getMerit() const override { return mMerit; }
    bool canHandleURI(kovx::URIPtr) const override { return mAccepts; }

private:
    float mMerit;
    bool mAccepts;
    bool mCreatesNull;
};

class FakeAdaptorFactory : public kovx::ExtensionFactory {
public:
    FakeAdaptorFactory(const std::wstring& id, float merit, std::set<std::string> schemes,
                       bool createsNull = false)
        : mId(id), mMerit(merit), mSchemes(std::move(schemes)), mCreatesNull(createsNull) {}
    kovx::Extension* create() const override {
        return mCreatesNull ? nullptr : make<FakeAdaptor>(mId);
    }
    const std::wstring& getID() const override { return mId; }
    const std::wstring& getName() const override { return mId; }
    const std::wstring& getDescription() const override { return mId; }
    kov::ContentType getContentType() const override { return kov::CT_UNDEFINED; }
    kovx::Extension::ExtensionType getExtensionType() const override {
        return kovx::Extension::ET_STREAM_ADAPTOR;
    }
    float getMerit() const override { return mMerit; }
    bool canHandleURI(kovx::URIPtr uri) const override {
        return mSchemes.count(uri->getScheme()) > 0;
    }

private:
    std::wstring mId;
    float mMerit;
    std::set<std::string> mSchemes;
    bool mCreatesNull;
};

// Knows the option key "quality"; makeDecoder has it hand out the wrong kind of extension.
class FakeEncoderFactory : public kovx::EncoderFactory {
public:
    FakeEncoderFactory(const std::wstring& id, bool makeDecoder = false)
        : mId(id), mMakeDecoder(makeDecoder) {}
    kovx::Extension* create() const override { return nullptr; }
    kovx::Extension* create(const kov::AttributeMap*, void* context) const override {
        if (mMakeDecoder)
            return make<FakeDecoder>(mId);
        auto* encoder = static_cast<FakeEncoder*>(make<FakeEncoder>(mId));
        encoder->context = context;
        return encoder;
    }
    const std::wstring& getID() const override { return mId; }
    const std::wstring& getName() const override { return mId; }
    const std::wstring& getDescription() const override { return mId; }
    kov::ContentType getContentType() const override { return kov::CT_MODEL; }
    float getMerit() const override { return 1.0f; }
    bool canHandleURI(kovx::URIPtr) const override { return false; }
    bool checkOptionKeys(const kov::AttributeMap* options) const override {
        return !options || options->getKeys() == std::vector<std::wstring>{L"quality"};
    }
    kovx::EncoderInfoPtr createEncoderInfo() const override {
        boost::shared_ptr<kovx::EncoderInfo> info(new kovx::EncoderInfo);
        info->id = mId;
        return info;
    }

private:
    std::wstring mId;
    bool mMakeDecoder;
};

kov::Status statusOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const kovx::StatusException& e) {
        return e.getStatus();
    }
    return kov::STATUS_OK;
}

std::wstring madeBy(const boost::shared_ptr<kovx::Extension>& extension) {
    return dynamic_cast<const Counted&>(*extension).madeBy;
}

} // namespace

using kovtest::errorOf;
using kovtest::uri;

TEST(ExtensionManagerTest, MatchingDecoderHasTheBestMeritThenTheFirstIdInCodeUnitOrder) {
    loader::ExtensionManagerImpl manager;
    manager.addFactory(new FakeDecoderFactory(L"b.dec", 2.0f));
    manager.addFactory(new FakeDecoderFactory(L"a.dec", 2.0f));
    manager.addFactory(new FakeDecoderFactory(L"refuses", 9.0f, false));
    manager.addFactory(new FakeDecoderFactory(L"model.dec", 9.0f, true, kov::CT_MODEL));
    EXPECT_EQ(madeBy(manager.createMatchingDecoder(kov::CT_RULEFILE, uri("file:/x/a.tkb"))),
              L"a.dec");

    // Upper-case letters come before lower-case ones by code unit, whatever the locale says.
    manager.addFactory(new FakeDecoderFactory(L"Z.dec", 2.0f));
    EXPECT_EQ(madeBy(manager.createMatchingDecoder(kov::CT_RULEFILE, uri("a.tkb"))), L"Z.dec");
    EXPECT_EQ(madeBy(manager.createMatchingDecoder(kov::CT_MODEL, uri("a.tkb"))), L"model.dec");

    EXPECT_EQ(errorOf<std::invalid_argument>(
                  [&] { manager.createMatchingDecoder(kov::CT_TEXTURE, uri("file:/x/a.png")); }),
              "could not find a decoder which matches content type 'CT_TEXTURE' and can handle "
              "the uri 'file:/x/a.png'");
    EXPECT_EQ(liveExtensions, 0);
}

TEST(ExtensionManagerTest, CreationFailuresRaiseTheirStatusCodesAndLog) {
    kovtest::LogCapture log;
    loader::ExtensionManagerImpl manager;
    manager.addFactory(new FakeDecoderFactory(L"null.dec", 5.0f, true, kov::CT_RULEFILE, true));
    manager.addFactory(new FakeAdaptorFactory(L"some.adaptor", 1.0f, {"x"}));

    // An adaptor is no decoder: it is deleted again. The info operations swap the codes for an
    // unknown id.
    const kov::Status decoder = kov::STATUS_DECODER_NOT_AVAILABLE;
    const kov::Status encoder = kov::STATUS_ENCODER_NOT_AVAILABLE;
    const std::pair<std::function<void()>, kov::Status> failures[] = {
        {[&] { manager.createDecoder(L"nope"); }, encoder},
        {[&] { manager.createDecoder(L"null.dec"); }, decoder},
        {[&] { manager.createMatchingDecoder(kov::CT_RULEFILE, uri("a.tkb")); }, decoder},
        {[&] { manager.createDecoder(L"some.adaptor"); }, decoder},
        {[&] { manager.createDecoderInfo(L"nope"); }, decoder},
        {[&] { manager.createEncoderInfo(L"nope"); }, encoder},
        {[&] { manager.createEncoder(L"nope", nullptr, nullptr); }, encoder},
    };
    for (size_t i = 0; i < std::size(failures); ++i)
        EXPECT_EQ(statusOf(failures[i].first), failures[i].second) << i;
    EXPECT_EQ(liveExtensions, 0);
    EXPECT_EQ(manager.createDecoderInfo(L"null.dec")->id, L"null.dec");

    std::vector<std::string> expected = {
        "Unknown decoder id 'nope'.", "Creating decoder 'null.dec' failed!",
        "Creating decoder 'null.dec' failed!", "Creating decoder 'some.adaptor' failed!",
        "Unknown encoder id 'nope'."};
    EXPECT_EQ(log.texts(), expected);
    for (const auto& message : log.messages())
        EXPECT_EQ(message.first, kov::LOG_ERROR);
}

TEST(ExtensionManagerTest, EncoderCreationChecksOptionKeysAndTheKindOfExtension) {
    kovtest::LogCapture log;
    loader::ExtensionManagerImpl manager;
    manager.addFactory(new FakeEncoderFactory(L"enc"));
    manager.addFactory(new FakeEncoderFactory(L"wrong.enc", true));

    kov::AttributeMap options;
    options.setInt(L"quality", 3);
    int context = 0;
    kovx::EncoderPtr encoder = manager.createEncoder(L"enc", &options, &context);
    EXPECT_EQ(dynamic_cast<FakeEncoder&>(*encoder).context, &context);
    EXPECT_EQ(manager.createEncoderInfo(L"enc")->id, L"enc");

    options.setBool(L"speed", true);
    EXPECT_EQ(
        errorOf<std::invalid_argument>([&] { manager.createEncoder(L"enc", &options, nullptr); }),
        "The specified default options for 'enc' do not match the supported option key set.");

    EXPECT_EQ(statusOf([&] { manager.createEncoder(L"wrong.enc", nullptr, nullptr); }),
              kov::STATUS_ENCODER_NOT_AVAILABLE);
    EXPECT_EQ(log.texts(), std::vector<std::string>{"Creating encoder 'wrong.enc' failed!"});
    encoder.reset();
    EXPECT_EQ(liveExtensions, 0);
}

TEST(ExtensionManagerTest, StreamAdaptorFallsBackToTheFileSystemAdaptorOnlyWhenNoneAccepts) {
    const std::wstring fileSystem = loader::ExtensionManagerImpl::FILE_SYSTEM_ADAPTOR_ID;
    {
        loader::ExtensionManagerImpl manager;
        manager.addFactory(new FakeAdaptorFactory(fileSystem, 1.0f, {"", "file"}));
        manager.addFactory(new FakeAdaptorFactory(L"http", 5.0f, {"http"}));
        manager.addFactory(new FakeAdaptorFactory(L"weak.file", 0.5f, {"file"}));
        EXPECT_EQ(madeBy(manager.createStreamAdaptor(uri("http://host/a.tkb"))), L"http");
        EXPECT_EQ(madeBy(manager.createStreamAdaptor(uri("file:/a.tkb"))), fileSystem);
        EXPECT_EQ(madeBy(manager.createStreamAdaptor(uri("s3://bucket/a.tkb"))), fileSystem);
    }
    {
        loader::ExtensionManagerImpl manager;
        manager.addFactory(new FakeAdaptorFactory(L"http", 5.0f, {"http"}, true));
        EXPECT_EQ(
            errorOf<std::invalid_argument>([&] { manager.createStreamAdaptor(uri("s3://b/a")); }),
            "could not find an adaptor which can handle the scheme or uri: 's3://b/a'");
        EXPECT_EQ(
            errorOf<std::runtime_error>([&] { manager.createStreamAdaptor(uri("http://h/a")); }),
            "Resolving URI 'http://h/a': could not create adaptor 'http'");
        manager.addFactory(new FakeAdaptorFactory(fileSystem, 1.0f, {}, true));
        EXPECT_EQ(
            errorOf<std::runtime_error>([&] { manager.createStreamAdaptor(uri("s3://b/a")); }),
            "Resolving URI 's3://b/a': could not create fallback "
            "'com.velmor.kov.adaptors.FileSystemAdaptor'");
    }
    EXPECT_EQ(liveExtensions, 0);
}

TEST(ExtensionManagerTest, IdListsAreCopiedOutWithTheSizeTheyNeed) {
    loader::ExtensionManagerImpl manager;
    wchar_t buffer[8];
    std::wmemset(buffer, L'x', 8);
    size_t size = 8;
    manager.listDecoderIds(buffer, &size);
    EXPECT_EQ(std::wstring(buffer), L"");
    EXPECT_EQ(size, 1u);

    FakeDecoderFactory* first = new FakeDecoderFactory(L"a", 1.0f);
    manager.addFactory(new FakeDecoderFactory(L"b", 1.0f));
    manager.addFactory(first);
    manager.addFactory(new FakeEncoderFactory(L"e"));
    manager.addFactory(new FakeAdaptorFactory(L"s", 1.0f, {}));
    size = 8;
    manager.listDecoderIds(buffer, &size);
    EXPECT_EQ(std::wstring(buffer), L"a;b;");
    EXPECT_EQ(size, 5u);

    // Too small: cut short without a terminator, and the size says what is needed.
    std::wmemset(buffer, L'x', 8);
    size = 2;
    manager.listDecoderIds(buffer, &size);
    EXPECT_EQ(std::wstring(buffer, 3), L"a;x");
    EXPECT_EQ(size, 5u);
    size = 0;
    manager.listEncoderIds(nullptr, &size);
    EXPECT_EQ(size, 3u);

    // A second factory under a known id takes its place; the first is not deleted.
    manager.addFactory(new FakeDecoderFactory(L"a", 7.0f));
    EXPECT_FLOAT_EQ(manager.createDecoderInfo(L"a")->merit, 7.0f);
    EXPECT_EQ(first->getID(), L"a");
    delete first;
}
