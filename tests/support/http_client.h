// A bare HTTP/1.1 client over a socket, so tests see exactly the bytes on
// the wire.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>

namespace tav::test {

struct Response {
    int status = 0;
    std::map<std::string, std::string> headers;  // names in lower case
    std::string body;
};

// A bare client, so the test sees exactly the bytes on the wire.
class Client {
public:
    // from: the local address to connect from (any of 127.0.0.0/8).
    explicit Client(unsigned short port, const char* from = nullptr) {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        if (from) {
            sockaddr_in l{};
            l.sin_family = AF_INET;
            ::inet_pton(AF_INET, from, &l.sin_addr);
            if (::bind(fd_, reinterpret_cast<sockaddr*>(&l), sizeof l) != 0) throw std::runtime_error("bind failed");
        }
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(port);
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(fd_, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0)
            throw std::runtime_error("connect failed");
    }
    ~Client() { ::close(fd_); }

    void send(const std::string& s) {
        for (std::size_t done = 0; done < s.size();) {
            ssize_t n = ::send(fd_, s.data() + done, s.size() - done, MSG_NOSIGNAL);
            if (n <= 0) return;  // the server hung up; the read tells
            done += static_cast<std::size_t>(n);
        }
    }

    // Reads one answer; status 0 when the connection closed or nothing came
    // within the wait.
    Response read(bool head = false, int wait_ms = 5000) {
        Response r;
        std::size_t end;
        while ((end = buf_.find("\r\n\r\n")) == std::string::npos)
            if (!fill(wait_ms)) return r;
        std::string head_text = buf_.substr(0, end);
        buf_.erase(0, end + 4);
        std::size_t eol = head_text.find("\r\n");
        std::string line = head_text.substr(0, eol);
        r.status = std::atoi(line.substr(9, 3).c_str());
        while (eol != std::string::npos) {
            std::size_t next = head_text.find("\r\n", eol + 2);
            std::string h = head_text.substr(eol + 2, next == std::string::npos ? std::string::npos : next - eol - 2);
            std::size_t colon = h.find(':');
            std::string name = h.substr(0, colon);
            for (auto& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            std::string value = h.substr(colon + 1);
            while (!value.empty() && value.front() == ' ') value.erase(0, 1);
            r.headers[name] = value;
            eol = next;
        }
        std::size_t len = r.headers.count("content-length") ? std::stoul(r.headers["content-length"]) : 0;
        if (head || r.status < 200 || r.status == 204 || r.status == 304) len = 0;
        while (buf_.size() < len)
            if (!fill(wait_ms)) return Response{};
        r.body = buf_.substr(0, len);
        buf_.erase(0, len);
        return r;
    }

    // True when the server closed the connection within the wait.
    bool closed(int wait_ms = 5000) {
        while (fill(wait_ms)) {
        }
        return eof_;
    }

    // True when nothing at all arrives within the wait.
    bool silent(int wait_ms) {
        pollfd p{fd_, POLLIN, 0};
        return ::poll(&p, 1, wait_ms) == 0;
    }

private:
    bool fill(int wait_ms) {
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, wait_ms) <= 0) return false;
        char tmp[65536];
        ssize_t n = ::recv(fd_, tmp, sizeof tmp, 0);
        if (n <= 0) {
            eof_ = true;
            return false;
        }
        buf_.append(tmp, static_cast<std::size_t>(n));
        return true;
    }

    int fd_ = -1;
    std::string buf_;
    bool eof_ = false;
};

}  // namespace tav::test
