#include "classfile/CodeListing.h"

#include <sstream>
#include <string>

#include "classfile/ConstantPool.h"
#include "classfile/OpcodeTable.h"

namespace classfile {

namespace {

const char* const LINE_START = "\n            ";

// Bounds-checked big-endian reads within the code bytes.
class CodeCursor {
public:
    CodeCursor(Bytes code, size_t pos) : mCode(code), mPos(pos) {}

    bool u1(uint32_t& out) { return read(1, out); }
    bool u2(uint32_t& out) { return read(2, out); }
    bool s1(int64_t& out) {
        uint32_t raw;
        if (!read(1, raw))
            return false;
        out = static_cast<int8_t>(raw);
        return true;
    }
    bool s2(int64_t& out) {
        uint32_t raw;
        if (!read(2, raw))
            return false;
        out = static_cast<int16_t>(raw);
        return true;
    }
    bool s4(int64_t& out) {
        uint32_t raw;
        if (!read(4, raw))
            return false;
        out = static_cast<int32_t>(raw);
        return true;
    }
    /// Skips the switch padding up to the next multiple of 4 from the code start.
    bool align4() {
        const size_t aligned = (mPos + 3) & ~size_t{3};
        if (aligned > mCode.size())
            return false;
        mPos = aligned;
        return true;
    }
    size_t remaining() const { return mCode.size() - mPos; }
    size_t pos() const { return mPos; }

private:
    bool read(size_t count, uint32_t& out) {
        if (remaining() < count)
            return false;
        out = 0;
        for (size_t i = 0; i < count; ++i)
            out = (out << 8) | mCode[mPos++];
        return true;
    }

    Bytes mCode;
    size_t mPos;
};

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

// Writes the operands of the instruction at pc; returns how decoding went and leaves the cursor
// after the instruction.
Outcome printOperands(std::ostream& os, int32_t kind, size_t pc, CodeCursor& in,
                      const ConstantPool& pool) {
    uint32_t a = 0;
    uint32_t b = 0;
    int64_t s = 0;
    const auto target = [pc](int64_t offset) { return static_cast<int64_t>(pc) + offset; };
    switch (kind) {
    case OPERANDS_POOL_U2:
    case OPERANDS_POOL_U1:
        if (!(kind == OPERANDS_POOL_U2 ? in.u2(a) : in.u1(a)))
            return Outcome::Truncated;
        os << " #" << a << " <" << literalAt(pool, a) << ">";
        return Outcome::Ok;
    case OPERANDS_LOCAL_U1:
    case OPERANDS_ARRAY_TYPE:
        if (!in.u1(a))
            return Outcome::Truncated;
        if (kind == OPERANDS_LOCAL_U1)
            os << " " << a;
        else if (const char* name = arrayTypeName(a))
            os << " " << name;
        else
            os << " <unknown array type " << a << ">";
        return Outcome::Ok;
    case OPERANDS_MULTIANEWARRAY:
        if (!in.u2(a) || !in.u1(b))
            return Outcome::Truncated;
        os << " #" << a << " dim #" << b << " <" << literalAt(pool, a) << ">";
        return Outcome::Ok;
    case OPERANDS_IMMEDIATE_S2:
    case OPERANDS_IMMEDIATE_S1:
        if (!(kind == OPERANDS_IMMEDIATE_S2 ? in.s2(s) : in.s1(s)))
            return Outcome::Truncated;
        os << " " << s;
        return Outcome::Ok;
    case OPERANDS_BRANCH_S2:
    case OPERANDS_BRANCH_S4:
        if (!(kind == OPERANDS_BRANCH_S2 ? in.s2(s) : in.s4(s)))
            return Outcome::Truncated;
        os << " " << target(s);
        return Outcome::Ok;
    case OPERANDS_INVOKEINTERFACE: {
        uint32_t zero;
        if (!in.u2(a) || !in.u1(b) || !in.u1(zero))
            return Outcome::Truncated;
        os << " (args " << b << ") #" << a << " <" << literalAt(pool, a) << ">";
        return Outcome::Ok;
    }
    case OPERANDS_IINC:
        if (!in.u1(a) || !in.s1(s))
            return Outcome::Truncated;
        os << " " << a << " " << s;
        return Outcome::Ok;
    case OPERANDS_TABLESWITCH: {
        int64_t def, low, high;
        if (!in.align4() || !in.s4(def) || !in.s4(low) || !in.s4(high))
            return Outcome::Truncated;
        if (low > high)
            return Outcome::Malformed;
        const int64_t count = high - low + 1;
        if (static_cast<uint64_t>(count) > in.remaining() / 4)
            return Outcome::Truncated;
        os << " " << low << " to " << high << " default=" << target(def);
        for (int64_t i = 0; i < count; ++i) {
            in.s4(s);
            os << LINE_START << low + i << ": " << target(s);
        }
        return Outcome::Ok;
    }
    case OPERANDS_LOOKUPSWITCH: {
        int64_t def, pairs;
        if (!in.align4() || !in.s4(def) || !in.s4(pairs))
            return Outcome::Truncated;
        if (pairs < 0)
            return Outcome::Malformed;
        if (static_cast<uint64_t>(pairs) > in.remaining() / 8)
            return Outcome::Truncated;
        os << " " << pairs << ":"
           << " default=" << target(def);
        for (int64_t i = 0; i < pairs; ++i) {
            int64_t key = 0;
            in.s4(key);
            in.s4(s);
            os << LINE_START << key << ": " << target(s);
        }
        return Outcome::Ok;
    }
    case OPERANDS_WIDE: {
        if (!in.u1(a))
            return Outcome::Truncated;
        const std::string& mnemonic = OpcodeTable::instance()[static_cast<uint8_t>(a)].mnemonic;
        if (a == 132) {
            if (!in.u2(b) || !in.s2(s))
                return Outcome::Truncated;
            os << " " << mnemonic << "_w " << b << " " << s;
            return Outcome::Ok;
        }
        if (!isWidenable(a))
            return Outcome::Malformed;
        if (!in.u2(b))
            return Outcome::Truncated;
        os << " " << mnemonic << "_w " << b;
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
        CodeCursor in(code, pc + 1);
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
