// SPDX-License-Identifier: GPL-3.0-or-later
#include "partner_server.h"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <queue>
#include <random>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <unordered_map>
#include <vector>

using Clock = std::chrono::steady_clock;

namespace
{
constexpr int OwnNumber = -1;

/// About 20 KB with 80 links and 12 images; nine partners of ten carry the own site's link and banner.
std::string PartnerBody(int number)
{
    std::mt19937 random(static_cast<unsigned>(number));
    std::string body = "<!DOCTYPE html><html><head><meta charset=utf-8><title>Links</title></head><body>"
                       "<img src=\"/masthead.gif\"><h1>Our friends</h1>\n";
    for (int i = 0; i < 80; ++i) {
        const std::string id = std::to_string(random() % 1000000);
        body += "<div class=entry><p><a href=\"http://www.site" + id + ".example/\">Site " + id +
                "</a> &mdash; a friendly place on the web that is well worth a visit, with news, pictures and a "
                "forum that has been going strong for more years than anybody cares to count.</p>";
        if (i % 8 == 0)
            body += "<img src=\"http://www.site" + id + ".example/banner" + id + ".gif\" alt=banner>";
        body += "</div>\n";
        if (i == 40 && number % 10 != 0)
            body += std::string("<p><a href=\"") + partnerServer::OwnHome +
                    "\"><img src=\"/pictures/own-banner.gif\"></a></p>\n";
    }
    return body + "</body></html>\n";
}

std::string OwnBody(int partners)
{
    std::string body = "<!DOCTYPE html><html><head><title>Links</title></head><body><img src=\"/masthead.gif\"><ul>\n";
    for (int i = 0; i < partners; ++i)
        body += "<li><a href=\"" + partnerServer::HomeOf(i) + "\">Partner " + std::to_string(i) + "</a></li>\n";
    return body + "</ul></body></html>\n";
}

std::string Answer(const std::string& body)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

struct Connection
{
    std::uint64_t serial = 0;
    std::string in;
    std::string out;
};

struct Due
{
    Clock::time_point when;
    int socket;
    std::uint64_t serial;
    int number;
    bool operator>(const Due& other) const { return when > other.when; }
};

class Server
{
public:
    explicit Server(partnerServer::Web web) : m_web(web), m_own(Answer(OwnBody(web.partners))) {}

    int Run()
    {
        m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_ANY); // every 127.x.y.z is a partner's host
        socklen_t size = sizeof address;
        if (::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(m_listener, 4096) != 0 ||
            ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            std::perror("partner server");
            return 1;
        }
        std::printf("%d\n", ntohs(address.sin_port));
        std::fflush(stdout);

        m_epoll = ::epoll_create1(0);
        Watch(m_listener, EPOLLIN, EPOLL_CTL_ADD);
        Watch(STDIN_FILENO, EPOLLIN, EPOLL_CTL_ADD);
        std::vector<epoll_event> events(256);
        for (;;) {
            int wait = -1;
            if (!m_due.empty())
                wait = std::max<int>(
                    0, static_cast<int>(
                           std::chrono::ceil<std::chrono::milliseconds>(m_due.top().when - Clock::now()).count()));
            const int count = ::epoll_wait(m_epoll, events.data(), static_cast<int>(events.size()), wait);
            for (int i = 0; i < count; ++i) {
                const int socket = events[static_cast<std::size_t>(i)].data.fd;
                if (socket == STDIN_FILENO)
                    return 0;
                if (socket == m_listener)
                    Accept();
                else
                    Serve(socket, events[static_cast<std::size_t>(i)].events);
            }
            while (!m_due.empty() && m_due.top().when <= Clock::now()) {
                const Due due = m_due.top();
                m_due.pop();
                const auto connection = m_connections.find(due.socket);
                if (connection == m_connections.end() || connection->second.serial != due.serial)
                    continue;
                connection->second.out += due.number == OwnNumber ? m_own : Answer(PartnerBody(due.number));
                Flush(due.socket, connection->second);
            }
        }
    }

private:
    void Watch(int socket, std::uint32_t what, int how)
    {
        epoll_event event{};
        event.events = what;
        event.data.fd = socket;
        ::epoll_ctl(m_epoll, how, socket, &event);
    }

    void Accept()
    {
        for (;;) {
            const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK);
            if (socket < 0)
                return;
            m_connections[socket] = Connection{++m_serial, {}, {}};
            Watch(socket, EPOLLIN, EPOLL_CTL_ADD);
        }
    }

    void Drop(int socket)
    {
        ::close(socket);
        m_connections.erase(socket);
    }

    void Serve(int socket, std::uint32_t what)
    {
        Connection& connection = m_connections[socket];
        if (what & EPOLLOUT)
            Flush(socket, connection);
        if (!(what & (EPOLLIN | EPOLLHUP | EPOLLERR)))
            return;
        char buffer[4096];
        const ssize_t got = ::read(socket, buffer, sizeof buffer);
        if (got <= 0) {
            Drop(socket);
            return;
        }
        connection.in.append(buffer, static_cast<std::size_t>(got));
        for (std::size_t end; (end = connection.in.find("\r\n\r\n")) != std::string::npos;) {
            const std::string request = connection.in.substr(0, end);
            connection.in.erase(0, end + 4);
            const bool own = request.starts_with("GET /own/");
            const int number = own ? OwnNumber : std::atoi(request.c_str() + sizeof "GET /p/" - 1);
            if (!own && partnerServer::IsDead(m_web, number))
                continue; // never an answer
            const int delay = own ? m_web.medianMs : partnerServer::DelayMs(m_web, number);
            m_due.push({Clock::now() + std::chrono::milliseconds(delay), socket, connection.serial, number});
        }
    }

    void Flush(int socket, Connection& connection)
    {
        while (!connection.out.empty()) {
            const ssize_t sent = ::send(socket, connection.out.data(), connection.out.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                break;
            connection.out.erase(0, static_cast<std::size_t>(sent));
        }
        Watch(socket, connection.out.empty() ? EPOLLIN : EPOLLIN | EPOLLOUT, EPOLL_CTL_MOD);
    }

    const partnerServer::Web m_web;
    const std::string m_own;
    int m_listener = -1;
    int m_epoll = -1;
    std::uint64_t m_serial = 0;
    std::unordered_map<int, Connection> m_connections;
    std::priority_queue<Due, std::vector<Due>, std::greater<>> m_due;
};
} // namespace

int partnerServer::DelayMs(const Web& web, int number)
{
    if (web.medianMs == 0)
        return 0;
    std::mt19937 random(static_cast<unsigned>(number) * 2654435761u);
    random.discard(4);
    std::lognormal_distribution<double> distance(std::log(web.medianMs), 1.0);
    return static_cast<int>(std::min(distance(random), 5000.0));
}

bool partnerServer::IsDead(const Web& web, int number)
{
    return web.dead && number % 100 == 57;
}

std::string partnerServer::PageOf(const Web& web, int number)
{
    return "http://127.1." + std::to_string(number / 250) + '.' + std::to_string(number % 250 + 1) + ':' +
           std::to_string(web.port) + "/p/" + std::to_string(number) + '/';
}

std::string partnerServer::HomeOf(int number)
{
    return "http://www.partner" + std::to_string(number) + ".example/";
}

std::string partnerServer::OwnPage(const Web& web)
{
    return "http://127.0.0.1:" + std::to_string(web.port) + "/own/";
}

int partnerServer::Serve(Web web)
{
    rlimit files{};
    ::getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
    return Server(web).Run();
}
