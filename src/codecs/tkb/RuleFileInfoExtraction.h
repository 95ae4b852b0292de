#pragma once

// Describes a compiled rule file to the outside: its attributes and rules with their types,
// parameters and annotations, read from the rule compiler's marker annotations.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class AnnotationImpl;
class RuleFileInfoImpl;

#include "classfile/AnnotationView.h"

namespace classfile {
class AttributeLocalVariableTable;
class ClassInfo;
class ConstantPool;
} // namespace classfile

namespace tkb {

class MemoryBudget;

/// The annotation type with which the rule compiler marks the file, its attributes and its rules.
extern const char* const MARKER_ANNOTATION_TYPE;

/// Counts the parameters of a method descriptor. With types, also reads the value type codes:
/// types is resized to one slot per descriptor character plus one, all kov::VT_UNKNOWN, then slot 0
/// receives the return type and slot k + 1 the type of parameter k. An array mark "[" counts as a
/// parameter of its own and gets no code, so "([I)V" has two parameters.
int32_t parseMethodDescriptor(std::string_view descriptor, std::vector<int32_t>* types = nullptr);

/// The entry name of a method: everything up to the first "$" is kept, every later "$" becomes
/// "." ("a$b$c" gives "a$b.c").
std::string entryName(std::string_view methodName);

/// Fills annotation from one nested annotation of a marker ("name", "types", "names", "bvals",
/// "dvals", "svals"). Pool lookups go through classFile's pool and fail as the reader's do; the
/// arguments and their texts are charged to budget.
void fillAnnotation(const classfile::ClassInfo& classFile, AnnotationImpl& annotation,
                    classfile::AnnotationView nested, MemoryBudget& budget);

/// A new rule file info for the class file, attributes and rules sorted for presentation. What it
/// builds is charged to budget, the decode's one budget. The caller owns the result.
RuleFileInfoImpl* fillRuleFileInfo(const classfile::ClassInfo& classFile, MemoryBudget& budget);

/// fillRuleFileInfo in two steps, between which the class model may go but its pool: the
/// entries, the largest part of the info, then share the heap with the pool alone.
class RuleFileInfoBuilder {
public:
    /// Fills the file's own annotations and finds which method annotations mark attributes and
    /// rules, keeping the little the entries need of their methods.
    RuleFileInfoBuilder(const classfile::ClassInfo& classFile, MemoryBudget& budget);
    ~RuleFileInfoBuilder();
    RuleFileInfoBuilder(const RuleFileInfoBuilder&) = delete;
    RuleFileInfoBuilder& operator=(const RuleFileInfoBuilder&) = delete;

    /// Fills the entries through pool, the pool of the model given to the constructor, sorts
    /// them and hands over the rule file info. Once only.
    RuleFileInfoImpl* finish(const classfile::ConstantPool& pool);

private:
    struct Marked;
    void keepLocalNames(Marked& mark, const classfile::AttributeLocalVariableTable* locals);

    std::unique_ptr<RuleFileInfoImpl> mInfo;
    std::vector<Marked> mMarked;
    /// The local variable names of the marked methods, each method's a run of them.
    std::vector<uint16_t> mLocalNames;
    MemoryBudget& mBudget;
};

} // namespace tkb
