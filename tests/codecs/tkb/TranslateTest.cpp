// The constant table, the method records and the failures of the translation, and the memory
// budget of one decode.
#include <chrono>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "TkbTestSupport.h"
#include "classwriter/RuleFileBuilder.h"
#include "codecs/tkb/BuiltinTables.h"
#include "codecs/tkb/MemoryBudget.h"
#include "kovx/StatusException.h"
#include "rulefileinfo/RuleFileInfoImpl.h"
#include "util/RuntimeErrorST.h"

using classwriter::ElementValue;
using classwriter::RuleAnnotation;
using classwriter::RuleCode;
using classwriter::RuleFileBuilder;
using tkbtest::describe;
using tkbtest::methodAt;
using tkbtest::translateBytes;

namespace {

// A method record's fields apart from its pool index, name, descriptor and the bytes of its code.
std::string fieldsOf(const kovx::TKBMethod* m) {
    if (!m)
        return "no method";
    std::ostringstream out;
    out << "position " << m->methodPosition << ", undefined " << int(m->undefined) << ", stack "
        << m->maxStack << ", params " << m->paramCount << ", slots " << m->localSlots << ", types";
    for (const int32_t type : m->localTypes)
        out << " " << type;
    out << ", " << m->code.size() << " code bytes, public " << int(m->isPublic) << ", base '"
        << std::string(m->baseName.begin(), m->baseName.end()) << "'";
    return out.str();
}

// Translates bytes, expecting the unsupported-content status and exactly one error line.
void expectUnsupported(kovx::TKBProgram& program, const std::vector<uint8_t>& bytes,
                       const std::string& logged) {
    kovtest::LogCapture log;
    try {
        translateBytes(program, bytes);
        ADD_FAILURE() << "translated: " << logged;
    } catch (const kovx::StatusException& e) {
        EXPECT_EQ(e.getStatus(), kov::STATUS_UNSUPPORTED_RULE_CONTENT);
    }
    ASSERT_EQ(log.messages().size(), 1u);
    EXPECT_EQ(log.messages()[0].first, kov::LOG_ERROR);
    EXPECT_EQ(log.messages()[0].second, logged);
    EXPECT_EQ(program.ruleFileInfo, nullptr);
}

} // namespace

TEST(TranslateTest, EveryConstantKindCarriesItsPayload) {
    RuleFileBuilder b;
    b.addRule("Lot", "()V", {}, {},
              RuleCode()
                  .pushString("h\xC3\xA9llo")
                  .pushInt(-7)
                  .pushDouble(2.5)
                  .callBuiltin("extrude", "(D)V")
                  .readEnum("AlignAxesSelector", "y")
                  .readEnum("AlignAxesSelector", "w")
                  .enumValueOf("AlignAxesSelector")
                  .enumValueOf("AreaSelector")
                  .readField("seed", "D")
                  .callRule("Lot", "()V"));
    // A second, separate valueOf reference to the same type.
    const uint16_t axes = b.classNamed("com/velmor/gc/AlignAxesSelector");
    const uint16_t again = b.writer().pool.methodref(
        axes, b.nameAndType("valueOf", "(Ljava/lang/String;)Lcom/velmor/gc/AlignAxesSelector;"));
    kovx::TKBProgram p;
    translateBytes(p, b.bytes());

    const std::string axesType = "Lcom/velmor/gc/AlignAxesSelector;";
    const uint16_t extrude =
        b.methodref(b.classNamed(RuleFileBuilder::BUILTINS_CLASS), "extrude", "(D)V");
    const uint16_t first =
        b.methodref(axes, "valueOf", "(Ljava/lang/String;)Lcom/velmor/gc/AlignAxesSelector;");
    const uint16_t area = b.methodref(b.classNamed("com/velmor/gc/AreaSelector"), "valueOf",
                                      "(Ljava/lang/String;)Lcom/velmor/gc/AreaSelector;");
    const std::pair<uint16_t, std::wstring> expected[] = {
        {b.string("h\xC3\xA9llo"), L"string h\u00E9llo"},
        {b.integer(-7), L"int -7"},
        {b.doubleValue(2.5), L"double 2.5"},
        {b.doubleValue(2.5) + 1, L"none"},
        {extrude, L"builtin " + std::to_wstring(tkbtest::builtinId("extrude(D)V"))},
        {b.fieldref(axes, "y", axesType), L"enum AlignAxesSelector.y=1"},
        {b.fieldref(axes, "w", axesType), L"enum AlignAxesSelector.w=-1"},
        // valueOf references in pool order, duplicates kept.
        {first, L"enum type 0"},
        {area, L"enum type 1"},
        {again, L"enum type 2"},
    };
    for (const auto& [index, text] : expected)
        EXPECT_EQ(describe(p, index), text) << index;
    EXPECT_EQ(p.enumTypes,
              (std::vector<std::string>{"AlignAxesSelector", "AreaSelector", "AlignAxesSelector"}));

    // Own fields are listed, not stored; own methods are indexed by name and descriptor.
    const uint16_t seed = b.fieldref(RuleFileBuilder::OWN_CLASS_INDEX, "seed", "D");
    EXPECT_EQ(p.fieldRefs, std::vector<int32_t>{seed});
    EXPECT_EQ(p.constants[seed], nullptr);
    const uint16_t lot = b.methodref(RuleFileBuilder::OWN_CLASS_INDEX, "Lot", "()V");
    EXPECT_EQ(p.methodIndex, (std::map<std::wstring, int32_t>{{L"Lot()V", lot}}));
}

TEST(TranslateTest, TableEndsAtTheLastTranslatedEntry) {
    RuleFileBuilder b;
    const uint16_t five = b.integer(5);
    // Interface method references stay untranslated, even to a class that no rule could call.
    auto& pool = b.writer().pool;
    pool.interfaceMethodref(b.classNamed("com/other/Api"), b.nameAndType("run", "()I"));
    pool.floating(1.5f);
    pool.longValue(7);
    b.utf8("trailing");
    b.nameAndType("a", "()V");
    kovx::TKBProgram p;
    translateBytes(p, b.bytes());
    EXPECT_EQ(p.constants.size(), five + 1u);
    EXPECT_TRUE(p.methodIndex.empty());
    EXPECT_TRUE(p.enumTypes.empty());
}

TEST(TranslateTest, MethodRecordsDescribeTheReferencedRules) {
    RuleFileBuilder b;
    b.addRule("Mass", "(DLjava/lang/String;Z)V", {"w", "label", "on"}, {},
              RuleCode().pushDouble(1.5).callBuiltin("extrude", "(D)V"));
    b.addRule("Roof$gable$left", "()V", {}, {}, {}, RuleFileBuilder::PRIVATE_STATIC);
    b.writeLocalVariableTables = false;
    b.addRule("Bare", "(D)V", {"x"});
    b.addFunction("Twin", "()V", {});
    b.addFunction("Twin", "()V", {}, RuleCode().pushInt(1));
    b.addRule("Lot", "()V", {}, {},
              RuleCode()
                  .callRule("Mass", "(DLjava/lang/String;Z)V")
                  .callRule("Roof$gable$left", "()V")
                  .callRule("Bare", "(D)V")
                  .callRule("Twin", "()V"));
    // A reference through a foreign class still finds the method of this file.
    const uint16_t foreign = b.methodref(b.classNamed("com/other/Rules"), "Bare", "(D)V");
    // Methods are known by name and descriptor put together, wherever a reference splits them.
    const uint16_t split = b.methodref(2, "Roof$gable$lef", "t()V");
    kovx::TKBProgram p;
    translateBytes(p, b.bytes());

    const uint16_t massIndex = b.methodref(2, "Mass", "(DLjava/lang/String;Z)V");
    const kovx::TKBMethod* mass = methodAt(p, massIndex);
    ASSERT_NE(mass, nullptr);
    EXPECT_EQ(fieldsOf(mass),
              "position 0, undefined 0, stack 2, params 3, slots 4, types 1 2 0, 7 code bytes, "
              "public 1, base ''");
    EXPECT_EQ(mass->poolIndex, massIndex);
    const uint16_t extrude =
        b.methodref(b.classNamed(RuleFileBuilder::BUILTINS_CLASS), "extrude", "(D)V");
    const uint16_t onePointFive = b.doubleValue(1.5);
    EXPECT_EQ(mass->code,
              (std::vector<uint8_t>{0x14, uint8_t(onePointFive >> 8), uint8_t(onePointFive), 0xB8,
                                    uint8_t(extrude >> 8), uint8_t(extrude), 0xB1}));
    EXPECT_EQ(mass->name + L" " + mass->descriptor, L"Mass (DLjava/lang/String;Z)V");

    EXPECT_EQ(fieldsOf(methodAt(p, b.methodref(2, "Roof$gable$left", "()V"))),
              "position 1, undefined 0, stack 0, params 0, slots 0, types, 1 code bytes, "
              "public 0, base 'Roof'");
    // Without a LocalVariableTable nothing about the locals is known.
    for (const uint16_t bare : {b.methodref(2, "Bare", "(D)V"), foreign})
        EXPECT_EQ(fieldsOf(methodAt(p, bare)),
                  "position 2, undefined 0, stack 0, params 0, slots 0, types, 1 code bytes, "
                  "public 1, base ''");
    EXPECT_EQ(p.methodIndex.at(L"Bare(D)V"), foreign);
    EXPECT_EQ(fieldsOf(methodAt(p, split)).substr(0, 11), "position 1,");
    // Equal name and descriptor: the later method wins.
    EXPECT_EQ(fieldsOf(methodAt(p, b.methodref(2, "Twin", "()V"))).substr(0, 11), "position 4,");
}

TEST(TranslateTest, UndefinedOwnMethodsMustBeVoid) {
    for (const std::string result : {"V", "[I"}) {
        RuleFileBuilder b;
        b.addRule("Lot", "()V", {}, {}, RuleCode().callRule("Facade$side", "()" + result));
        kovx::TKBProgram p;
        translateBytes(p, b.bytes());
        const uint16_t index = b.methodref(2, "Facade$side", "()" + result);
        const kovx::TKBMethod* facade = methodAt(p, index);
        ASSERT_NE(facade, nullptr) << result;
        EXPECT_EQ(facade->poolIndex, index);
        EXPECT_EQ(fieldsOf(facade), "position -1, undefined 1, stack -1, params 0, slots 0, "
                                    "types, 0 code bytes, public 1, base 'Facade'");
        EXPECT_EQ(p.methodIndex.at(L"Facade$side()" + std::wstring(result.begin(), result.end())),
                  index);
    }
    for (const std::string result :
         {"I", "Z", "D", "F", "J", "S", "B", "C", "Ljava/lang/String;"}) {
        RuleFileBuilder b;
        const uint16_t before = b.integer(42);
        b.addRule("Lot", "()V", {}, {}, RuleCode().callRule("Facade", "()" + result));
        kovx::TKBProgram p;
        expectUnsupported(p, b.bytes(),
                          "TKB file contains illegal method 'Facade()" + result +
                              "' with undefined body  - not a rule (not void).");
        // What was stored before the failure stays.
        EXPECT_EQ(describe(p, before), L"int 42");
    }
}

TEST(TranslateTest, BuiltinsClassAndForeignMethods) {
    RuleFileBuilder b;
    const uint16_t notPrefix = b.classNamed("org/velmor/gc/Builtins");
    const uint16_t notSuffix = b.classNamed("com/velmor/gc/BuiltinsX");
    // A later builtins class replaces the constructor's one: calls through the first now fail.
    const uint16_t last = b.classNamed("com/velmor/x/Builtins");
    const uint16_t extrude = b.methodref(last, "extrude", "(D)V");
    const uint16_t shape = b.methodref(last, "_$createShape", "(I)V");
    kovx::TKBProgram p;
    translateBytes(p, b.bytes());
    EXPECT_EQ(describe(p, extrude).substr(0, 8), L"builtin ");
    EXPECT_EQ(describe(p, shape), L"shape");

    // The builtin table is asked first, even for the shape-creation intrinsic.
    tkb::BuiltinIndexMap& builtins = *tkb::getBuiltinIndexMap();
    builtins["_$createShape(I)V"] = 9999;
    kovx::TKBProgram q;
    translateBytes(q, b.bytes());
    builtins.erase("_$createShape(I)V");
    EXPECT_EQ(describe(q, shape), L"builtin 9999");

    for (uint16_t cls : {notPrefix, notSuffix, b.classNamed(RuleFileBuilder::BUILTINS_CLASS)}) {
        RuleFileBuilder c = b;
        c.methodref(cls, "extrude", "(D)V");
        kovx::TKBProgram r;
        expectUnsupported(r, c.bytes(),
                          "TKB file contains non-recognized method extrude(D)V (classIndex " +
                              std::to_string(cls) + ").");
    }
    RuleFileBuilder d = b;
    d.methodref(last, "noSuch", "()V");
    kovx::TKBProgram r;
    expectUnsupported(r, d.bytes(), "TKB file contains non-recognized builtin method noSuch()V.");

    // Without any builtins class, calls to foreign classes are simply not recognized.
    classwriter::ClassWriter bare;
    bare.thisClass = bare.pool.classNamed("Rules");
    const uint16_t other = bare.pool.classNamed("com/velmor/gc/Other");
    bare.pool.methodref(other, bare.pool.nameAndTypeOf("extrude", "(D)V"));
    kovx::TKBProgram s;
    expectUnsupported(s, bare.bytes(),
                      "TKB file contains non-recognized method extrude(D)V (classIndex " +
                          std::to_string(other) + ").");
}

TEST(TranslateTest, ContentTheProgramCannotExpress) {
    {
        RuleFileBuilder b;
        b.addRule("Scale", "(F)V", {"f"});
        b.addRule("Lot", "()V", {}, {}, RuleCode().callRule("Scale", "(F)V"));
        kovx::TKBProgram p;
        expectUnsupported(p, b.bytes(), "TKB file: Datatype 'F' not supported.");
    }
    {
        RuleFileBuilder b;
        b.addRule("Lot", "()V", {}, {}, RuleCode().callRule("Lot", "()V"));
        auto& attributes = b.writer().methods[0].attributes;
        attributes.erase(attributes.begin());
        kovx::TKBProgram p;
        expectUnsupported(p, b.bytes(),
                          "TKB file contains method 'Lot()V' without a Code attribute.");
    }
    {
        RuleFileBuilder b;
        b.addRule("Lot", "()V", {}, {}, RuleCode().readEnum("NoSuchType", "x"));
        kovx::TKBProgram p;
        kovtest::LogCapture log;
        EXPECT_EQ(kovtest::errorOf<util::RuntimeErrorST>([&] { translateBytes(p, b.bytes()); }),
                  "No enum 'NoSuchType' found in map!");
        EXPECT_TRUE(log.messages().empty());
    }
}

TEST(TranslateTest, UnicodeEntriesServeWhereverATextDoes) {
    RuleFileBuilder b;
    for (const char* text : {"h\xC3\xA9llo", "Lot", "()V", "$Description", "Tower"})
        b.unicode(text);
    b.addRule("Lot", "()V", {}, {RuleAnnotation("$Description").withString("Tower")},
              RuleCode().pushString("h\xC3\xA9llo").callRule("Lot", "()V"));
    kovx::TKBProgram p;
    translateBytes(p, b.bytes());
    EXPECT_EQ(describe(p, b.string("h\xC3\xA9llo")), L"string h\u00E9llo");
    EXPECT_EQ(describe(p, b.methodref(2, "Lot", "()V")), L"method Lot()V");
    const auto* info = static_cast<const RuleFileInfoImpl*>(p.ruleFileInfo);
    ASSERT_EQ(info->numRules, 1u);
    EXPECT_EQ(info->rules[0].name, L"Lot");
    ASSERT_EQ(info->rules[0].numAnnotations, 2u);
    EXPECT_EQ(info->rules[0].annotations[1].toXMLString(),
              "<annotation name=\"$Description\"><arguments><argument type=\"str\" "
              "value=\"Tower\"/></arguments></annotation>");

    // A string constant that names no entry still fails cleanly.
    for (const uint16_t index : {uint16_t{0}, uint16_t{60000}}) {
        RuleFileBuilder c;
        c.writer().pool.string(index);
        kovx::TKBProgram q;
        kovtest::DiagnosticsCapture quiet;
        const std::string error = kovtest::errorOf([&] { translateBytes(q, c.bytes()); });
        EXPECT_NE(error.find("for a string value"), std::string::npos) << index << ": " << error;
    }
}

TEST(TranslateTest, PoolOf32768SlotsIsReadAsNegative) {
    RuleFileBuilder b;
    // A class entry naming an integer: examining it would fail with a reader error.
    b.writer().pool.classEntry(b.integer(1));
    while (b.writer().pool.count() < 32768)
        b.writer().pool.utf8("");
    kovx::TKBProgram p;
    kovtest::DiagnosticsCapture quiet;
    EXPECT_EQ(kovtest::errorOf<std::length_error>([&] { translateBytes(p, b.bytes()); }),
              "vector::reserve");
    EXPECT_TRUE(p.constants.empty());
}

TEST(TranslateTest, ManyReferencesToAMethodWithManyLocalTablesStayQuick) {
    // 1,000 references to a method whose Code attribute holds 4,000 local variable tables and
    // whose descriptor is 8,000 characters: reading the descriptor once per table and reference
    // would take about a minute.
    RuleFileBuilder b;
    const std::string descriptor = "(" + std::string(8000, 'Z') + ")V";
    classwriter::Code code;
    code.code = {0xB1};
    const classwriter::Attribute table =
        classwriter::localVariableTable(b.utf8("LocalVariableTable"), {});
    code.attributes.assign(4000, table);
    classwriter::Member method;
    method.nameIndex = b.utf8("Wide");
    method.descriptorIndex = b.utf8(descriptor);
    method.attributes.push_back(classwriter::codeAttribute(b.utf8("Code"), code));
    b.writer().methods.push_back(method);
    const uint16_t wide = b.nameAndType("Wide", descriptor);
    for (int i = 0; i < 1000; ++i)
        b.writer().pool.methodref(RuleFileBuilder::OWN_CLASS_INDEX, wide);
    kovx::TKBProgram p;
    const auto start = std::chrono::steady_clock::now();
    translateBytes(p, b.bytes());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    ASSERT_NE(methodAt(p, wide + 1), nullptr);
    EXPECT_EQ(methodAt(p, wide + 1)->paramCount, 8000);
}

// What one decode may build from data that a file shares between its records: the translation
// and the rule file info draw on one budget, and a file that asks for more fails cleanly.
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
