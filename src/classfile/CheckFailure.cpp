#include "classfile/CheckFailure.h"

#include <cstdlib>

namespace classfile {

void endProcessAfterFailedCheck() {
    std::exit(1);
}

} // namespace classfile
