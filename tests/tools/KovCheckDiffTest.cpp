// kov check and kov diff on libraries of rule files written with the rule file builder.
#include <filesystem>
#include <set>
#include <tuple>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "KovTestSupport.h"
#include "classwriter/RuleFileBuilder.h"

using classwriter::RuleAnnotation;
using classwriter::RuleCode;
using kovtest::contains;
using kovtest::ProcessResult;
using kovtest::runKov;
using kovtest::ScratchDir;

namespace {

void put(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    kovtest::writeFile(path, bytes);
}

void put(const std::string& path, const classwriter::RuleFileBuilder& builder) {
    const std::vector<uint8_t> bytes = builder.bytes();
    put(path, std::string(bytes.begin(), bytes.end()));
}

// Reads completely, then ends the process in the reader's check: a class names pool entry 999.
classwriter::RuleFileBuilder fatalFile() {
    classwriter::RuleFileBuilder b;
    b.addAttribute("height", "()D", {}, RuleCode().pushDouble(1));
    b.writer().pool.classEntry(999);
    return b;
}

// The old and the new version of one interface; the new one changes a bit of everything.
classwriter::RuleFileBuilder version(bool changed) {
    classwriter::RuleFileBuilder b;
    b.addAttribute("height", "()D",
                   {RuleAnnotation("$Group").withString("Massing").withFloat(changed ? 2 : 1),
                    RuleAnnotation("$Order").withFloat(changed ? 3 : 1),
                    RuleAnnotation("@Range").withFloat(changed ? 2 : 0, "min").withFloat(10, "max")},
                   RuleCode().pushDouble(1));
    if (!changed)
        b.addAttribute("width", "()D", {}, RuleCode().pushDouble(2));
    if (changed)
        b.addAttribute("color", "()D", {}, RuleCode().pushDouble(3));
    else
        b.addAttribute("color", "()Ljava/lang/String;", {}, RuleCode().pushString("red"));
    b.addRule("Lot", "()V", {},
              changed ? std::vector<RuleAnnotation>{} : std::vector{RuleAnnotation("$StartRule")});
    if (changed)
        b.addRule("Door", "(Ljava/lang/String;Ljava/lang/String;)V", {"width", "kind"},
                  {RuleAnnotation("@Description").withString("door")});
    else
        b.addRule("Door", "(DLjava/lang/String;)V", {"width", "style"});
    b.addRule("Wall", changed ? "(DD)V" : "(D)V",
              changed ? std::vector<std::string>{"depth", "height"} : std::vector<std::string>{"depth"});
    b.addRule("Roof", changed ? "(D)V" : "(DD)V",
              changed ? std::vector<std::string>{"pitch"} : std::vector<std::string>{"pitch", "height"});
    b.addRule(changed ? "Porch" : "Gone", "()V", {});
    b.addRule("Mass", changed ? "()D" : "()V", {}, {},
              changed ? RuleCode().pushDouble(0) : RuleCode());
    b.addFileAnnotation(RuleAnnotation("@Version").withFloat(changed ? 2 : 1, "major"));
    return b;
}

using Row = std::tuple<std::string, std::string, std::string, std::string>;

// (file/name, kind, class, description) of each change that diff --json reports.
std::set<Row> changesOf(const ProcessResult& run) {
    std::set<Row> rows;
    const auto json = nlohmann::json::parse(run.out);
    for (const auto& c : json["changes"]) {
        const std::string file = c["file"];
        rows.insert({(file.empty() ? "" : file + "/") + c["name"].get<std::string>(), c["kind"],
                     c["class"], c["description"]});
    }
    return rows;
}

} // namespace

TEST(KovCheckTest, ReportsFailingFilesAmongGoodOnesAndSurvivesTheReadersCheck) {
    ScratchDir dir("kov-check");
    const std::string good = kovtest::readFile(kovtest::example("building.tkb"));
    put(dir.file("lib/a.tkb"), good);
    put(dir.file("lib/deep/er/b.class"), good);
    put(dir.file("lib/notes.txt"), "not a rule file");
    put(dir.file("lib/cut.tkb"), good.substr(0, good.size() / 2));
    put(dir.file("lib/fatal.tkb"), fatalFile());

    for (const char* jobs : {"1", "2"}) {
        const ProcessResult run = runKov({"check", "-j", jobs, dir.file("lib")});
        EXPECT_EQ(run.status, 1) << run.err;
        EXPECT_EQ(run.err, "");  // no progress bar off a terminal, no library diagnostics
        const std::vector<std::string> lines = kovtest::linesOf(run.out);
        ASSERT_GE(lines.size(), 9u) << run.out;
        EXPECT_EQ(lines[0].rfind(dir.file("lib/cut.tkb") + ": Reading TKB failed: ", 0), 0u);
        EXPECT_EQ(lines[1], dir.file("lib/fatal.tkb") + ": nameIndex not in pool");
        EXPECT_EQ(lines[3], "Checked 4 files: 2 succeeded, 2 failed");
        EXPECT_EQ(lines[5], "Failures by reason (2)");
        EXPECT_EQ(lines[6], "  FILES  REASON");
        EXPECT_EQ(lines.back().rfind("Read ", 0), 0u);
    }

    const ProcessResult json = runKov({"check", "--json", dir.file("lib"), dir.file("lib/a.tkb")});
    EXPECT_EQ(json.status, 1);
    const std::vector<std::string> lines = kovtest::linesOf(json.out);
    ASSERT_EQ(lines.size(), 6u) << json.out;
    const auto first = nlohmann::json::parse(lines[0]);
    EXPECT_EQ(first["path"], dir.file("lib/a.tkb"));
    EXPECT_EQ(first["ok"], true);
    EXPECT_EQ(first["bytes"], good.size());
    EXPECT_EQ(first["attributes"], 12);
    EXPECT_EQ(first["rules"], 20);
    EXPECT_TRUE(first["error"].is_null());
    const auto fatal = nlohmann::json::parse(lines[3]);
    EXPECT_EQ(fatal["ok"], false);
    EXPECT_EQ(fatal["error"], "nameIndex not in pool");
    const auto summary = nlohmann::json::parse(lines[5])["summary"];
    EXPECT_EQ(summary["checked"], 5);
    EXPECT_EQ(summary["failed"], 2);
    EXPECT_EQ(summary["failures"][0]["count"], 1);

    EXPECT_EQ(runKov({"check", KOVTEST_EXAMPLES_DIR}).status, 0);
    for (const std::vector<std::string>& wrong :
         {std::vector<std::string>{"check"}, {"check", "-j", "0", dir.file("lib")},
          {"check", dir.file("missing")}})
        EXPECT_EQ(runKov(wrong).status, 2) << wrong.back();
}

TEST(KovDiffTest, ClassesEachKindOfChange) {
    ScratchDir dir("kov-diff");
    put(dir.file("old.tkb"), version(false));
    put(dir.file("new.tkb"), version(true));
    const ProcessResult run = runKov({"diff", "--json", dir.file("old.tkb"), dir.file("new.tkb")});
    EXPECT_EQ(run.status, 1) << run.err;
    const std::set<Row> expected = {
        {"height", "group", "presentation", "group: $Group(#2: 1 → 2)"},
        {"height", "order", "presentation", "order: $Order(#1: 1 → 3)"},
        {"height", "annotation-changed", "presentation", "@Range(min=0 → 2)"},
        {"width", "removed", "breaking", "removed: float"},
        {"color", "type", "breaking", "value type string → float"},
        {"Lot", "start-rule", "presentation", "start rule: $StartRule removed"},
        {"Door", "parameter-retyped", "breaking", "parameter 1 retyped: float → string"},
        {"Door", "parameter-renamed", "breaking", "parameter 2 renamed: style → kind"},
        {"Door", "annotation-added", "presentation", "@Description(\"door\") added"},
        {"Wall", "parameter-added", "breaking", "parameter added: float height"},
        {"Roof", "parameter-removed", "breaking", "parameter removed: float height"},
        {"Gone", "removed", "breaking", "removed: void Gone()"},
        {"Porch", "added", "compatible", "added: void Porch()"},
        {"Mass", "type", "breaking", "return type void → float"},
        {"@Version", "annotation-changed", "presentation", "@Version(major=1 → 2)"},
    };
    EXPECT_EQ(changesOf(run), expected);

    const ProcessResult text = runKov({"diff", dir.file("old.tkb"), dir.file("new.tkb")});
    EXPECT_EQ(text.status, 1);
    EXPECT_TRUE(contains(text.out, ": 8 breaking, 1 compatible, 6 presentation\n\nAttributes (5)\n"
                                   "  NAME    CLASS         CHANGE\n"
                                   "  color   breaking      value type string → float\n"))
        << text.out;

    const ProcessResult breaking =
        runKov({"diff", "--breaking", "--json", dir.file("old.tkb"), dir.file("new.tkb")});
    EXPECT_EQ(breaking.status, 1);
    for (const Row& row : changesOf(breaking))
        EXPECT_EQ(std::get<2>(row), "breaking");
    EXPECT_EQ(changesOf(breaking).size(), 8u);

    // Only additions and annotations: no breaking change, nothing to say.
    classwriter::RuleFileBuilder grown = version(false);
    grown.addRule("Extra", "()V", {});
    put(dir.file("grown.tkb"), grown);
    const ProcessResult quiet = runKov({"diff", "--breaking", dir.file("old.tkb"), dir.file("grown.tkb")});
    EXPECT_EQ(quiet.status, 0);
    EXPECT_EQ(quiet.out, "");
    EXPECT_EQ(runKov({"diff", dir.file("old.tkb"), dir.file("grown.tkb")}).status, 1);
    const ProcessResult same = runKov({"diff", dir.file("old.tkb"), dir.file("old.tkb")});
    EXPECT_EQ(same.status, 0);
    EXPECT_EQ(same.out, "");
}

TEST(KovDiffTest, PairsDirectoriesAndFailsOnFilesThatDoNotDecode) {
    ScratchDir dir("kov-diff-dirs");
    for (const char* side : {"old", "new"}) {
        put(dir.file(std::string(side) + "/same.tkb"), version(false));
        put(dir.file(std::string(side) + "/sub/changed.tkb"),
            version(std::string(side) == "new"));
    }
    put(dir.file("old/gone.tkb"), version(false));
    put(dir.file("new/sub/added.class"), version(false));
    const ProcessResult run = runKov({"diff", "--json", dir.file("old"), dir.file("new")});
    EXPECT_EQ(run.status, 1) << run.err;
    const std::set<Row> changes = changesOf(run);
    EXPECT_EQ(changes.size(), 17u);
    EXPECT_TRUE(changes.count({"gone.tkb", "removed", "breaking", "removed"}));
    EXPECT_TRUE(changes.count({"sub/added.class", "added", "compatible", "added"}));
    EXPECT_TRUE(changes.count({"sub/changed.tkb/Porch", "added", "compatible", "added: void Porch()"}));

    const ProcessResult text = runKov({"diff", dir.file("old"), dir.file("new")});
    EXPECT_TRUE(contains(text.out, "\n\nFiles (2)\n  NAME             CLASS       CHANGE\n"
                                   "  gone.tkb         breaking    removed\n"
                                   "  sub/added.class  compatible  added\n\n==> sub/changed.tkb <==\n"))
        << text.out;

    // A file that does not decode, or that the reader's check would end kov on, is an error.
    put(dir.file("new/same.tkb"), "broken");
    put(dir.file("new/sub/changed.tkb"), fatalFile());
    const ProcessResult broken = runKov({"diff", dir.file("old"), dir.file("new")});
    EXPECT_EQ(broken.status, 2);
    EXPECT_TRUE(contains(broken.err, "kov: " + dir.file("new/same.tkb") + ": ")) << broken.err;
    EXPECT_TRUE(contains(broken.err, "kov: " + dir.file("new/sub/changed.tkb") +
                                         ": nameIndex not in pool\n"))
        << broken.err;
    EXPECT_EQ(runKov({"diff", dir.file("old"), dir.file("old/gone.tkb")}).status, 2);
}

TEST(KovDiffTest, ComparesAnnotationArgumentsByKeyAndUnkeyedOnesByPosition) {
    ScratchDir dir("kov-diff-arguments");
    // One attribute whose annotations carry the given arguments, on the file and the attribute.
    auto file = [&dir](const std::string& name, RuleAnnotation range, RuleAnnotation tag) {
        classwriter::RuleFileBuilder b;
        b.addAttribute("height", "()D", {std::move(range), tag}, RuleCode().pushDouble(1));
        b.addFileAnnotation(tag);
        put(dir.file(name), b);
        return dir.file(name);
    };
    const std::string old =
        file("old.tkb", RuleAnnotation("@Range").withFloat(6, "min").withFloat(60, "max"),
             RuleAnnotation("@Tag").withString("a").withFloat(1, "k").withString("b"));
    const std::string reordered =
        file("reordered.tkb", RuleAnnotation("@Range").withFloat(60, "max").withFloat(6, "min"),
             RuleAnnotation("@Tag").withFloat(1, "k").withString("a").withString("b"));
    for (const char* json : {"--json", ""}) {
        std::vector<std::string> args = {"diff", old, reordered};
        if (*json)
            args.insert(args.begin() + 1, json);
        const ProcessResult same = runKov(args);
        EXPECT_EQ(same.status, 0) << same.out << same.err;
        if (*json)
            EXPECT_TRUE(nlohmann::json::parse(same.out)["changes"].empty()) << same.out;
        else
            EXPECT_EQ(same.out, "");
    }

    // Unkeyed arguments that swap places, and a keyed value, do change.
    const std::string changed =
        file("changed.tkb", RuleAnnotation("@Range").withFloat(70, "max").withFloat(6, "min"),
             RuleAnnotation("@Tag").withFloat(1, "k").withString("b").withString("a"));
    const ProcessResult run = runKov({"diff", "--json", old, changed});
    EXPECT_EQ(run.status, 1) << run.err;
    const std::set<Row> expected = {
        {"height", "annotation-changed", "presentation", "@Range(max=60 → 70)"},
        {"height", "annotation-changed", "presentation",
         "@Tag(#1: \"a\" → \"b\", #2: \"b\" → \"a\")"},
        {"@Tag", "annotation-changed", "presentation",
         "@Tag(#1: \"a\" → \"b\", #2: \"b\" → \"a\")"},
    };
    EXPECT_EQ(changesOf(run), expected);
    const auto range = nlohmann::json::parse(run.out)["changes"][0];
    EXPECT_EQ(range["description"], "@Range(max=60 → 70)");
    const char* const maxChanged = R"([{"key": "max", "position": 0, "old": "60", "new": "70"}])";
    EXPECT_EQ(range["arguments"], nlohmann::json::parse(maxChanged));
}

TEST(KovDiffTest, DecodesFilesOnOneSideOnlyAndFailsOnThoseThatDoNotDecode) {
    ScratchDir dir("kov-diff-one-side");
    put(dir.file("old/same.tkb"), version(false));
    put(dir.file("new/same.tkb"), version(false));
    put(dir.file("old/gone.tkb"), version(false));
    put(dir.file("old/gone-broken.tkb"), "broken");
    put(dir.file("new/added.tkb"), version(true));
    put(dir.file("new/added-broken.tkb"), "broken");
    put(dir.file("new/added-fatal.tkb"), fatalFile());

    const ProcessResult run = runKov({"diff", "--json", dir.file("old"), dir.file("new")});
    EXPECT_EQ(run.status, 2);
    const std::set<Row> expected = {{"added.tkb", "added", "compatible", "added"},
                                    {"gone.tkb", "removed", "breaking", "removed"}};
    EXPECT_EQ(changesOf(run), expected);
    EXPECT_TRUE(contains(run.err, "kov: " + dir.file("old/gone-broken.tkb") + ": ")) << run.err;
    EXPECT_TRUE(contains(run.err, "kov: " + dir.file("new/added-broken.tkb") + ": ")) << run.err;
    EXPECT_TRUE(contains(run.err, "kov: " + dir.file("new/added-fatal.tkb") +
                                      ": nameIndex not in pool\n"))
        << run.err;

    const ProcessResult text = runKov({"diff", dir.file("old"), dir.file("new")});
    EXPECT_EQ(text.status, 2);
    EXPECT_FALSE(contains(text.out, "broken")) << text.out;
    EXPECT_FALSE(contains(text.out, "fatal")) << text.out;
}
