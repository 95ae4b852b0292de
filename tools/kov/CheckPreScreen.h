#pragma once

#include <string>

namespace kovhost {

/// Whether decoding bytes might reach the class file reader's check pass with a class entry that
/// names a constant outside the pool, which ends the process. Walks the header and the constant
/// pool only, as the reader lays them out. Errs on the side of yes: a file it lets through fails
/// in the reader before the check pass or passes it.
bool mayEndProcessInCheckPass(const std::string& bytes);

} // namespace kovhost
