#include "StructureWalk.h"

#include "classfile/ByteCursor.h"

namespace kovbench {

namespace {

using classfile::ByteCursor;

size_t walkAttributes(ByteCursor& in) {
    const uint32_t count = in.u2();
    for (uint32_t i = 0; i < count && in.ok(); ++i) {
        in.u2();
        in.skip(in.u4());
    }
    return count;
}

} // namespace

size_t walkClassFile(const uint8_t* data, size_t size) {
    ByteCursor in(data, size);
    in.skip(8);
    const uint32_t poolCount = in.u2();
    size_t visited = 0;
    for (uint32_t i = 1; i < poolCount && in.ok(); ++i, ++visited) {
        switch (in.u1()) {
        case 1: in.skip(in.u2()); break;
        case 2: in.skip(in.u4()); break;
        case 3:
        case 4:
        case 9:
        case 10:
        case 11:
        case 12: in.skip(4); break;
        case 5:
        case 6:
            in.skip(8);
            ++i;
            break;
        case 7:
        case 8: in.skip(2); break;
        default: return 0;
        }
    }
    in.skip(6);
    in.skip(2 * size_t{in.u2()});
    for (int list = 0; list < 2; ++list) {
        const uint32_t members = in.u2();
        for (uint32_t m = 0; m < members && in.ok(); ++m) {
            in.skip(6);
            visited += 1 + walkAttributes(in);
        }
    }
    visited += walkAttributes(in);
    return in.ok() ? visited : 0;
}

} // namespace kovbench
