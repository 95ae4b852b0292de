#include "codecs/tkb/TKBDecoder.h"

#include "codecs/tkb/Translator.h"
#include "kovx/TKB.h"

// GCC announces AddressSanitizer with __SANITIZE_ADDRESS__, Clang only through __has_feature.
#if defined(__SANITIZE_ADDRESS__)
#define KOV_LEAK_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KOV_LEAK_CHECKED 1
#endif
#endif

#if defined(KOV_LEAK_CHECKED)
#include <sanitizer/lsan_interface.h>
#endif

namespace tkb {

namespace {

// A rule program whose translation failed is abandoned on purpose: it never reached a shared
// owner, and the core expects the decoder not to release it. Tell the leak checker so.
void abandon(const kovx::TKB* program) {
#if defined(KOV_LEAK_CHECKED)
    __lsan_ignore_object(program);
#else
    (void)program;
#endif
}

} // namespace

TKBDecoder::~TKBDecoder() = default;

void TKBDecoder::decode(kovx::ContentPtrVector& results, std::istream& stream) const {
    kovx::TKB* program = kovx::TKB::create();
    try {
        boost::shared_ptr<kovx::TKBProgram> data = program->program;
        translate(*data, stream);
    } catch (...) {
        abandon(program);
        throw;
    }
    // The shared owner deletes the program itself when it cannot be allocated, and rethrows.
    kovx::ContentPtr owner(program);
    results.push_back(owner);
}

} // namespace tkb
