// kov serve, started as a child process and spoken to over HTTP on a loopback port.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "KovTestSupport.h"
#include "classwriter/RuleFileBuilder.h"

using kovtest::example;
using kovtest::runKov;
using kovtest::ScratchDir;
using nlohmann::json;

namespace {

namespace fs = std::filesystem;
namespace net = boost::asio;
namespace http = boost::beast::http;
using Response = http::response<http::string_body>;

void put(const std::string& path, const std::string& bytes) {
    fs::create_directories(fs::path(path).parent_path());
    kovtest::writeFile(path, bytes);
}

// Reads completely, then ends the process in the reader's check: a class names pool entry 999.
std::string fatalFile() {
    classwriter::RuleFileBuilder b;
    b.addAttribute("height", "()D", {}, classwriter::RuleCode().pushDouble(1));
    b.writer().pool.classEntry(999);
    const std::vector<uint8_t> bytes = b.bytes();
    return std::string(bytes.begin(), bytes.end());
}

std::string request(const std::string& method, const std::string& target,
                    const std::string& host, const std::string& more = "") {
    return method + " " + target + " HTTP/1.1\r\n" + (host.empty() ? "" : "Host: " + host + "\r\n") +
           "Connection: close\r\n" + more + "\r\n";
}

// 'kov serve --port 0' with the given arguments, for the life of one test.
class Server {
public:
    explicit Server(std::vector<std::string> args) : mErrors(testing::TempDir() + "/serve-err") {
        int out[2];
        if (pipe(out) != 0)
            throw std::runtime_error("pipe failed");
        args.insert(args.begin(), {KOVTEST_KOV, "serve", "--port", "0", "-j", "2"});
        mPid = fork();
        if (mPid == 0) {
            dup2(out[1], STDOUT_FILENO);
            const int err = open(mErrors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            dup2(err, STDERR_FILENO);
            std::vector<char*> argv;
            for (std::string& arg : args)
                argv.push_back(arg.data());
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
        close(out[1]);
        mOut = out[0];
        const std::string line = readLine();
        const std::string prefix = "kov serve: http://127.0.0.1:";
        if (line.compare(0, prefix.size(), prefix) != 0)
            throw std::runtime_error("kov serve said '" + line + "': " +
                                     kovtest::readFile(mErrors));
        mPort = static_cast<unsigned short>(std::stoi(line.substr(prefix.size())));
    }
    ~Server() {
        if (mPid > 0)
            stop(SIGKILL);
        close(mOut);
    }

    std::string hostPort() const { return "127.0.0.1:" + std::to_string(mPort); }

    /// Sends raw bytes and reads one response; head for a response to HEAD.
    Response exchange(const std::string& bytes, bool head = false) const {
        net::io_context io;
        net::ip::tcp::socket socket(io);
        socket.connect({net::ip::make_address("127.0.0.1"), mPort});
        const timeval patience{120, 0};
        setsockopt(socket.native_handle(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        net::write(socket, net::buffer(bytes));
        boost::beast::flat_buffer buffer;
        http::response_parser<http::string_body> parser;
        parser.body_limit(64 << 20);
        parser.skip(head);
        http::read(socket, buffer, parser);
        return parser.release();
    }
    Response get(const std::string& target) const {
        return exchange(request("GET", target, hostPort()));
    }
    json getJson(const std::string& target, unsigned status = 200) const {
        const Response response = get(target);
        EXPECT_EQ(response.result_int(), status) << target << ": " << response.body();
        EXPECT_EQ(response[http::field::content_type], "application/json");
        return json::parse(response.body());
    }

    /// The listing once every file is checked.
    json checkedLibrary() const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(2);
        for (;;) {
            const json library = getJson("/api/library");
            if (library["progress"]["done"] == library["progress"]["total"] ||
                std::chrono::steady_clock::now() > deadline)
                return library;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }

    /// Signals the server and returns its exit status (-1 when it did not exit by itself).
    int stop(int signal = SIGTERM) {
        kill(mPid, signal);
        int status = 0;
        waitpid(mPid, &status, 0);
        mPid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    std::string readLine() {
        std::string line;
        pollfd wait{mOut, POLLIN, 0};
        char c = 0;
        while (poll(&wait, 1, 120000) > 0 && read(mOut, &c, 1) == 1 && c != '\n')
            line += c;
        return line;
    }

    std::string mErrors;
    pid_t mPid = -1;
    int mOut = -1;
    unsigned short mPort = 0;
};

const json* fileEntry(const json& library, const std::string& path) {
    for (const json& file : library["files"])
        if (file["path"] == path)
            return &file;
    return nullptr;
}

} // namespace

TEST(KovServeTest, ListsTheLibraryAndAnswersWithTheCommandsJsonForms) {
    ScratchDir dir("kov-serve-forms");
    fs::create_directories(dir.file("lib"));
    fs::copy_file(example("building.tkb"), dir.file("lib/building.tkb"));
    put(dir.file("lib/sub/broken.tkb"), "not a rule file");
    Server server({"--diff", example("minimal.tkb"), example("building.tkb"), dir.file("lib"),
                   example("minimal.tkb")});

    const json library = server.checkedLibrary();
    ASSERT_EQ(library["files"].size(), 3u) << library.dump();
    EXPECT_GT(library["generation"], 0);
    const json* building = fileEntry(library, "0/building.tkb");
    ASSERT_NE(building, nullptr);
    EXPECT_EQ((*building)["status"], "ok");
    EXPECT_EQ((*building)["bytes"], fs::file_size(example("building.tkb")));
    EXPECT_GT((*building)["attributes"], 0);
    const json* broken = fileEntry(library, "0/sub/broken.tkb");
    ASSERT_NE(broken, nullptr);
    EXPECT_EQ((*broken)["status"], "failed");
    EXPECT_FALSE((*broken)["error"].get<std::string>().empty());
    ASSERT_NE(fileEntry(library, "1/minimal.tkb"), nullptr);

    json info = server.getJson("/api/file?path=0/building.tkb");
    EXPECT_EQ(info["path"], "0/building.tkb");
    info.erase("path");
    EXPECT_EQ(info, json::parse(runKov({"json", example("building.tkb")}).out));
    EXPECT_EQ(server.getJson("/api/constants?path=0%2Fbuilding.tkb"),
              json::parse(runKov({"constants", "--json", example("building.tkb")}).out));
    EXPECT_EQ(server.getJson("/api/dump?path=1/minimal.tkb")["text"],
              runKov({"dump", example("minimal.tkb")}).out);
    EXPECT_EQ(server.getJson("/api/diff"),
              json::parse(runKov({"diff", "--json", example("minimal.tkb"),
                                  example("building.tkb")})
                              .out));
    const json diff = server.getJson("/api/diff?old=1/minimal.tkb&new=0/building.tkb");
    EXPECT_EQ(diff["old"], "1/minimal.tkb");
    EXPECT_GT(diff["changes"].size(), 0u);

    EXPECT_FALSE(server.getJson("/api/file?path=0/sub/broken.tkb", 422)["error"].empty());
    EXPECT_EQ(server.getJson("/api/file", 400).count("error"), 1u);
    const Response head =
        server.exchange(request("HEAD", "/api/library", server.hostPort()), true);
    EXPECT_EQ(head.result_int(), 200);
    EXPECT_TRUE(head.body().empty());
    EXPECT_GT(std::stoul(std::string(head[http::field::content_length])), 0u);
    EXPECT_EQ(server.stop(SIGINT), 0);
}

TEST(KovServeTest, ServesOnlyRuleFilesUnderItsRoots) {
    ScratchDir dir("kov-serve-roots");
    fs::create_directories(dir.file("lib"));
    fs::copy_file(example("minimal.tkb"), dir.file("lib/minimal.tkb"));
    fs::copy_file(example("minimal.tkb"), dir.file("outside.tkb"));
    fs::create_symlink(dir.file("outside.tkb"), dir.file("lib/link.tkb"));
    put(dir.file("lib/notes.txt"), "not served");
    Server server({dir.file("lib")});

    const json library = server.checkedLibrary();
    ASSERT_EQ(library["files"].size(), 1u) << library.dump();
    EXPECT_EQ(library["files"][0]["path"], "0/minimal.tkb");
    for (const std::string& path : std::vector<std::string>{"0/link.tkb", "0/notes.txt", "0/../outside.tkb", "0/%2e%2e/outside.tkb",
          dir.file("outside.tkb"), "1/minimal.tkb", "0", "0/", "-1/minimal.tkb"})
        EXPECT_EQ(server.getJson("/api/file?path=" + path, 404).count("error"), 1u) << path;
    for (const std::string target : {"/../lib/minimal.tkb", "/%2e%2e/%2e%2e/etc/passwd", "/api/nothing"})
        EXPECT_EQ(server.get(target).result_int(), 404) << target;
    EXPECT_EQ(server.stop(), 0);
}

TEST(KovServeTest, AnswersOnlyReadsForItsOwnAddressAndNeverCrossOrigin) {
    ScratchDir dir("kov-serve-host");
    fs::create_directories(dir.file("lib"));
    fs::copy_file(example("minimal.tkb"), dir.file("lib/minimal.tkb"));
    Server server({dir.file("lib")});

    for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "PATCH"}) {
        const Response response = server.exchange(request(method, "/api/library", server.hostPort()));
        EXPECT_EQ(response.result_int(), 405) << method;
        EXPECT_EQ(response[http::field::allow], "GET, HEAD");
    }
    for (const std::string& host :
         {std::string("evil.example"), "evil.example:" + server.hostPort().substr(10),
          std::string("127.0.0.1:1"), std::string()})
        EXPECT_EQ(server.exchange(request("GET", "/api/library", host)).result_int(), 403)
            << "Host: " << host;
    EXPECT_EQ(server.exchange(request("GET", "/api/library",
                                      "localhost:" + server.hostPort().substr(10)))
                  .result_int(),
              200);

    const Response crossOrigin = server.exchange(request(
        "GET", "/api/library", server.hostPort(), "Origin: http://evil.example\r\n"));
    EXPECT_EQ(crossOrigin.result_int(), 200);
    for (const auto& field : crossOrigin)
        EXPECT_EQ(std::string(field.name_string()).rfind("Access-Control", 0), std::string::npos)
            << field.name_string();
    EXPECT_EQ(server.stop(), 0);
}

TEST(KovServeTest, KeepsServingAfterHostileFilesAndRequests) {
    ScratchDir dir("kov-serve-hostile");
    fs::create_directories(dir.file("lib"));
    fs::copy_file(example("minimal.tkb"), dir.file("lib/minimal.tkb"));
    put(dir.file("lib/fatal.tkb"), fatalFile());
    Server server({dir.file("lib")});

    const json library = server.checkedLibrary();
    const json* fatal = fileEntry(library, "0/fatal.tkb");
    ASSERT_NE(fatal, nullptr) << library.dump();
    EXPECT_EQ((*fatal)["status"], "failed");
    EXPECT_EQ((*fatal)["error"], "nameIndex not in pool");
    EXPECT_EQ(server.getJson("/api/file?path=0/fatal.tkb", 422)["error"], "nameIndex not in pool");
    EXPECT_EQ(server.getJson("/api/dump?path=0/fatal.tkb", 422)["error"], "nameIndex not in pool");
    EXPECT_EQ(server.getJson("/api/constants?path=0/fatal.tkb", 422).count("error"), 1u);
    EXPECT_EQ(server.getJson("/api/diff?old=0/minimal.tkb&new=0/fatal.tkb", 422)["error"],
              "0/fatal.tkb: nameIndex not in pool");

    const std::string huge = "X-Filler: " + std::string(16 * 1024, 'x') + "\r\n";
    EXPECT_EQ(server.exchange(request("GET", "/api/library", server.hostPort(), huge))
                  .result_int(),
              431);
    EXPECT_EQ(server.exchange(request("GET", "/api/library", server.hostPort(),
                                      "Content-Length: 5\r\n") +
                              "hello")
                  .result_int(),
              413);
    EXPECT_EQ(server.exchange("NOT HTTP AT ALL\r\n\r\n").result_int(), 400);
    EXPECT_EQ(server.get("/api/file?path=%zz").result_int(), 400);

    // More decodes at once than there are slots for: they wait their turn, none is dropped.
    std::vector<std::thread> clients;
    std::atomic<int> answered{0};
    for (int i = 0; i < 8; ++i)
        clients.emplace_back([&server, &answered, i] {
            const std::string file = i % 2 ? "0/minimal.tkb" : "0/fatal.tkb";
            if (server.get("/api/file?path=" + file).result_int() == (i % 2 ? 200 : 422))
                ++answered;
        });
    for (std::thread& client : clients)
        client.join();
    EXPECT_EQ(answered, 8);
    EXPECT_EQ(server.getJson("/api/file?path=0/minimal.tkb")["path"], "0/minimal.tkb");
    EXPECT_EQ(server.stop(), 0);
}

TEST(KovServeTest, ChecksFilesAgainWhenTheyChangeOnDisk) {
    ScratchDir dir("kov-serve-live");
    fs::create_directories(dir.file("lib"));
    fs::copy_file(example("minimal.tkb"), dir.file("lib/a.tkb"));
    Server server({dir.file("lib")});

    const json before = server.checkedLibrary();
    ASSERT_EQ(before["files"][0]["status"], "ok");
    put(dir.file("lib/a.tkb"), "broken now");
    fs::copy_file(example("building.tkb"), dir.file("lib/b.tkb"));

    // The roots are polled about once a second.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    json after;
    do {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        after = server.checkedLibrary();
    } while ((after["files"].size() < 2 || after["files"][0]["status"] != "failed") &&
             std::chrono::steady_clock::now() < deadline);
    ASSERT_EQ(after["files"].size(), 2u) << after.dump();
    EXPECT_EQ(after["files"][0]["status"], "failed");
    EXPECT_EQ(after["files"][1]["status"], "ok");
    EXPECT_GT(after["generation"], before["generation"]);

    fs::remove(dir.file("lib/b.tkb"));
    do {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        after = server.checkedLibrary();
    } while (after["files"].size() != 1 && std::chrono::steady_clock::now() < deadline);
    EXPECT_EQ(after["files"].size(), 1u);
    EXPECT_EQ(server.stop(), 0);
}
