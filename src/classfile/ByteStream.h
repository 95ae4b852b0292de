#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace classfile {

/// Makes room for count elements that are about to be read, but for a few at most: beyond that the
/// vector grows as the elements actually arrive, so that a count inflated by a damaged file
/// allocates nothing before its data is there.
template <typename T> void reserveForCount(std::vector<T>& out, uint32_t count) {
    constexpr uint32_t MAX_RESERVED = 16;
    out.reserve(count < MAX_RESERVED ? count : MAX_RESERVED);
}

/// Big-endian reader over an input stream. Every read is checked: running out of input raises a
/// runtime error that names what was being read (see Section) and the offset where input ended.
class ByteStream {
public:
    /// The stream is not owned and must outlive this object.
    explicit ByteStream(std::istream& stream);
    virtual ~ByteStream();
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;

    uint8_t readU1();
    uint16_t readU2();
    uint32_t readU4();
    /// Eight bytes as two readU4, high word first.
    uint64_t readU8();

    /// Appends count bytes to out. The buffer grows only as data actually arrives, so a huge count
    /// in a short file fails at the end of input instead of allocating the count up front.
    void readBytes(std::vector<uint8_t>& out, uint64_t count);
    /// As readBytes, into a string.
    std::string readString(uint64_t count);

    /// Number of bytes consumed so far.
    uint64_t offset() const { return mOffset; }

    /// Names the structure being read while it lives; end-of-input messages list the open sections,
    /// innermost first. Sections nest and must be destroyed in reverse order. The text is put
    /// together only when input ends early, so the pieces must outlive the section.
    class Section {
    public:
        /// A fixed description: "the class file header".
        Section(ByteStream& stream, const char* what);
        /// A description followed by a number: "field " and 3 give "field 3".
        Section(ByteStream& stream, const char* what, uint64_t number);
        /// before, name, after and number in a row: "the \"", "Code", "\" attribute at position "
        /// and 0 give "the \"Code\" attribute at position 0".
        Section(ByteStream& stream, const char* before, std::string_view name, const char* after,
                uint64_t number);
        ~Section();
        Section(const Section&) = delete;
        Section& operator=(const Section&) = delete;

    private:
        ByteStream& mStream;
    };

    std::istream& stream;

private:
    [[noreturn]] void failEndOfInput(uint64_t atOffset) const;
    /// What the stream's own sentry does before a read: false when the stream is not good (it
    /// then also turns failed), and a tied stream is flushed.
    bool readable();
    /// Sets the stream's badbit without raising the stream's own failure, whatever its exception
    /// mask says.
    void markBad();
    /// Called while handling an exception of the stream buffer: the stream turns bad, and the
    /// exception passes on when the stream's exception mask asks for bad streams. Otherwise the
    /// given bits are added and the read has simply ended.
    void streamBufferFailed(std::ios_base::iostate state);
    void readInto(char* dest, size_t count);

    /// The pieces of one open section's description.
    struct SectionText {
        const char* before;
        std::string_view name;
        const char* after;
        uint64_t number;
        bool numbered;
    };

    uint64_t mOffset = 0;
    std::vector<SectionText> mSections;
};

} // namespace classfile
