// What kov xml, kov constants --json and kov dump print for the examples, for generated files and
// for damaged files, compared byte for byte with the files under golden/. Run the test with
// KOV_UPDATE_GOLDEN=1 to write the current outputs there instead.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "KovTestSupport.h"
#include "classwriter/ClassWriter.h"
#include "classwriter/SampleRuleFiles.h"

namespace fs = std::filesystem;
namespace cw = classwriter;
using kovtest::ProcessResult;

namespace {

const std::string GOLDEN_DIR = KOVTEST_TOOLS_GOLDEN_DIR;

bool updating() {
    const char* flag = std::getenv("KOV_UPDATE_GOLDEN");
    return flag && std::string(flag) == "1";
}

class GoldenOutputTest : public testing::Test {
protected:
    GoldenOutputTest()
        : mDir(fs::path(testing::TempDir()) / ("kov-golden-" + std::to_string(getpid()))) {
        fs::create_directories(mDir);
    }
    ~GoldenOutputTest() override { fs::remove_all(mDir); }

    std::string write(const std::string& name, const std::vector<uint8_t>& bytes) {
        return write(name, std::string(bytes.begin(), bytes.end()));
    }
    std::string write(const std::string& name, const std::string& bytes) {
        const std::string path = (mDir / name).string();
        kovtest::writeFile(path, bytes);
        return path;
    }

    // Compares text with the golden file, or writes it there when updating.
    static void expectGolden(const std::string& goldenName, const std::string& text) {
        const std::string path = GOLDEN_DIR + "/" + goldenName;
        if (updating()) {
            kovtest::writeFile(path, text);
            return;
        }
        const std::string expected = kovtest::readFile(path);
        ASSERT_FALSE(expected.empty()) << "no golden file " << path;
        EXPECT_TRUE(text == expected) << goldenName << " differs from its golden file";
    }

    // The three outputs of a readable file, each with an empty standard error.
    static void expectOutputs(const std::string& stem, const std::string& file) {
        const std::vector<std::pair<std::vector<std::string>, std::string>> commands = {
            {{"xml"}, ".xml"}, {{"constants", "--json"}, ".constants.json"}, {{"dump"}, ".dump.txt"}};
        for (const auto& [command, suffix] : commands) {
            std::vector<std::string> args = command;
            args.push_back(file);
            const ProcessResult run = kovtest::runKov(args);
            EXPECT_EQ(run.status, 0) << stem << suffix << ": " << run.err;
            expectGolden(stem + suffix, run.out);
            if (!run.err.empty() || kovtest::readFile(GOLDEN_DIR + "/" + stem + suffix + ".err") !=
                                        "")
                expectGolden(stem + suffix + ".err", run.err);
        }
    }

    // One record of a failing run: its command, status, standard output and standard error.
    static std::string failure(const std::string& title, const std::vector<std::string>& args) {
        const ProcessResult run = kovtest::runKov(args);
        return "== " + title + " (" + args.front() + ")\nstatus " + std::to_string(run.status) +
               "\n-- stdout\n" + run.out + "-- stderr\n" + run.err;
    }

private:
    fs::path mDir;
};

TEST_F(GoldenOutputTest, Examples) {
    std::vector<fs::path> examples;
    for (const auto& entry : fs::directory_iterator(KOVTEST_EXAMPLES_DIR))
        if (entry.path().extension() == ".tkb")
            examples.push_back(entry.path());
    std::sort(examples.begin(), examples.end());
    ASSERT_FALSE(examples.empty());
    for (const fs::path& example : examples)
        expectOutputs(example.stem().string(), example.string());
}

TEST_F(GoldenOutputTest, GeneratedFiles) {
    expectOutputs("generated-3", write("g3.tkb", cw::generatedRuleFile(3)));
    expectOutputs("generated-20", write("g20.tkb", cw::generatedRuleFile(20)));
    expectOutputs("every-kind", write("every.tkb", cw::everyKindRuleFile()));
}

// A minimal class "Foo" at pool index 2 to damage.
cw::ClassWriter minimalClass() {
    cw::ClassWriter w;
    w.pool.utf8("Foo");
    w.thisClass = w.pool.classEntry(1);
    return w;
}

TEST_F(GoldenOutputTest, DamagedFiles) {
    const std::string building = kovtest::readFile(kovtest::example("building.tkb"));
    const auto every = cw::everyKindRuleFile();
    const std::string everyText(every.begin(), every.end());
    ASSERT_FALSE(building.empty());
    std::string out;
    for (size_t cut : {size_t{3}, size_t{9}, size_t{100}, building.size() / 4,
                       building.size() / 2, building.size() * 3 / 4, building.size() - 1}) {
        const std::string file = write("cut.tkb", building.substr(0, cut));
        out += failure("building.tkb cut at " + std::to_string(cut), {"dump", file});
    }
    out += failure("building.tkb cut in half", {"xml", write("half.tkb", building.substr(0, building.size() / 2))});
    for (size_t part = 1; part < 8; ++part) {
        const size_t cut = everyText.size() * part / 8;
        out += failure("every-kind cut at " + std::to_string(cut),
                       {"dump", write("cut.tkb", everyText.substr(0, cut))});
    }

    std::string version = building;
    version[7] = 51;
    out += failure("version 50.51", {"xml", write("version.tkb", version)});
    std::string tag = building;
    tag[10] = 13;
    out += failure("pool tag 13", {"dump", write("tag.tkb", tag)});

    cw::ClassWriter thisClass = minimalClass();
    thisClass.thisClass = 3;
    out += failure("this_class outside the pool", {"dump", write("this.tkb", thisClass.bytes())});

    cw::ClassWriter className = minimalClass();
    className.pool.classEntry(40);
    out += failure("class name outside the pool", {"dump", write("name.tkb", className.bytes())});

    cw::ClassWriter hugeCode = minimalClass();
    cw::Code body;
    body.codeLength = 0x7FFFFFFF;
    hugeCode.attributes = {cw::codeAttribute(hugeCode.pool.utf8("Code"), body)};
    out += failure("huge code length", {"dump", write("code.tkb", hugeCode.bytes())});

    cw::ClassWriter longName = minimalClass();
    longName.attributes = {cw::rawAttribute(longName.pool.utf8(std::string(80, 'N')), {1, 2}, 9)};
    out += failure("long attribute name", {"dump", write("long.tkb", longName.bytes())});

    cw::ClassWriter deep = minimalClass();
    cw::ElementValue value = cw::ElementValue::array({});
    for (int i = 0; i < 70; ++i)
        value = cw::ElementValue::array({value});
    const uint16_t type = deep.pool.utf8("LDeep;");
    deep.attributes = {cw::annotations(deep.pool.utf8("RuntimeVisibleAnnotations"),
                                       {cw::Annotation{type, {{type, value}}, {}}})};
    out += failure("annotations nested too deeply", {"dump", write("deep.tkb", deep.bytes())});

    cw::ClassWriter frame = minimalClass();
    frame.attributes = {cw::stackMap(frame.pool.utf8("StackMap"), {{0, {{9, 0}}, {}}})};
    out += failure("unknown verification type", {"dump", write("frame.tkb", frame.bytes())});

    cw::ClassWriter reference = minimalClass();
    reference.pool.methodref(1, 1);
    out += failure("method reference to a text", {"dump", write("ref.tkb", reference.bytes())});
    out += failure("method reference to a text", {"constants", write("ref.tkb", reference.bytes())});

    expectGolden("damaged.txt", out);
}

} // namespace
