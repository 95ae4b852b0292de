#include "codecs/tkb/RuleFileInfoExtraction.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <optional>
#include <string_view>

#include "classfile/AnnotationAttributes.h"
#include "classfile/AttributeCode.h"
#include "classfile/ClassInfo.h"
#include "classfile/TableAttributes.h"
#include "codecs/tkb/MemoryBudget.h"
#include "rulefileinfo/RuleFileInfoImpl.h"
#include "util/StringUtils.h"

namespace tkb {

const char* const MARKER_ANNOTATION_TYPE = "Lcom/velmor/gc/TKAAnnotations;";

namespace {

using classfile::AnnotationView;
using classfile::Attribute;
using classfile::AttributeKind;
using classfile::ClassInfo;
using classfile::ConstantPool;
using classfile::ElementValueView;
using classfile::MethodInfo;
using ElementList = ElementValueView::Range;
using AttributeList = classfile::AttributeList;

// Views, so that comparisons look at the lengths first.
constexpr std::string_view NAME_ELEMENT = "name";
constexpr std::string_view ATTRIBUTE_MARK = "_$ATTR";
constexpr std::string_view RULE_MARK = "_$RULE";
constexpr std::wstring_view ORDER_ANNOTATION = L"$Order";
constexpr std::wstring_view GROUP_ANNOTATION = L"$Group";
constexpr std::wstring_view START_RULE_ANNOTATION = L"$StartRule";
constexpr double START_RULE_BONUS = 1000000.0;

std::wstring widen(std::string_view s) {
    return util::StringUtils::toUTF32FromUTF8(s);
}

const Attribute* firstOfKind(const AttributeList& attributes, AttributeKind kind) {
    for (const auto& attribute : attributes)
        if (attribute->kind() == kind)
            return attribute.get();
    return nullptr;
}

const classfile::AttributeRuntimeAnnotations* visibleAnnotations(const AttributeList& attributes) {
    return static_cast<const classfile::AttributeRuntimeAnnotations*>(
        firstOfKind(attributes, AttributeKind::RuntimeVisibleAnnotations));
}

// The first LocalVariableTable of the method's first Code attribute, if any.
const classfile::AttributeLocalVariableTable* localVariables(const MethodInfo& method) {
    const auto* code = static_cast<const classfile::AttributeCode*>(
        firstOfKind(method.attributes, AttributeKind::Code));
    if (!code)
        return nullptr;
    return static_cast<const classfile::AttributeLocalVariableTable*>(
        firstOfKind(code->attributes, AttributeKind::LocalVariableTable));
}

bool isMarker(const ConstantPool& pool, AnnotationView annotation, MemoryBudget& budget) {
    std::string scratch;
    return poolText(pool, annotation.typeIndex(), "an annotation type", scratch, budget) ==
           MARKER_ANNOTATION_TYPE;
}

// The nested annotations of a marker: the values of its first element, which is an array.
ElementList nestedOf(AnnotationView marker) {
    const ElementList pairs = marker.elementValuePairs();
    return pairs.empty() ? ElementList(nullptr, 0, false) : (*pairs.begin()).values();
}

// The texts of element names and values; scratch holds the text when it is not a pool entry's own.
std::string_view elementName(const ConstantPool& pool, ElementValueView pair,
                             std::string& scratch, MemoryBudget& budget) {
    return poolText(pool, pair.elementNameIndex(), "an element name", scratch, budget);
}

std::string_view elementText(const ConstantPool& pool, ElementValueView value,
                             std::string& scratch, MemoryBudget& budget) {
    return poolText(pool, value.constValueIndex(), "an element value", scratch, budget);
}

// The wide copy of an element value's text, charged as what.
std::wstring wideText(const ConstantPool& pool, ElementValueView value, std::string& scratch,
                      MemoryBudget& budget, const char* what) {
    const std::string_view text = elementText(pool, value, scratch, budget);
    budget.chargeWide(text.size(), what);
    return widen(text);
}

// fillAnnotation, returning the end of the nested annotation, which it walks whole.
const uint8_t* fillAnnotationAt(const ConstantPool& pool, AnnotationImpl& annotation,
                                AnnotationView nested, MemoryBudget& budget);

enum class EntryKind { Attribute, Rule };

// Calls take(kind) for every "name" element of the marker's nested annotations that marks an
// attribute or a rule, in order.
template <typename Take>
void forEachEntryMark(const ConstantPool& pool, AnnotationView marker, MemoryBudget& budget,
                      Take take) {
    std::string nameScratch;
    std::string markScratch;
    const ElementList nested = nestedOf(marker);
    for (auto it = nested.begin(); it != nested.end();) {
        const ElementValueView value = *it;
        if (value.tag() != '@') {
            ++it;
            continue;
        }
        // The pairs are stepped over one by one, so the last one's end is where the next nested
        // annotation starts: the nested annotation is not walked a second time to find it.
        const AnnotationView annotation = value.annotationValue();
        const ElementList pairs = annotation.elementValuePairs();
        const uint8_t* after = pairs.empty() ? annotation.end() : nullptr;
        for (auto pairIt = pairs.begin(); pairIt != pairs.end(); pairIt.moveTo(after)) {
            const ElementValueView pair = *pairIt;
            after = pair.end();
            if (elementName(pool, pair, nameScratch, budget) != NAME_ELEMENT)
                continue;
            const std::string_view mark = elementText(pool, pair, markScratch, budget);
            if (mark == ATTRIBUTE_MARK)
                take(EntryKind::Attribute);
            else if (mark == RULE_MARK)
                take(EntryKind::Rule);
        }
        it.moveTo(after);
    }
}

// Gives owner (the rule file info or an entry) one annotation per nested annotation of the marker.
template <typename Owner>
void fillAnnotationList(const ConstantPool& pool, AnnotationView marker, Owner& owner,
                        MemoryBudget& budget) {
    const ElementList nested = nestedOf(marker);
    budget.charge(sizeof(AnnotationImpl) * nested.size(), "the annotations of its rule file info");
    owner.setNumAnnotations(nested.size());
    size_t k = 0;
    for (auto it = nested.begin(); it != nested.end(); ++k) {
        const ElementValueView value = *it;
        if (value.tag() == '@')
            it.moveTo(fillAnnotationAt(pool, owner.annotations[k], value.annotationValue(),
                                       budget));
        else
            ++it;
    }
}

void applySortAnnotations(EntryImpl& entry, MemoryBudget& budget) {
    for (size_t i = 0; i < entry.numAnnotations; ++i) {
        const AnnotationImpl& annotation = entry.annotations[i];
        const size_t n = annotation.numArguments;
        const AnnotationArgumentImpl* args = annotation.arguments;
        if (annotation.name == ORDER_ANNOTATION && n > 0 && args[0].type == kov::VT_FLOAT)
            entry.order = args[0].floatValue;
        if (annotation.name == GROUP_ANNOTATION && n > 0 && args[n - 1].type == kov::VT_FLOAT) {
            entry.groupOrder = args[n - 1].floatValue;
            entry.group.clear();
            for (size_t k = 0; k + 1 < n; ++k) {
                if (args[k].type != kov::VT_STR)
                    continue;
                budget.charge(sizeof(wchar_t) * args[k].strValue.size(),
                              "the groups of its entries");
                entry.group += args[k].strValue;
            }
        }
        if (annotation.name == START_RULE_ANNOTATION && n == 0)
            entry.order += START_RULE_BONUS;
    }
}

} // namespace

// What an entry needs of its method, kept apart from the class model: the name and descriptor
// indices and, in the builder's list, the name indices of the method's local variables.
struct RuleFileInfoBuilder::Marked {
    AnnotationView annotation;
    /// The texts composed from other pool entries that looking at the annotation charged.
    size_t composedTexts;
    uint32_t attributes;
    uint32_t rules;
    uint32_t localsBegin;
    uint32_t localCount;
    uint16_t nameIndex;
    uint16_t descriptorIndex;
    EntryKind last;
};

namespace {

// types is scratch room for the descriptor's type codes, reused from entry to entry; localNames
// are the name indices of the method's first local variable table, empty when it has none.
void fillEntry(const ConstantPool& pool, EntryImpl& entry, uint16_t nameIndex,
               uint16_t descriptorIndex, const uint16_t* localNames, size_t localCount,
               AnnotationView marker, std::vector<int32_t>& types, MemoryBudget& budget) {
    std::string scratch;
    const std::string_view methodName =
        poolText(pool, nameIndex, "a member name", scratch, budget);
    budget.chargeWide(methodName.size(), "the names of its entries");
    entry.name = widen(entryName(methodName));

    const int32_t count = parseMethodDescriptor(
        poolText(pool, descriptorIndex, "a member descriptor", scratch, budget), &types);
    entry.returnType = types[0];

    budget.charge(sizeof(ParameterImpl) * static_cast<size_t>(count),
                  "the parameters of its entries");
    entry.setNumParameters(static_cast<size_t>(count));
    for (int32_t k = 0; k < count; ++k) {
        ParameterImpl& parameter = entry.parameters[k];
        parameter.type = types[k + 1];
        if (static_cast<size_t>(k) < localCount) {
            const std::string_view name =
                poolText(pool, localNames[k], "a parameter name", scratch, budget);
            budget.chargeWide(name.size(), "the parameter names of its entries");
            parameter.name = widen(name);
        } else {
            parameter.name = L"param" + std::wstring(1, static_cast<wchar_t>(L'0' + k));
            budget.charge(sizeof(wchar_t) * parameter.name.size(),
                          "the parameter names of its entries");
        }
    }

    fillAnnotationList(pool, marker, entry, budget);

    entry.order = -count;
    applySortAnnotations(entry, budget);
}

// A strict weak order on doubles, NaN after everything, so that a damaged "$Order" value cannot
// break the sort.
bool lessDouble(double a, double b) {
    if (std::isnan(a))
        return false;
    return std::isnan(b) || a < b;
}

bool presentationLess(const EntryImpl& a, const EntryImpl& b) {
    if (lessDouble(a.groupOrder, b.groupOrder) || lessDouble(b.groupOrder, a.groupOrder))
        return lessDouble(a.groupOrder, b.groupOrder);
    if (a.group != b.group)
        return a.group < b.group;
    if (lessDouble(a.order, b.order) || lessDouble(b.order, a.order))
        return lessDouble(a.order, b.order);
    return a.name < b.name;
}

// Stable sort by presentationLess. Entries are heavy to move, so the order is found on their
// positions and then entries swap into place along the cycles of that order.
void sortForPresentation(EntryImpl* entries, size_t count) {
    std::vector<size_t> order(count);
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(), [entries](size_t a, size_t b) {
        return presentationLess(entries[a], entries[b]);
    });
    // Position j receives the entry at order[j]; each swap settles one position of a cycle.
    std::vector<bool> placed(count);
    for (size_t start = 0; start < count; ++start) {
        for (size_t j = start; !placed[j];) {
            placed[j] = true;
            const size_t from = order[j];
            if (from == start)
                break;
            entries[j].swap(entries[from]);
            j = from;
        }
    }
}

} // namespace

int32_t parseMethodDescriptor(std::string_view descriptor, std::vector<int32_t>* types) {
    constexpr int32_t NO_CODE = -1;
    // Reads the type at pos and moves pos past it.
    auto readType = [&descriptor](size_t& pos) -> int32_t {
        const char c = descriptor[pos++];
        switch (c) {
        case 'V': return kov::VT_VOID;
        case 'Z': return kov::VT_BOOL;
        case 'D': return kov::VT_FLOAT;
        case 'I': return kov::VT_INT;
        case 'L': {
            const size_t end = descriptor.find(';', pos);
            if (end == std::string::npos) {
                pos = descriptor.size();
                return kov::VT_UNKNOWN;
            }
            const size_t start = pos;
            pos = end + 1;
            return end >= start + 6 && descriptor.compare(end - 6, 6, "String") == 0
                       ? kov::VT_STR
                       : kov::VT_UNKNOWN;
        }
        default: return c >= 'B' && c <= 'Z' ? kov::VT_UNKNOWN : NO_CODE;
        }
    };

    if (types)
        types->assign(descriptor.size() + 1, kov::VT_UNKNOWN);
    size_t pos = descriptor.find(')');
    if (pos != std::string::npos && ++pos < descriptor.size()) {
        const int32_t code = readType(pos);
        if (types && code != NO_CODE)
            (*types)[0] = code;
    }

    const size_t open = descriptor.find('(');
    if (open == std::string::npos)
        return 0;
    int32_t count = 0;
    pos = open + 1;
    while (pos < descriptor.size() && descriptor[pos] != ')') {
        ++count;
        const char c = descriptor[pos];
        if (c < 'B' || c > 'Z') {
            ++pos;
            continue;
        }
        const int32_t code = readType(pos);
        if (types)
            (*types)[count] = code;
    }
    return count;
}

std::string entryName(std::string_view methodName) {
    std::string name(methodName);
    const size_t first = name.find('$');
    if (first != std::string::npos)
        std::replace(name.begin() + first + 1, name.end(), '$', '.');
    return name;
}

namespace {

enum Field { TYPES, NAMES, BVALS, DVALS, SVALS, NONE };

// The argument field an element name fills: "types", "names", "bvals", "dvals" or "svals".
Field fieldOf(std::string_view name) {
    if (name.size() != 5)
        return NONE;
    const std::string_view rest = name.substr(1);
    switch (name[0]) {
    case 't': return rest == "ypes" ? TYPES : NONE;
    case 'n': return rest == "ames" ? NAMES : NONE;
    case 'b': return rest == "vals" ? BVALS : NONE;
    case 'd': return rest == "vals" ? DVALS : NONE;
    case 's': return rest == "vals" ? SVALS : NONE;
    default: return NONE;
    }
}

} // namespace

void fillAnnotation(const ClassInfo& classFile, AnnotationImpl& annotation,
                    AnnotationView nested, MemoryBudget& budget) {
    fillAnnotationAt(*classFile.constant_pool, annotation, nested, budget);
}

namespace {

const uint8_t* fillAnnotationAt(const ConstantPool& pool, AnnotationImpl& annotation,
                                AnnotationView nested, MemoryBudget& budget) {
    static const char* const ARGUMENT_TEXTS = "the texts of its annotation arguments";

    annotation.setNumArguments(0);
    bool sized = false;
    // Per field: arguments from this position on hold the field's start value.
    size_t reached[NONE] = {};
    std::string nameScratch;
    std::string textScratch;
    const ElementList pairs = nested.elementValuePairs();
    const uint8_t* after = nullptr;
    for (auto it = pairs.begin(); it != pairs.end(); it.moveTo(after)) {
        const ElementValueView pair = *it;
        // Where the pair ends, found by walking it unless the work below walks it anyway.
        after = nullptr;
        const std::string_view name = elementName(pool, pair, nameScratch, budget);
        const Field field = fieldOf(name);
        if (name == NAME_ELEMENT)
            annotation.name =
                wideText(pool, pair, textScratch, budget, "the names of its annotations");
        if (field == NONE) {
            after = pair.end();
            continue;
        }

        const ElementList values = pair.values();
        if (!sized) {
            budget.charge(sizeof(AnnotationArgumentImpl) * values.size(),
                          "the arguments of its annotations");
            annotation.setNumArguments(values.size());
            sized = true;
        }
        // Arguments past the array fall back to the start value, and those past the field's
        // previous array already hold it: each array costs its own length, so many short
        // arrays after a long one cannot make the work grow with their product.
        const size_t given = std::min<size_t>(values.size(), annotation.numArguments);
        const size_t end = std::max(given, reached[field]);
        reached[field] = given;
        auto next = values.begin();
        const uint8_t* valueEnd = nullptr;
        for (size_t k = 0; k < end; ++k) {
            AnnotationArgumentImpl& argument = annotation.arguments[k];
            const bool present = k < values.size();
            const ElementValueView value = present ? *next : ElementValueView(nullptr, false);
            if (present) {
                valueEnd = value.end();
                next.moveTo(valueEnd);
            }
            const uint32_t constantIndex = present ? value.constValueIndex() : 0;
            const std::optional<int32_t> integer =
                present ? pool.integerAt(constantIndex) : std::nullopt;
            switch (field) {
            case TYPES: {
                const int32_t code = integer.value_or(0);
                argument.type = code == 'f'   ? kov::VT_FLOAT
                                : code == 's' ? kov::VT_STR
                                : code == 'b' ? kov::VT_BOOL
                                              : kov::VT_UNKNOWN;
                break;
            }
            case NAMES:
                argument.key = present
                                   ? wideText(pool, value, textScratch, budget, ARGUMENT_TEXTS)
                                   : std::wstring();
                break;
            case BVALS: argument.boolValue = integer && *integer != 0; break;
            case DVALS:
                argument.floatValue = present ? pool.doubleAt(constantIndex).value_or(0.0) : 0.0;
                break;
            case SVALS:
                argument.strValue =
                    present ? wideText(pool, value, textScratch, budget, ARGUMENT_TEXTS)
                            : std::wstring();
                break;
            case NONE: break;
            }
        }
        // The values were walked to the last one: the pair ends there.
        after = given == values.size() && valueEnd ? valueEnd : pair.end();
    }
    return pairs.empty() ? nested.end() : after;
}

} // namespace

RuleFileInfoBuilder::RuleFileInfoBuilder(const ClassInfo& classFile, MemoryBudget& budget)
    : mInfo(std::make_unique<RuleFileInfoImpl>()), mBudget(budget) {
    const ConstantPool& pool = *classFile.constant_pool;
    if (const auto* fileAnnotations = visibleAnnotations(classFile.attributes)) {
        for (const AnnotationView annotation : fileAnnotations->annotations) {
            if (isMarker(pool, annotation, budget))
                fillAnnotationList(pool, annotation, *mInfo, budget);
        }
    }

    // One look at every method's annotations finds the marks; the entries are filled from what it
    // found. Texts composed from other pool entries were charged while looking; each is charged
    // once more where the fill would have looked again, as when the fill looked for itself.
    // The list is sized once for every annotation there is: it lives on while the entries are
    // built, when the heap is at its fullest.
    size_t annotationCount = 0;
    for (const auto& method : classFile.methods)
        if (const auto* annotations = visibleAnnotations(method->attributes))
            annotationCount += annotations->annotations.size();
    mMarked.reserve(annotationCount);
    size_t attributeCount = 0;
    size_t ruleCount = 0;
    for (const auto& method : classFile.methods) {
        const auto* annotations = visibleAnnotations(method->attributes);
        if (!annotations)
            continue;
        for (const AnnotationView annotation : annotations->annotations) {
            const size_t spentBefore = budget.spent();
            Marked mark{annotation, 0, 0, 0, 0, 0, method->name_index, method->descriptor_index,
                        EntryKind::Attribute};
            const bool marker = isMarker(pool, annotation, budget);
            if (marker)
                forEachEntryMark(pool, annotation, budget, [&](EntryKind kind) {
                    ++(kind == EntryKind::Attribute ? mark.attributes : mark.rules);
                    mark.last = kind;
                });
            mark.composedTexts = budget.spent() - spentBefore;
            if (mark.attributes + mark.rules > 0)
                keepLocalNames(mark, localVariables(*method));
            if (mark.attributes + mark.rules > 0 || mark.composedTexts > 0)
                mMarked.push_back(mark);
            attributeCount += mark.attributes;
            ruleCount += mark.rules;
        }
    }
    budget.charge(sizeof(EntryImpl) * (attributeCount + ruleCount),
                  "the entries of its rule file info");
    mInfo->setNumAttributes(attributeCount);
    mInfo->setNumRules(ruleCount);
}

RuleFileInfoBuilder::~RuleFileInfoBuilder() = default;

void RuleFileInfoBuilder::keepLocalNames(Marked& mark,
                                         const classfile::AttributeLocalVariableTable* locals) {
    mark.localsBegin = static_cast<uint32_t>(mLocalNames.size());
    if (!locals)
        return;
    for (const auto& local : locals->local_variable_table)
        mLocalNames.push_back(local.name_index);
    mark.localCount = static_cast<uint32_t>(locals->local_variable_table.size());
}

RuleFileInfoImpl* RuleFileInfoBuilder::finish(const ConstantPool& pool) {
    RuleFileInfoImpl& info = *mInfo;
    // An annotation with several marks takes a slot for each and fills the last one.
    size_t nextAttribute = 0;
    size_t nextRule = 0;
    std::vector<int32_t> types;
    for (const Marked& mark : mMarked) {
        mBudget.charge(mark.composedTexts, "the texts composed from other pool entries");
        if (mark.attributes + mark.rules == 0)
            continue;
        nextAttribute += mark.attributes;
        nextRule += mark.rules;
        EntryImpl& taken = mark.last == EntryKind::Attribute ? info.attributes[nextAttribute - 1]
                                                             : info.rules[nextRule - 1];
        fillEntry(pool, taken, mark.nameIndex, mark.descriptorIndex,
                  mark.localCount ? mLocalNames.data() + mark.localsBegin : nullptr,
                  mark.localCount, mark.annotation, types,
                  mBudget);
    }
    mMarked = std::vector<Marked>();
    mLocalNames = std::vector<uint16_t>();

    sortForPresentation(info.attributes, info.numAttributes);
    sortForPresentation(info.rules, info.numRules);
    return mInfo.release();
}

RuleFileInfoImpl* fillRuleFileInfo(const ClassInfo& classFile, MemoryBudget& budget) {
    return RuleFileInfoBuilder(classFile, budget).finish(*classFile.constant_pool);
}

} // namespace tkb
