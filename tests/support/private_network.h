// A private network namespace with only loopback, for everything that speaks
// GigE Vision: nothing leaves the machine, and processes in namespaces of their
// own never share a port. Shared by the camera tests and benchmarks.
#pragma once

#include <ifaddrs.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace quillon_test_support {

// lo up, and nothing else there.
inline std::string CheckLoopbackOnly() {
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    std::strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
    bool up = fd >= 0 && ioctl(fd, SIOCGIFFLAGS, &request) == 0 &&
              (request.ifr_flags |= IFF_UP, ioctl(fd, SIOCSIFFLAGS, &request) == 0);
    if (fd >= 0) close(fd);
    if (!up) return std::string("cannot bring lo up: ") + std::strerror(errno);
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return "cannot list the network interfaces";
    std::string others;
    for (ifaddrs* i = list; i; i = i->ifa_next)
        if (std::strcmp(i->ifa_name, "lo") != 0) others = i->ifa_name;
    freeifaddrs(list);
    return others.empty() ? std::string() : "the namespace has the interface " + others;
}

// Called first in main: unless already there, re-executes the process in a
// new network namespace (root only) with lo up. Returns empty once inside,
// else why namespaces are not available.
inline std::string EnterPrivateNetwork(char** argv) {
    constexpr const char* kMarker = "QUILLON_PRIVATE_NETWORK";
    if (std::getenv(kMarker)) return CheckLoopbackOnly();
    if (geteuid() != 0) return "private network namespaces need root (unshare --net)";
    if (unshare(CLONE_NEWNET) != 0)
        return std::string("unshare(CLONE_NEWNET) failed: ") + std::strerror(errno);
    // The namespace belongs to this thread: a fresh process image runs inside it.
    setenv(kMarker, "1", 1);
    execv("/proc/self/exe", argv);
    return CheckLoopbackOnly();
}

} // namespace quillon_test_support
