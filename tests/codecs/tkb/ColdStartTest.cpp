// The first decodes of a process, on several threads at once. This executable holds no other
// test and nothing in it looks at the builtin or enumeration tables first, so these decodes are
// the ones that build them.
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "TkbTestSupport.h"
#include "classwriter/RuleFileBuilder.h"
#include "codecs/tkb/TKBDecoderFactory.h"
#include "util/StringUtils.h"

using classwriter::RuleCode;
using classwriter::RuleFileBuilder;

TEST(ColdStartTest, FirstDecodesRunInParallel) {
    const char* const AXES = "Lcom/velmor/gc/AlignAxesSelector;";
    RuleFileBuilder b;
    b.addRule("Lot", "()V", {}, {},
              RuleCode()
                  .readEnum("AlignAxesSelector", "y")
                  .callBuiltin("alignScopeToAxes", std::string("(") + AXES + ")V")
                  .pushDouble(2.0)
                  .callBuiltin("extrude", "(D)V"));
    const std::string file = tkbtest::asText(b.bytes());
    const uint16_t builtins = b.classNamed(RuleFileBuilder::BUILTINS_CLASS);
    // Row numbers of the fixed tables, written out: asking the tables would build them.
    const uint16_t indices[] = {
        b.fieldref(b.classNamed("com/velmor/gc/AlignAxesSelector"), "y", AXES),
        b.methodref(builtins, "alignScopeToAxes", std::string("(") + AXES + ")V"),
        b.methodref(builtins, "extrude", "(D)V")};
    const std::wstring expected = L"enum AlignAxesSelector.y=1, builtin 3, builtin 46, ";

    constexpr int THREADS = 8;
    std::vector<std::wstring> seen(THREADS);
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([&, t] {
            tkb::TKBDecoderFactory factory;
            std::unique_ptr<kovx::Decoder> decoder(static_cast<kovx::Decoder*>(factory.create()));
            while (!go.load())
                std::this_thread::yield();
            std::istringstream in(file);
            kovx::ContentPtrVector results;
            try {
                decoder->decode(results, in);
            } catch (const std::exception& e) {
                seen[t] = util::StringUtils::toUTF32FromUTF8(e.what());
                return;
            }
            const kovx::TKBProgram& program =
                boost::dynamic_pointer_cast<kovx::TKB>(results.at(0))->getProgram();
            for (const uint16_t index : indices)
                seen[t] += tkbtest::describe(program, index) + L", ";
        });
    }
    go = true;
    for (std::thread& thread : threads)
        thread.join();

    for (int t = 0; t < THREADS; ++t)
        EXPECT_EQ(seen[t], expected) << "thread " << t;
}
