// The decoder and its factory, end to end through the extension manager.
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "TkbTestSupport.h"
#include "classwriter/RuleFileBuilder.h"
#include "codecs/tkb/BuiltinTables.h"
#include "codecs/tkb/TKBDecoderFactory.h"
#include "kovx/StatusException.h"
#include "loader/ExtensionManagerImpl.h"
#include "rulefileinfo/RuleFileInfoImpl.h"

using classwriter::RuleAnnotation;
using classwriter::RuleCode;
using classwriter::RuleFileBuilder;

namespace {

const std::wstring DECODER_ID = L"com.velmor.kov.core.TKBDecoder";
const char* const MASS = "(DLjava/lang/String;)V";

// A small building: three attributes, four rules, a helper function and two file annotations.
RuleFileBuilder buildingFile() {
    RuleFileBuilder b("Building");
    b.addFileAnnotation(RuleAnnotation("$Description").withString("Tower & roof <v2>"));
    b.addFileAnnotation(RuleAnnotation("$Version").withFloat(2, "major"));
    b.addAttribute("height", "()D",
                   {RuleAnnotation("$Range").withFloat(3, "min").withFloat(30.5, "max"),
                    RuleAnnotation("$Group").withString("Massing").withFloat(1)},
                   RuleCode().pushDouble(12.5));
    b.addAttribute("roofType", "()Ljava/lang/String;",
                   {RuleAnnotation("$Enum").withString("gable").withString("hip"),
                    RuleAnnotation("$Group").withString("Roof").withFloat(2)},
                   RuleCode().pushString("gable"));
    b.addAttribute("visible", "()Z", {RuleAnnotation("$Hidden").withBool(true, "strict")},
                   RuleCode().pushInt(1));
    b.addRule("Lot", "()V", {}, {RuleAnnotation("$StartRule")},
              RuleCode()
                  .callRule("height", "()D")
                  .callBuiltin("extrude", "(D)V")
                  .readEnum("AlignAxesSelector", "y")
                  .callBuiltin("alignScopeToAxes", "(Lcom/velmor/gc/AlignAxesSelector;)V")
                  .readField("seed", "D")
                  .callRule("roofType", "()Ljava/lang/String;")
                  .callRule("Mass", MASS));
    b.addRule("Mass", MASS, {"w", "label"},
              {RuleAnnotation("$Group").withString("Massing").withFloat(1)},
              RuleCode()
                  .pushString("facade.png")
                  .callBuiltin("color", "(Ljava/lang/String;)V")
                  .callRule("half", "(D)D")
                  .callBuiltin("_$createShape", "(I)V")
                  .enumValueOf("AlignAxesSelector")
                  .callRule("Roof$gable$left", "()V")
                  .callRule("Facade$side", "()V"));
    b.addRule("Roof$gable$left", "()V", {}, {}, RuleCode().pushInt(-3),
              RuleFileBuilder::PRIVATE_STATIC);
    b.addRule("Tile", "(I[I)V", {"n"});
    b.addFunction("half", "(D)D", {"x"}, RuleCode().pushDouble(0.5));
    return b;
}

const kovx::TKBProgram& programOf(const kovx::ContentPtr& content) {
    return boost::dynamic_pointer_cast<kovx::TKB>(content)->getProgram();
}

} // namespace

// Its id, description and merit show in the manager's listing (LoaderLibraryTest).
TEST(DecoderTest, FactoryNameAndFileExtensions) {
    tkb::TKBDecoderFactory factory;
    EXPECT_EQ(factory.getName(), L"TKB Decoder");
    for (const char* uri : {"file:/x/y.tkb", "/x/y.class", "file:/x/Y.TKB"})
        EXPECT_TRUE(factory.canHandleURI(kovx::URIPtr(new kovx::URI(uri)))) << uri;
    EXPECT_FALSE(factory.canHandleURI(kovx::URIPtr(new kovx::URI("file:/x/y.tkb.txt"))));
    EXPECT_FALSE(factory.canHandleURI(kovx::URIPtr()));
}

TEST(DecoderTest, ManagerDecodesARealisticRuleFile) {
    kovtest::LogCapture log;
    loader::ExtensionManagerImpl manager;
    manager.loadExtensions(nullptr, 0);
    kovx::DecoderPtr decoder = manager.createMatchingDecoder(
        kov::CT_RULEFILE, kovx::URIPtr(new kovx::URI("file:/x/y.tkb")));
    ASSERT_TRUE(decoder);
    EXPECT_TRUE(manager.createDecoder(DECODER_ID));

    RuleFileBuilder b = buildingFile();
    std::istringstream in(tkbtest::asText(b.bytes()));
    kovx::ContentPtrVector results;
    decoder->decode(results, in);
    ASSERT_EQ(results.size(), 1u);
    const kovx::TKBProgram& p = programOf(results[0]);

    const uint16_t own = RuleFileBuilder::OWN_CLASS_INDEX;
    EXPECT_EQ(p.fieldRefs, std::vector<int32_t>{b.fieldref(own, "seed", "D")});
    EXPECT_EQ(p.enumTypes, std::vector<std::string>{"AlignAxesSelector"});
    // Every method that the file calls is indexed, defined or not, and names its own record.
    std::vector<std::wstring> keys;
    for (const auto& [key, index] : p.methodIndex) {
        keys.push_back(key);
        EXPECT_EQ(tkbtest::describe(p, index), L"method " + key);
    }
    EXPECT_EQ(keys, (std::vector<std::wstring>{L"Facade$side()V", L"Mass(DLjava/lang/String;)V",
                                               L"Roof$gable$left()V", L"half(D)D", L"height()D",
                                               L"roofType()Ljava/lang/String;"}));
    ASSERT_NE(p.ruleFileInfo, nullptr);
    kovtest::expectGolden(KOVTEST_GOLDEN_DIR "/building.xml",
                          static_cast<const RuleFileInfoImpl*>(p.ruleFileInfo)->toXMLString());
    EXPECT_TRUE(log.messages().empty() || log.messages()[0].second == "Available Extensions:");
}

TEST(DecoderTest, FailedDecodeLeavesResultsAndPassesTheException) {
    kovtest::LogCapture log;
    tkb::TKBDecoderFactory factory;
    std::unique_ptr<kovx::Decoder> decoder(static_cast<kovx::Decoder*>(factory.create()));
    kovx::ContentPtrVector results(1);

    RuleFileBuilder b = buildingFile();
    b.addRule("Bad", "()V", {}, {}, RuleCode().callRule("count", "()I"));
    std::istringstream in(tkbtest::asText(b.bytes()));
    try {
        decoder->decode(results, in);
        ADD_FAILURE();
    } catch (const kovx::StatusException& e) {
        EXPECT_EQ(e.getStatus(), kov::STATUS_UNSUPPORTED_RULE_CONTENT);
        EXPECT_STREQ(e.what(), "rule file content not supported");
    }
    EXPECT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0], nullptr);

    // Every cut of the realistic file fails cleanly; the decoder stays usable.
    const std::string whole = tkbtest::asText(buildingFile().bytes());
    kovtest::DiagnosticsCapture quiet;
    for (size_t size = 0; size < whole.size(); ++size) {
        std::istringstream cut(whole.substr(0, size));
        EXPECT_THROW(decoder->decode(results, cut), std::runtime_error) << size;
    }
    EXPECT_EQ(results.size(), 1u);
    std::istringstream again(whole);
    decoder->decode(results, again);
    EXPECT_EQ(results.size(), 2u);
}
