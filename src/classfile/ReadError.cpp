#include "classfile/ReadError.h"

#include <iostream>

#include "util/RuntimeErrorST.h"

namespace classfile {

void failRead(const std::string& stderrLine, const std::string& message) {
    std::cerr << stderrLine << std::endl;
    throw util::RuntimeErrorST(message);
}

void failRead(const std::string& message) {
    throw util::RuntimeErrorST(message);
}

} // namespace classfile
