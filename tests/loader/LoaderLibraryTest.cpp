// What the core does: load the built library, enter it through init, use and destroy the manager.
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "TestSupport.h"
#include "kovx/ExtensionManager.h"

using kovtest::uri;

TEST(LoaderLibraryTest, CoreSessionThroughTheSharedLibrary) {
    kovtest::LogCapture log;
    void* library = dlopen(KOVTEST_LOADER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    auto init = reinterpret_cast<KovLoaderInit>(dlsym(library, "init"));
    ASSERT_NE(init, nullptr);
    // Only init is exported.
    EXPECT_EQ(dlsym(library, "_ZN6loader20ExtensionManagerImplC1Ev"), nullptr);
    EXPECT_EQ(dlsym(library, "_ZN4util11StringUtils16toUTF8FromUTF32ERKNSt7__cxx1112basic_"
                             "stringIwSt11char_traitsIwESaIwEEE"),
              nullptr);

    kovx::ExtensionManager* manager = init(nullptr);
    const wchar_t* paths[] = {L"" KOVTEST_EXTENSION_DIR, L"" KOVTEST_FULL_PLUGIN};
    manager->loadExtensions(paths, 2);
    // The built-in rule file decoder is registered besides the plug-in's, with the default merit.
    EXPECT_EQ(kovtest::decoderIds(*manager),
              L"com.velmor.kov.core.TKBDecoder;test.plugin.Decoder;");
    const std::vector<std::string> texts = log.texts();
    EXPECT_NE(std::find(texts.begin(), texts.end(),
                        "    com.velmor.kov.core.TKBDecoder                (1.0) TKB Byte Stream "
                        "Reader"),
              texts.end());
    {
        // For .tkb the plug-in's decoder (merit 3) wins: it decodes an empty stream to nothing.
        // Only the built-in one takes .class, and it fails on the empty stream.
        kovx::ContentPtrVector results;
        std::istringstream empty;
        kovx::DecoderPtr decoder = manager->createMatchingDecoder(kov::CT_RULEFILE, uri("a.tkb"));
        EXPECT_NO_THROW(decoder->decode(results, empty));
        kovx::DecoderPtr builtin = manager->createMatchingDecoder(kov::CT_RULEFILE, uri("a.class"));
        EXPECT_ANY_THROW(builtin->decode(results, empty));
        EXPECT_TRUE(results.empty());

        // The file-system adaptor plug-in reads a file through a file: URI...
        const std::string file = testing::TempDir() + "kov-loader-test.bin";
        std::ofstream(file, std::ios::binary) << std::string("kov\0data\r\n", 10);
        kovx::StreamAdaptorPtr adaptor = manager->createStreamAdaptor(uri("file://" + file));
        auto stream = adaptor->openInput(uri("file://" + file));
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*stream), {}),
                  std::string("kov\0data\r\n", 10));
        std::remove(file.c_str());

        // ...fails on what it cannot read (kov's tests pin the messages)...
        for (const std::string& bad : {std::string("/nonexistent/a.tkb"), testing::TempDir()})
            EXPECT_THROW(adaptor->openInput(uri(bad)), std::runtime_error);

        // ...and leaves the test scheme to the test plug-in's adaptor.
        auto test = manager->createStreamAdaptor(uri("test:x"))->openInput(uri("test:x"));
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*test), {}), "test:x");
    }
    EXPECT_NO_THROW(delete manager);
    EXPECT_EQ(dlclose(library), 0);
    for (const auto& message : log.messages())
        EXPECT_EQ(message.first, kov::LOG_INFO) << message.second;
}
