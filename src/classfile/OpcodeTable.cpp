#include "classfile/OpcodeTable.h"

#include <initializer_list>

namespace classfile {

namespace {

// Opcodes 0 to 202; the reserved range and the two implementation opcodes follow in the
// constructor.
const char* const MNEMONICS[] = {
    "nop",           "aconst_null",
    "iconst_m1",     "iconst_0",
    "iconst_1",      "iconst_2",
    "iconst_3",      "iconst_4",
    "iconst_5",      "lconst_0",
    "lconst_1",      "fconst_0",
    "fconst_1",      "fconst_2",
    "dconst_0",      "dconst_1",
    "bipush",        "sipush",
    "ldc",           "ldc_w",
    "ldc2_w",        "iload",
    "lload",         "fload",
    "dload",         "aload",
    "iload_0",       "iload_1",
    "iload_2",       "iload_3",
    "lload_0",       "lload_1",
    "lload_2",       "lload_3",
    "fload_0",       "fload_1",
    "fload_2",       "fload_3",
    "dload_0",       "dload_1",
    "dload_2",       "dload_3",
    "aload_0",       "aload_1",
    "aload_2",       "aload_3",
    "iaload",        "laload",
    "faload",        "daload",
    "aaload",        "baload",
    "caload",        "saload",
    "istore",        "lstore",
    "fstore",        "dstore",
    "astore",        "istore_0",
    "istore_1",      "istore_2",
    "istore_3",      "lstore_0",
    "lstore_1",      "lstore_2",
    "lstore_3",      "fstore_0",
    "fstore_1",      "fstore_2",
    "fstore_3",      "dstore_0",
    "dstore_1",      "dstore_2",
    "dstore_3",      "astore_0",
    "astore_1",      "astore_2",
    "astore_3",      "iastore",
    "lastore",       "fastore",
    "dastore",       "aastore",
    "bastore",       "castore",
    "sastore",       "pop",
    "pop2",          "dup",
    "dup_x1",        "dup_x2",
    "dup2",          "dup2_x1",
    "dup2_x2",       "swap",
    "iadd",          "ladd",
    "fadd",          "dadd",
    "isub",          "lsub",
    "fsub",          "dsub",
    "imul",          "lmul",
    "fmul",          "dmul",
    "idiv",          "ldiv",
    "fdiv",          "ddiv",
    "irem",          "lrem",
    "frem",          "drem",
    "ineg",          "lneg",
    "fneg",          "dneg",
    "ishl",          "lshl",
    "ishr",          "lshr",
    "iushr",         "lushr",
    "iand",          "land",
    "ior",           "lor",
    "ixor",          "lxor",
    "iinc",          "i2l",
    "i2f",           "i2d",
    "l2i",           "l2f",
    "l2d",           "f2i",
    "f2l",           "f2d",
    "d2i",           "d2l",
    "d2f",           "i2b",
    "i2c",           "i2s",
    "lcmp",          "fcmpl",
    "fcmpg",         "dcmpl",
    "dcmpg",         "ifeq",
    "ifne",          "iflt",
    "ifge",          "ifgt",
    "ifle",          "if_icmpeq",
    "if_icmpne",     "if_icmplt",
    "if_icmpge",     "if_icmpgt",
    "if_icmple",     "if_acmpeq",
    "if_acmpne",     "goto",
    "jsr",           "ret",
    "tableswitch",   "lookupswitch",
    "ireturn",       "lreturn",
    "freturn",       "dreturn",
    "areturn",       "return",
    "getstatic",     "putstatic",
    "getfield",      "putfield",
    "invokevirtual", "invokespecial",
    "invokestatic",  "invokeinterface",
    "xxxunusedxxx",  "new",
    "newarray",      "anewarray class",
    "arraylength",   "athrow",
    "checkcast",     "instanceof",
    "monitorenter",  "monitorexit",
    "wide",          "multianewarray",
    "ifnull",        "ifnonnull",
    "goto_w",        "jsr_w",
    "breakpoint",
};
static_assert(sizeof MNEMONICS / sizeof MNEMONICS[0] == 203, "named opcodes run from 0 to 202");

// Built when the library is loaded.
[[maybe_unused]] const OpcodeTable& loadedTable = OpcodeTable::instance();

} // namespace

const OpcodeTable& OpcodeTable::instance() {
    static const OpcodeTable table;
    return table;
}

OpcodeTable::OpcodeTable() {
    for (int op = 0; op < 256; ++op) {
        if (op <= 202)
            mRows[op].mnemonic = MNEMONICS[op];
        else if (op <= 253)
            mRows[op].mnemonic = "rserved" + std::to_string(op);
        else
            mRows[op].mnemonic = op == 254 ? "impdep1" : "impdep2";
        mRows[op].kind = OPERANDS_NONE;
    }
    auto set = [this](std::initializer_list<int> ops, int32_t kind) {
        for (int op : ops)
            mRows[op].kind = kind;
    };
    auto setRange = [this](int first, int last, int32_t kind) {
        for (int op = first; op <= last; ++op)
            mRows[op].kind = kind;
    };
    set({19, 20, 187, 189, 192, 193}, OPERANDS_POOL_U2);
    setRange(178, 184, OPERANDS_POOL_U2);
    setRange(21, 25, OPERANDS_LOCAL_U1);
    setRange(54, 58, OPERANDS_LOCAL_U1);
    set({169}, OPERANDS_LOCAL_U1);
    set({18}, OPERANDS_POOL_U1);
    set({197}, OPERANDS_MULTIANEWARRAY);
    set({17}, OPERANDS_IMMEDIATE_S2);
    setRange(153, 168, OPERANDS_BRANCH_S2);
    set({198, 199}, OPERANDS_BRANCH_S2);
    set({200, 201}, OPERANDS_BRANCH_S4);
    set({188}, OPERANDS_ARRAY_TYPE);
    set({185}, OPERANDS_INVOKEINTERFACE);
    set({132}, OPERANDS_IINC);
    set({16}, OPERANDS_IMMEDIATE_S1);
    set({170}, OPERANDS_TABLESWITCH);
    set({171}, OPERANDS_LOOKUPSWITCH);
    set({196}, OPERANDS_WIDE);
    // The implicit-local loads and stores: four families of five, one per local slot.
    for (int slot = 0; slot < 4; ++slot) {
        const int32_t kind = OPERANDS_LOCAL_0 + slot;
        for (int family = 0; family < 5; ++family) {
            mRows[26 + family * 4 + slot].kind = kind;
            mRows[59 + family * 4 + slot].kind = kind;
        }
    }
}

} // namespace classfile
