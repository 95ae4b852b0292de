#pragma once

#include <string>
#include <vector>

namespace kovtest {

/// What a finished program left behind.
struct ProcessResult {
    int status = -1; ///< exit status, -1 when it did not exit normally
    std::string out;
    std::string err;
};

/// Runs program with args (no shell) and waits for it; its standard output and error are captured
/// through files in the test's temporary directory. Fails the current test when it cannot start.
ProcessResult runProgram(const std::string& program, const std::vector<std::string>& args);
/// The same with input as the program's standard input.
ProcessResult runProgramWithInput(const std::string& program, const std::vector<std::string>& args,
                                  const std::string& input);

/// The whole content of a file; empty when it cannot be read.
std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& bytes);

} // namespace kovtest
