#include <gtest/gtest.h>

#include "ClassFileTestSupport.h"
#include "classfile/CodeListing.h"

using namespace classfile;
using namespace classfiletest;

namespace {

class CodeListingTest : public ::testing::Test {
protected:
    CodeListingTest() {
        b.integer(9);                                            // 1
        b.methodrefOf("com/velmor/gc/Builtins", "box", "(DD)V"); // 2..7 (methodref at 7)
        b.fieldrefOf("com/velmor/gc/Color", "RED", "I");         // 8..13 (fieldref at 13)
        b.classNamed("[I");                                      // 14, 15
        pool = readPool(b);
    }

    std::string listing(const std::vector<uint8_t>& code) {
        std::ostringstream out;
        printCodeListing(
            out, Bytes(std::string_view(reinterpret_cast<const char*>(code.data()), code.size())),
            *pool);
        return out.str();
    }

    classwriter::ConstantPoolBuilder b;
    std::unique_ptr<ConstantPool> pool;
};

const char* const L = "\n            ";

TEST_F(CodeListingTest, DecodesOperandsByKind) {
    const std::string text = listing({
        0x12, 1,                //  0: ldc #1
        0x11, 0xFF, 0xFE,       //  2: sipush -2
        0x10, 0x80,             //  5: bipush -128
        0xA7, 0xFF, 0xF9,       //  7: goto -7 -> 0
        0x84, 3,    0xFF,       // 10: iinc 3 -1
        0xBC, 10,               // 13: newarray int
        0xB9, 0,    7,    2, 0, // 15: invokeinterface
        0xC5, 0,    15,   2,    // 20: multianewarray
        0xB2, 0,    13,         // 24: getstatic (field references have no display form)
        0x15, 4,                // 27: iload 4
        0x1B,                   // 29: iload_1
        0xC8, 0x80, 0,    0, 0, // 30: goto_w
        0xBC, 99,               // 35: newarray of an unknown type
        0x13, 0,    77,         // 37: ldc_w outside the pool
    });
    EXPECT_EQ(std::string(L) + "0: ldc #1 <Integer 9>" + L + "2: sipush -2" + L + "5: bipush -128" +
                  L + "7: goto 0" + L + "10: iinc 3 -1" + L + "13: newarray int" + L +
                  "15: invokeinterface (args 2) #7 <Method void com.velmor.gc.Builtins.box(double, "
                  "double)>" +
                  L + "20: multianewarray #15 dim #2 <Class I[]>" + L + "24: getstatic #13 <>" + L +
                  "27: iload 4" + L + "29: iload_1" + L + "30: goto_w -2147483618" + L +
                  "35: newarray <unknown array type 99>" + L + "37: ldc_w #77 <outside the pool>",
              text);
}

TEST_F(CodeListingTest, SwitchesAreAlignedFromTheCodeStart) {
    const std::string table = listing({
        0x00,                                   // 0: nop
        0xAA, 0, 0,                             // 1: tableswitch, padding to 4
        0,    0, 0, 40, 0xFF, 0xFF, 0xFF, 0xFF, // default 41, low -1
        0,    0, 0, 0,                          // high 0
        0,    0, 0, 10, 0xFF, 0xFF, 0xFF, 0xFF, // offsets 10, -1
        0xAB,                                   // 24: lookupswitch
        0,    0, 0,                             // padding to 28
        0,    0, 0, 4,  0,    0,    0,    1,    // default 28, one pair
        0,    0, 0, 7,  0,    0,    0,    8,    // 7 -> 32
    });
    EXPECT_EQ(std::string(L) + "0: nop" + L + "1: tableswitch -1 to 0 default=41" + L + "-1: 11" +
                  L + "0: 0" + L + "24: lookupswitch 1: default=28" + L + "7: 32",
              table);
}

TEST_F(CodeListingTest, WideFormsAndOddMnemonics) {
    EXPECT_EQ(std::string(L) + "0: wide iload_w 300" + L + "4: wide iinc_w 2 -3" + L +
                  "10: xxxunusedxxx" + L + "11: anewarray class #1 <Integer 9>" + L +
                  "14: astore_3" + L + "15: breakpoint" + L + "16: rserved203" + L +
                  "17: rserved253" + L + "18: impdep1" + L + "19: impdep2",
              listing({0xC4, 0x15, 0x01, 0x2C, 0xC4, 0x84, 0, 2, 0xFF, 0xFD, 0xBA, 0xBD, 0, 1, 0x4E,
                       202, 203, 253, 254, 255}));
}

TEST_F(CodeListingTest, OperandsPastTheEndStopTheListing) {
    const std::string marker = " <truncated: the operands run past the end of the code>";
    EXPECT_EQ(std::string(L) + "0: nop" + L + "1: sipush" + marker, listing({0x00, 0x11, 0x01}));
    EXPECT_EQ(std::string(L) + "0: wide" + marker, listing({0xC4, 0x84, 0}));
    // A table whose case count exceeds the remaining bytes is not expanded.
    EXPECT_EQ(std::string(L) + "0: tableswitch" + marker,
              listing({0xAA, 0, 0, 0, 0, 0, 0, 0, 0x80, 0, 0, 0, 0x7F, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(std::string(L) + "0: tableswitch <malformed operands: the listing stops here>",
              listing({0xAA, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 0, 0, 0, 1, 0}));
    EXPECT_EQ(std::string(L) + "0: wide <malformed operands: the listing stops here>",
              listing({0xC4, 0x00, 0, 1}));
}

} // namespace
