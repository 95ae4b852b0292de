// Writes the rule files that the Python tests and the Python timing script read: generated
// files of 3, 20 and 1000 rules, the file of every kind, and a file whose class entry names pool
// entry 999, which ends the process in the class file reader's check.
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "classwriter/RuleFileBuilder.h"
#include "classwriter/SampleRuleFiles.h"

namespace {

bool write(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out)
        std::cerr << "make-rule-files: cannot write '" << path << "'\n";
    return static_cast<bool>(out);
}

std::vector<uint8_t> fatalFile() {
    classwriter::RuleFileBuilder b;
    b.addAttribute("height", "()D", {}, classwriter::RuleCode().pushDouble(1));
    b.writer().pool.classEntry(999);
    return b.bytes();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Usage: make-rule-files DIRECTORY\n";
        return 1;
    }
    const std::string dir = argv[1];
    bool ok = true;
    for (const int rules : {3, 20, 1000})
        ok = write(dir + "/generated-" + std::to_string(rules) + ".tkb",
                   classwriter::generatedRuleFile(rules)) && ok;
    ok = write(dir + "/every-kind.tkb", classwriter::everyKindRuleFile()) && ok;
    ok = write(dir + "/fatal.tkb", fatalFile()) && ok;
    return ok ? 0 : 1;
}
