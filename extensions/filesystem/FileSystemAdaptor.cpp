#include "FileSystemAdaptor.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>

namespace fsadaptor {

boost::shared_ptr<std::istream> FileSystemAdaptor::openInput(const kovx::URIPtr& uri) const {
    if (!uri)
        throw std::runtime_error("file system adaptor: no URI given");
    const std::string& path = uri->getPath();

    // A directory opens as a stream on Linux and only fails when read; refuse it here.
    struct stat info;
    if (::stat(path.c_str(), &info) != 0)
        throw std::runtime_error("cannot open '" + path + "': " + std::strerror(errno));
    if (S_ISDIR(info.st_mode))
        throw std::runtime_error("cannot open '" + path + "': " + std::strerror(EISDIR));

    errno = 0;
    boost::shared_ptr<std::ifstream> stream(
        new std::ifstream(path, std::ios::in | std::ios::binary));
    if (!stream->is_open())
        throw std::runtime_error("cannot open '" + path +
                                 "': " + (errno ? std::strerror(errno) : "unknown error"));
    return stream;
}

const std::wstring& FileSystemAdaptorFactory::getID() const {
    static const std::wstring id = L"com.velmor.kov.adaptors.FileSystemAdaptor";
    return id;
}

const std::wstring& FileSystemAdaptorFactory::getName() const {
    static const std::wstring name = L"File System Adaptor";
    return name;
}

const std::wstring& FileSystemAdaptorFactory::getDescription() const {
    static const std::wstring description = L"Reads local files given as paths or file: URIs";
    return description;
}

bool FileSystemAdaptorFactory::canHandleURI(kovx::URIPtr uri) const {
    return uri && (uri->getScheme().empty() || uri->getScheme() == "file");
}

} // namespace fsadaptor
