#pragma once

#include <string>
#include <vector>

#include "FileChecker.h"

namespace kovhost {

/// Checks one file in a helper process: kov itself, run as 'kov [-p PATH]... check --json FILE'
/// with KOV_CHECK_IN_PROCESS=1 in its environment, so that it decodes the file in its own
/// process. A helper that the reader's check pass ends is reported with the reader's last
/// words on standard error. Only ok, error and the counts of the result are set. program is the
/// kov to run; empty for this process's own executable.
CheckResult checkInHelper(const std::string& path, const std::vector<std::string>& pluginPaths,
                          const std::string& program = std::string());

/// Whether this kov is such a helper, which decodes every file in its own process.
bool runningAsCheckHelper();

} // namespace kovhost
