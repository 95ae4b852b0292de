#pragma once

#include <string>

#include <boost/format.hpp>

namespace classfile {

/// A printf-style message text, formatted with Boost Format.
template <typename... Args> std::string formatText(const char* format, const Args&... args) {
    boost::format text(format);
    (text % ... % args);
    return text.str();
}

/// Reports a failure of the class file reader the way the whole model does: a short line on
/// standard error, then a util::RuntimeErrorST carrying the message.
[[noreturn]] void failRead(const std::string& stderrLine, const std::string& message);

/// As above, for failures that have no line of their own on standard error.
[[noreturn]] void failRead(const std::string& message);

} // namespace classfile
