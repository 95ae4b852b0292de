// The typed view of a rule program's constants, on a program put together slot by slot.
#include <gtest/gtest.h>

#include "ConstantView.h"

using programview::ConstantKind;
using programview::ConstantView;

namespace {

void put(kovx::TKBProgram& program, uint32_t kind, void* value) {
    program.constants.push_back(new kovx::TKBConstant{kind, value});
}

} // namespace

TEST(ConstantViewTest, ReadsEachKindAsItsOwnTypeAndNothingElse) {
    using K = kovx::TKBConstant;
    kovx::TKBProgram program;
    program.constants.push_back(nullptr);
    put(program, K::STRING, new boost::shared_ptr<std::wstring>(new std::wstring(L"h\u00E9")));
    put(program, K::DOUBLE, new double(0.5));
    put(program, K::INTEGER, new int32_t(-7));
    auto* rule = new kovx::TKBMethod;
    rule->code = {0x2a, 0xb1};
    put(program, K::METHOD, rule);
    put(program, K::BUILTIN, new int32_t(12));
    put(program, K::CREATE_SHAPE, nullptr);
    program.enumTypes = {"AlignAxesSelector"};
    put(program, K::ENUM_TYPE, new int32_t(0));
    put(program, K::ENUM_VALUE,
        new boost::shared_ptr<kovx::TKB::Enum>(new kovx::TKB::Enum(1, L"AlignAxesSelector.y")));

    EXPECT_FALSE(ConstantView::at(program, 0));
    EXPECT_FALSE(ConstantView::at(program, program.constants.size()));
    // In the order of their codes.
    const ConstantKind kinds[] = {
        ConstantKind::STRING,    ConstantKind::DOUBLE,    ConstantKind::INTEGER,
        ConstantKind::RULE,      ConstantKind::BUILTIN,   ConstantKind::CREATE_SHAPE,
        ConstantKind::ENUM_TYPE, ConstantKind::ENUM_VALUE};
    for (size_t i = 1; i < program.constants.size(); ++i) {
        const ConstantView c = *ConstantView::at(program, i);
        const ConstantKind kind = c.kind();
        SCOPED_TRACE(programview::kindWord(kind));
        EXPECT_EQ(kind, kinds[i - 1]);
        EXPECT_EQ(c.code(), i - 1);
        EXPECT_FALSE(c.missingValue());
        // Every accessor but the kind's own gives its empty value.
        EXPECT_EQ(c.text() ? *c.text() : L"", kind == ConstantKind::STRING ? L"h\u00E9" : L"");
        EXPECT_EQ(c.number(), kind == ConstantKind::DOUBLE ? 0.5 : 0);
        EXPECT_EQ(c.integer(), kind == ConstantKind::INTEGER ? -7 : 0);
        EXPECT_EQ(c.rule(), kind == ConstantKind::RULE ? rule : nullptr);
        EXPECT_EQ(c.builtinId(), kind == ConstantKind::BUILTIN ? 12 : -1);
        const bool enumType = kind == ConstantKind::ENUM_TYPE;
        EXPECT_EQ(c.enumTypeIndex(), enumType ? 0 : -1);
        EXPECT_EQ(c.enumTypeName(program) ? *c.enumTypeName(program) : "",
                  enumType ? "AlignAxesSelector" : "");
        EXPECT_EQ(c.enumValue() ? c.enumValue()->name : L"",
                  kind == ConstantKind::ENUM_VALUE ? L"AlignAxesSelector.y" : L"");
    }
    EXPECT_EQ(ConstantView::at(program, 4)->rule()->code, (std::vector<uint8_t>{0x2a, 0xb1}));
}

TEST(ConstantViewTest, MissingValuesAndUnknownCodesReadAsEmpty) {
    using K = kovx::TKBConstant;
    static int32_t foreign = 5;
    kovx::TKBProgram program;
    put(program, K::INTEGER, nullptr);
    put(program, K::STRING, new boost::shared_ptr<std::wstring>());
    put(program, K::ENUM_VALUE, new boost::shared_ptr<kovx::TKB::Enum>());
    put(program, K::ENUM_TYPE, new int32_t(3)); // beyond the one type below
    put(program, 42, &foreign);
    put(program, K::CREATE_SHAPE, nullptr);
    program.enumTypes = {"Only"};

    const ConstantView noValue(*program.constants[0]);
    EXPECT_TRUE(noValue.missingValue());
    EXPECT_EQ(noValue.integer(), 0);
    EXPECT_EQ(ConstantView(*program.constants[1]).text(), nullptr);
    EXPECT_EQ(ConstantView(*program.constants[2]).enumValue(), nullptr);
    const ConstantView outside(*program.constants[3]);
    EXPECT_EQ(outside.enumTypeIndex(), 3);
    EXPECT_EQ(outside.enumTypeName(program), nullptr);

    const ConstantView unknown(*program.constants[4]);
    EXPECT_EQ(unknown.kind(), ConstantKind::UNKNOWN);
    EXPECT_EQ(unknown.code(), 42u);
    EXPECT_FALSE(unknown.missingValue());
    EXPECT_EQ(unknown.integer(), 0);
    EXPECT_STREQ(programview::kindWord(unknown.kind()), "unknown");
    // The core does not release a value of a kind it does not know.
    program.constants[4]->value = nullptr;

    // Shape creation needs no value.
    EXPECT_FALSE(ConstantView(*program.constants[5]).missingValue());
    EXPECT_FALSE(ConstantView(*program.constants[5]).hasValue());
}
