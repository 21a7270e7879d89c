// The network probe behind HostReachability: name resolution and TCP connection attempts, each
// bounded by one deadline so that a dead host or a silent name server cannot stall the caller.
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "util/probes.h"
#include "util/probes_internal.h"
#include "util/text.h"

namespace clipcat {
namespace {

using Clock = std::chrono::steady_clock;

// A host with many addresses is tried on its first few; enough for dual-stack and a fallback.
constexpr size_t kMaxAddresses = 4;

struct Address {
  sockaddr_storage storage{};
  socklen_t length = 0;
};

// An open socket, closed when it goes.
class Socket {
 public:
  explicit Socket(int fd) : fd_(fd) {}
  Socket(Socket&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  Socket& operator=(Socket&&) = delete;
  ~Socket() {
    if (fd_ >= 0) close(fd_);
  }
  int fd() const { return fd_; }

 private:
  int fd_;
};

std::vector<Address> CopyAddresses(const addrinfo* list) {
  std::vector<Address> addresses;
  for (const addrinfo* item = list; item != nullptr && addresses.size() < kMaxAddresses;
       item = item->ai_next) {
    if (item->ai_family != AF_INET && item->ai_family != AF_INET6) continue;
    if (item->ai_addrlen > sizeof(sockaddr_storage)) continue;
    Address address;
    std::copy_n(reinterpret_cast<const char*>(item->ai_addr), item->ai_addrlen,
                reinterpret_cast<char*>(&address.storage));
    address.length = item->ai_addrlen;
    addresses.push_back(address);
  }
  return addresses;
}

std::vector<Address> LookUp(const std::string& host, int flags) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = flags;
  addrinfo* list = nullptr;
  if (getaddrinfo(host.c_str(), nullptr, &hints, &list) != 0) return {};
  std::vector<Address> addresses = CopyAddresses(list);
  freeaddrinfo(list);
  return addresses;
}

// Letters, digits, "-", "_" and "."; anything else would only be sent to the name server to fail.
bool IsHostName(std::string_view host) {
  if (host.empty() || host.size() > 253) return false;
  return std::all_of(host.begin(), host.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_' || c == '.';
  });
}

// Names under "invalid" never resolve (RFC 6761), so no name server is asked.
bool IsReservedInvalidName(std::string_view host) {
  std::string lower = ToLowerAscii(host);
  if (!lower.empty() && lower.back() == '.') lower.pop_back();
  return lower == "invalid" || (lower.size() > 8 && lower.ends_with(".invalid"));
}

// getaddrinfo has no time-out of its own, so a name lookup runs on a thread of its own and is
// abandoned at the deadline; the shared state outlives whichever side finishes last.
struct PendingLookup {
  std::mutex mutex;
  std::condition_variable finished;
  bool done = false;
  std::vector<Address> addresses;
};

std::vector<Address> Resolve(const std::string& host, Clock::time_point deadline) {
  if (std::vector<Address> numeric = LookUp(host, AI_NUMERICHOST); !numeric.empty()) {
    return numeric;
  }
  if (!IsHostName(host) || IsReservedInvalidName(host)) return {};
  auto lookup = std::make_shared<PendingLookup>();
  try {
    std::thread([lookup, host] {
      std::vector<Address> addresses = LookUp(host, 0);
      std::lock_guard<std::mutex> lock(lookup->mutex);
      lookup->addresses = std::move(addresses);
      lookup->done = true;
      lookup->finished.notify_all();
    }).detach();
  } catch (const std::system_error&) {
    return {};
  }
  std::unique_lock<std::mutex> lock(lookup->mutex);
  if (!lookup->finished.wait_until(lock, deadline, [&lookup] { return lookup->done; })) return {};
  return lookup->addresses;
}

void SetPort(Address& address, uint16_t port) {
  if (address.storage.ss_family == AF_INET) {
    reinterpret_cast<sockaddr_in*>(&address.storage)->sin_port = htons(port);
  } else {
    reinterpret_cast<sockaddr_in6*>(&address.storage)->sin6_port = htons(port);
  }
}

// A completed connection and a refusal both prove that the host is there.
bool IsAnswer(int error) { return error == 0 || error == ECONNREFUSED; }

}  // namespace

int16_t ProbeHost(const std::string& host, const ProbeOptions& options) {
  const Clock::time_point deadline = Clock::now() + options.time_out;
  std::string name = host;
  if (name.size() >= 2 && name.front() == '[' && name.back() == ']') {
    name = name.substr(1, name.size() - 2);
  }
  const std::vector<Address> addresses = Resolve(name, deadline);

  const Clock::time_point started = Clock::now();
  std::vector<Socket> sockets;
  std::vector<pollfd> waiting;
  bool answered = false;
  for (size_t i = 0; i < addresses.size() * options.ports.size() && !answered; ++i) {
    Address address = addresses[i / options.ports.size()];
    SetPort(address, options.ports[i % options.ports.size()]);
    Socket socket(
        ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (socket.fd() < 0) continue;
    if (connect(socket.fd(), reinterpret_cast<const sockaddr*>(&address.storage), address.length) ==
        0) {
      answered = true;
    } else if (errno == ECONNREFUSED) {
      answered = true;
    } else if (errno == EINPROGRESS) {
      waiting.push_back(pollfd{socket.fd(), POLLOUT, 0});
      sockets.push_back(std::move(socket));
    }
  }

  size_t open_attempts = waiting.size();
  while (!answered && open_attempts > 0) {
    const Clock::time_point now = Clock::now();
    if (now >= deadline) break;
    const auto remaining = std::chrono::ceil<std::chrono::milliseconds>(deadline - now);
    const int ready = poll(waiting.data(), waiting.size(), static_cast<int>(remaining.count()));
    if (ready < 0 && errno != EINTR) break;
    for (pollfd& attempt : waiting) {
      if (attempt.fd < 0 || attempt.revents == 0) continue;
      int error = 0;
      socklen_t length = sizeof error;
      if (getsockopt(attempt.fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0) error = errno;
      if (IsAnswer(error)) {
        answered = true;
        break;
      }
      attempt.fd = -1;  // poll skips it from now on; the Socket still closes it
      --open_attempts;
    }
  }
  if (!answered) return kHostUnreachable;
  return Clock::now() - started >= options.slow_link ? kHostSlow : kHostLocalOrFast;
}

}  // namespace clipcat
