#pragma once

#include <istream>
#include <string>

#include <boost/shared_ptr.hpp>

#include "kovx/TKB.h"

namespace kovhost {

class Host;

// Both take FILE as the user gave it: a path, a URI or "-" for standard input; they fail with
// std::exception. What they return holds code of the loaded libraries: release it before the
// Host goes.

/// Opens the file through the stream adaptor that the manager picks for its URI; "-" reads all
/// of standard input into memory instead.
boost::shared_ptr<std::istream> openRuleFile(Host& host, const std::string& file);

/// Opens the file and decodes it with the rule file decoder that the manager picks for it.
/// The result always has its rule file info.
boost::shared_ptr<kovx::TKB> decodeRuleFile(Host& host, const std::string& file);

/// How messages name FILE: "standard input" for "-", otherwise FILE itself.
std::string displayName(const std::string& file);

} // namespace kovhost
