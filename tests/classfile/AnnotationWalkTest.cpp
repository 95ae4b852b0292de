// The annotation walks against each other. Each offset of each file that the fuzzers keep is taken
// as the start of an annotation, so real annotations, damaged ones and plain noise all come by.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "classfile/AnnotationView.h"
#include "classfile/ByteStream.h"

using namespace classfile;
namespace fs = std::filesystem;

namespace {

// The walks see at most this many bytes from each offset, so that a stream over them costs little.
// Both see the same bytes, so an annotation that runs past them must be refused by both.
constexpr size_t WINDOW = 1024;

// Bytes in memory as a stream, without a copy.
class MemoryBuffer : public std::streambuf {
public:
    MemoryBuffer(const uint8_t* data, size_t size) {
        char* begin = reinterpret_cast<char*>(const_cast<uint8_t*>(data));
        setg(begin, begin, begin + size);
    }
};

std::string contentsOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// Each content once: the fuzzers keep the same seed under several names.
std::map<std::string, fs::path> fuzzFiles() {
    std::map<std::string, fs::path> files;
    for (const char* dir : {"corpus", "regressions"})
        for (const auto& entry : fs::recursive_directory_iterator(fs::path(KOVTEST_FUZZ_DIR) / dir))
            if (entry.is_regular_file())
                files.emplace(contentsOf(entry.path()), entry.path());
    return files;
}

TEST(AnnotationWalkTest, MeasureWalkAndEndAgreeAtEveryOffsetOfTheFuzzFiles) {
    kovtest::DiagnosticsCapture quiet;
    const std::map<std::string, fs::path> files = fuzzFiles();
    size_t whole = 0;
    std::vector<std::string> disagreements;
    for (const auto& [bytes, path] : files) {
        const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
        for (size_t at = 0; at < bytes.size(); ++at) {
            const size_t size = std::min(WINDOW, bytes.size() - at);
            const size_t measured = AnnotationView::measure(data + at, size);
            MemoryBuffer buffer(data + at, size);
            std::istream in(&buffer);
            ByteStream stream(in);
            bool walked = true;
            try {
                AnnotationView::walk(stream);
            } catch (const std::runtime_error&) {
                walked = false;
            }
            std::string found;
            if (measured == AnnotationView::NOT_WHOLE) {
                if (walked)
                    found = "the walk reads what measure refuses";
            } else {
                ++whole;
                if (!walked)
                    found = "the walk refuses what measure reads";
                else if (stream.offset() != measured)
                    found = "the walk ends at " + std::to_string(stream.offset()) +
                            ", measure at " + std::to_string(measured);
                else if (AnnotationView(data + at).end() != data + at + measured)
                    found = "end() differs from measure";
            }
            if (!found.empty())
                disagreements.push_back(path.filename().string() + " at " + std::to_string(at) +
                                        ": " + found);
        }
    }
    EXPECT_GE(files.size(), 20u);
    // Most offsets hold no whole annotation; enough of them do to make the agreement mean something.
    EXPECT_GT(whole, 10000u);
    EXPECT_TRUE(disagreements.empty())
        << disagreements.size() << " disagreements, the first: " << disagreements.front();
}

} // namespace
