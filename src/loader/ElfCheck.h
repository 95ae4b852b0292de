#pragma once

#include <string>

namespace loader {

/// Why the file at path cannot be a shared library of this machine, judged by its ELF headers
/// alone; empty when they are sound. The dynamic loader maps segments without comparing them with
/// the file's size, and touching a mapped page beyond the end of the file kills the process: a
/// library cut short must be refused before it is opened. Reads the headers only, never more
/// than the file holds.
std::string elfHeaderProblem(const std::string& path);

} // namespace loader
