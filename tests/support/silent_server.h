// A TCP server on the loopback address that takes connections and never says a word: what a
// catalog server looks like when its host answers but its database server hangs. Counts the
// connections it took and how many were open at once. Its thread ends with it.
#pragma once

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

namespace clipcat::testing {

class SilentServer {
 public:
  SilentServer() {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    if (listener_ < 0 || bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listener_, 64) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
      return;
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Serve(); });
  }

  ~SilentServer() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    for (const int fd : open_) close(fd);
    if (listener_ >= 0) close(listener_);
  }

  SilentServer(const SilentServer&) = delete;
  SilentServer& operator=(const SilentServer&) = delete;

  int port() const { return port_; }  // 0 when it could not listen

  // A connection URI for database `database` on this server, giving up after `seconds`.
  std::string Uri(const std::string& database, int seconds = 1) const {
    return "postgresql://nobody@127.0.0.1:" + std::to_string(port_) + "/" + database +
           "?connect_timeout=" + std::to_string(seconds) + "&sslmode=disable";
  }

  int accepted() const { return accepted_; }
  int most_open_at_once() const { return most_open_; }

 private:
  void Serve() {
    std::vector<pollfd> fds;
    while (!stop_) {
      fds.assign(1, pollfd{listener_, POLLIN, 0});
      for (const int fd : open_) fds.push_back(pollfd{fd, POLLIN, 0});
      if (poll(fds.data(), fds.size(), 20) <= 0) continue;
      // What a client sends is read and ignored; a client that gave up closes its end.
      for (size_t i = 1; i < fds.size(); ++i) {
        if ((fds[i].revents & (POLLIN | POLLHUP | POLLERR)) == 0) continue;
        char buffer[512];
        const ssize_t got = recv(fds[i].fd, buffer, sizeof(buffer), MSG_DONTWAIT);
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) {
          close(fds[i].fd);
          open_.erase(std::find(open_.begin(), open_.end(), fds[i].fd));
        }
      }
      if ((fds[0].revents & POLLIN) != 0) {
        const int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) continue;
        open_.push_back(fd);
        ++accepted_;
        most_open_ = std::max<int>(most_open_, static_cast<int>(open_.size()));
      }
    }
  }

  int listener_ = -1;
  int port_ = 0;
  std::thread thread_;
  std::atomic<bool> stop_{false};
  std::vector<int> open_;  // the server thread's own
  std::atomic<int> accepted_{0};
  std::atomic<int> most_open_{0};
};

}  // namespace clipcat::testing
