#include "classfile/ReadError.h"

#include "classfile/Diagnostics.h"

#include "util/RuntimeErrorST.h"

namespace classfile {

void failRead(const std::string& stderrLine, const std::string& message) {
    diagnostics().write(stderrLine + "\n");
    throw util::RuntimeErrorST(message);
}

void failRead(const std::string& message) {
    throw util::RuntimeErrorST(message);
}

} // namespace classfile
