#include "classfile/CodeListing.h"

#include <sstream>
#include <string>

#include "classfile/ByteCursor.h"
#include "classfile/ConstantPool.h"
#include "classfile/OpcodeTable.h"

namespace classfile {

namespace {

const char* const LINE_START = "\n            ";

std::string literalAt(const ConstantPool& pool, uint32_t index) {
    const ConstantPoolEntry* entry = pool.get(index);
    if (!entry)
        return index < pool.size() ? "empty slot" : "outside the pool";
    try {
        return entry->toLiteral();
    } catch (const std::exception& e) {
        return std::string("error: ") + e.what();
    }
}

const char* arrayTypeName(uint32_t code) {
    static const char* const names[] = {"boolean", "char",  "float", "double",
                                        "byte",    "short", "int",   "long"};
    return code >= 4 && code <= 11 ? names[code - 4] : nullptr;
}

bool isWidenable(uint32_t opcode) {
    return (opcode >= 21 && opcode <= 25) || (opcode >= 54 && opcode <= 58) || opcode == 169;
}

enum class Outcome { Ok, Truncated, Malformed };

// Skips the switch padding up to the next multiple of 4 from the code start.
bool align4(ByteCursor& in) {
    return in.skip((4 - in.pos() % 4) % 4);
}

// Writes the operands of the instruction at pc; returns how decoding went and leaves the cursor
// after the instruction. Each read is tested before its value is printed.
Outcome printOperands(std::ostream& os, int32_t kind, size_t pc, ByteCursor& in,
                      const ConstantPool& pool) {
    const auto target = [pc](int64_t offset) { return static_cast<int64_t>(pc) + offset; };
    switch (kind) {
    case OPERANDS_POOL_U2:
    case OPERANDS_POOL_U1: {
        const uint32_t index = kind == OPERANDS_POOL_U2 ? in.u2() : in.u1();
        if (!in.ok())
            return Outcome::Truncated;
        os << " #" << index << " <" << literalAt(pool, index) << ">";
        return Outcome::Ok;
    }
    case OPERANDS_LOCAL_U1:
    case OPERANDS_ARRAY_TYPE: {
        const uint32_t value = in.u1();
        if (!in.ok())
            return Outcome::Truncated;
        if (kind == OPERANDS_LOCAL_U1)
            os << " " << value;
        else if (const char* name = arrayTypeName(value))
            os << " " << name;
        else
            os << " <unknown array type " << value << ">";
        return Outcome::Ok;
    }
    case OPERANDS_MULTIANEWARRAY: {
        const uint32_t index = in.u2();
        const uint32_t dimensions = in.u1();
        if (!in.ok())
            return Outcome::Truncated;
        os << " #" << index << " dim #" << dimensions << " <" << literalAt(pool, index) << ">";
        return Outcome::Ok;
    }
    case OPERANDS_IMMEDIATE_S2:
    case OPERANDS_IMMEDIATE_S1: {
        const int64_t value = kind == OPERANDS_IMMEDIATE_S2 ? in.s2() : in.s1();
        if (!in.ok())
            return Outcome::Truncated;
        os << " " << value;
        return Outcome::Ok;
    }
    case OPERANDS_BRANCH_S2:
    case OPERANDS_BRANCH_S4: {
        const int64_t offset = kind == OPERANDS_BRANCH_S2 ? in.s2() : in.s4();
        if (!in.ok())
            return Outcome::Truncated;
        os << " " << target(offset);
        return Outcome::Ok;
    }
    case OPERANDS_INVOKEINTERFACE: {
        const uint32_t index = in.u2();
        const uint32_t arguments = in.u1();
        in.u1();
        if (!in.ok())
            return Outcome::Truncated;
        os << " (args " << arguments << ") #" << index << " <" << literalAt(pool, index) << ">";
        return Outcome::Ok;
    }
    case OPERANDS_IINC: {
        const uint32_t local = in.u1();
        const int64_t increment = in.s1();
        if (!in.ok())
            return Outcome::Truncated;
        os << " " << local << " " << increment;
        return Outcome::Ok;
    }
    case OPERANDS_TABLESWITCH: {
        if (!align4(in))
            return Outcome::Truncated;
        const int64_t def = in.s4();
        const int64_t low = in.s4();
        const int64_t high = in.s4();
        if (!in.ok())
            return Outcome::Truncated;
        if (low > high)
            return Outcome::Malformed;
        const int64_t count = high - low + 1;
        if (static_cast<uint64_t>(count) > in.remaining() / 4)
            return Outcome::Truncated;
        os << " " << low << " to " << high << " default=" << target(def);
        for (int64_t i = 0; i < count; ++i)
            os << LINE_START << low + i << ": " << target(in.s4());
        return Outcome::Ok;
    }
    case OPERANDS_LOOKUPSWITCH: {
        if (!align4(in))
            return Outcome::Truncated;
        const int64_t def = in.s4();
        const int64_t pairs = in.s4();
        if (!in.ok())
            return Outcome::Truncated;
        if (pairs < 0)
            return Outcome::Malformed;
        if (static_cast<uint64_t>(pairs) > in.remaining() / 8)
            return Outcome::Truncated;
        os << " " << pairs << ":"
           << " default=" << target(def);
        for (int64_t i = 0; i < pairs; ++i) {
            const int64_t key = in.s4();
            os << LINE_START << key << ": " << target(in.s4());
        }
        return Outcome::Ok;
    }
    case OPERANDS_WIDE: {
        const uint8_t opcode = in.u1();
        if (!in.ok())
            return Outcome::Truncated;
        const std::string& mnemonic = OpcodeTable::instance()[opcode].mnemonic;
        if (opcode == 132) {
            const uint32_t local = in.u2();
            const int64_t increment = in.s2();
            if (!in.ok())
                return Outcome::Truncated;
            os << " " << mnemonic << "_w " << local << " " << increment;
            return Outcome::Ok;
        }
        if (!isWidenable(opcode))
            return Outcome::Malformed;
        const uint32_t local = in.u2();
        if (!in.ok())
            return Outcome::Truncated;
        os << " " << mnemonic << "_w " << local;
        return Outcome::Ok;
    }
    default: return Outcome::Ok;
    }
}

} // namespace

void printCodeListing(std::ostream& os, Bytes code,
                      const ConstantPool& pool) {
    const OpcodeTable& table = OpcodeTable::instance();
    size_t pc = 0;
    while (pc < code.size()) {
        const Opcode& op = table[code[pc]];
        os << LINE_START << pc << ": " << op.mnemonic;
        ByteCursor in(code.data(), code.size());
        in.skip(pc + 1);
        std::ostringstream operands;
        switch (printOperands(operands, op.kind, pc, in, pool)) {
        case Outcome::Ok:
            os << operands.str();
            pc = in.pos();
            break;
        case Outcome::Truncated:
            os << " <truncated: the operands run past the end of the code>";
            return;
        case Outcome::Malformed: os << " <malformed operands: the listing stops here>"; return;
        }
    }
}

} // namespace classfile
