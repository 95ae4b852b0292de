#include "WebFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

namespace kovhost {
namespace serve {

namespace fs = std::filesystem;

namespace {

const char* contentType(const std::string& extension) {
    static const std::pair<const char*, const char*> TYPES[] = {
        {".html", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".mjs", "text/javascript; charset=utf-8"},
        {".json", "application/json"},
        {".svg", "image/svg+xml"},
        {".png", "image/png"},
        {".ico", "image/x-icon"},
        {".txt", "text/plain; charset=utf-8"}};
    for (const auto& [suffix, type] : TYPES)
        if (extension == suffix)
            return type;
    return "application/octet-stream";
}

HttpResponse notFound() {
    return {404, "text/plain", "not found\n"};
}

} // namespace

WebFolder::WebFolder(std::string directory) : mDirectory(std::move(directory)) {}

std::string WebFolder::installed() {
    std::error_code ec;
    const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    return (exe.parent_path() / ".." / "share" / "kov" / "web").lexically_normal().string();
}

HttpResponse WebFolder::get(const std::string& path) const {
    if (path.empty() || path.front() != '/')
        return notFound();
    std::string relative = path.substr(1);
    if (relative.empty() || relative.back() == '/')
        relative += "index.html";
    fs::path file(mDirectory);
    std::istringstream parts(relative);
    for (std::string part; std::getline(parts, part, '/');) {
        if (part.empty() || part == "." || part == ".." || part.find('\0') != std::string::npos)
            return notFound();
        file /= part;
    }
    std::error_code ec;
    const fs::path root = fs::canonical(mDirectory, ec);
    if (ec)
        return notFound();
    const fs::path real = fs::canonical(file, ec);
    if (ec || !fs::is_regular_file(real, ec))
        return notFound();
    const fs::path inside = real.lexically_relative(root);
    if (inside.empty() || *inside.begin() == "..")
        return notFound();
    std::ifstream input(real, std::ios::binary);
    if (!input)
        return notFound();
    std::string body((std::istreambuf_iterator<char>(input)), std::istreambuf_iterator<char>());
    return {200, contentType(real.extension().string()), std::move(body)};
}

} // namespace serve
} // namespace kovhost
