// SPDX-License-Identifier: MIT
// The live page's server over real connections: what it answers, and that nobody who connects holds it up.
#include "tools/live/live_server.h"

#include <atomic>
#include <csignal>
#include <filesystem>
#include <random>
#include <thread>

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "host/problem.h"
#include "live/live_test_help.h"

namespace narvo::test
{

namespace
{

using namespace tools;
using testing::HasSubstr;
using testing::StartsWith;

#ifdef NARVO_WITH_HTTP

/// A connection to the server; reads end after 20 s at the latest.
class Connection
{
public:
    explicit Connection(int port) : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in place{};
        place.sin_family = AF_INET;
        place.sin_port = htons(static_cast<std::uint16_t>(port));
        place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const timeval limit{20, 0};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        m_connected = connect(m_socket, reinterpret_cast<sockaddr*>(&place), sizeof place) == 0;
    }
    ~Connection() { close(m_socket); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool IsConnected() const { return m_connected; }
    void Send(const std::string& text) const
    {
        for (std::size_t sent = 0; sent < text.size();)
        {
            const ssize_t count = send(m_socket, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
            if (count <= 0)
                return;
            sent += static_cast<std::size_t>(count);
        }
    }
    void EndSending() const { shutdown(m_socket, SHUT_WR); }
    /// More of the answer; empty at its end.
    std::string Receive() const
    {
        char buffer[65536];
        const ssize_t count = recv(m_socket, buffer, sizeof buffer, 0);
        return {buffer, count > 0 ? static_cast<std::size_t>(count) : 0};
    }
    /// Reads until the text has been seen or the connection ends.
    std::string ReceiveUntil(const std::string& text) const
    {
        std::string all;
        for (std::string more; all.find(text) == std::string::npos && !(more = Receive()).empty();)
            all += more;
        return all;
    }
    std::string ReceiveAll() const
    {
        std::string all;
        for (std::string more; !(more = Receive()).empty();)
            all += more;
        return all;
    }

private:
    int m_socket;
    bool m_connected = false;
};

std::size_t Count(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t place = 0; (place = text.find(part, place)) != std::string::npos; place += part.size())
        ++count;
    return count;
}

class LiveServerTest : public testing::Test
{
protected:
    void Open(const ListenAccess& access) { server = OpenLiveServer(access, state); }
    void SetUp() override { Open({"127.0.0.1", 0, true, {}}); }

    std::string Ask(const std::string& request) const
    {
        const Connection connection(server->Port());
        connection.Send(request);
        return connection.ReceiveAll();
    }
    std::string Get(const std::string& target, const std::string& headers = "Host: localhost\r\n") const
    {
        return Ask("GET " + target + " HTTP/1.1\r\n" + headers + "\r\n");
    }
    /// Asks again where all threads of the server are taken for the moment.
    std::string GetInTheEnd(const std::string& target) const
    {
        std::string answer;
        for (int i = 0; i < 500 && !answer.starts_with("HTTP/1.1 200"); ++i)
        {
            answer = Get(target);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return answer;
    }

    MadeUpCounts counts;
    LiveState state{MadeUpSetup(), [this] { return counts.Get(); }};
    std::unique_ptr<LiveServer> server;
};

TEST_F(LiveServerTest, ServesPageMetricsAndHealthWithSafeHeaders)
{
    EXPECT_EQ(server->Address(), "http://127.0.0.1:" + std::to_string(server->Port()) + "/");
    for (const char* const target : {"/", "/live.css", "/live.js", "/metrics", "/health"})
    {
        const std::string answer = Get(target);
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 ")) << target;
        EXPECT_THAT(answer, HasSubstr("\r\nContent-Security-Policy: default-src 'none'; script-src 'self';"));
        EXPECT_THAT(answer, testing::Not(HasSubstr("unsafe-inline")));
        EXPECT_THAT(answer, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
        EXPECT_THAT(answer, HasSubstr("\r\nReferrer-Policy: no-referrer\r\n"));
        EXPECT_THAT(answer, HasSubstr("\r\nCache-Control: no-store\r\n"));
    }
    EXPECT_THAT(Get("/"), HasSubstr("<script src=\"live.js\" defer>"));
    EXPECT_THAT(Get("/metrics"), HasSubstr("\r\nContent-Type: text/plain; version=0.0.4"));
    EXPECT_THAT(Get("/none"), StartsWith("HTTP/1.1 404 "));
}

TEST_F(LiveServerTest, AnswersHeadWithoutABody)
{
    for (const char* const target : {"/", "/metrics", "/health", "/events"})
    {
        const std::string answer = Ask("HEAD " + std::string(target) + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 "));
        EXPECT_THAT(answer, testing::EndsWith("\r\n\r\n"));
    }
}

TEST_F(LiveServerTest, HealthIsUnavailableWhereTheSourceBrokeOrTheQueueOverran)
{
    EXPECT_THAT(Get("/health"), StartsWith("HTTP/1.1 200 "));
    LiveCounts wrong;
    wrong.problems = {"shm:/camera: cut"};
    counts.Set(wrong);
    EXPECT_THAT(Get("/health"), StartsWith("HTTP/1.1 503 "));
    EXPECT_THAT(Get("/health"), HasSubstr("\"status\":\"source broken\""));
    wrong.problems.clear();
    wrong.overrun = true;
    counts.Set(wrong);
    EXPECT_THAT(Get("/health"), StartsWith("HTTP/1.1 503 "));
    EXPECT_THAT(Get("/health"), HasSubstr("\"status\":\"queue overrun\""));
    counts.Set({});
    EXPECT_THAT(Get("/health"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(LiveServerTest, TakesNothingButGetAndHead)
{
    for (const char* const method : {"POST", "PUT", "DELETE", "PATCH", "OPTIONS", "TRACE", "CONNECT"})
        EXPECT_THAT(Ask(std::string(method) + " /health HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\n\r\nabc"),
                    StartsWith("HTTP/1.1 405 "))
            << method;
}

TEST_F(LiveServerTest, RefusesOtherNamesThanThoseOfThisMachine)
{
    for (const char* const headers : {"Host: example.org\r\n", "", "Host: localhost\r\nHost: example.org\r\n",
                                      "Host: localhost.example.org:80\r\n"})
        for (const char* const target : {"/", "/events", "/metrics", "/health", "/live.js"})
            EXPECT_THAT(Get(target, headers), StartsWith("HTTP/1.1 403 ")) << target << ' ' << headers;
    EXPECT_THAT(Get("/health", "Host: 127.0.0.1:" + std::to_string(server->Port()) + "\r\n"),
                StartsWith("HTTP/1.1 200 "));
}

TEST_F(LiveServerTest, AsksForTheTokenWhereThereIsOne)
{
    server.reset();
    LiveState other(MadeUpSetup(), [this] { return counts.Get(); });
    server = OpenLiveServer({"127.0.0.1", 0, false, "0123456789abcdef"}, other);
    const std::string good = "Host: any.example.org\r\nAuthorization: Bearer 0123456789abcdef\r\n";
    for (const char* const target : {"/", "/metrics", "/health"})
    {
        EXPECT_THAT(Get(target), StartsWith("HTTP/1.1 401 ")) << target;
        EXPECT_THAT(Get(target), HasSubstr("\r\nWWW-Authenticate: Bearer\r\n"));
        EXPECT_THAT(Get(target, good), StartsWith("HTTP/1.1 200 ")) << target;
        EXPECT_THAT(Get(std::string(target) + "?token=0123456789abcdef"), StartsWith("HTTP/1.1 200 ")) << target;
        for (const char* const wrong : {"?token=", "?token=0123456789abcde", "?token=0123456789abcdef0", "?Token=x"})
            EXPECT_THAT(Get(target + std::string(wrong)), StartsWith("HTTP/1.1 401 ")) << target << wrong;
        EXPECT_THAT(Get(target, "Host: x\r\nAuthorization: Basic 0123456789abcdef\r\n"), StartsWith("HTTP/1.1 401 "));
    }
    EXPECT_THAT(Get("/events"), StartsWith("HTTP/1.1 401 "));
    EXPECT_THAT(Get("/live.js"), StartsWith("HTTP/1.1 200 ")); // the page's parts hold nothing of the run
    server.reset();
}

TEST_F(LiveServerTest, SendsEveryVerdictToEveryReaderAndTheStateToLateOnes)
{
    AddImage(state, "first", 2, LiveOutcome_Fail);
    constexpr int nReaders = 4;
    constexpr int nImages = 500;
    std::atomic<int> begun = 0;
    std::vector<std::string> got(nReaders);
    {
        std::vector<std::jthread> readers;
        for (int i = 0; i < nReaders; ++i)
            readers.emplace_back(
                [&, i]
                {
                    const Connection connection(server->Port());
                    connection.Send("GET /events HTTP/1.1\r\nHost: localhost\r\n\r\n");
                    std::string& text = got[static_cast<std::size_t>(i)];
                    text = connection.ReceiveUntil("event: state");
                    ++begun;
                    text += connection.ReceiveAll();
                });
        while (begun < nReaders)
            std::this_thread::yield();
        for (int i = 0; i < nImages; ++i)
            AddImage(state, "image-" + std::to_string(i) + "-");
        state.End();
        server->Stop(std::chrono::seconds(20));
    }
    for (const std::string& text : got)
    {
        EXPECT_THAT(text, HasSubstr("\"name\":\"first\""));
        EXPECT_EQ(Count(text, "event: verdict"), static_cast<std::size_t>(nImages));
        for (const int i : {0, 250, 499})
            EXPECT_THAT(text, HasSubstr("\"name\":\"image-" + std::to_string(i) + "-\""));
        EXPECT_EQ(Count(text, "event: ended"), 1U);
        EXPECT_THAT(text, testing::EndsWith("0\r\n\r\n"));
    }
}

TEST_F(LiveServerTest, ReadersWhoReadNothingOrVanishHoldNobodyUp)
{
    std::vector<std::unique_ptr<Connection>> deaf;
    for (int i = 0; i < 10; ++i)
    {
        deaf.push_back(std::make_unique<Connection>(server->Port()));
        deaf.back()->Send("GET /events HTTP/1.1\r\nHost: localhost\r\n\r\n");
    }
    const Connection reader(server->Port());
    reader.Send("GET /events HTTP/1.1\r\nHost: localhost\r\n\r\n");
    ASSERT_THAT(reader.ReceiveUntil("event: state"), HasSubstr("event: state"));
    // More than sockets hold, in steps that the reader follows.
    std::size_t seen = 0;
    for (int step = 0; step < 20; ++step)
    {
        for (int i = 0; i < 100; ++i)
            AddImage(state, step * 100 + i == 1999 ? "last" : "image", 100, LiveOutcome_Fail);
        deaf.resize(std::min<std::size_t>(deaf.size(), 5)); // five vanish
        const std::string mark = "-" + std::to_string((step + 1) * 100) + "\nevent: verdict";
        seen += Count(reader.ReceiveUntil(mark), mark);
    }
    EXPECT_EQ(seen, 20U);
    EXPECT_THAT(Get("/health"), StartsWith("HTTP/1.1 200 "));
    state.End();
    server->Stop(std::chrono::milliseconds(0));
}

TEST_F(LiveServerTest, AThousandConnectionsAtOnceAreBoundedAndGoAgain)
{
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = std::min<rlim_t>(files.rlim_max, 4096);
    setrlimit(RLIMIT_NOFILE, &files);
    {
        std::vector<std::unique_ptr<Connection>> crowd;
        for (int i = 0; i < 1000; ++i)
        {
            crowd.push_back(std::make_unique<Connection>(server->Port()));
            if (i % 3 == 0)
                crowd.back()->Send("GET /events HTTP/1.1\r\nHost: localhost\r\n\r\n");
            if (i % 3 == 1)
                crowd.back()->Send("GET /hea");
            AddImage(state, "image", 5, LiveOutcome_Fail);
        }
        // Threads of this process: the server has a fixed number, whatever the crowd.
        const auto threads = std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
        EXPECT_LE(threads, 40);
        // Those that are turned away are told so or closed.
        EXPECT_THAT(crowd.back()->ReceiveAll(), testing::AnyOf(StartsWith("HTTP/1.1 503 "), ""));
    }
    EXPECT_EQ(state.Read().number, 1000U);
    EXPECT_THAT(GetInTheEnd("/health"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(LiveServerTest, NoMoreReadersOfEventsThanThereMayBe)
{
    std::vector<std::unique_ptr<Connection>> readers;
    int served = 0;
    for (int i = 0; i < 20; ++i)
    {
        readers.push_back(std::make_unique<Connection>(server->Port()));
        readers.back()->Send("GET /events HTTP/1.1\r\nHost: localhost\r\n\r\n");
        served += readers.back()->ReceiveUntil("\r\n\r\n").starts_with("HTTP/1.1 200 ") ? 1 : 0;
    }
    EXPECT_EQ(served, 16);
    EXPECT_THAT(Get("/health"), StartsWith("HTTP/1.1 200 ")); // the others stay free
}

TEST_F(LiveServerTest, RefusesRequestsThatAreTooMuchOrMalformed)
{
    const std::string host = "Host: localhost\r\n";
    std::string many;
    for (int i = 0; i < 5000; ++i)
        many += "A: b\r\n";
    const std::vector<std::string> requests = {"GET /health HTTP/1.1\r\n" + host + "A: " + std::string(100000, 'a') +
                                                   "\r\n\r\n",
                                               "GET /health HTTP/1.1\r\n" + host + many + "\r\n",
                                               "GET /" + std::string(100000, 'a') + " HTTP/1.1\r\n" + host + "\r\n",
                                               std::string(100000, 'a'),
                                               "GET\r\n\r\n",
                                               "GET /health\r\n\r\n",
                                               "GET /health HTTP/9.9\r\n" + host + "\r\n",
                                               "\r\n\r\n\r\n",
                                               std::string(200, '\0'),
                                               "BREW /health HTTP/1.1\r\n" + host + "\r\n",
                                               "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03 hello",
                                               "GET /%00%ff%zz/..%2f..%2fetc/passwd HTTP/1.1\r\n" + host + "\r\n",
                                               "GET /../../../../etc/passwd HTTP/1.1\r\n" + host + "\r\n",
                                               "GET //etc/passwd HTTP/1.1\r\n" + host + "\r\n",
                                               "GET http://example.org/health HTTP/1.1\r\n" + host + "\r\n"};
    for (const std::string& request : requests)
    {
        const Connection connection(server->Port());
        connection.Send(request);
        connection.EndSending();
        const std::string answer = connection.ReceiveAll();
        EXPECT_THAT(answer, testing::Not(HasSubstr("root:"))) << request.substr(0, 60);
        EXPECT_THAT(answer, testing::Not(StartsWith("HTTP/1.1 200 "))) << request.substr(0, 60);
        EXPECT_THAT(Get("/health"), StartsWith("HTTP/1.1 200 ")) << "after " << request.substr(0, 60);
    }
    EXPECT_THAT(Get("/health", host + "Range: bytes=0-1,3-9999999999,-5\r\n"), HasSubstr("\"status\":\"running\""));
}

TEST_F(LiveServerTest, RandomBytesAreAnsweredOrClosed)
{
    std::mt19937 random(7);
    const std::vector<std::string> pieces = {"GET ",
                                             "/health",
                                             "/events",
                                             " HTTP/1.1",
                                             "\r\n",
                                             "\n",
                                             ":",
                                             "Host",
                                             " ",
                                             "localhost",
                                             "?token=",
                                             "%",
                                             "Range",
                                             "bytes=",
                                             "-",
                                             "9",
                                             "Content-Length",
                                             "Transfer-Encoding",
                                             "chunked",
                                             "Connection",
                                             "close",
                                             "Last-Event-ID",
                                             "HEAD ",
                                             "POST "};
    for (int i = 0; i < 300; ++i)
    {
        std::string request = i % 2 == 0 ? "GET /health HTTP/1.1\r\n" : "";
        for (auto left = random() % 60; left > 0; --left)
            if (random() % 5 == 0)
                request += static_cast<char>(random() % 256);
            else
                request += pieces[random() % pieces.size()];
        const Connection connection(server->Port());
        connection.Send(request);
        connection.EndSending();
        connection.Receive();
    }
    EXPECT_THAT(GetInTheEnd("/health"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(LiveServerTest, APortThatIsTakenIsRefused)
{
    try
    {
        OpenLiveServer({"127.0.0.1", server->Port(), true, {}}, state);
        FAIL() << "two servers at one port";
    }
    catch (const HostError& error)
    {
        EXPECT_THAT(error.what(), StartsWith("--listen: 127.0.0.1 port " + std::to_string(server->Port())));
        EXPECT_THAT(error.what(), HasSubstr("allowed: "));
    }
}

TEST_F(LiveServerTest, LeavesSigpipeAsItWas)
{
    struct sigaction now = {};
    sigaction(SIGPIPE, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_DFL);
}

#else

TEST(LiveServerTest, SaysThatItIsNotBuilt)
{
    MadeUpCounts counts;
    LiveState state(MadeUpSetup(), [&] { return counts.Get(); });
    EXPECT_THROW(RequireLiveServer(), HostError);
    EXPECT_THROW(OpenLiveServer({"127.0.0.1", 0, true, {}}, state), HostError);
}

#endif

} // namespace

} // namespace narvo::test
