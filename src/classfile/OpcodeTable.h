#pragma once

#include <cstdint>
#include <string>

namespace classfile {

/// Operand formats of the opcode table.
enum OperandKind : int32_t {
    OPERANDS_NONE = 1,
    OPERANDS_POOL_U2 = 2,
    OPERANDS_LOCAL_U1 = 3,
    OPERANDS_POOL_U1 = 4,
    OPERANDS_MULTIANEWARRAY = 5,
    OPERANDS_IMMEDIATE_S2 = 7,
    OPERANDS_BRANCH_S2 = 8,
    OPERANDS_BRANCH_S4 = 9,
    OPERANDS_ARRAY_TYPE = 10,
    OPERANDS_INVOKEINTERFACE = 11,
    OPERANDS_IINC = 12,
    OPERANDS_IMMEDIATE_S1 = 14,
    OPERANDS_TABLESWITCH = 15,
    OPERANDS_LOOKUPSWITCH = 16,
    OPERANDS_WIDE = 17,
    OPERANDS_LOCAL_0 = 18,
    OPERANDS_LOCAL_1 = 19,
    OPERANDS_LOCAL_2 = 20,
    OPERANDS_LOCAL_3 = 21,
};

struct Opcode {
    std::string mnemonic;
    int32_t kind;
};

/// The 256 rows of mnemonics and operand formats, one per opcode byte; built at load time.
class OpcodeTable {
public:
    static const OpcodeTable& instance();
    const Opcode& operator[](uint8_t opcode) const { return mRows[opcode]; }

private:
    OpcodeTable();
    Opcode mRows[256];
};

} // namespace classfile
