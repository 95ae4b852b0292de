#include "Inputs.h"

#include <fstream>
#include <iterator>

#include "classwriter/SampleRuleFiles.h"

namespace kovbench {

namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<Input> makeInputs() {
    std::vector<Input> list{{"building", readFile(KOV_BENCH_EXAMPLES_DIR "/building.tkb")}};
    for (int rules : {10, 100, 1000, 2800}) {
        const std::vector<uint8_t> bytes = classwriter::generatedRuleFile(rules);
        list.push_back({"rules:" + std::to_string(rules), std::string(bytes.begin(), bytes.end())});
    }
    return list;
}

} // namespace

const std::vector<Input>& inputs() {
    static const std::vector<Input> list = makeInputs();
    return list;
}

bool writeInputs(const std::string& dir) {
    for (const Input& input : inputs()) {
        std::string name = input.name;
        for (char& c : name)
            if (c == ':')
                c = '-';
        std::ofstream out(dir + "/" + name + ".tkb", std::ios::binary | std::ios::trunc);
        out.write(input.bytes.data(), static_cast<std::streamsize>(input.bytes.size()));
        if (!out)
            return false;
    }
    return true;
}

} // namespace kovbench
