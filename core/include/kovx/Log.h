#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "kov/Types.h"

namespace kovx {

/// The process-wide log. Messages are UTF-8; every handler sees every message in the order the
/// handlers were added. A default handler that prints "[<level>] <message>" to standard error is
/// present from the start and can be removed like any other.
class KOV_CORE_API Log {
public:
    using Handler = std::function<void(kov::LogLevel level, const std::string& message)>;
    using HandlerId = int;
    static constexpr HandlerId DEFAULT_HANDLER = 0;

    static HandlerId addHandler(Handler handler);
    /// Unknown ids are ignored.
    static void removeHandler(HandlerId id);
    static void emit(kov::LogLevel level, const std::string& message);
    /// "trace", "debug", "info", "warning", "error", "fatal", or "level <n>".
    static const char* levelName(kov::LogLevel level);
};

/// Collects a printf-style message (the directives of Boost.Format: %s, %ls, %d, %-45ls, %.1f...)
/// whose arguments are fed with %, and logs it when destroyed. Wide arguments are written as
/// UTF-8. A format that does not match its arguments logs what could be formatted, never throws.
class KOV_CORE_API LogFormatter {
public:
    LogFormatter(kov::LogLevel level, const char* format, const char* context = nullptr);
    /// Logs prefix and the exception's text: prefix + what() when the prefix ends in a blank,
    /// otherwise prefix + ": " + what().
    LogFormatter(kov::LogLevel level, const char* prefix, const std::exception& e);
    ~LogFormatter();

    LogFormatter& operator%(const std::string& arg);
    LogFormatter& operator%(const char* arg);
    LogFormatter& operator%(const std::wstring& arg);
    LogFormatter& operator%(const wchar_t* arg);
    LogFormatter& operator%(int arg);
    LogFormatter& operator%(unsigned arg);
    LogFormatter& operator%(long arg);
    LogFormatter& operator%(unsigned long arg);
    LogFormatter& operator%(double arg);

    LogFormatter(const LogFormatter&) = delete;
    LogFormatter& operator=(const LogFormatter&) = delete;

private:
    struct State;
    std::unique_ptr<State> mState;
};

/// The wide twin of LogFormatter: a wide format; narrow arguments are read as UTF-8.
class KOV_CORE_API LogFormatterW {
public:
    LogFormatterW(kov::LogLevel level, const wchar_t* format, const wchar_t* context = nullptr);
    ~LogFormatterW();

    LogFormatterW& operator%(const std::wstring& arg);
    LogFormatterW& operator%(const wchar_t* arg);
    LogFormatterW& operator%(const std::string& arg);
    LogFormatterW& operator%(const char* arg);
    LogFormatterW& operator%(int arg);
    LogFormatterW& operator%(unsigned arg);
    LogFormatterW& operator%(long arg);
    LogFormatterW& operator%(unsigned long arg);
    LogFormatterW& operator%(double arg);

    LogFormatterW(const LogFormatterW&) = delete;
    LogFormatterW& operator=(const LogFormatterW&) = delete;

private:
    struct State;
    std::unique_ptr<State> mState;
};

} // namespace kovx
