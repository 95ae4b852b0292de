// What one decode may build from data that a file shares between its records: the translation
// and the rule file info draw on one budget, and a file that asks for more fails cleanly.
#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TkbTestSupport.h"
#include "classwriter/RuleFileBuilder.h"
#include "codecs/tkb/MemoryBudget.h"
#include "rulefileinfo/RuleFileInfoImpl.h"
#include "util/RuntimeErrorST.h"

using classwriter::ElementValue;
using classwriter::RuleCode;
using classwriter::RuleFileBuilder;
using tkbtest::translateBytes;

namespace {

constexpr size_t MIB = size_t{1} << 20;

// Gives the file one annotation of its own, made of the given (name index, value) pairs.
void addFileAnnotation(RuleFileBuilder& b,
                       const std::vector<std::pair<uint16_t, ElementValue>>& pairs) {
    b.writer().attributes.push_back(tkbtest::markerAttribute(b, pairs));
}

// A file annotation whose "svals" and "names" arrays name the same text from every slot.
RuleFileBuilder fanOutFile(const std::string& text, size_t slots) {
    RuleFileBuilder b;
    b.addRule("Lot", "()V", {});
    const std::vector<ElementValue> values(slots, ElementValue::constant('s', b.utf8(text)));
    addFileAnnotation(b, {{b.utf8("svals"), ElementValue::array(values)},
                          {b.utf8("names"), ElementValue::array(values)}});
    return b;
}

// The message of the budget failure that translating bytes raises, or "" when it translates.
std::string budgetFailure(const std::vector<uint8_t>& bytes, size_t limit) {
    kovx::TKBProgram program;
    const auto translate = [&] { translateBytes(program, bytes, limit); };
    const std::string error = kovtest::errorOf<util::RuntimeErrorST>(translate);
    EXPECT_TRUE(error.empty() || !program.ruleFileInfo);
    return error;
}

std::string tooLarge(const std::string& what, const std::string& limit) {
    return "TKB file is too large to translate: " + what + " would take more than " + limit +
           " of memory (all copies of shared file data in one decode count together); the file "
           "is damaged or hostile.";
}

// Peak resident memory of the process since the last reset, or 0 when it cannot be read.
size_t peakResidentBytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stoul(line.substr(6)) * 1024;
    return 0;
}

bool resetPeakResident() {
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return clear.good();
}

} // namespace

TEST(MemoryBudgetTest, EveryFanOutOfSharedDataIsCharged) {
    // Each file repeats one kind of copy from a few kilobytes of its own: it fails under a 1 MiB
    // budget, naming that kind, and decodes under a larger one.
    const std::string text(8 * 1024, 'x');
    struct Case {
        const char* what;
        std::function<void(RuleFileBuilder&)> build;
    };
    const Case cases[] = {
        {"its string constants",
         [&](RuleFileBuilder& b) {
             for (int i = 0; i < 40; ++i)
                 b.writer().pool.string(b.utf8(text));
         }},
        {"the method records of its method references",
         [](RuleFileBuilder& b) {
             RuleCode body;
             for (int i = 0; i < 10000; ++i)
                 body.callRule("Lot", "()V");
             b.addRule("Lot", "()V", {}, {}, body);
             for (int i = 0; i < 40; ++i)
                 b.writer().pool.methodref(RuleFileBuilder::OWN_CLASS_INDEX,
                                           b.nameAndType("Lot", "()V"));
         }},
        {"the parameters of its entries",
         [](RuleFileBuilder& b) { b.addRule("Wide", "(" + std::string(20000, 'Z') + ")V", {}); }},
        {"the texts of its annotation arguments",
         [&](RuleFileBuilder& b) { b = fanOutFile(text, 40); }},
        // Element names are only compared, yet each lookup through a name-and-type entry puts
        // its two texts together.
        {"the texts composed from other pool entries",
         [&](RuleFileBuilder& b) {
             const std::pair<uint16_t, ElementValue> pair(b.nameAndType(text, text),
                                                          ElementValue::constant('s', b.utf8("n")));
             addFileAnnotation(b, std::vector<std::pair<uint16_t, ElementValue>>(80, pair));
         }},
    };
    for (const Case& c : cases) {
        RuleFileBuilder b;
        c.build(b);
        EXPECT_EQ(budgetFailure(b.bytes(), MIB), tooLarge(c.what, "1 MiB")) << c.what;
        EXPECT_EQ(budgetFailure(b.bytes(), 64 * MIB), "") << c.what;
    }
}

TEST(MemoryBudgetTest, TranslationAndRuleFileInfoDrawOnOneBudget) {
    // Each half takes about 600 KiB: alone it fits into 1 MiB, together they do not.
    const std::string text(5 * 1024, 'x');
    RuleFileBuilder strings;
    RuleFileBuilder both = fanOutFile(text, 15);
    for (RuleFileBuilder* b : {&strings, &both})
        for (int i = 0; i < 30; ++i)
            b->writer().pool.string(b->utf8(text));
    EXPECT_EQ(budgetFailure(strings.bytes(), MIB), "");
    EXPECT_EQ(budgetFailure(fanOutFile(text, 15).bytes(), MIB), "");
    EXPECT_EQ(budgetFailure(both.bytes(), MIB),
              tooLarge("the texts of its annotation arguments", "1 MiB"));
}

TEST(MemoryBudgetTest, XMLOfADecodeWithinTheBudgetStaysWithinOneAndAHalfTimesIt) {
    // Quotes are the worst case: each character is charged four bytes and written as "&quot;".
    const std::string quotes(1024, '"');
    bool passed = false;
    bool failed = false;
    for (size_t slots : {100, 200, 250, 300, 400}) {
        RuleFileBuilder b;
        const std::vector<ElementValue> types(slots, ElementValue::constant('C', b.integer('s')));
        const std::vector<ElementValue> values(slots, ElementValue::constant('s', b.utf8(quotes)));
        addFileAnnotation(b, {{b.utf8("types"), ElementValue::array(types)},
                              {b.utf8("svals"), ElementValue::array(values)}});
        kovx::TKBProgram p;
        const auto translate = [&] { translateBytes(p, b.bytes(), MIB); };
        if (!kovtest::errorOf<util::RuntimeErrorST>(translate).empty()) {
            failed = true;
            continue;
        }
        passed = true;
        const auto* info = static_cast<const RuleFileInfoImpl*>(p.ruleFileInfo);
        EXPECT_LE(info->toXMLString().size(), MIB * 3 / 2) << slots;
    }
    EXPECT_TRUE(passed);
    EXPECT_TRUE(failed);
}

TEST(MemoryBudgetTest, HostileFileFailsQuicklyAndSmallUnderTheDefaultLimit) {
    // 64 KiB that would build about 1.4 GB of wide texts: 5,392 slots each name a 32 KiB text
    // twice.
    const std::vector<uint8_t> bytes = fanOutFile(std::string(32 * 1024, 'x'), 5392).bytes();
    ASSERT_LE(bytes.size(), 64u * 1024);
    bool measured = resetPeakResident();
#if defined(__SANITIZE_THREAD__)
    // The thread sanitizer's shadow memory, several times the budget, would count as well.
    measured = false;
#endif
    const size_t before = peakResidentBytes();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(budgetFailure(bytes, tkb::MemoryBudget::DEFAULT_LIMIT),
              tooLarge("the texts of its annotation arguments", "256 MiB"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    // The budget and room for the address sanitizer's shadow memory (about 310 MiB in all there),
    // far below the gigabytes that the file asks for.
    if (measured) {
        EXPECT_LT(peakResidentBytes() - before, tkb::MemoryBudget::DEFAULT_LIMIT * 3 / 2);
    }
}
