#include "RuleFileSource.h"

#include <stdexcept>

#include "Host.h"

namespace kovhost {

boost::shared_ptr<std::istream> openRuleFile(Host& host, const std::string& file) {
    const kovx::URIPtr uri(new kovx::URI(file));
    const kovx::StreamAdaptorPtr adaptor = host.manager().createStreamAdaptor(uri);
    boost::shared_ptr<std::istream> input = adaptor->openInput(uri);
    if (!input)
        throw std::runtime_error("the stream adaptor opened nothing for '" + file + "'");
    return input;
}

boost::shared_ptr<kovx::TKB> decodeRuleFile(Host& host, const std::string& file) {
    const boost::shared_ptr<std::istream> input = openRuleFile(host, file);
    const kovx::DecoderPtr decoder =
        host.manager().createMatchingDecoder(kov::CT_RULEFILE, kovx::URIPtr(new kovx::URI(file)));
    kovx::ContentPtrVector results;
    decoder->decode(results, *input);
    for (const kovx::ContentPtr& content : results) {
        if (!content || content->getContentType() != kov::CT_RULEFILE)
            continue;
        boost::shared_ptr<kovx::TKB> program = boost::dynamic_pointer_cast<kovx::TKB>(content);
        if (program && program->program && program->getProgram().ruleFileInfo)
            return program;
    }
    throw std::runtime_error("the decoder produced no rule program for '" + file + "'");
}

} // namespace kovhost
