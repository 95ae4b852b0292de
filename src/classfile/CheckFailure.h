#pragma once

namespace classfile {

/// Ends the process with status 1 once the check pass has reported a class entry whose name index
/// lies outside the pool. Alone in its own file so that a harness which must survive such input
/// (the fuzz targets) can link a definition of its own instead.
[[noreturn]] void endProcessAfterFailedCheck();

} // namespace classfile
