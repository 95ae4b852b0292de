// A library whose registration fails: with a standard exception, with KOVTEST_THROW_UNKNOWN with
// something that is not one, with KOVTEST_THROW_OWN with an exception class of its own. With
// KOVTEST_THROW_ON_UNREGISTER it registers nothing and its unregistration throws its own class.
#include <stdexcept>

#include "kovx/ExtensionManager.h"

namespace {

// Its vtable and what() live in this library only: reading the text needs the library loaded.
class PluginError : public std::exception {
public:
    explicit PluginError(const char* text) : mText(text) {}
    const char* what() const noexcept override { return mText; }

private:
    const char* mText;
};

} // namespace

extern "C" __attribute__((visibility("default"))) void
registerExtensionFactories(kovx::ExtensionManager*) {
#if defined(KOVTEST_THROW_UNKNOWN)
    throw 42;
#elif defined(KOVTEST_THROW_OWN)
    throw PluginError("registration refused by the plug-in's own error");
#elif !defined(KOVTEST_THROW_ON_UNREGISTER)
    throw std::runtime_error("registration refused");
#endif
}

extern "C" __attribute__((visibility("default"))) void
unregisterExtensionFactories(kovx::ExtensionManager*) {
#ifdef KOVTEST_THROW_ON_UNREGISTER
    throw PluginError("unregistration refused by the plug-in's own error");
#endif
}
