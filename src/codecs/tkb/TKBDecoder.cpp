#include "codecs/tkb/TKBDecoder.h"

#include <memory>

#include "codecs/tkb/Translator.h"
#include "kovx/TKB.h"

namespace tkb {

TKBDecoder::~TKBDecoder() = default;

void TKBDecoder::decode(kovx::ContentPtrVector& results, std::istream& stream) const {
    // Held here until the shared owner takes it, so that a failed translation frees it.
    std::unique_ptr<kovx::TKB> program(kovx::TKB::create());
    {
        boost::shared_ptr<kovx::TKBProgram> data = program->program;
        translate(*data, stream);
    }
    // The shared owner deletes the program itself if it cannot be allocated.
    kovx::ContentPtr owner(program.release());
    results.push_back(owner);
}

} // namespace tkb
