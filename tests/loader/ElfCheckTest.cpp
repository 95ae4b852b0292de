// Library files that would kill the process inside the dynamic loader are refused by their ELF
// headers before they are opened.
#include <elf.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../tools/ProcessRunner.h"
#include "LogCapture.h"
#include "TestSupport.h"
#include "loader/ElfCheck.h"
#include "loader/ExtensionManagerImpl.h"

namespace {

const std::string PLUGIN = kovtest::readFile(KOVTEST_FULL_PLUGIN);

// The plug-in with an offset in its headers overwritten.
std::string patched(size_t offset, Elf64_Off value) {
    std::string bytes = PLUGIN;
    std::memcpy(&bytes[offset], &value, sizeof value);
    return bytes;
}

} // namespace

using kovtest::contains;

TEST(ElfCheckTest, CutsAndImpossibleOffsetsAreRefusedWithTheReasonAndTheScanGoesOn) {
    ASSERT_GT(PLUGIN.size(), 8192u);
    const std::string size = std::to_string(PLUGIN.size());
    const auto* header = reinterpret_cast<const Elf64_Ehdr*>(PLUGIN.data());
    const Elf64_Off nearTheEnd = ~Elf64_Off(0) - 8;
    const std::string phEnd = std::to_string(64 + header->e_phnum * sizeof(Elf64_Phdr));
    // File name, content and the beginning of the reason.
    const std::vector<std::array<std::string, 3>> refused = {
        {"cut-0.so", "", "not an ELF file"},
        {"cut-3.so", PLUGIN.substr(0, 3), "not an ELF file"},
        {"cut-16.so", PLUGIN.substr(0, 16),
         "the ELF header ends at byte 64 beyond the file's 16 bytes"},
        {"cut-64.so", PLUGIN.substr(0, 64),
         "the program header table ends at byte " + phEnd + " beyond the file's 64 bytes"},
        {"cut-4096.so", PLUGIN.substr(0, 4096), "segment "},
        {"cut-1.so", PLUGIN.substr(0, PLUGIN.size() - 1),
         "the section header table ends at byte " + size + " beyond the file's " +
             std::to_string(PLUGIN.size() - 1) + " bytes"},
        // Offsets near the end of the address space must not wrap around into the file.
        {"wrap-table.so", patched(offsetof(Elf64_Ehdr, e_phoff), nearTheEnd),
         "the program header table ends beyond the file's " + size + " bytes"},
        {"wrap-segment.so",
         patched(header->e_phoff + sizeof(Elf64_Phdr) + offsetof(Elf64_Phdr, p_offset), nearTheEnd),
         "segment 1 ends beyond the file's " + size + " bytes"},
    };
    const std::string dir = testing::TempDir() + "kov-elf-check-" + std::to_string(getpid());
    std::filesystem::create_directories(dir);
    kovtest::writeFile(dir + "/libkovtest_full.so", PLUGIN);
    for (const auto& file : refused)
        kovtest::writeFile(dir + "/" + file[0], file[1]);

    kovtest::LogCapture log;
    auto* manager = new loader::ExtensionManagerImpl();
    const std::wstring path(dir.begin(), dir.end());
    const wchar_t* paths[] = {path.c_str()};
    manager->loadExtensions(paths, 1);
    EXPECT_EQ(kovtest::decoderIds(*manager),
              L"com.velmor.kov.core.TKBDecoder;test.plugin.Decoder;");
    // The refused libraries stay in the map, and their unregister lookup fails on purpose.
    EXPECT_THROW(delete manager, std::runtime_error);
    std::filesystem::remove_all(dir);

    const auto texts = log.texts();
    for (const auto& file : refused) {
        const std::string library = dir + "/" + file[0];
        const std::string refusal = "failed to load library: error while loading library '" +
                                    library + "': " + library + ": " + file[2];
        const auto isRefusal = [&](const std::string& text) { return text.rfind(refusal, 0) == 0; };
        EXPECT_EQ(std::count_if(texts.begin(), texts.end(), isRefusal), 1) << refusal;
        EXPECT_EQ(std::count(texts.begin(), texts.end(), "failed to load library " + file[0]), 1);
    }
}

TEST(ElfCheckTest, AFifoIsRefusedWithoutWaitingForAWriter) {
    const std::string fifo = testing::TempDir() + "kov-elf-fifo-" + std::to_string(getpid());
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(loader::elfHeaderProblem(fifo), "not a regular file");
    std::remove(fifo.c_str());
}

// kov itself, run as a separate process with the test plug-ins.
TEST(ElfCheckTest, KovListsTheDefaultAndTheGivenPluginsBesideACutLibrary) {
    // A library cut to its first page made the dynamic loader kill kov before it could list
    // anything.
    const std::string cutDir = testing::TempDir() + "kov-host-cut-" + std::to_string(getpid());
    std::filesystem::create_directories(cutDir);
    const std::string nested = kovtest::readFile(KOVTEST_NESTED_PLUGIN);
    kovtest::writeFile(cutDir + "/libcut.so", nested.substr(0, 4096));
    kovtest::writeFile(cutDir + "/libkovtest_nested.so", nested);
    const kovtest::ProcessResult run = kovtest::runProgram(
        KOVTEST_KOV_EXECUTABLE, {"extensions", "-p", KOVTEST_PLUGIN_DIR, "-p", cutDir});
    std::filesystem::remove_all(cutDir);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.rfind("Available Extensions:\n", 0), 0u) << run.out;
    EXPECT_TRUE(contains(run.out, "    com.velmor.kov.adaptors.FileSystemAdaptor "));
    EXPECT_TRUE(contains(run.out, "    test.plugin.Decoder "));
    EXPECT_TRUE(contains(run.out, "    test.nested.Decoder "));
    EXPECT_TRUE(contains(run.err, "/libcut.so: segment ")) << run.err;
    // Plug-in problems are warnings on standard error, never part of the listing.
    EXPECT_TRUE(contains(run.err, "kov: warning: failed to load library not-a-library.so\n"))
        << run.err;
    EXPECT_FALSE(contains(run.out, "not-a-library"));
}
