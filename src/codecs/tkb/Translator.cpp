#include "codecs/tkb/Translator.h"

#include <cstring>
#include <deque>
#include <exception>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>

#include <boost/make_shared.hpp>

#include "classfile/AttributeCode.h"
#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"
#include "classfile/TableAttributes.h"
#include "codecs/tkb/BuiltinTables.h"
#include "codecs/tkb/MemoryBudget.h"
#include "codecs/tkb/RuleFileInfoExtraction.h"
#include "kovx/Log.h"
#include "kovx/StatusException.h"
#include "kovx/TKB.h"
#include "rulefileinfo/RuleFileInfoImpl.h"
#include "util/RuntimeErrorST.h"
#include "util/StringUtils.h"

namespace tkb {

namespace {

using classfile::ClassInfo;
using classfile::ConstantPool;
using classfile::ConstantTag;
using kovx::TKBConstant;
using kovx::TKBMethod;

// The rule compiler always puts the rule file's own class at this pool index; references compare
// their class index against the number, not the class name.
constexpr uint32_t OWN_CLASS_INDEX = 2;
constexpr size_t BUILTINS_CLASS_MIN_LENGTH = 17;
const char* const BUILTINS_CLASS_PREFIX = "com/velmor/";
const char* const BUILTINS_CLASS_SUFFIX = "/Builtins";
const char* const ENUM_TYPE_FACTORY = "valueOf";
const char* const CREATE_SHAPE = "_$createShape";
constexpr uint16_t ACC_PUBLIC = 0x0001;

// Local variable type codes of the rule program.
constexpr int32_t LOCAL_INT_OR_BOOL = 0;
constexpr int32_t LOCAL_DOUBLE = 1;
constexpr int32_t LOCAL_OBJECT = 2;

std::wstring widen(std::string_view s) {
    return util::StringUtils::toUTF32FromUTF8(s);
}

bool startsWith(std::string_view s, const char* prefix) {
    return s.compare(0, std::strlen(prefix), prefix) == 0;
}

bool endsWith(std::string_view s, const char* suffix) {
    const size_t n = std::strlen(suffix);
    return s.size() >= n && s.compare(s.size() - n, n, suffix) == 0;
}

/// Logs the message at error level, then raises the unsupported-content status.
template <typename... Args>
[[noreturn]] void failUnsupported(const char* format, const Args&... args) {
    {
        kovx::LogFormatter log(kov::LOG_ERROR, format);
        (log % ... % args);
    }
    throw kovx::StatusException(kov::STATUS_UNSUPPORTED_RULE_CONTENT);
}

// A method's name and descriptor, which stand for their concatenation: keys are equal when the
// concatenations are, as they were when keys were concatenated strings.
struct MethodKey {
    std::string_view name;
    std::string_view descriptor;
};

// A start for the key hash that no file can know, drawn once per process, so that a file cannot
// pile its methods into one bucket and make every lookup walk them all.
uint64_t processHashSeed() {
    static const uint64_t seed = [] {
        try {
            std::random_device device;
            return (static_cast<uint64_t>(device()) << 32) ^ device();
        } catch (const std::exception&) {
            return uint64_t{0};
        }
    }();
    return seed;
}

struct MethodKeyHash {
    uint64_t seed = processHashSeed();

    size_t operator()(const MethodKey& key) const {
        // FNV-1a over both parts, one after the other, from a seeded start.
        uint64_t hash = 14695981039346656037ull ^ seed;
        for (std::string_view part : {key.name, key.descriptor})
            for (char c : part)
                hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ull;
        return static_cast<size_t>(hash);
    }
};

struct SameMethodKey {
    bool operator()(const MethodKey& a, const MethodKey& b) const {
        if (a.name.size() + a.descriptor.size() != b.name.size() + b.descriptor.size())
            return false;
        if (a.name.size() > b.name.size())
            return (*this)(b, a);
        // a.name is the shorter first part: a prefix of b.name, the rest of b.name starts
        // a.descriptor, and b.descriptor ends it.
        const size_t overlap = b.name.size() - a.name.size();
        return b.name.compare(0, a.name.size(), a.name) == 0 &&
               a.descriptor.compare(0, overlap, b.name.substr(a.name.size())) == 0 &&
               a.descriptor.substr(overlap) == b.descriptor;
    }
};

// Method name followed by descriptor -> position, in one block: open addressing with linear
// probing, never more than half full, so that a rule file's thousands of methods cost one
// allocation rather than one each.
class OwnMethodTable {
  public:
    explicit OwnMethodTable(size_t count) {
        size_t capacity = 8;
        while (capacity < 2 * count)
            capacity *= 2;
        mSlots.resize(capacity);
        mMask = capacity - 1;
    }

    size_t hash(const MethodKey& key) const { return mHash(key); }

    /// The position stored for key, whose hash is given, or nullptr.
    int32_t* find(const MethodKey& key, size_t hash) {
        Slot& slot = slotFor(key, hash);
        return slot.position < 0 ? nullptr : &slot.position;
    }

    /// Stores position for key, which must not be present yet.
    void insert(const MethodKey& key, size_t hash, int32_t position) {
        Slot& slot = slotFor(key, hash);
        slot.key = key;
        slot.hash = hash;
        slot.position = position;
    }

  private:
    struct Slot {
        MethodKey key;
        size_t hash = 0;
        /// -1 while the slot is empty.
        int32_t position = -1;
    };

    // The slot holding key, or the empty slot where it belongs.
    Slot& slotFor(const MethodKey& key, size_t hash) {
        for (size_t i = hash & mMask;; i = (i + 1) & mMask) {
            Slot& slot = mSlots[i];
            if (slot.position < 0 || (slot.hash == hash && mSame(slot.key, key)))
                return slot;
        }
    }

    std::vector<Slot> mSlots;
    size_t mMask = 0;
    MethodKeyHash mHash;
    SameMethodKey mSame;
};

class Translator {
  public:
    Translator(kovx::TKBProgram& program, const ClassInfo& classFile, MemoryBudget& budget)
        : mProgram(program), mClass(classFile), mPool(*classFile.constant_pool),
          // Deliberately signed: a pool of 32768 or more slots is not translated.
          mPoolCount(static_cast<int16_t>(classFile.constant_pool_count)),
          mOwnMethods(classFile.methods.size()), mBudget(budget) {}

    /// Translates the constants; the rule file info is built once the translator's own tables
    /// are gone.
    void run() {
        mapOwnMethods();
        findBuiltinsClass();
        translateConstants();
    }

  private:
    // Any entry with a value serves as a text, not only a Utf8 one; scratch holds a text that is
    // no entry's own.
    std::string_view text(uint32_t index, const char* what, std::string& scratch) {
        return poolText(mPool, index, what, scratch, mBudget);
    }

    void mapOwnMethods() {
        for (size_t position = 0; position < mClass.methods.size(); ++position) {
            const classfile::MethodInfo& method = *mClass.methods[position];
            std::string nameScratch;
            std::string descriptorScratch;
            MethodKey key{text(method.name_index, "a method name", nameScratch),
                          text(method.descriptor_index, "a method descriptor", descriptorScratch)};
            const size_t hash = mOwnMethods.hash(key);
            if (int32_t* known = mOwnMethods.find(key, hash)) {
                *known = static_cast<int32_t>(position);
                continue;
            }
            const size_t size = key.name.size() + key.descriptor.size();
            mBudget.charge(size, "the keys of its own-method map");
            // A composed text lives in its scratch only: such a key keeps a copy of its own.
            if (key.name.data() == nameScratch.data() ||
                key.descriptor.data() == descriptorScratch.data()) {
                mComposedKeys.push_back(std::string(key.name) + std::string(key.descriptor));
                key = MethodKey{mComposedKeys.back(), std::string_view()};
            }
            mOwnMethods.insert(key, hash, static_cast<int32_t>(position));
        }
    }

    void findBuiltinsClass() {
        for (int32_t i = 0; i < mPoolCount; ++i) {
            const std::optional<uint16_t> nameIndex =
                mPool.classNameIndexAt(static_cast<uint32_t>(i));
            if (!nameIndex)
                continue;
            std::string scratch;
            const std::string_view name = text(*nameIndex, "a class name", scratch);
            if (name.data() != scratch.data())
                mClassNames[static_cast<uint32_t>(i)] = name;
            if (name.size() >= BUILTINS_CLASS_MIN_LENGTH &&
                startsWith(name, BUILTINS_CLASS_PREFIX) && endsWith(name, BUILTINS_CLASS_SUFFIX))
                mBuiltinsClass = i;
        }
    }

    void translateConstants() {
        // A negative count fails here with the standard library's length error; kept so.
        mProgram.constants.reserve(static_cast<size_t>(static_cast<int64_t>(mPoolCount)));
        // The table takes every slot at once and is cut back after the last constant stored,
        // whether the translation ends or fails: one step instead of a growth per constant.
        mProgram.constants.resize(static_cast<size_t>(mPoolCount));
        struct CutAfterLastStored {
            std::vector<TKBConstant*>& constants;
            const size_t& end;
            ~CutAfterLastStored() { constants.resize(end); }
        } cut{mProgram.constants, mStoredEnd};
        for (int32_t i = 0; i < mPoolCount; ++i) {
            const auto index = static_cast<uint32_t>(i);
            switch (mPool.tagAt(index)) {
            case ConstantTag::String: {
                std::string scratch;
                const std::string_view value =
                    text(*mPool.stringIndexAt(index), "a string value", scratch);
                mBudget.chargeWide(value.size(), "its string constants");
                store(i, TKBConstant::STRING,
                      std::make_unique<boost::shared_ptr<std::wstring>>(
                          boost::make_shared<std::wstring>(widen(value))));
                break;
            }
            case ConstantTag::Double:
                store(i, TKBConstant::DOUBLE,
                      std::make_unique<double>(*mPool.doubleAt(index)));
                break;
            case ConstantTag::Integer:
                store(i, TKBConstant::INTEGER,
                      std::make_unique<int32_t>(*mPool.integerAt(index)));
                break;
            case ConstantTag::MethodRef:
                translateMethodRef(i, *mPool.refAt(index));
                break;
            case ConstantTag::FieldRef:
                translateFieldRef(i, *mPool.refAt(index));
                break;
            default: break;
            }
        }
    }

    void translateMethodRef(int32_t i, const ConstantPool::RefIndices& ref) {
        const ConstantPool::NameAndTypeIndices nameAndType =
            mPool.nameAndTypeOfRef(static_cast<uint32_t>(i));
        std::string nameScratch;
        std::string descriptorScratch;
        const std::string_view name = text(nameAndType.nameIndex, "a method name", nameScratch);
        const std::string_view descriptor =
            text(nameAndType.descriptorIndex, "a method descriptor", descriptorScratch);
        mKey.assign(name);
        mKey += descriptor;

        // A method of this file, whatever class the reference names.
        const MethodKey key{name, descriptor};
        if (const int32_t* own = mOwnMethods.find(key, mOwnMethods.hash(key))) {
            storeMethod(i, definedMethod(i, *own, name, descriptor));
            return;
        }
        if (ref.classIndex == OWN_CLASS_INDEX) {
            // Declared without a body: only rules (void) may be.
            const size_t close = descriptor.find(')');
            const char result = close != std::string::npos && close + 1 < descriptor.size()
                                    ? descriptor[close + 1]
                                    : '\0';
            if (result != '\0' && std::strchr("BCDFIJSZL", result))
                failUnsupported("TKB file contains illegal method '%s' with undefined body  - not "
                                "a rule (not void).",
                                mKey);
            storeMethod(i, undefinedMethod(i, name, descriptor));
            return;
        }
        if (ref.classIndex != mBuiltinsClass) {
            if (name != ENUM_TYPE_FACTORY)
                failUnsupported("TKB file contains non-recognized method %s (classIndex %d).", mKey,
                                static_cast<int>(ref.classIndex));
            // The returned type's simple name: "...;)Lcom/velmor/gc/Type;" gives "Type".
            const size_t slash = descriptor.rfind('/');
            std::string type(descriptor.substr(slash == std::string::npos ? 0 : slash + 1));
            if (!type.empty())
                type.pop_back();
            mBudget.charge(type.size(), "the names of its enumeration types");
            mProgram.enumTypes.push_back(std::move(type));
            store(i, TKBConstant::ENUM_TYPE,
                  std::make_unique<int32_t>(static_cast<int32_t>(mProgram.enumTypes.size() - 1)));
            return;
        }
        const BuiltinIndexMap& builtins = *getBuiltinIndexMap();
        auto builtin = builtins.find(mKey);
        if (builtin != builtins.end())
            store(i, TKBConstant::BUILTIN, std::make_unique<int32_t>(builtin->second));
        else if (name == CREATE_SHAPE)
            store(i, TKBConstant::CREATE_SHAPE, std::unique_ptr<int32_t>());
        else
            failUnsupported("TKB file contains non-recognized builtin method %s.", mKey);
    }

    void translateFieldRef(int32_t i, const ConstantPool::RefIndices& ref) {
        const uint16_t classNameIndex = mPool.classNameIndexOfRef(static_cast<uint32_t>(i));
        auto known = mClassNames.find(ref.classIndex);
        std::string classScratch;
        const std::string_view className =
            known != mClassNames.end() ? known->second
                                       : text(classNameIndex, "a class name", classScratch);
        if (ref.classIndex == OWN_CLASS_INDEX) {
            mProgram.fieldRefs.push_back(i);
            return;
        }
        const size_t slash = className.rfind('/');
        mKey.assign(className, slash == std::string::npos ? 0 : slash + 1);
        std::string fieldScratch;
        const std::string_view field =
            text(mPool.nameAndTypeOfRef(static_cast<uint32_t>(i)).nameIndex, "a field name",
                 fieldScratch);

        const EnumValueMap& enums = *getEnumValueMap();
        auto type = enums.find(mKey);
        if (type == enums.end())
            throw util::RuntimeErrorST("No enum '" + mKey + "' found in map!");
        auto member = type->second.find(std::string(field));
        const int32_t value = member == type->second.end() ? -1 : member->second;
        mBudget.chargeWide(mKey.size() + 1 + field.size(), "its enumeration values");
        store(i, TKBConstant::ENUM_VALUE,
              std::make_unique<boost::shared_ptr<kovx::TKB::Enum>>(
                  boost::make_shared<kovx::TKB::Enum>(value, widen(mKey + "." + std::string(field)))));
    }

    static void setNames(TKBMethod& method, std::string_view name, std::string_view descriptor) {
        method.name = widen(name);
        const size_t dollar = method.name.find(L'$');
        if (dollar != std::wstring::npos)
            method.baseName = method.name.substr(0, dollar);
        method.descriptor = widen(descriptor);
    }

    std::unique_ptr<TKBMethod> definedMethod(int32_t i, int32_t position, std::string_view name,
                                             std::string_view descriptor) {
        const classfile::MethodInfo& info = *mClass.methods[static_cast<size_t>(position)];
        const classfile::AttributeCode* code = nullptr;
        for (const auto& attribute : info.attributes) {
            if (attribute->kind() == classfile::AttributeKind::Code) {
                code = static_cast<const classfile::AttributeCode*>(attribute.get());
                break;
            }
        }
        if (!code)
            failUnsupported("TKB file contains method '%s' without a Code attribute.", mKey);

        auto method = std::make_unique<TKBMethod>();
        method->poolIndex = i;
        method->methodPosition = position;
        method->undefined = 0;
        method->maxStack = code->max_stack;
        method->code.assign(code->code.begin(), code->code.end());
        // The count is the same for every table; a long descriptor is read once, not per table.
        bool counted = false;
        for (const auto& attribute : code->attributes) {
            if (attribute->kind() != classfile::AttributeKind::LocalVariableTable)
                continue;
            const auto& table =
                static_cast<const classfile::AttributeLocalVariableTable&>(*attribute);
            if (!counted) {
                method->paramCount = parseMethodDescriptor(descriptor);
                counted = true;
            }
            method->localTypes.assign(table.local_variable_table.size(), 0);
            method->localSlots = 0;
            std::string scratch;
            for (size_t k = 0; k < table.local_variable_table.size(); ++k) {
                const std::string_view local = text(table.local_variable_table[k].descriptor_index,
                                                    "a local variable descriptor", scratch);
                if (local == "I" || local == "Z") {
                    method->localTypes[k] = LOCAL_INT_OR_BOOL;
                    method->localSlots += 1;
                } else if (local == "D") {
                    method->localTypes[k] = LOCAL_DOUBLE;
                    method->localSlots += 2;
                } else if (!local.empty() && local[0] == 'L') {
                    method->localTypes[k] = LOCAL_OBJECT;
                    method->localSlots += 1;
                } else {
                    failUnsupported("TKB file: Datatype '%s' not supported.", std::string(local));
                }
            }
        }
        method->isPublic = (info.access_flags & ACC_PUBLIC) != 0;
        setNames(*method, name, descriptor);
        return method;
    }

    static std::unique_ptr<TKBMethod> undefinedMethod(int32_t i, std::string_view name,
                                                      std::string_view descriptor) {
        auto method = std::make_unique<TKBMethod>();
        method->poolIndex = i;
        method->methodPosition = -1;
        method->undefined = 1;
        method->maxStack = -1;
        method->isPublic = 1;
        setNames(*method, name, descriptor);
        return method;
    }

    void storeMethod(int32_t i, std::unique_ptr<TKBMethod> method) {
        // The texts count twice: the record's own and the method index key.
        mBudget.charge(sizeof(TKBMethod) + method->code.size() +
                           sizeof(int32_t) * method->localTypes.size() +
                           sizeof(wchar_t) * (2 * method->name.size() + method->baseName.size() +
                                              2 * method->descriptor.size()),
                       "the method records of its method references");
        // Sized once: name + descriptor would allocate for the name and again for the whole.
        std::wstring key;
        key.reserve(method->name.size() + method->descriptor.size());
        key.append(method->name).append(method->descriptor);
        store(i, TKBConstant::METHOD, std::move(method));
        mProgram.methodIndex.insert_or_assign(std::move(key), i);
    }

    // Hands value to the program at pool index i, whose slot the table already has; nothing
    // leaks if making the constant fails.
    template <typename T> void store(int32_t i, uint32_t kind, std::unique_ptr<T> value) {
        auto constant = std::make_unique<TKBConstant>();
        constant->kind = kind;
        constant->value = value.release();
        mProgram.constants[static_cast<size_t>(i)] = constant.release();
        mStoredEnd = static_cast<size_t>(i) + 1;
    }

    kovx::TKBProgram& mProgram;
    const ClassInfo& mClass;
    const ConstantPool& mPool;
    const int32_t mPoolCount;
    /// The later of equal keys wins.
    OwnMethodTable mOwnMethods;
    /// The texts of keys that views into the input cannot hold.
    std::deque<std::string> mComposedKeys;
    int32_t mBuiltinsClass = -1;
    /// Pool index -> name of every class entry whose name is an entry's own text (viewing the
    /// pool's input).
    std::unordered_map<uint32_t, std::string_view> mClassNames;
    /// Lookup key, reused so that lookups do not allocate.
    std::string mKey;
    /// One past the last constant stored.
    size_t mStoredEnd = 0;
    MemoryBudget& mBudget;
};

} // namespace

void translate(kovx::TKBProgram& program, std::istream& input, size_t memoryLimit) {
    classfile::ByteStream stream(input);
    auto classFile = std::make_unique<ClassInfo>(stream);
    MemoryBudget budget(memoryLimit);
    Translator(program, *classFile, budget).run();
    RuleFileInfoBuilder info(*classFile, budget);
    // The entries need only the pool: the rest of the class model goes before they are built,
    // which is when the heap is at its fullest.
    const std::unique_ptr<ConstantPool> pool = ClassInfo::keepPoolOnly(std::move(classFile));
    program.ruleFileInfo = info.finish(*pool);
}

} // namespace tkb
