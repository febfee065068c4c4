// SPDX-License-Identifier: MIT
// Who may ask for what, and the answers. The library reads requests and writes answers; connections are the gate's.
#include "tools/live/page_server.h"

#include <atomic>
#include <csignal>
#include <exception>
#include <thread>
#include <utility>

#include <sys/socket.h>

#include <httplib.h>

#include "tools/live/bounded_stream.h"
#include "tools/live/connection_gate.h"
#include "tools/live/event_stream.h"
#include "tools/live/live_template.h"
#include "tools/live/live_text.h"
#include "tools/live/prometheus_text.h"
#include "tools/report/report_template.h"

namespace narvo::tools
{

namespace
{

constexpr int nMostStreams = 16; // readers of events; the other connections stay free for short questions

const httplib::Headers& SafeHeaders()
{
    static const httplib::Headers headers = {
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src data:; connect-src 'self'; "
         "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
        {"X-Content-Type-Options", "nosniff"},
        {"X-Frame-Options", "DENY"},
        {"Referrer-Policy", "no-referrer"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Cache-Control", "no-store"}};
    return headers;
}

/// What SIGPIPE does to the program, which the library's constructor changes. Its writes here raise none.
class SigpipeBefore
{
protected:
    SigpipeBefore() { sigaction(SIGPIPE, nullptr, &m_before); }
    void Restore() const { sigaction(SIGPIPE, &m_before, nullptr); }

private:
    struct sigaction m_before = {};
};

/// The library's server for single requests on connections that were accepted elsewhere.
class RequestServer : private SigpipeBefore, public httplib::Server
{
public:
    RequestServer() { Restore(); }

    /// The library ends long answers where it does not listen.
    void PretendToListen(bool listens) { svr_sock_ = listens ? 0 : INVALID_SOCKET; }

    void Serve(int socket)
    {
        BoundedStream stream(socket);
        bool closed = false;
        // An answer is whole or, for HEAD, only its head: never a part by the client's ranges.
        const std::function<void(httplib::Request&)> setup = [](httplib::Request& request) { request.ranges.clear(); };
        Process(*this, stream, closed, setup);
        if (stream.IsTooMuch() && !stream.HasWritten())
            stream.write("HTTP/1.1 431 Request Header Fields Too Large\r\nConnection: close\r\n"
                         "Content-Length: 0\r\n\r\n");
        shutdown(socket, SHUT_WR);
    }

private:
    template <typename Server>
    static void Process(Server& server, httplib::Stream& stream, bool& closed,
                        const std::function<void(httplib::Request&)>& setup)
    {
        // Later versions of the library are told the addresses.
        if constexpr (requires { server.process_request(stream, true, closed, setup); })
            server.process_request(stream, true, closed, setup);
        else
            server.process_request(stream, std::string(), 0, std::string(), 0, true, closed, setup);
    }
};

class PageServer : public LiveServer
{
public:
    PageServer(const ListenAccess& access, LiveState& state)
        : m_access(access), m_state(state), m_gate(Prepare(), access.port, [this](int socket) { Serve(socket); })
    {
    }
    ~PageServer() override { PageServer::Stop(std::chrono::milliseconds(0)); }

    std::string Address() const override
    {
        const bool isSix = m_access.address.find(':') != std::string::npos;
        return "http://" + (isSix ? "[" + m_access.address + "]" : m_access.address) + ":" +
               std::to_string(m_gate.Port()) + "/";
    }
    int Port() const override { return m_gate.Port(); }

    void Stop(std::chrono::milliseconds grace) override
    {
        const auto until = std::chrono::steady_clock::now() + grace;
        while (m_streams > 0 && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        m_state.Close();
        m_server.PretendToListen(false);
        m_gate.Stop();
    }

private:
    /// Sets the server up before the first connection can come. @return the address
    const std::string& Prepare()
    {
        m_server.PretendToListen(true);
        m_server.set_default_headers(SafeHeaders());
        m_server.set_pre_routing_handler(
            [this](const httplib::Request& request, httplib::Response& response)
            {
                Answer(request, response);
                return httplib::Server::HandlerResponse::Handled;
            });
        return m_access.address;
    }

    void Serve(int socket)
    {
        try
        {
            m_server.Serve(socket);
        }
        catch (const std::exception&)
        {
            // Lack of memory for this one connection, which is closed.
        }
    }

    static void Refuse(httplib::Response& response, int status, const char* why)
    {
        response.status = status;
        response.set_content(std::string(why) + "\n", "text/plain");
    }

    bool KnowsToken(const httplib::Request& request) const
    {
        if (m_access.token.empty())
            return true;
        constexpr std::string_view scheme = "Bearer ";
        const std::string header = request.get_header_value("Authorization");
        const bool byHeader = header.starts_with(scheme) && SameSecret(header.substr(scheme.size()), m_access.token);
        const bool byParameter = SameSecret(request.get_param_value("token"), m_access.token);
        return byHeader || byParameter;
    }

    void Answer(const httplib::Request& request, httplib::Response& response)
    {
        response.status = 200;
        if (request.method != "GET" && request.method != "HEAD")
        {
            response.set_header("Allow", "GET, HEAD");
            return Refuse(response, 405, "only GET and HEAD");
        }
        if (m_access.loopback &&
            (request.get_header_value_count("Host") != 1 || !NamesThisMachine(request.get_header_value("Host"))))
            return Refuse(response, 403, "the header Host names another machine");
        // These hold nothing of the run.
        if (request.path == "/live.css")
            return response.set_content(std::string(reportCss) + std::string(liveCss), "text/css; charset=utf-8");
        if (request.path == "/live.js")
            return response.set_content(std::string(liveJs), "text/javascript; charset=utf-8");
        if (!KnowsToken(request))
        {
            response.set_header("WWW-Authenticate", "Bearer");
            return Refuse(response, 401, "the token is missing or wrong");
        }
        if (request.path == "/")
            return response.set_content(std::string(liveHtml), "text/html; charset=utf-8");
        if (request.path == "/metrics")
            return response.set_content(PrometheusText(m_state.Setup(), m_state.Counts()),
                                        "text/plain; version=0.0.4; charset=utf-8");
        if (request.path == "/health")
        {
            const Health health = HealthOf(m_state);
            response.status = health.good ? 200 : 503;
            return response.set_content(health.text, "application/json");
        }
        if (request.path == "/events")
            return Stream(request, response);
        Refuse(response, 404, "there is /, /events, /metrics and /health");
    }

    void Stream(const httplib::Request& request, httplib::Response& response)
    {
        if (request.method == "HEAD")
            return response.set_content("", "text/event-stream");
        if (++m_streams > nMostStreams)
        {
            --m_streams;
            response.set_header("Retry-After", "5");
            return Refuse(response, 503, "as many readers as there may be");
        }
        const std::shared_ptr<void> place(nullptr, [this](void*) { --m_streams; });
        const auto stream =
            std::make_shared<EventStream>(m_state, m_picture, m_lot, m_cell, request.get_header_value("Last-Event-ID"));
        response.set_chunked_content_provider("text/event-stream",
                                              [stream, place](std::size_t, httplib::DataSink& sink)
                                              {
                                                  const std::string piece = stream->Next();
                                                  if (!piece.empty() && !sink.write(piece.data(), piece.size()))
                                                      return false;
                                                  if (stream->IsOver())
                                                      sink.done();
                                                  return true;
                                              });
    }

    const ListenAccess m_access;
    LiveState& m_state;
    LivePicture m_picture;
    LiveLot m_lot;
    LiveCell m_cell;
    std::atomic<int> m_streams = 0;
    RequestServer m_server;
    ConnectionGate m_gate; ///< last: its threads use the others
};

} // namespace

std::unique_ptr<LiveServer> MakePageServer(const ListenAccess& access, LiveState& state)
{
    return std::make_unique<PageServer>(access, state);
}

} // namespace narvo::tools
