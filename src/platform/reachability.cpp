#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

#include "platform/annotations.h"
#include "platform/cancellation.h"
#include "platform/descriptor.h"
#include "platform/http.h"
#include "platform/process.h"

namespace morvane {
namespace {

/// Two seconds are promised; stopping the child takes a little of them.
constexpr std::chrono::milliseconds resolvingLimit{1800};

/// Requests the cancellation after a time, unless it is destroyed first.
class Deadline {
  public:
    Deadline(Cancellation& cancellation, std::chrono::milliseconds limit)
        : thread_([this, &cancellation, end = std::chrono::steady_clock::now() + limit] {
              {
                  MutexLock lock(mutex_);
                  while (!over_) {
                      if (changed_.wait_until(mutex_, end) == std::cv_status::timeout) break;
                  }
                  if (over_) return;
              }
              cancellation.request();
          }) {}
    ~Deadline() {
        {
            MutexLock lock(mutex_);
            over_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;

  private:
    Mutex mutex_;
    Condition changed_;
    bool over_ MV_GUARDED_BY(mutex_) = false;
    std::thread thread_;  // last, so that everything that it uses is there
};

/// True when the system knows a way to the address. Connecting a datagram socket looks the route up; nothing
/// is sent.
bool hasRoute(const std::string& address) {
    constexpr in_port_t anyPort = 53;
    sockaddr_in four{};
    sockaddr_in6 six{};
    const sockaddr* where = nullptr;
    socklen_t length = 0;
    if (::inet_pton(AF_INET, address.c_str(), &four.sin_addr) == 1) {
        four.sin_family = AF_INET;
        four.sin_port = htons(anyPort);
        where = reinterpret_cast<const sockaddr*>(&four);
        length = sizeof four;
    } else if (::inet_pton(AF_INET6, address.c_str(), &six.sin6_addr) == 1) {
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(anyPort);
        where = reinterpret_cast<const sockaddr*>(&six);
        length = sizeof six;
    } else {
        return false;
    }
    const Descriptor socket(::socket(where->sa_family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return socket.valid() && ::connect(socket.get(), where, length) == 0;
}

bool isLiteral(const std::string& host) {
    in6_addr address{};
    return ::inet_pton(AF_INET, host.c_str(), &address) == 1 ||
           ::inet_pton(AF_INET6, host.c_str(), &address) == 1;
}

bool isName(const std::string& host) {
    return !host.empty() && host.front() != '-' && std::all_of(host.begin(), host.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '.' || c == '-' || c == '_' || c >= 0x80;
    });
}

/// The system's resolver has no bound and cannot be called off, but a child that asks it can.
std::string printedAddresses(const std::string& host) {
    Cancellation ownRun;
    if (!ownRun.begin()) return {};
    const Deadline deadline(ownRun, resolvingLimit);
    try {
        const auto result = processes::run(
            {.program = "/usr/bin/getent", .arguments = {"ahosts", host}, .cancellation = &ownRun});
        return result ? result->output : std::string();
    } catch (const Cancelled&) {
        return {};
    }
}

}  // namespace

bool isHostReachable(const std::string& host) {
    if (host == "localhost") return true;
    if (isLiteral(host)) return hasRoute(host);
    if (!isName(host)) return false;
    // One address a line, followed by a blank and how it can be used.
    const std::string lines = printedAddresses(host);
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', begin), lines.size());
        const std::string line = lines.substr(begin, end - begin);
        if (hasRoute(line.substr(0, line.find(' ')))) return true;
        begin = end + 1;
    }
    return false;
}

}  // namespace morvane
