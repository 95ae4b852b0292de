#include "classfile/AccessFlags.h"

namespace classfile {

std::string accessFlagWords(uint16_t flags) {
    static const char* const words[] = {
        "public",   "private",   "protected", "static",    "final",    "synchronized",
        "volatile", "transient", "native",    "interface", "abstract", "strict",
    };
    std::string out;
    for (unsigned bit = 0; bit < sizeof words / sizeof words[0]; ++bit)
        if (flags & (1u << bit)) {
            out += words[bit];
            out += ' ';
        }
    return out;
}

} // namespace classfile
