#include "kovx/TKB.h"

namespace kovx {

namespace {

void releaseValue(TKBConstant& c) {
    switch (c.kind) {
    case TKBConstant::STRING: delete static_cast<boost::shared_ptr<std::wstring>*>(c.value); break;
    case TKBConstant::DOUBLE: delete static_cast<double*>(c.value); break;
    case TKBConstant::INTEGER:
    case TKBConstant::BUILTIN:
    case TKBConstant::ENUM_TYPE: delete static_cast<int32_t*>(c.value); break;
    case TKBConstant::METHOD: delete static_cast<TKBMethod*>(c.value); break;
    case TKBConstant::CREATE_SHAPE: break;
    case TKBConstant::ENUM_VALUE: delete static_cast<boost::shared_ptr<TKB::Enum>*>(c.value); break;
    }
    c.value = nullptr;
}

} // namespace

TKBProgram::~TKBProgram() {
    for (TKBConstant* c : constants) {
        if (c) {
            releaseValue(*c);
            delete c;
        }
    }
    delete ruleFileInfo;
}

TKB::TKB() : program(new TKBProgram) {}
TKB::~TKB() = default;

TKB* TKB::create() { return new TKB; }

} // namespace kovx
