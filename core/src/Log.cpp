#include "kovx/Log.h"

#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

#include <boost/format.hpp>
#include <boost/locale/encoding_utf.hpp>

namespace kovx {

namespace {

using boost::locale::conv::utf_to_utf;

struct Registry {
    std::mutex mutex;
    std::vector<std::pair<Log::HandlerId, Log::Handler>> handlers;
    Log::HandlerId nextId = Log::DEFAULT_HANDLER + 1;

    Registry() {
        handlers.emplace_back(Log::DEFAULT_HANDLER, [](kov::LogLevel level, const std::string& msg) {
            std::fprintf(stderr, "[%s] %s\n", Log::levelName(level), msg.c_str());
        });
    }
};

Registry& registry() {
    static Registry r;
    return r;
}

std::string toUtf8(const std::wstring& s) { return utf_to_utf<char>(s, boost::locale::conv::skip); }
std::wstring fromUtf8(const std::string& s) { return utf_to_utf<wchar_t>(s, boost::locale::conv::skip); }

} // namespace

Log::HandlerId Log::addHandler(Handler handler) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    HandlerId id = r.nextId++;
    r.handlers.emplace_back(id, std::move(handler));
    return id;
}

void Log::removeHandler(HandlerId id) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for (auto it = r.handlers.begin(); it != r.handlers.end(); ++it) {
        if (it->first == id) {
            r.handlers.erase(it);
            return;
        }
    }
}

void Log::emit(kov::LogLevel level, const std::string& message) {
    Registry& r = registry();
    std::vector<Handler> handlers;
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        for (const auto& h : r.handlers)
            handlers.push_back(h.second);
    }
    for (const Handler& h : handlers)
        h(level, message);
}

const char* Log::levelName(kov::LogLevel level) {
    static const char* const names[] = {"trace", "debug", "info", "warning", "error", "fatal"};
    if (level >= kov::LOG_TRACE && level <= kov::LOG_FATAL)
        return names[level];
    return "level ?";
}

// A format that does not match its arguments must not turn logging into a failure.
struct LogFormatter::State {
    kov::LogLevel level;
    boost::format format;
    std::string fixed; // set for the exception form
    bool isFixed = false;
    State(kov::LogLevel l, const char* f) : level(l), format(f ? f : "") {
        format.exceptions(boost::io::no_error_bits);
    }
};

LogFormatter::LogFormatter(kov::LogLevel level, const char* format, const char*)
    : mState(new State(level, format)) {}

LogFormatter::LogFormatter(kov::LogLevel level, const char* prefix, const std::exception& e)
    : mState(new State(level, "")) {
    std::string p = prefix ? prefix : "";
    mState->isFixed = true;
    mState->fixed = (p.empty() || p.back() == ' ') ? p + e.what() : p + ": " + e.what();
}

LogFormatter::~LogFormatter() {
    try {
        Log::emit(mState->level, mState->isFixed ? mState->fixed : mState->format.str());
    } catch (...) {
    }
}

LogFormatter& LogFormatter::operator%(const std::string& arg) { mState->format % arg; return *this; }
LogFormatter& LogFormatter::operator%(const char* arg) { mState->format % (arg ? arg : "(null)"); return *this; }
LogFormatter& LogFormatter::operator%(const std::wstring& arg) { mState->format % toUtf8(arg); return *this; }
LogFormatter& LogFormatter::operator%(const wchar_t* arg) { return *this % std::wstring(arg ? arg : L"(null)"); }
LogFormatter& LogFormatter::operator%(int arg) { mState->format % arg; return *this; }
LogFormatter& LogFormatter::operator%(unsigned arg) { mState->format % arg; return *this; }
LogFormatter& LogFormatter::operator%(long arg) { mState->format % arg; return *this; }
LogFormatter& LogFormatter::operator%(unsigned long arg) { mState->format % arg; return *this; }
LogFormatter& LogFormatter::operator%(double arg) { mState->format % arg; return *this; }

struct LogFormatterW::State {
    kov::LogLevel level;
    boost::wformat format;
    State(kov::LogLevel l, const wchar_t* f) : level(l), format(f ? f : L"") {
        format.exceptions(boost::io::no_error_bits);
    }
};

LogFormatterW::LogFormatterW(kov::LogLevel level, const wchar_t* format, const wchar_t*)
    : mState(new State(level, format)) {}

LogFormatterW::~LogFormatterW() {
    try {
        Log::emit(mState->level, toUtf8(mState->format.str()));
    } catch (...) {
    }
}

LogFormatterW& LogFormatterW::operator%(const std::wstring& arg) { mState->format % arg; return *this; }
LogFormatterW& LogFormatterW::operator%(const wchar_t* arg) { mState->format % (arg ? arg : L"(null)"); return *this; }
LogFormatterW& LogFormatterW::operator%(const std::string& arg) { mState->format % fromUtf8(arg); return *this; }
LogFormatterW& LogFormatterW::operator%(const char* arg) { return *this % std::string(arg ? arg : "(null)"); }
LogFormatterW& LogFormatterW::operator%(int arg) { mState->format % arg; return *this; }
LogFormatterW& LogFormatterW::operator%(unsigned arg) { mState->format % arg; return *this; }
LogFormatterW& LogFormatterW::operator%(long arg) { mState->format % arg; return *this; }
LogFormatterW& LogFormatterW::operator%(unsigned long arg) { mState->format % arg; return *this; }
LogFormatterW& LogFormatterW::operator%(double arg) { mState->format % arg; return *this; }

} // namespace kovx
