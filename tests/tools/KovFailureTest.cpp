// kov on broken and missing files, on URIs and on mistakes of the command line.
#include <gtest/gtest.h>

#include "KovTestSupport.h"
#include "kov/Version.h"

using kovtest::contains;
using kovtest::example;
using kovtest::ProcessResult;
using kovtest::runKov;
using kovtest::ScratchDir;

namespace {

const std::vector<std::vector<std::string>> DECODING_COMMANDS = {
    {"info"}, {"xml"}, {"json"}, {"constants"}, {"constants", "--json"}};

ProcessResult kovOn(std::vector<std::string> command, const std::string& file) {
    command.push_back(file);
    return runKov(command);
}

std::string lastLine(const std::string& text) {
    const std::vector<std::string> lines = kovtest::linesOf(text);
    return lines.empty() ? std::string() : lines.back();
}

} // namespace

TEST(KovFailureTest, BrokenCopiesFailWithStatusOneAndTheReason) {
    ScratchDir dir("kov-broken");
    const std::string good = kovtest::readFile(example("building.tkb"));
    const std::string truncated = dir.file("truncated.tkb");
    kovtest::writeFile(truncated, good.substr(0, good.size() / 2));
    const std::string badMagic = dir.file("bad-magic.tkb");
    kovtest::writeFile(badMagic, "\xCA\xFE\xBA\xBF" + good.substr(4));
    // Renaming the builtin's pool text keeps the file well formed but calls an unknown builtin.
    std::string unknown = good;
    const size_t at = unknown.find("extrude");
    ASSERT_NE(at, std::string::npos);
    unknown[at + 6] = 'X';
    const std::string unknownBuiltin = dir.file("unknown-builtin.tkb");
    kovtest::writeFile(unknownBuiltin, unknown);

    for (const std::vector<std::string>& command : DECODING_COMMANDS) {
        SCOPED_TRACE(command.back());
        const ProcessResult cut = kovOn(command, truncated);
        EXPECT_EQ(cut.status, 1);
        EXPECT_TRUE(cut.out.empty()) << cut.out;
        // The reader's own line comes first, then kov's.
        EXPECT_TRUE(contains(cut.err, "end of file")) << cut.err;
        EXPECT_EQ(lastLine(cut.err).rfind("kov: Reading TKB failed: ", 0), 0u) << cut.err;

        const ProcessResult magic = kovOn(command, badMagic);
        EXPECT_EQ(magic.status, 1);
        EXPECT_TRUE(magic.out.empty());
        EXPECT_EQ(magic.err, "invalid magic: 0xcafebabf\n"
                             "kov: TKB file contains invalid magic word '0xcafebabf'\n");

        const ProcessResult builtin = kovOn(command, unknownBuiltin);
        EXPECT_EQ(builtin.status, 1);
        EXPECT_TRUE(builtin.out.empty());
        EXPECT_EQ(builtin.err.rfind("kov: error: TKB file contains non-recognized builtin method "
                                    "extrudX(",
                                    0),
                  0u)
            << builtin.err;
        EXPECT_EQ(lastLine(builtin.err).rfind("kov: ", 0), 0u);
    }

    // dump reads the class model without translating it: only a damaged container fails.
    EXPECT_EQ(kovOn({"dump"}, unknownBuiltin).status, 0);
    const ProcessResult cut = kovOn({"dump"}, truncated);
    EXPECT_EQ(cut.status, 1);
    EXPECT_TRUE(cut.out.empty());
    EXPECT_EQ(lastLine(cut.err).rfind("kov: Reading TKB failed: ", 0), 0u) << cut.err;
}

TEST(KovFailureTest, FilesThatCannotBeOpenedOrDecoded) {
    ScratchDir dir("kov-missing");
    const std::string missing = dir.file("missing.tkb");
    for (const std::vector<std::string>& command : DECODING_COMMANDS) {
        const ProcessResult run = kovOn(command, missing);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, "kov: cannot open '" + missing + "': No such file or directory\n");
    }
    EXPECT_EQ(kovOn({"dump"}, missing).status, 1);

    const ProcessResult directory = kovOn({"info"}, dir.file(""));
    EXPECT_EQ(directory.status, 1);
    EXPECT_TRUE(contains(directory.err, "Is a directory")) << directory.err;

    const std::string text = dir.file("notes.txt");
    kovtest::writeFile(text, kovtest::readFile(example("minimal.tkb")));
    const ProcessResult notRuleFile = kovOn({"xml"}, text);
    EXPECT_EQ(notRuleFile.status, 1);
    EXPECT_EQ(notRuleFile.err.rfind("kov: could not find a decoder which matches content type", 0),
              0u)
        << notRuleFile.err;
}

TEST(KovFailureTest, FileUrisNameTheSameFileAsPaths) {
    ScratchDir dir("kov-uri");
    const std::string path = dir.file("my building.tkb");
    kovtest::writeFile(path, kovtest::readFile(example("building.tkb")));
    const std::string xml = kovOn({"xml"}, path).out;
    ASSERT_FALSE(xml.empty());

    std::string escaped = path;
    escaped.replace(escaped.find(' '), 1, "%20");
    for (const std::string& uri : {"file://" + escaped, "file:" + escaped}) {
        const ProcessResult run = kovOn({"xml"}, uri);
        EXPECT_EQ(run.status, 0) << uri << ": " << run.err;
        EXPECT_EQ(run.out, xml) << uri;
    }
    EXPECT_EQ(kovOn({"info"}, "file://" + escaped).out.rfind("Rule file file://", 0), 0u);
}

TEST(KovFailureTest, UsageHelpAndCommandLineMistakes) {
    const ProcessResult none = runKov({});
    EXPECT_EQ(none.status, 1);
    EXPECT_TRUE(none.out.empty());
    EXPECT_EQ(none.err.rfind("Usage: kov", 0), 0u);
    for (const char* command : {"info FILE...", "xml FILE...", "json FILE...", "dump FILE...",
                                "constants [--json] FILE...", "extensions", "help [COMMAND]"})
        EXPECT_TRUE(contains(none.err, "\n  " + std::string(command) + " ")) << command;

    const ProcessResult overall = runKov({"help"});
    EXPECT_EQ(overall.status, 0);
    EXPECT_EQ(overall.out, none.err);
    EXPECT_EQ(runKov({"--help"}).out, none.err);

    const ProcessResult help = runKov({"help", "constants"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("Usage: kov [-p PATH]... constants [--json] FILE...\n", 0), 0u);
    EXPECT_TRUE(contains(help.out, "--json"));
    EXPECT_EQ(runKov({"constants", "--help"}).out, help.out);
    EXPECT_EQ(runKov({"--help", "constants"}).out, help.out);
    EXPECT_TRUE(contains(runKov({"info", "--help"}).out, "Usage: kov [-p PATH]... info FILE...\n"));

    const ProcessResult version = runKov({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "kov " KOV_VERSION_STRING "\n");
    EXPECT_EQ(runKov({"info", "--version"}).out, version.out);

    const ProcessResult noFile = runKov({"info"});
    EXPECT_EQ(noFile.status, 1);
    EXPECT_EQ(noFile.err, "kov: usage: kov info FILE...\nTry 'kov --help'.\n");
    // --json belongs to constants only.
    const ProcessResult flag = runKov({"info", "--json", example("minimal.tkb")});
    EXPECT_EQ(flag.status, 1);
    EXPECT_EQ(flag.err.rfind("kov: unrecognised option '--json'", 0), 0u) << flag.err;
    const ProcessResult unknown = runKov({"frobnicate"});
    EXPECT_EQ(unknown.status, 1);
    EXPECT_TRUE(unknown.out.empty());
    EXPECT_EQ(unknown.err, "kov: unknown command 'frobnicate'\nTry 'kov --help'.\n");
    EXPECT_EQ(runKov({"help", "frobnicate"}).status, 1);
    EXPECT_EQ(runKov({"extensions", "surplus"}).err,
              "kov: 'extensions' takes no arguments, got 'surplus'\nTry 'kov --help'.\n");
    EXPECT_EQ(runKov({"extensions", "-p"}).status, 1);
    EXPECT_EQ(runKov({"help", "info", "xml"}).status, 1);

    // Options of kov itself may follow the command.
    EXPECT_EQ(runKov({"info", example("minimal.tkb"), "-p", KOVTEST_EXAMPLES_DIR}).status, 0);
}
