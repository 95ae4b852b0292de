#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "kov/RuleFileInfo.h"
#include "kovx/TKB.h"

namespace kovhost {

class Host;

// The JSON forms of 'kov json', 'kov constants --json' and 'kov diff --json', for every front end
// that shows them: the commands print them, the server answers with them.

/// Keys stay in the order they are written, which reads better than sorted.
using Json = nlohmann::ordered_json;

/// {"attributes", "rules", "annotations"} of one rule file.
Json ruleFileInfoJson(const kov::RuleFileInfo& info);

/// {"constants", "fieldRefs", "enumTypes", "methodIndex"} of one rule program.
Json ruleProgramJson(const kovx::TKBProgram& program);

/// The interface diff of two rule files, as 'kov diff --json' prints it, with oldName and newName
/// standing for the files. Throws with "FILE: reason" when either does not decode.
Json interfaceDiffJson(Host& host, const std::vector<std::string>& pluginPaths,
                       const std::string& oldFile, const std::string& newFile,
                       const std::string& oldName, const std::string& newName);

} // namespace kovhost
