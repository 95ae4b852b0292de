#include "loader/ElfCheck.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

namespace loader {

namespace {

#if defined(__x86_64__)
constexpr Elf64_Half NATIVE_MACHINE = EM_X86_64;
#elif defined(__aarch64__)
constexpr Elf64_Half NATIVE_MACHINE = EM_AARCH64;
#elif defined(__riscv) && __riscv_xlen == 64
constexpr Elf64_Half NATIVE_MACHINE = EM_RISCV;
#elif defined(__powerpc64__)
constexpr Elf64_Half NATIVE_MACHINE = EM_PPC64;
#elif defined(__s390x__)
constexpr Elf64_Half NATIVE_MACHINE = EM_S390;
#else
#error "the ELF machine number of this architecture is not known"
#endif

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr unsigned char NATIVE_DATA = ELFDATA2LSB;
const char* const NATIVE_ORDER = "little-endian";
#else
constexpr unsigned char NATIVE_DATA = ELFDATA2MSB;
const char* const NATIVE_ORDER = "big-endian";
#endif

class File {
public:
    // Non-blocking, so that a FIFO named like a library cannot stall the scan.
    explicit File(const std::string& path)
        : mFd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~File() {
        if (mFd >= 0)
            close(mFd);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int fd() const { return mFd; }

    bool read(void* buffer, size_t length, uint64_t offset) const {
        auto* bytes = static_cast<char*>(buffer);
        while (length > 0) {
            const ssize_t n = pread(mFd, bytes, length, static_cast<off_t>(offset));
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return false;
            bytes += n;
            length -= static_cast<size_t>(n);
            offset += static_cast<uint64_t>(n);
        }
        return true;
    }

private:
    int mFd;
};

// Empty when the bytes [offset, offset + length) lie inside the file.
std::string beyondFile(const std::string& what, uint64_t offset, uint64_t length,
                       uint64_t fileSize) {
    const std::string file = " the file's " + std::to_string(fileSize) + " bytes";
    uint64_t end = 0;
    if (__builtin_add_overflow(offset, length, &end))
        return what + " ends beyond" + file;
    if (end > fileSize)
        return what + " ends at byte " + std::to_string(end) + " beyond" + file;
    return std::string();
}

} // namespace

std::string elfHeaderProblem(const std::string& path) {
    File file(path);
    struct stat status;
    if (file.fd() < 0 || fstat(file.fd(), &status) != 0)
        return std::string("cannot be read: ") + std::strerror(errno);
    if (!S_ISREG(status.st_mode))
        return "not a regular file";
    const uint64_t size = static_cast<uint64_t>(status.st_size);

    Elf64_Ehdr header;
    std::memset(&header, 0, sizeof header);
    if (size < EI_NIDENT || !file.read(header.e_ident, EI_NIDENT, 0) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
        return "not an ELF file";
    if (header.e_ident[EI_CLASS] != ELFCLASS64)
        return "not a 64-bit ELF file";
    if (header.e_ident[EI_DATA] != NATIVE_DATA)
        return std::string("not a ") + NATIVE_ORDER + " ELF file";
    std::string problem = beyondFile("the ELF header", 0, sizeof header, size);
    if (!problem.empty())
        return problem;
    if (!file.read(&header, sizeof header, 0))
        return "its headers cannot be read";
    // Fields are in this machine's byte order from here on.
    if (header.e_machine != NATIVE_MACHINE)
        return "built for ELF machine " + std::to_string(header.e_machine) +
               ", not for this one (" + std::to_string(NATIVE_MACHINE) + ")";
    if (header.e_type != ET_DYN)
        return "not a shared library (ELF type " + std::to_string(header.e_type) + ")";

    if (header.e_phnum == 0)
        return "no program headers";
    if (header.e_phentsize != sizeof(Elf64_Phdr))
        return "program headers of " + std::to_string(header.e_phentsize) + " bytes";
    // At most 65535 entries of 56 bytes, and only once they are known to lie in the file.
    problem = beyondFile("the program header table", header.e_phoff,
                         uint64_t(header.e_phnum) * sizeof(Elf64_Phdr), size);
    if (!problem.empty())
        return problem;
    std::vector<Elf64_Phdr> segments(header.e_phnum);
    if (!file.read(segments.data(), segments.size() * sizeof(Elf64_Phdr), header.e_phoff))
        return "its headers cannot be read";
    // Every kind of segment, not only the loadable ones: a sound file holds them all.
    for (size_t i = 0; i < segments.size(); ++i) {
        problem = beyondFile("segment " + std::to_string(i), segments[i].p_offset,
                             segments[i].p_filesz, size);
        if (!problem.empty())
            return problem;
    }

    if (header.e_shoff != 0) {
        if (header.e_shentsize != sizeof(Elf64_Shdr))
            return "section headers of " + std::to_string(header.e_shentsize) + " bytes";
        // A count of 0 with a table means that the first entry holds the real count.
        const uint64_t count = header.e_shnum != 0 ? header.e_shnum : 1;
        problem = beyondFile("the section header table", header.e_shoff,
                             count * sizeof(Elf64_Shdr), size);
        if (!problem.empty())
            return problem;
    }
    return std::string();
}

} // namespace loader
