#include "RuleFileSource.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "Host.h"

namespace kovhost {

namespace {

// The decoder for standard input is picked for this name, so standard input decodes as a
// compiled rule file with that name would.
const char* const STANDARD_INPUT_URI = "stdin.tkb";

bool isStandardInput(const std::string& file) {
    return file == "-";
}

// All of it at once: a pipe cannot be rewound, and a decoder gets the same kind of stream as
// for a file.
std::string readStandardInput() {
    std::string bytes;
    char buffer[1 << 16];
    for (;;) {
        const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (count > 0)
            bytes.append(buffer, static_cast<size_t>(count));
        else if (count == 0)
            return bytes;
        else if (errno != EINTR)
            throw std::runtime_error(std::string("cannot read standard input: ") +
                                     std::strerror(errno));
    }
}

} // namespace

std::string displayName(const std::string& file) {
    return isStandardInput(file) ? "standard input" : file;
}

boost::shared_ptr<std::istream> openRuleFile(Host& host, const std::string& file) {
    if (isStandardInput(file))
        return boost::shared_ptr<std::istream>(new std::istringstream(readStandardInput()));
    const kovx::URIPtr uri(new kovx::URI(file));
    const kovx::StreamAdaptorPtr adaptor = host.manager().createStreamAdaptor(uri);
    boost::shared_ptr<std::istream> input = adaptor->openInput(uri);
    if (!input)
        throw std::runtime_error("the stream adaptor opened nothing for '" + file + "'");
    return input;
}

boost::shared_ptr<kovx::TKB> decodeRuleFile(Host& host, const std::string& file) {
    const boost::shared_ptr<std::istream> input = openRuleFile(host, file);
    const kovx::URIPtr uri(new kovx::URI(isStandardInput(file) ? STANDARD_INPUT_URI : file));
    const kovx::DecoderPtr decoder = host.manager().createMatchingDecoder(kov::CT_RULEFILE, uri);
    kovx::ContentPtrVector results;
    decoder->decode(results, *input);
    for (const kovx::ContentPtr& content : results) {
        if (!content || content->getContentType() != kov::CT_RULEFILE)
            continue;
        boost::shared_ptr<kovx::TKB> program = boost::dynamic_pointer_cast<kovx::TKB>(content);
        if (program && program->program && program->getProgram().ruleFileInfo)
            return program;
    }
    throw std::runtime_error("the decoder produced no rule program for '" + displayName(file) +
                             "'");
}

} // namespace kovhost
