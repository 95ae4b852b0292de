// Each kov command on the bundled examples, run as a user runs it.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <set>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "KovTestSupport.h"
#include "codecs/tkb/Translator.h"
#include "kovx/TKB.h"
#include "util/StringUtils.h"

using kovtest::contains;
using kovtest::example;
using kovtest::linesOf;
using kovtest::runKov;
using nlohmann::json;

namespace {

std::string utf8(const std::wstring& text) {
    return util::StringUtils::toUTF8FromUTF32(text);
}

// The rows of the table that follows the line title, heading first.
std::vector<std::string> tableAfter(const std::vector<std::string>& lines,
                                    const std::string& title) {
    std::vector<std::string> rows;
    size_t i = 0;
    while (i < lines.size() && lines[i] != title)
        ++i;
    for (++i; i < lines.size() && !lines[i].empty(); ++i)
        rows.push_back(lines[i]);
    return rows;
}

const json* findByName(const json& list, const std::string& name) {
    for (const json& item : list)
        if (item.at("name") == name)
            return &item;
    return nullptr;
}

} // namespace

TEST(KovCommandsTest, XmlIsTheRuleFileInfosOwnText) {
    const kovtest::ProcessResult building = runKov({"xml", example("building.tkb")});
    EXPECT_EQ(building.status, 0) << building.err;
    EXPECT_TRUE(building.err.empty()) << building.err;
    EXPECT_EQ(building.out, kovtest::readFile(KOVTEST_TOOLS_GOLDEN_DIR "/building.xml"));

    EXPECT_EQ(runKov({"xml", example("minimal.tkb")}).out,
              "<rulefileinfo><attributes><entry returntype=\"float\" name=\"height\"><parameters>"
              "</parameters><annotations>\n<annotation name=\"_$ATTR\"><arguments></arguments>"
              "</annotation></annotations>\n</entry></attributes><rules><entry returntype=\"void\" "
              "name=\"Lot\"><parameters></parameters><annotations>\n<annotation name=\"_$RULE\">"
              "<arguments></arguments></annotation><annotation name=\"$StartRule\"><arguments>"
              "</arguments></annotation></annotations>\n</entry></rules><annotations>\n"
              "</annotations>\n</rulefileinfo>\n");
}

TEST(KovCommandsTest, InfoShowsAlignedTablesInPresentationOrder) {
    const kovtest::ProcessResult run = runKov({"info", example("building.tkb")});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<std::string> lines = linesOf(run.out);
    EXPECT_EQ(lines.at(0), "Rule file " + example("building.tkb") +
                               ": 12 attributes, 20 rules, 2 file annotations");
    // The compiler's own markers are left out of the summary.
    EXPECT_FALSE(contains(run.out, "_$"));

    const std::vector<std::string> attributes = tableAfter(lines, "Attributes (12)");
    ASSERT_EQ(attributes.size(), 13u);
    EXPECT_EQ(attributes.at(0), "  NAME              TYPE    ANNOTATIONS");
    EXPECT_EQ(attributes.at(1), "  height            float   $Group(\"Massing\", 1) $Order(1) "
                                "@Range(min=6, max=60) @Description(\"Eave height of the building "
                                "in metres\")");
    EXPECT_EQ(attributes.at(10), "  roofType          string  $Group(\"Roof\", 3) $Order(1) "
                                 "@Enum(\"gable\", \"hip\", \"flat\", restricted=true) "
                                 "@Description(\"Shape of the roof\")");
    EXPECT_EQ(attributes.at(12),
              "  roofColor         string  $Group(\"Roof\", 3) $Order(3) @Color");
    const size_t typeColumn = attributes.at(0).find("TYPE");
    for (const std::string& row : attributes)
        EXPECT_NE(row[typeColumn], ' ') << row;

    const std::vector<std::string> rules = tableAfter(lines, "Rules (20)");
    ASSERT_EQ(rules.size(), 21u);
    EXPECT_EQ(rules.at(0), "  NAME         RETURNS  PARAMETERS                   ANNOTATIONS");
    // More parameters first; the start rule goes after all others.
    EXPECT_EQ(rules.at(1),
              "  Door         void     (float width, string style)  @Description(\"A door "
              "of the given width; style picks the asset\")");
    EXPECT_EQ(rules.at(8), "  Footprint    void     ()");
    EXPECT_EQ(
        rules.at(20).rfind("  Lot          void     ()                           $StartRule @", 0),
        0u)
        << rules.at(20);
    const size_t parametersColumn = rules.at(0).find("PARAMETERS");
    for (size_t i = 1; i < rules.size(); ++i)
        EXPECT_EQ(rules[i].substr(parametersColumn, 1), "(") << rules[i];

    EXPECT_EQ(tableAfter(lines, "File annotations (2)").back(), "  @Version      major=1, minor=2");
}

TEST(KovCommandsTest, JsonHoldsTheRuleFileInfoWithTypedValues) {
    const kovtest::ProcessResult run = runKov({"json", example("building.tkb")});
    ASSERT_EQ(run.status, 0) << run.err;
    const json info = json::parse(run.out);
    ASSERT_EQ(info.at("attributes").size(), 12u);
    ASSERT_EQ(info.at("rules").size(), 20u);
    ASSERT_EQ(info.at("annotations").size(), 2u);

    EXPECT_EQ(info.at("attributes").at(0).at("name"), "height");
    EXPECT_EQ(info.at("attributes").at(0).at("annotations").at(0).at("name"), "_$ATTR");
    const json* roofType = findByName(info.at("attributes"), "roofType");
    ASSERT_TRUE(roofType);
    EXPECT_EQ(roofType->at("type"), "string");
    EXPECT_EQ(roofType->at("annotations").at(3), json::parse(R"({"name": "@Enum", "arguments": [
                  {"key": "", "type": "string", "value": "gable"},
                  {"key": "", "type": "string", "value": "hip"},
                  {"key": "", "type": "string", "value": "flat"},
                  {"key": "restricted", "type": "bool", "value": true}]})"));
    const json* shops = findByName(info.at("attributes"), "groundFloorShops");
    ASSERT_TRUE(shops);
    EXPECT_EQ(shops->at("type"), "bool");
    EXPECT_EQ(shops->at("annotations").at(3).at("arguments").at(0).at("value"),
              "Shop fronts & doors on the ground floor");
    const json* floorHeight = findByName(info.at("attributes"), "floorHeight");
    ASSERT_TRUE(floorHeight);
    const json& range = floorHeight->at("annotations").at(3);
    EXPECT_EQ(range.at("name"), "@Range");
    EXPECT_TRUE(range.at("arguments").at(0).at("value").is_number_float());
    EXPECT_EQ(range.at("arguments").at(0).at("value").get<double>(), 2.6);

    EXPECT_EQ(info.at("rules").at(0).at("name"), "Door");
    EXPECT_EQ(info.at("rules").at(0).at("type"), "void");
    EXPECT_EQ(info.at("rules").at(0).at("parameters"),
              json::parse(R"([{"name": "width", "type": "float", "annotations": []},
                              {"name": "style", "type": "string", "annotations": []}])"));
    EXPECT_EQ(info.at("annotations").at(1).at("arguments").at(1),
              json::parse(R"({"key": "minor", "type": "float", "value": 2.0})"));
}

TEST(KovCommandsTest, ConstantsJsonMatchesTheTranslatedProgramSlotBySlot) {
    kovx::TKBProgram program;
    std::ifstream in(example("building.tkb"), std::ios::binary);
    tkb::translate(program, in);

    const kovtest::ProcessResult run = runKov({"constants", "--json", example("building.tkb")});
    ASSERT_EQ(run.status, 0) << run.err;
    const json out = json::parse(run.out);
    const json& constants = out.at("constants");
    ASSERT_EQ(constants.size(), program.constants.size());

    const std::vector<std::string> kindNames = {"string",  "double",      "integer",  "method",
                                                "builtin", "createShape", "enumType", "enum"};
    std::set<std::string> seen;
    for (size_t i = 0; i < constants.size(); ++i) {
        const kovx::TKBConstant* c = program.constants[i];
        const json& slot = constants[i];
        if (!c) {
            EXPECT_TRUE(slot.is_null()) << i;
            continue;
        }
        ASSERT_EQ(slot.at("kind"), kindNames.at(c->kind)) << i;
        seen.insert(kindNames[c->kind]);
        switch (c->kind) {
        case kovx::TKBConstant::STRING:
            EXPECT_EQ(slot.at("value"),
                      utf8(**static_cast<boost::shared_ptr<std::wstring>*>(c->value)));
            break;
        case kovx::TKBConstant::DOUBLE:
            // Exactly the same double, not merely a close one.
            EXPECT_EQ(slot.at("value").get<double>(), *static_cast<double*>(c->value)) << i;
            break;
        case kovx::TKBConstant::METHOD: {
            const auto& method = *static_cast<kovx::TKBMethod*>(c->value);
            EXPECT_EQ(slot.at("poolIndex"), method.poolIndex);
            EXPECT_EQ(slot.at("methodPosition"), method.methodPosition);
            EXPECT_EQ(slot.at("localTypes"), method.localTypes);
            EXPECT_EQ(slot.at("name").get<std::string>() + slot.at("descriptor").get<std::string>(),
                      utf8(method.name + method.descriptor));
            std::string hex;
            for (const uint8_t byte : method.code)
                hex += util::StringUtils::toHex(byte);
            std::transform(hex.begin(), hex.end(), hex.begin(), ::tolower);
            EXPECT_EQ(slot.at("code"), hex);
            break;
        }
        case kovx::TKBConstant::ENUM_VALUE: {
            const auto& value = **static_cast<boost::shared_ptr<kovx::TKB::Enum>*>(c->value);
            EXPECT_EQ(slot.at("value"), value.value);
            EXPECT_EQ(slot.at("name"), utf8(value.name));
            break;
        }
        case kovx::TKBConstant::CREATE_SHAPE: EXPECT_EQ(slot.size(), 1u); break;
        default: {
            // The integer payloads: a value, a builtin id or an index into enumTypes.
            const char* key = c->kind == kovx::TKBConstant::INTEGER   ? "value"
                              : c->kind == kovx::TKBConstant::BUILTIN ? "id"
                                                                      : "index";
            EXPECT_EQ(slot.at(key), *static_cast<int32_t*>(c->value)) << i;
        }
        }
    }
    // The building example shows every kind of constant.
    EXPECT_EQ(seen, std::set<std::string>(kindNames.begin(), kindNames.end()));
    EXPECT_EQ(out.at("fieldRefs"), program.fieldRefs);
    EXPECT_EQ(out.at("enumTypes"), program.enumTypes);
    ASSERT_EQ(out.at("methodIndex").size(), program.methodIndex.size());
    for (const auto& [key, index] : program.methodIndex)
        EXPECT_EQ(out.at("methodIndex").at(utf8(key)), index) << utf8(key);
    EXPECT_TRUE(contains(run.out, "\"value\": 1.618033988749895\n"));
}

TEST(KovCommandsTest, ConstantsTextListsEveryFilledSlotThenTheTables) {
    const kovtest::ProcessResult run = runKov({"constants", example("building.tkb")});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<std::string> lines = linesOf(run.out);
    const json slots = json::parse(runKov({"constants", "--json", example("building.tkb")}).out);
    size_t filled = 0;
    for (const json& slot : slots.at("constants"))
        filled += slot.is_null() ? 0 : 1;
    EXPECT_EQ(lines.at(0), "constants (" + std::to_string(slots.at("constants").size()) +
                               " slots, " + std::to_string(filled) + " filled):");
    ASSERT_GT(lines.size(), filled + 4);
    for (size_t i = 1; i <= filled; ++i)
        EXPECT_EQ(lines[i].substr(0, 3), "  [") << lines[i];
    EXPECT_TRUE(contains(run.out, "] double      1.618033988749895\n"));
    EXPECT_TRUE(contains(run.out, "] builtin     46 extrude(D)V\n"));
    EXPECT_TRUE(contains(run.out, "] enum        SplitAxis.y = 1\n"));
    EXPECT_TRUE(contains(run.out, "] createShape\n"));
    EXPECT_TRUE(contains(run.out, "] enumType    0 RoofType\n"));
    EXPECT_EQ(lines[filled + 1], "fieldRefs: " + slots.at("fieldRefs").at(0).dump());
    EXPECT_EQ(lines[filled + 2], "enumTypes: RoofType");
    EXPECT_EQ(lines[filled + 3], "methodIndex (33):");
    EXPECT_TRUE(contains(run.out, "\n  Door(DLjava/lang/String;)V -> "));
}

TEST(KovCommandsTest, ConstantsTextEscapesControlCharactersUnambiguously) {
    // A pool text of the same length keeps the file well formed.
    std::string bytes = kovtest::readFile(example("building.tkb"));
    const size_t at = bytes.find("#d8cfc4");
    ASSERT_NE(at, std::string::npos);
    bytes.replace(at, 7, std::string("\x01" "a\t\"\\\x7f" "7"));
    const std::string file =
        testing::TempDir() + "kov-control-" + std::to_string(getpid()) + ".tkb";
    kovtest::writeFile(file, bytes);
    const kovtest::ProcessResult run = runKov({"constants", file});
    std::remove(file.c_str());
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(contains(run.out, "] string      \"\\001a\\t\\\"\\\\\\1777\"\n")) << run.out;
}

TEST(KovCommandsTest, DumpIsTheClassModelWithItsCode) {
    const kovtest::ProcessResult run = runKov({"dump", example("minimal.tkb")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.rfind("ClassFile {\n", 0), 0u) << run.out;
    EXPECT_TRUE(contains(run.out, "invokestatic #"));
    EXPECT_TRUE(contains(run.out, "<Method void com.velmor.gc.Builtins.extrude(double)>"));
    EXPECT_EQ(run.out.substr(run.out.size() - 4), "\n};\n");
}

TEST(KovCommandsTest, SeveralFilesAndStandardInput) {
    const std::string minimal = example("minimal.tkb");
    const std::string building = example("building.tkb");
    const std::string minimalXml = runKov({"xml", minimal}).out;
    const std::string buildingXml = runKov({"xml", building}).out;

    // Standard input decodes like the file it holds, through every way of reading one.
    const std::string buildingBytes = kovtest::readFile(building);
    const kovtest::ProcessResult piped =
        kovtest::runProgramWithInput(KOVTEST_KOV, {"xml", "-"}, buildingBytes);
    EXPECT_EQ(piped.status, 0) << piped.err;
    EXPECT_EQ(piped.out, buildingXml);
    EXPECT_EQ(kovtest::runProgramWithInput(KOVTEST_KOV, {"info", "-"}, buildingBytes)
                  .out.rfind("Rule file -: 12 attributes", 0),
              0u);
    EXPECT_EQ(kovtest::runProgramWithInput(KOVTEST_KOV, {"dump", "-"}, buildingBytes).out,
              runKov({"dump", building}).out);

    // Several files: each after its header, in order, standard input among them.
    const kovtest::ProcessResult several = kovtest::runProgramWithInput(
        KOVTEST_KOV, {"xml", minimal, "-", building}, kovtest::readFile(minimal));
    EXPECT_EQ(several.status, 0) << several.err;
    EXPECT_EQ(several.out, "==> " + minimal + " <==\n" + minimalXml +
                               "\n==> standard input <==\n" + minimalXml + "\n==> " + building +
                               " <==\n" + buildingXml);

    // A failing file is named and skipped; the command's flags hold for every file.
    const std::string missing = "/nonexistent/missing.tkb";
    const kovtest::ProcessResult failing = runKov({"constants", "--json", missing, minimal});
    EXPECT_EQ(failing.status, 1);
    EXPECT_EQ(failing.err, "kov: " + missing + ": cannot open '" + missing +
                               "': No such file or directory\n");
    EXPECT_EQ(failing.out, "==> " + missing + " <==\n\n==> " + minimal + " <==\n" +
                               runKov({"constants", "--json", minimal}).out);
}
