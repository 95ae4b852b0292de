// "diff": what changed in the interface of rule files between two versions.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <set>

#include <nlohmann/json.hpp>

#include "Commands.h"
#include "FileChecker.h"
#include "InterfaceDiff.h"
#include "JsonForms.h"
#include "TextTable.h"

namespace kovhost {

namespace {

namespace fs = std::filesystem;
// One file's changes; path is relative to the directories, empty for two files.
struct FileChanges {
    std::string path;
    std::vector<Change> changes;
};

class Comparison {
public:
    /// report: say each failure on standard error as it happens.
    Comparison(Host& host, const std::vector<std::string>& pluginPaths, bool breakingOnly,
               bool report)
        : mLoader(host, pluginPaths, true), mBreakingOnly(breakingOnly), mReport(report) {}

    std::vector<FileChanges> files;
    bool failed = false;
    std::string firstFailure;

    void compareFiles(const std::string& before, const std::string& after,
                      const std::string& path) {
        try {
            const auto old = load(before);
            const auto now = load(after);
            keep(path, diffInterfaces(*old->getProgram().ruleFileInfo,
                                      *now->getProgram().ruleFileInfo));
        } catch (const std::exception& e) {
            fail(e.what());
        }
    }

    void compareDirectories(const std::string& before, const std::string& after) {
        const std::set<std::string> old = ruleFilesBelow(before);
        const std::set<std::string> now = ruleFilesBelow(after);
        std::set<std::string> all = old;
        all.insert(now.begin(), now.end());
        std::vector<Change> presence;
        for (const std::string& path : all) {
            // A file on one side only is added or removed only when its interface can be read.
            if (!now.count(path)) {
                if (decodes((fs::path(before) / path).string()))
                    presence.push_back({"files", path, "removed", ChangeClass::BREAKING,
                                        "removed", path, "", {}});
            } else if (!old.count(path)) {
                if (decodes((fs::path(after) / path).string()))
                    presence.push_back({"files", path, "added", ChangeClass::COMPATIBLE, "added",
                                        "", path, {}});
            }
        }
        keep("", std::move(presence));
        for (const std::string& path : all)
            if (old.count(path) && now.count(path))
                compareFiles((fs::path(before) / path).string(), (fs::path(after) / path).string(),
                             path);
    }

private:
    void fail(const char* reason) {
        if (!failed)
            firstFailure = reason;
        failed = true;
        if (!mReport)
            return;
        std::cout.flush();
        std::cerr << "kov: " << reason << "\n";
    }

    bool decodes(const std::string& file) {
        try {
            load(file);
            return true;
        } catch (const std::exception& e) {
            fail(e.what());
            return false;
        }
    }

    boost::shared_ptr<kovx::TKB> load(const std::string& file) {
        try {
            return mLoader.load(file);
        } catch (const std::exception& e) {
            throw std::runtime_error(file + ": " + e.what());
        }
    }

    void keep(const std::string& path, std::vector<Change> changes) {
        if (mBreakingOnly)
            changes.erase(std::remove_if(changes.begin(), changes.end(),
                                         [](const Change& c) {
                                             return c.changeClass != ChangeClass::BREAKING;
                                         }),
                          changes.end());
        if (!changes.empty())
            files.push_back({path, std::move(changes)});
    }

    FileChecker mLoader;
    bool mBreakingOnly;
    bool mReport;
};

const std::pair<const char*, const char*> SECTIONS[] = {{"files", "Files"},
                                                        {"attributes", "Attributes"},
                                                        {"rules", "Rules"},
                                                        {"annotations", "File annotations"}};

void printText(std::ostream& out, const std::string& before, const std::string& after,
               const std::vector<FileChanges>& files) {
    size_t counts[3] = {0, 0, 0};
    for (const FileChanges& file : files)
        for (const Change& change : file.changes)
            ++counts[static_cast<int>(change.changeClass)];
    out << "Interface of " << before << " → " << after << ": " << counts[0] << " breaking, "
        << counts[1] << " compatible, " << counts[2] << " presentation\n";
    for (const FileChanges& file : files) {
        if (!file.path.empty())
            out << "\n==> " << file.path << " <==\n";
        for (const auto& [section, title] : SECTIONS) {
            TextTable table({"NAME", "CLASS", "CHANGE"});
            size_t count = 0;
            // Breaking changes first, then compatible, then presentation ones.
            for (const ChangeClass changeClass :
                 {ChangeClass::BREAKING, ChangeClass::COMPATIBLE, ChangeClass::PRESENTATION})
                for (const Change& change : file.changes)
                    if (change.section == section && change.changeClass == changeClass) {
                        table.addRow({change.name, changeClassWord(changeClass),
                                      change.description});
                        ++count;
                    }
            if (count) {
                out << "\n" << title << " (" << count << ")\n";
                table.print(out);
            }
        }
    }
}

Json orNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json diffJson(const std::string& before, const std::string& after,
              const std::vector<FileChanges>& files) {
    Json changes = Json::array();
    size_t counts[3] = {0, 0, 0};
    for (const FileChanges& file : files)
        for (const Change& change : file.changes) {
            ++counts[static_cast<int>(change.changeClass)];
            Json json = {{"file", file.path},
                         {"section", change.section},
                         {"name", change.name},
                         {"kind", change.kind},
                         {"class", changeClassWord(change.changeClass)},
                         {"description", change.description},
                         {"old", orNull(change.before)},
                         {"new", orNull(change.after)}};
            if (!change.arguments.empty()) {
                Json arguments = Json::array();
                for (const ArgumentChange& a : change.arguments)
                    arguments.push_back({{"key", a.key},
                                         {"position", a.position},
                                         {"old", orNull(a.before)},
                                         {"new", orNull(a.after)}});
                json["arguments"] = std::move(arguments);
            }
            changes.push_back(std::move(json));
        }
    return {{"old", before},
            {"new", after},
            {"breaking", counts[0]},
            {"compatible", counts[1]},
            {"presentation", counts[2]},
            {"changes", std::move(changes)}};
}

int diffRuleFiles(Host& host, const Invocation& invocation, std::ostream& out) {
    const std::string& before = invocation.args[0];
    const std::string& after = invocation.args[1];
    std::error_code ec;
    const bool oldIsDirectory = fs::is_directory(before, ec);
    const bool newIsDirectory = fs::is_directory(after, ec);
    for (const std::string& path : {before, after})
        if ((oldIsDirectory || newIsDirectory) && !fs::exists(path, ec))
            throw std::runtime_error("cannot read '" + path + "': No such file or directory");
    if (oldIsDirectory != newIsDirectory)
        throw UsageError("OLD and NEW must both be rule files or both be directories");

    Comparison comparison(host, invocation.pluginPaths, invocation.has("breaking"), true);
    if (oldIsDirectory)
        comparison.compareDirectories(before, after);
    else
        comparison.compareFiles(before, after, "");
    if (invocation.has("json"))
        out << diffJson(before, after, comparison.files)
                   .dump(2, ' ', false, Json::error_handler_t::replace)
            << "\n";
    else if (!comparison.files.empty())
        printText(out, before, after, comparison.files);
    if (comparison.failed)
        return 2;
    return comparison.files.empty() ? 0 : 1;
}

} // namespace

Json interfaceDiffJson(Host& host, const std::vector<std::string>& pluginPaths,
                       const std::string& oldFile, const std::string& newFile,
                       const std::string& oldName, const std::string& newName) {
    Comparison comparison(host, pluginPaths, false, false);
    comparison.compareFiles(oldFile, newFile, "");
    if (comparison.failed)
        throw std::runtime_error(comparison.firstFailure);
    return diffJson(oldName, newName, comparison.files);
}

extern const Command DIFF_COMMAND = {
    "diff", "[--breaking] [--json] OLD NEW",
    "compare the interfaces of two rule files or two directories of them",
    "Compares the rule file info of OLD and NEW, two rule files or two directories (files paired\n"
    "by their path below them; a file on one side only is reported as added or removed when it\n"
    "decodes). Lists attributes and rules added or removed, changed value and return types,\n"
    "parameters added, removed, renamed or retyped, and annotations added, removed or with\n"
    "changed arguments (keyed arguments compared by key, the others by position).\n"
    "Each change is breaking (something removed or retyped, a changed parameter list),\n"
    "compatible (an addition) or presentation (annotations only; $Group, $Order and $StartRule\n"
    "are named as such).\n"
    "A file that does not decode, on either side, is reported as \"kov: FILE: reason\" and the\n"
    "others are still compared.\n"
    "Exit status: 0 when the interfaces are the same, 1 when they differ, 2 on an error. With\n"
    "--breaking only breaking changes are reported and only they give status 1.",
    {{"breaking", "report only breaking changes"}, {"json", "print one JSON object"}}, 2, 2,
    false, &diffRuleFiles, 2};

} // namespace kovhost
