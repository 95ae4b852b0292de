#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <vector>

#include "classfile/Arena.h"

#include "classfile/Attribute.h"
#include "classfile/Bytes.h"
#include "classfile/ConstantPool.h"
#include "classfile/MemberInfo.h"

namespace classfile {

class ByteStream;

/// One compiled rule file read completely from a ByteStream.
class ClassInfo {
public:
    /// Major versions above this (as signed 16-bit numbers) are refused.
    static constexpr int16_t MAX_MAJOR_VERSION = 50;

    /// Reads one class file from the stream's current position; throws on failure. The final check
    /// pass ends the process with status 1 when a class entry's name index lies outside the pool.
    explicit ClassInfo(ByteStream& in);
    virtual ~ClassInfo();
    ClassInfo(const ClassInfo&) = delete;
    ClassInfo& operator=(const ClassInfo&) = delete;

    /// Whether reading file might end the process in the check pass: walks the header and the
    /// pool as the reader does, without building anything, and looks for a class entry that fails
    /// the check. Errs towards yes: a file it lets through fails before the check pass or passes
    /// it. Never throws and writes nothing.
    static bool mayEndProcessInCheckPass(Bytes file);

    /// Destroys the class model but its pool, and gives back the memory of the rest (see
    /// ConstantPool::releaseModelObjects): for a reader that needs only the pool from some point
    /// on. The pool keeps answering reads.
    static std::unique_ptr<ConstantPool> keepPoolOnly(std::unique_ptr<ClassInfo> classFile);

    /// Text dump of the sections read so far.
    void print(std::ostream& os) const;

    uint32_t magic = 0;
    uint16_t minor_version = 0;
    /// Compared as a signed value.
    uint16_t major_version = 0;
    /// Kept equal to the pool's size when entries are added.
    uint16_t constant_pool_count = 0;
    std::unique_ptr<ConstantPool> constant_pool;
    uint16_t access_flags = 0;
    /// Entries of the pool (not owned); null for index 0, an empty slot or an index outside the
    /// pool.
    const ConstantPoolEntry* this_class = nullptr;
    const ConstantPoolEntry* super_class = nullptr;
    uint16_t interfaces_count = 0;
    std::vector<const ConstantPoolEntry*> interfaces;
    uint16_t fields_count = 0;
    std::vector<ArenaPtr<FieldInfo>> fields;
    uint16_t methods_count = 0;
    std::vector<ArenaPtr<MethodInfo>> methods;
    uint16_t attributes_count = 0;
    AttributeList attributes;

    // Section-read flags, set in this order as reading proceeds.
    bool headerRead = false;
    bool poolRead = false;
    bool interfacesCountRead = false;
    bool fieldsCountRead = false;
    bool methodsCountRead = false;
    bool attributesCountRead = false;
    bool allRead = false;

    bool isSynthetic = false;
    bool isDeprecated = false;

private:
    void readHeader(ByteStream& in);
    void readClassIndices(ByteStream& in);
    void readMembers(ByteStream& in);
    void readAttributes(ByteStream& in);
    void checkPool() const;
};

} // namespace classfile
