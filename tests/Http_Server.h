// A server in a process of its own, which takes one connection for each exchange, in their order:
// it waits for the very request, sends the pieces of the answer one by one, and closes.
#ifndef TESTS_HTTP_SERVER_H
#define TESTS_HTTP_SERVER_H

#include <initializer_list>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

class Http_Server {
public:
    struct Exchange {
        std::string request;
        std::vector<std::string> pieces;
    };
    Http_Server(std::initializer_list<Exchange> exchanges)
        : Http_Server(std::vector<Exchange>(exchanges)) {}
    explicit Http_Server(const std::vector<Exchange>& exchanges) {
        const int listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in name = {};
        socklen_t size = sizeof name;
        name.sin_family = AF_INET;
        name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bind(listener, reinterpret_cast<sockaddr*>(&name), size);
        listen(listener, 5);
        getsockname(listener, reinterpret_cast<sockaddr*>(&name), &size);
        host = "http://127.0.0.1:" + std::to_string(ntohs(name.sin_port)) + "/";
        child_ = fork();
        if (child_ == 0) {
            alarm(30);
            for (const Exchange& exchange : exchanges)
                answer(accept(listener, nullptr, nullptr), exchange);
            _exit(0);
        }
        close(listener);
    }
    ~Http_Server() { waitpid(child_, nullptr, 0); }

    std::string host; // "http://127.0.0.1:1234/"

private:
    static void answer(int peer, const Exchange& exchange) {
        std::string got(exchange.request.size(), '\0');
        if (recv(peer, got.data(), got.size(), MSG_WAITALL) > 0 && got == exchange.request)
            for (const auto& piece : exchange.pieces)
                if (send(peer, piece.data(), piece.size(), MSG_NOSIGNAL) < 0) break;
        // What was not read yet would end the connection before the peer has read all.
        shutdown(peer, SHUT_WR);
        while (recv(peer, got.data(), got.size(), 0) > 0) {
        }
        close(peer);
    }
    pid_t child_;
};

#endif
