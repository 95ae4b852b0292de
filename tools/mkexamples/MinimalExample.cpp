#include "Examples.h"

#include "classwriter/RuleFileBuilder.h"

namespace mkexamples {

using classwriter::RuleAnnotation;
using classwriter::RuleCode;
using classwriter::RuleFileBuilder;

// attr height = 10
// @StartRule Lot --> extrude(height)
Example minimalExample() {
    RuleFileBuilder b("Minimal");
    b.addAttribute("height", "()D", {}, RuleCode().pushDouble(10));
    b.addRule("Lot", "()V", {}, {RuleAnnotation("$StartRule")},
              RuleCode().callRule("height", "()D").callBuiltin("extrude", "(D)V"));
    return {"minimal.tkb", b.bytes()};
}

} // namespace mkexamples
