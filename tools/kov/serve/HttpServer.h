#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/thread_pool.hpp>

namespace kovhost {
namespace serve {

/// What a handler answers to one GET.
struct HttpResponse {
    unsigned status = 200;
    std::string contentType = "application/json";
    std::string body;
};

/// Answers the target of a GET or HEAD request ("/path?query"), as sent.
using HttpHandler = std::function<HttpResponse(const std::string& target)>;

/// A read-only HTTP server on one address. It answers GET and HEAD only (405 for the rest),
/// only to requests whose Host header names the address it serves (403 otherwise, so that a
/// page from elsewhere cannot read it through a browser), takes no request bodies and at most
/// 8 KiB of request head, and never sends CORS headers. The handler runs on a pool of threads
/// of its own, so that a slow answer does not hold up the others.
class HttpServer {
public:
    /// Binds address:port (port 0 picks a free one); throws std::runtime_error when it cannot.
    HttpServer(const std::string& address, unsigned short port, HttpHandler handler,
               size_t handlerThreads);
    ~HttpServer();

    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// "http://ADDRESS:PORT/", with the port that was bound.
    std::string url() const;

    /// Serves until SIGINT or SIGTERM, then returns.
    void run();

    class Session;

private:
    void accept();

    boost::asio::io_context mIo;
    boost::asio::ip::tcp::acceptor mAcceptor;
    // Taken at once, so that a signal that comes before run() is kept for it.
    boost::asio::signal_set mSignals;
    std::string mHostPort;
    std::set<std::string> mAllowedHosts;
    bool mAnyAddress = false;
    unsigned short mPort = 0;
    HttpHandler mHandler;
    // Shared with the sessions, which the io_context may outlive the server's other members with.
    std::shared_ptr<std::atomic<size_t>> mSessions = std::make_shared<std::atomic<size_t>>(0);
    // Last, so that it goes first: its jobs hand their answers back to mIo.
    boost::asio::thread_pool mPool;
};

} // namespace serve
} // namespace kovhost
