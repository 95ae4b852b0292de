#include "kov/Types.h"
#include "kovx/StatusException.h"

namespace kov {

const char* getStatusDescription(Status status) {
    switch (status) {
    case STATUS_OK: return "success";
    case STATUS_UNSPECIFIED_ERROR: return "unspecified error";
    case STATUS_OUT_OF_MEMORY: return "out of memory";
    case STATUS_ILLEGAL_ARGUMENT: return "illegal argument";
    case STATUS_DECODER_NOT_AVAILABLE: return "decoder not available";
    case STATUS_ENCODER_NOT_AVAILABLE: return "encoder not available";
    case STATUS_UNSUPPORTED_RULE_CONTENT: return "rule file content not supported";
    }
    return "unknown status";
}

} // namespace kov

namespace kovx {

StatusException::~StatusException() = default;

const char* StatusException::what() const noexcept {
    return kov::getStatusDescription(mStatus);
}

} // namespace kovx
