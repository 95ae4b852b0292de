// Plug-ins that end the process that loads them, for the probe, never to be loaded by a test
// itself: KOVTEST_ABORT_ON_LOAD aborts in a static constructor; from registration,
// KOVTEST_EXIT_STATUS calls exit with that status, KOVTEST_NULL_WRITE writes through a null
// pointer and KOVTEST_HANG never returns; KOVTEST_NULL_WRITE_WHEN_LISTED registers a factory that
// writes through a null pointer when the manager lists it.
#include <unistd.h>

#include <cstdlib>

#include "kovx/ExtensionManager.h"

namespace {

// A volatile store through a volatile pointer: the compiler can neither drop the store nor treat
// it as unreachable.
void writeThroughNull() {
    volatile int* volatile target = nullptr;
    *target = 1;
}

class FaultyFactory : public kovx::DecoderFactory {
public:
    FaultyFactory()
        : DecoderFactory(kov::CT_RULEFILE, L"test.faulty.Decoder", L"Faulty Decoder",
                         L"faulty decoder", {L".tkb"}) {}
    kovx::Extension* create() const override { return nullptr; }
    float getMerit() const override {
        writeThroughNull();
        return 1.0f;
    }
};

} // namespace

#ifdef KOVTEST_ABORT_ON_LOAD
namespace {
struct AbortOnLoad {
    AbortOnLoad() { std::abort(); }
} abortOnLoad;
} // namespace
#endif

extern "C" __attribute__((visibility("default"))) void
registerExtensionFactories([[maybe_unused]] kovx::ExtensionManager* manager) {
#if defined(KOVTEST_EXIT_STATUS)
    std::exit(KOVTEST_EXIT_STATUS);
#elif defined(KOVTEST_NULL_WRITE)
    writeThroughNull();
#elif defined(KOVTEST_NULL_WRITE_WHEN_LISTED)
    manager->addFactory(new FaultyFactory());
#elif defined(KOVTEST_HANG)
    for (;;)
        pause();
#endif
}

extern "C" __attribute__((visibility("default"))) void
unregisterExtensionFactories(kovx::ExtensionManager*) {}
