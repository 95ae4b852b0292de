#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "kov/RuleFileInfo.h"
#include "kovx/Extension.h"

namespace kovx {

/// One translated constant pool entry. kind says what value points to:
///   0 string      boost::shared_ptr<std::wstring>*
///   1 double      double*
///   2 integer     int32_t*
///   3 rule        TKBMethod*
///   4 builtin     int32_t* (builtin id)
///   5 shape creation intrinsic: null
///   6 enum type   int32_t* (index into TKBProgram::enumTypes)
///   7 enum value  boost::shared_ptr<TKB::Enum>*
struct KOV_CORE_API TKBConstant {
    enum Kind : uint32_t {
        STRING = 0, DOUBLE = 1, INTEGER = 2, METHOD = 3, BUILTIN = 4, CREATE_SHAPE = 5,
        ENUM_TYPE = 6, ENUM_VALUE = 7,
    };
    uint32_t kind = STRING;
    void* value = nullptr;
};

/// A rule or function of the rule file, as referenced from the constant pool.
struct KOV_CORE_API TKBMethod {
    int32_t poolIndex = 0;
    int32_t methodPosition = -1;
    uint8_t undefined = 0;
    int32_t maxStack = -1;
    int32_t paramCount = 0;
    int32_t localSlots = 0;
    std::vector<int32_t> localTypes;
    std::vector<uint8_t> code;
    uint8_t isPublic = 1;
    std::wstring name;
    std::wstring baseName;
    std::wstring descriptor;
};

/// The data of a rule program. Owns every constant, every constant's value and the rule file info.
struct KOV_CORE_API TKBProgram {
    /// Where the program came from, for diagnostics; the loader leaves it alone.
    std::wstring origin;
    std::vector<TKBConstant*> constants;
    std::vector<int32_t> fieldRefs;
    std::vector<std::string> enumTypes;
    kov::RuleFileInfo* ruleFileInfo = nullptr;
    std::map<std::wstring, int32_t> methodIndex;

    TKBProgram() = default;
    ~TKBProgram();
    TKBProgram(const TKBProgram&) = delete;
    TKBProgram& operator=(const TKBProgram&) = delete;
};

/// A rule program: the content that the rule file decoder produces.
class KOV_CORE_API TKB : public Content {
public:
    /// An enumeration value: its position in its type (-1 when unknown) and "Type.member".
    class KOV_CORE_API Enum {
    public:
        Enum(int32_t v, std::wstring n) : value(v), name(std::move(n)) {}
        int32_t value;
        std::wstring name;
    };

    /// A new, empty rule program owned by the caller.
    static TKB* create();
    ~TKB() override;
    kov::ContentType getContentType() const override { return kov::CT_RULEFILE; }

    const TKBProgram& getProgram() const { return *program; }

    /// The shared data that decoders fill.
    boost::shared_ptr<TKBProgram> program;

private:
    TKB();
};

} // namespace kovx
