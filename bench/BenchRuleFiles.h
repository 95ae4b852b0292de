#pragma once

#include <string>

#include "classwriter/RuleFileBuilder.h"

namespace {

using classwriter::RuleAnnotation;
using classwriter::RuleCode;

// Each rule names two parameters, carries two annotations and calls builtins, the next rule, an
// attribute and enumeration members, as compiled rules do.
inline std::string benchRuleFile(int rules) {
    classwriter::RuleFileBuilder b("Bench");
    const int attributes = rules / 10 + 1;
    for (int a = 0; a < attributes; ++a)
        b.addAttribute("attr" + std::to_string(a), "()D",
                       {RuleAnnotation("$Range").withFloat(0, "min").withFloat(a, "max"),
                        RuleAnnotation("$Group").withString("G").withFloat(a % 3)},
                       RuleCode().pushDouble(a + 0.5));
    for (int r = 0; r < rules; ++r) {
        RuleCode code;
        code.callRule("attr" + std::to_string(r % attributes), "()D")
            .callBuiltin("extrude", "(D)V")
            .pushString("tex" + std::to_string(r) + ".png")
            .callBuiltin("color", "(Ljava/lang/String;)V")
            .readEnum("AlignAxesSelector", r % 2 ? "x" : "z")
            .callBuiltin("alignScopeToAxes", "(Lcom/velmor/gc/AlignAxesSelector;)V")
            .pushInt(r)
            .pushDouble(r * 0.25);
        if (r + 1 < rules)
            code.callRule("Rule" + std::to_string(r + 1) + "$part", "(DLjava/lang/String;)V");
        b.addRule("Rule" + std::to_string(r) + "$part", "(DLjava/lang/String;)V", {"w", "label"},
                  {RuleAnnotation("$Order").withFloat(r), RuleAnnotation("$Doc").withString("rule")},
                  code);
    }
    const auto bytes = b.bytes();
    return std::string(bytes.begin(), bytes.end());
}

} // namespace
