#pragma once

#include <string>

#include "HttpServer.h"

namespace kovhost {
namespace serve {

/// The pages installed with kov: the files below one folder, served as they are. A name with
/// "..", "." or an empty part, or one that leads out of the folder through a symbolic link,
/// is not found, and neither is anything but a regular file.
class WebFolder {
public:
    explicit WebFolder(std::string directory);

    /// The file at path (decoded, starting with '/'; "/" and ".../" mean index.html), or 404.
    HttpResponse get(const std::string& path) const;

    /// <kov's directory>/../share/kov/web.
    static std::string installed();

private:
    std::string mDirectory;
};

} // namespace serve
} // namespace kovhost
