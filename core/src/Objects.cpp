#include "kov/Annotation.h"
#include "kov/Object.h"
#include "kov/RuleFileInfo.h"

namespace kov {

Object::~Object() = default;
AnnotationArgument::~AnnotationArgument() = default;
Annotation::~Annotation() = default;
RuleFileInfo::~RuleFileInfo() = default;
RuleFileInfo::Parameter::~Parameter() = default;
RuleFileInfo::Entry::~Entry() = default;

} // namespace kov
