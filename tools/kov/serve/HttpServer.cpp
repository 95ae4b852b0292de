#include "HttpServer.h"

#include <cctype>
#include <chrono>
#include <stdexcept>
#include <utility>

#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

namespace kovhost {
namespace serve {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;

namespace {

constexpr size_t HEADER_LIMIT = 8 * 1024;
constexpr size_t MAX_SESSIONS = 64;
constexpr auto IDLE_TIMEOUT = std::chrono::seconds(30);

std::string hostText(const net::ip::address& address) {
    return address.is_v6() ? "[" + address.to_string() + "]" : address.to_string();
}

// "HOST:PORT" with HOST an address literal and PORT the given one.
bool isAddressWithPort(const std::string& host, unsigned short port) {
    const std::string suffix = ":" + std::to_string(port);
    if (host.size() <= suffix.size() ||
        host.compare(host.size() - suffix.size(), suffix.size(), suffix) != 0)
        return false;
    std::string name = host.substr(0, host.size() - suffix.size());
    if (name.size() > 2 && name.front() == '[' && name.back() == ']')
        name = name.substr(1, name.size() - 2);
    beast::error_code ec;
    net::ip::make_address(name, ec);
    return !ec;
}

} // namespace

class HttpServer::Session : public std::enable_shared_from_this<HttpServer::Session> {
public:
    Session(HttpServer& server, tcp::socket socket)
        : mServer(server), mSessions(server.mSessions), mStream(std::move(socket)),
          mBuffer(2 * HEADER_LIMIT) {
        ++*mSessions;
    }
    ~Session() { --*mSessions; }

    void read() {
        mParser.emplace();
        mParser->header_limit(HEADER_LIMIT);
        mParser->body_limit(0);
        mStream.expires_after(IDLE_TIMEOUT);
        http::async_read(mStream, mBuffer, *mParser,
                         [self = shared_from_this()](beast::error_code ec, size_t) {
                             self->onRead(ec);
                         });
    }

private:
    using Request = http::request<http::empty_body>;
    using Response = http::response<http::string_body>;

    void onRead(beast::error_code ec) {
        if (ec == http::error::end_of_stream || ec == beast::error::timeout ||
            ec == net::error::operation_aborted || ec == net::error::connection_reset ||
            ec == net::error::eof)
            return close();
        if (ec == http::error::header_limit || ec == http::error::buffer_overflow)
            return refuse(http::status::request_header_fields_too_large,
                          "the request head is too large");
        if (ec == http::error::body_limit || ec == http::error::unexpected_body)
            return refuse(http::status::payload_too_large, "requests take no body");
        if (ec)
            return refuse(http::status::bad_request, "bad request");
        Request request = mParser->release();
        mKeepAlive = request.keep_alive();
        mHead = request.method() == http::verb::head;
        if (request.method() != http::verb::get && !mHead) {
            Response response = answer(http::status::method_not_allowed, "text/plain",
                                       "only GET and HEAD are served\n");
            response.set(http::field::allow, "GET, HEAD");
            return send(std::move(response));
        }
        if (!hostAllowed(request))
            return refuse(http::status::forbidden, "this server answers only to " +
                                                       mServer.mHostPort);
        const std::string target(request.target());
        net::post(mServer.mPool, [self = shared_from_this(), target] {
            HttpResponse result;
            try {
                result = self->mServer.mHandler(target);
            } catch (const std::exception& e) {
                result = {500, "text/plain", std::string(e.what()) + "\n"};
            } catch (...) {
                result = {500, "text/plain", "unknown failure\n"};
            }
            net::post(self->mStream.get_executor(), [self, result = std::move(result)] {
                self->send(self->answer(static_cast<http::status>(result.status),
                                        result.contentType, result.body));
            });
        });
    }

    bool hostAllowed(const Request& request) const {
        const auto it = request.find(http::field::host);
        if (it == request.end())
            return false;
        std::string host(it->value());
        for (char& c : host)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (mServer.mAllowedHosts.count(host))
            return true;
        // Served on every address: any address literal will do, but never a name, which a
        // page elsewhere could point at this machine.
        return mServer.mAnyAddress && isAddressWithPort(host, mServer.mPort);
    }

    Response answer(http::status status, const std::string& type, std::string body) const {
        Response response{status, 11};
        response.set(http::field::server, "kov");
        response.set(http::field::content_type, type);
        response.set(http::field::cache_control, "no-store");
        response.set("X-Content-Type-Options", "nosniff");
        response.keep_alive(mKeepAlive);
        const size_t size = body.size();
        if (!mHead)
            response.body() = std::move(body);
        response.content_length(size);
        return response;
    }

    // An answer after which the connection ends: the rest of what was sent is not read.
    void refuse(http::status status, const std::string& reason) {
        mKeepAlive = false;
        send(answer(status, "text/plain", reason + "\n"));
    }

    void send(Response response) {
        auto shared = std::make_shared<Response>(std::move(response));
        mStream.expires_after(IDLE_TIMEOUT);
        http::async_write(mStream, *shared,
                          [self = shared_from_this(), shared](beast::error_code ec, size_t) {
                              if (ec || !self->mKeepAlive)
                                  return self->close();
                              self->read();
                          });
    }

    void close() {
        beast::error_code ignored;
        mStream.socket().shutdown(tcp::socket::shutdown_both, ignored);
        mStream.close();
    }

    HttpServer& mServer;
    std::shared_ptr<std::atomic<size_t>> mSessions;
    beast::tcp_stream mStream;
    beast::flat_buffer mBuffer;
    boost::optional<http::request_parser<http::empty_body>> mParser;
    bool mKeepAlive = false;
    bool mHead = false;
};

HttpServer::HttpServer(const std::string& address, unsigned short port, HttpHandler handler,
                       size_t handlerThreads)
    : mAcceptor(mIo), mSignals(mIo, SIGINT, SIGTERM), mHandler(std::move(handler)),
      mPool(handlerThreads) {
    beast::error_code ec;
    const net::ip::address ip = net::ip::make_address(address, ec);
    if (ec)
        throw std::runtime_error("'" + address + "' is not an IP address");
    const tcp::endpoint endpoint(ip, port);
    mAcceptor.open(endpoint.protocol(), ec);
    if (!ec)
        mAcceptor.set_option(net::socket_base::reuse_address(true), ec);
    if (!ec)
        mAcceptor.bind(endpoint, ec);
    if (!ec)
        mAcceptor.listen(net::socket_base::max_listen_connections, ec);
    if (ec)
        throw std::runtime_error("cannot listen on " + hostText(ip) + ":" +
                                 std::to_string(port) + ": " + ec.message());
    mPort = mAcceptor.local_endpoint().port();
    const std::string portSuffix = ":" + std::to_string(mPort);
    mHostPort = hostText(ip) + portSuffix;
    mAllowedHosts.insert(mHostPort);
    if (ip.is_loopback())
        mAllowedHosts.insert("localhost" + portSuffix);
    mAnyAddress = ip.is_unspecified();
}

HttpServer::~HttpServer() {
    mPool.join();
}

std::string HttpServer::url() const {
    return "http://" + mHostPort + "/";
}

void HttpServer::accept() {
    mAcceptor.async_accept(net::make_strand(mIo), [this](beast::error_code ec, tcp::socket socket) {
        if (ec == net::error::operation_aborted)
            return;
        if (!ec && *mSessions < MAX_SESSIONS)
            std::make_shared<Session>(*this, std::move(socket))->read();
        accept();
    });
}

void HttpServer::run() {
    mSignals.async_wait([this](beast::error_code, int) {
        beast::error_code ignored;
        mAcceptor.close(ignored);
        mIo.stop();
    });
    accept();
    mIo.run();
}

} // namespace serve
} // namespace kovhost
