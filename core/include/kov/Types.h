#pragma once

#include <cstdint>

#include "kov/Api.h"

namespace kov {

/// Result codes of the core. 0 is success.
enum Status : int32_t {
    STATUS_OK = 0,
    STATUS_UNSPECIFIED_ERROR = 1,
    STATUS_OUT_OF_MEMORY = 2,
    STATUS_ILLEGAL_ARGUMENT = 3,
    /// A decoder could not be found or created.
    STATUS_DECODER_NOT_AVAILABLE = 17,
    /// An encoder (or, for some operations, a decoder factory) could not be found or created.
    STATUS_ENCODER_NOT_AVAILABLE = 18,
    /// A compiled rule file holds content that the rule program cannot express.
    STATUS_UNSUPPORTED_RULE_CONTENT = 31,
};

/// Returns a short English description; never null.
KOV_CORE_API const char* getStatusDescription(Status status);

enum ContentType : int32_t {
    CT_UNDEFINED = 0,
    CT_MODEL = 1,
    CT_GEOMETRY = 2,
    CT_MATERIAL = 3,
    CT_TEXTURE = 4,
    /// A compiled rule file (.tkb).
    CT_RULEFILE = 5,
};

enum LogLevel : int32_t {
    LOG_TRACE = 0,
    LOG_DEBUG = 1,
    LOG_INFO = 2,
    LOG_WARNING = 3,
    LOG_ERROR = 4,
    LOG_FATAL = 5,
};

/// Value type codes of rule file entries, parameters and annotation arguments.
enum ValueType : int32_t {
    VT_VOID = 0,
    VT_BOOL = 1,
    VT_FLOAT = 2,
    VT_STR = 3,
    VT_INT = 4,
    VT_UNKNOWN = 5,
};

} // namespace kov
