#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <memory>
#include <string>
#include <string_view>

namespace classfile {

/// Makes room for count elements that are about to be read, each taking at least elementBytes of
/// input, but never for more than the rest of the input can hold: a count inflated by a damaged file
/// allocates nothing before its data is there.
template <typename List>
void reserveForCount(List& out, uint32_t count, size_t remaining, size_t elementBytes) {
    const size_t fits = remaining / elementBytes;
    out.reserve(count < fits ? count : fits);
}

/// Big-endian reader of one input. The constructor reads the stream to its end, in large blocks,
/// into one buffer (so the input's size bounds the buffer); the reads are then a bounds-checked
/// cursor over it. Running out of input raises a runtime error that names what was being read (see
/// Section) and the offset where input ended.
class ByteStream {
public:
    /// The bytes of one input, shared with the objects that keep views of them.
    struct Input {
        std::unique_ptr<char[]> bytes;
        size_t size = 0;
    };

    /// The stream is not owned; it is read to its end here and not touched afterwards.
    explicit ByteStream(std::istream& stream);
    virtual ~ByteStream();
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;

    uint8_t readU1() {
        if (mPos == mEnd)
            failShort(1);
        return static_cast<uint8_t>(*mPos++);
    }
    uint16_t readU2() {
        if (mEnd - mPos < 2)
            failShort(2);
        const auto* p = reinterpret_cast<const uint8_t*>(mPos);
        mPos += 2;
        return static_cast<uint16_t>(p[0] << 8 | p[1]);
    }
    uint32_t readU4() {
        if (mEnd - mPos < 4)
            failShort(4);
        const auto* p = reinterpret_cast<const uint8_t*>(mPos);
        mPos += 4;
        return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
    }
    /// Eight bytes as two readU4, high word first.
    uint64_t readU8() {
        const uint64_t high = readU4();
        return high << 32 | readU4();
    }

    /// count bytes as a view of the input; it stays valid while input() lives.
    std::string_view readView(uint64_t count) {
        if (static_cast<uint64_t>(mEnd - mPos) < count)
            failShortBlock(count);
        const std::string_view view(mPos, static_cast<size_t>(count));
        mPos += count;
        return view;
    }

    /// Moves past count bytes that were checked to be there.
    void skip(size_t count) {
        if (remaining() < count)
            failShortBlock(count);
        mPos += count;
    }

    /// Number of bytes consumed so far.
    uint64_t offset() const { return static_cast<uint64_t>(mPos - mBegin); }
    /// The next byte to read, inside input(); views built on it live as long as the input.
    const uint8_t* cursor() const { return reinterpret_cast<const uint8_t*>(mPos); }
    /// Number of bytes left to read.
    size_t remaining() const { return static_cast<size_t>(mEnd - mPos); }
    /// The whole input; whoever keeps views of it keeps this.
    const std::shared_ptr<const Input>& input() const { return mInput; }

    /// Names the structure being read while it lives; end-of-input messages list the open sections,
    /// innermost first. Sections nest and must be destroyed in reverse order. Opening one costs a few
    /// stores; the text is put together only when input ends early, so the pieces must outlive the
    /// section. A section over a list moves on with setNumber instead of opening one per element.
    class Section {
    public:
        /// A fixed description: "the class file header".
        Section(ByteStream& stream, const char* what) : Section(stream, what, {}, "", 0, false) {}
        /// A description followed by a number: "field " and 3 give "field 3".
        Section(ByteStream& stream, const char* what, uint64_t number)
            : Section(stream, what, {}, "", number, true) {}
        /// before, name, after and number in a row: "the \"", "Code", "\" attribute at position "
        /// and 0 give "the \"Code\" attribute at position 0".
        Section(ByteStream& stream, const char* before, std::string_view name, const char* after,
                uint64_t number)
            : Section(stream, before, name, after, number, true) {}
        ~Section() { mStream.mTop = mOuter; }
        Section(const Section&) = delete;
        Section& operator=(const Section&) = delete;

        void setNumber(uint64_t number) { mNumber = number; }
        /// Turns the section into another one of the three-piece form.
        void set(const char* before, std::string_view name, const char* after, uint64_t number) {
            mBefore = before;
            mName = name;
            mAfter = after;
            mNumber = number;
            mNumbered = true;
        }

    private:
        friend class ByteStream;
// The stream points at its innermost section only while that section lives: the destructor takes
// it back out.
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif
        Section(ByteStream& stream, const char* before, std::string_view name, const char* after,
                uint64_t number, bool numbered)
            : mStream(stream), mOuter(stream.mTop), mBefore(before), mName(name), mAfter(after),
              mNumber(number), mNumbered(numbered) {
            stream.mTop = this;
        }
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
#pragma GCC diagnostic pop
#endif

        ByteStream& mStream;
        const Section* mOuter;
        const char* mBefore;
        std::string_view mName;
        const char* mAfter;
        uint64_t mNumber;
        bool mNumbered;
    };

    std::istream& stream;

private:
    void readInput();
    /// A read of count primitive bytes found fewer left.
    [[noreturn]] void failShort(size_t count);
    /// A read of count bytes as a block found fewer left.
    [[noreturn]] void failShortBlock(uint64_t count);
    [[noreturn]] void failEndOfInput(uint64_t atOffset);
    /// What the stream's own sentry does before a read: false when the stream is not good (it
    /// then also turns failed), and a tied stream is flushed.
    bool readable();
    /// Sets the stream's badbit without raising the stream's own failure, whatever its exception
    /// mask says.
    void markBad();

    std::shared_ptr<const Input> mInput;
    const char* mBegin = nullptr;
    const char* mPos = nullptr;
    const char* mEnd = nullptr;
    /// Input ended because the stream buffer failed, not at the end of the stream.
    bool mEndedByError = false;
    const Section* mTop = nullptr;
};

} // namespace classfile
